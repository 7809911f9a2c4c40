#pragma once

/// @file
/// The boolean value type and the numeric constants.

#include <concepts>

/// A truth value of exactly one byte, so that a kernel can write it in place.
class type_cBoolean {
public:
    /// False.
    constexpr type_cBoolean() noexcept = default;

    /// Takes a `bool` and nothing that merely converts to one.
    template<std::same_as<bool> Bool>
    constexpr type_cBoolean(Bool value) noexcept : byte_(value ? 1 : 0) {}

    /// The truth value.
    constexpr operator bool() const noexcept { return byte_ != 0; }

private:
    unsigned char byte_ = 0;
};

static_assert(sizeof(type_cBoolean) == 1);

/// The ratio of a circle's circumference to its diameter, rounded to double.
inline constexpr double type_Pi = 3.14159265358979323846;

/// The smallest normal single-precision value, 2^-126, as a double: magnitudes below it count as
/// zero where a routine refuses or drops them.
inline constexpr double type_MinValue = 1.1754943508222875e-38;
