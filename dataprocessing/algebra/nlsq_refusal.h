#pragma once

/// @file
/// Refusals of fits, which say what is wrong and where.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <string>

#include "dataprocessing/base/expt.h"

namespace dataprocessing::detail {

/// What one unit refuses, by one kind of exception.
template<class Exception>
class nlsq_cRefusal {
public:
    explicit constexpr nlsq_cRefusal(const char* unit) noexcept : unit_(unit) {}

    /// Refuses a misuse that a text is enough for.
    void If(bool isRefused, int line, const char* text) const {
        if (isRefused)
            throw Exception(unit_, line, text);
    }
    /// Refuses something that has a number: "`before` 3 `after`".
    void If(bool isRefused, int line, const char* before, long long number,
            const char* after) const {
        if (isRefused)
            throw Exception(unit_, line, (before + std::to_string(number) + after).c_str());
    }
    /// Refuses other sizes than are expected: "There are 4 `had` 5 `expected`".
    void IfOthers(std::size_t size, std::size_t expectedSize, int line, const char* had,
                  const char* expected) const {
        if (size != expectedSize)
            throw Exception(unit_, line,
                            ("There are " + std::to_string(size) + had +
                             std::to_string(expectedSize) + expected)
                                .c_str());
    }
    /// Refuses the first value that is not right.
    template<class IsRight>
    void Unless(std::span<const double> values, IsRight isRight, int line, const char* before,
                const char* after) const {
        const auto found = std::find_if_not(values.begin(), values.end(), isRight);
        If(found != values.end(), line, before, found - values.begin(), after);
    }
    /// Refuses the first value that is not finite.
    void UnlessFinite(std::span<const double> values, int line, const char* before) const {
        Unless(
            values, [](double v) { return std::isfinite(v); }, line, before, " is not finite.");
    }

private:
    const char* unit_;
};

} // namespace dataprocessing::detail
