#pragma once

// What the bytes of a fuzzer stand for.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>

/// The bytes of the input, one after the other; zeros after the last.
class cInput {
public:
    cInput(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

    template<class T>
    T Next() {
        T value{};
        const std::size_t count = bytes_.size() < sizeof(T) ? bytes_.size() : sizeof(T);
        if (count > 0)
            std::memcpy(&value, bytes_.data(), count);
        bytes_ = bytes_.subspan(count);
        return value;
    }
    /// From 0 up to but without `end`.
    int Below(int end) { return Next<std::uint8_t>() % end; }
    /// Any double, one of those that are different, or a small one, so that results of a sensible
    /// size come up often.
    double Number() {
        const int kind = Below(8);
        if (kind == 0)
            return Next<double>();
        if (kind == 1)
            return special[Below(std::size(special))];
        return Next<std::int16_t>() / 1024.0;
    }
    /// Any index, or a small one.
    int Index() { return Below(4) == 0 ? Next<std::int32_t>() : Next<std::int8_t>(); }

private:
    using Limits = std::numeric_limits<double>;
    static constexpr double special[] = {0,
                                         -0.0,
                                         1,
                                         -1,
                                         0.1,
                                         0.5,
                                         1e-300,
                                         1e300,
                                         1e-38,
                                         1e10,
                                         -1e10,
                                         2147483648.0,
                                         Limits::infinity(),
                                         -Limits::infinity(),
                                         Limits::quiet_NaN(),
                                         Limits::denorm_min(),
                                         -Limits::denorm_min(),
                                         Limits::min(),
                                         Limits::max(),
                                         Limits::lowest(),
                                         Limits::epsilon()};

    std::span<const std::uint8_t> bytes_;
};
