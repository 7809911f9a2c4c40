#pragma once

// The elementary functions and where to look at them.

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "dataprocessing/kernels/elementary/elem.h"
#include "tests/support/levels.h"

namespace elementary {

using namespace dataprocessing::detail;

struct sFunction {
    const char* name;
    elem_eFunction code;
    double (*runtime)(double);
};
struct sPairFunction {
    const char* name;
    elem_ePairFunction code;
    double (*runtime)(double, double);
};

inline const sFunction functions[] = {
    {"acos", elem_Acos, std::acos}, {"asin", elem_Asin, std::asin},
    {"atan", elem_Atan, std::atan}, {"cos", elem_Cos, std::cos},
    {"cosh", elem_Cosh, std::cosh}, {"exp", elem_Exp, std::exp},
    {"log", elem_Log, std::log},    {"log10", elem_Log10, std::log10},
    {"sin", elem_Sin, std::sin},    {"sinh", elem_Sinh, std::sinh},
    {"tan", elem_Tan, std::tan},    {"tanh", elem_Tanh, std::tanh}};
inline const sPairFunction pairFunctions[] = {{"atan2", elem_Atan2, std::atan2},
                                              {"pow", elem_Pow, std::pow}};

/// A generator that is much faster than the functions (Marsaglia's xorshift128+).
class cRandom {
public:
    explicit cRandom(std::uint64_t seed)
        : a_(0x9e3779b97f4a7c15U * (2 * seed + 1)), b_(88172645463325252U) {}

    std::uint64_t Bits() {
        std::uint64_t a = a_;
        const std::uint64_t b = b_;
        a_ = b;
        a ^= a << 23;
        b_ = a ^ b ^ (a >> 17) ^ (b >> 26);
        return b_ + b;
    }
    double In(double low, double high) {
        return low + (high - low) * (static_cast<double>(Bits() >> 11) * 0x1p-53);
    }
    /// Of either sign, with evenly spread exponents.
    double Scaled(double exponent) {
        const double scale = std::exp2(In(-exponent, exponent));
        return In(-1, 1) * scale;
    }
    double Any() { return std::bit_cast<double>(Bits()); }

private:
    std::uint64_t a_;
    std::uint64_t b_;
};

struct sRange {
    const char* name;
    double (*draw)(cRandom&);
};
struct sPair {
    double a;
    double b;
};
struct sPairRange {
    const char* name;
    sPair (*draw)(cRandom&);
};

inline std::vector<sRange> rangesOf(elem_eFunction function) {
    const sRange any{"all doubles", [](cRandom& r) { return r.Any(); }};
    switch (function) {
    case elem_Exp:
        return {{"[-0.4, 0.4]", [](cRandom& r) { return r.In(-0.4, 0.4); }},
                {"[-10, 10]", [](cRandom& r) { return r.In(-10, 10); }},
                {"[-750, 750]", [](cRandom& r) { return r.In(-750, 750); }},
                any};
    case elem_Log:
    case elem_Log10:
        return {{"[0.5, 2]", [](cRandom& r) { return r.In(0.5, 2); }},
                {"[0.95, 1.05]", [](cRandom& r) { return r.In(0.95, 1.05); }},
                {"[0, 1e6]", [](cRandom& r) { return r.In(0, 1e6); }},
                any};
    case elem_Acos:
    case elem_Asin:
        return {{"[-1, 1]", [](cRandom& r) { return r.In(-1, 1); }}, any};
    default:
        return {{"[-1, 1]", [](cRandom& r) { return r.In(-1, 1); }},
                {"[-4, 4]", [](cRandom& r) { return r.In(-4, 4); }},
                {"[-100, 100]", [](cRandom& r) { return r.In(-100, 100); }},
                {"[-1e5, 1e5]", [](cRandom& r) { return r.In(-1e5, 1e5); }},
                {"[-1e8, 1e8]", [](cRandom& r) { return r.In(-1e8, 1e8); }},
                {"[-1e12, 1e12]", [](cRandom& r) { return r.In(-1e12, 1e12); }},
                any};
    }
}

inline std::vector<sPairRange> rangesOf(elem_ePairFunction function) {
    if (function == elem_Atan2)
        return {{"[-10, 10]^2",
                 [](cRandom& r) {
                     return sPair{r.In(-10, 10), r.In(-10, 10)};
                 }},
                {"2^[-30, 30]",
                 [](cRandom& r) {
                     return sPair{r.Scaled(30), r.Scaled(30)};
                 }},
                {"2^[-600, 600]",
                 [](cRandom& r) {
                     return sPair{r.Scaled(600), r.Scaled(600)};
                 }},
                {"subnormal angles",
                 [](cRandom& r) {
                     return sPair{r.Scaled(30) * 0x1p-50, r.In(0.5, 1) * 0x1p1000};
                 }},
                {"small integers",
                 [](cRandom& r) {
                     return sPair{static_cast<double>(static_cast<int>(r.Bits() % 2001) - 1000),
                                  static_cast<double>(static_cast<int>(r.Bits() % 2001) - 1000)};
                 }},
                {"all doubles", [](cRandom& r) {
                     return sPair{r.Any(), r.Any()};
                 }}};
    return {{"[0.1, 10]^[-5, 5]",
             [](cRandom& r) {
                 return sPair{r.In(0.1, 10), r.In(-5, 5)};
             }},
            {"[0.9, 1.1]^[-500, 500]",
             [](cRandom& r) {
                 return sPair{r.In(0.9, 1.1), r.In(-500, 500)};
             }},
            {"2^[-50, 50]^[-20, 20]",
             [](cRandom& r) {
                 return sPair{std::fabs(r.Scaled(50)), r.In(-20, 20)};
             }},
            {"64ths^quarters",
             [](cRandom& r) {
                 return sPair{static_cast<double>(r.Bits() % 100000) / 64,
                              (static_cast<double>(r.Bits() % 64) - 20) / 4};
             }},
            {"all doubles", [](cRandom& r) {
                 return sPair{r.Any(), r.Any()};
             }}};
}

} // namespace elementary
