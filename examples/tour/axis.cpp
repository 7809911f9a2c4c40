#include "axis.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tour {

namespace {

constexpr const char* raised[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};

std::string powerOfTen(int exponent) {
    std::string result = exponent < 0 ? "10⁻" : "10";
    for (const char digit : std::to_string(std::abs(exponent)))
        result += raised[digit - '0'];
    return result;
}

std::string decimal(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, std::abs(value));
    return (value < 0 ? "−" : "") + std::string(text);
}

int orderOf(double value) { return static_cast<int>(std::floor(std::log10(value))); }

std::vector<Tick> decades(double low, double high) {
    const int first = static_cast<int>(std::ceil(std::log10(low) - 1e-9));
    const int last = static_cast<int>(std::floor(std::log10(high) + 1e-9));
    std::vector<Tick> ticks;
    for (int exponent = first; exponent <= last; exponent += 1 + (last - first) / 8)
        ticks.push_back({std::pow(10.0, exponent), powerOfTen(exponent)});
    return ticks;
}

/// The step of the round values, about `wanted` of them, from `low` to `high`.
double roundStep(double low, double high, int wanted) {
    const double rough = (high - low) / wanted;
    const double power = std::pow(10.0, orderOf(rough));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= 0.8 * rough)
            return factor * power;
    return 10 * power;
}

} // namespace

Axis Axis::Logarithmic(double low, double high, double from, double to) {
    Axis axis(low, high, from, to);
    axis.isLogarithmic_ = true;
    return axis;
}

double Axis::At(double value) const {
    const double part = isLogarithmic_ ? std::log(value / low_) / std::log(high_ / low_)
                                       : (value - low_) / (high_ - low_);
    return from_ + part * (to_ - from_);
}

std::vector<Tick> Axis::Ticks(int wanted) const {
    if (isLogarithmic_)
        return decades(low_, high_);
    const double step = roundStep(low_, high_, wanted);
    const int decimals = std::max(0, Power() - orderOf(step * (1 + 1e-9)));
    const double unit = std::pow(10.0, Power());
    std::vector<Tick> ticks;
    for (double i = std::ceil(low_ / step - 1e-6); i <= high_ / step + 1e-6; ++i) {
        const double value = i * step;
        ticks.push_back({value, decimal(value / unit, decimals)});
    }
    return ticks;
}

int Axis::Power() const {
    const double largest = std::max(std::abs(low_), std::abs(high_));
    const bool isPlain = isLogarithmic_ || (largest < 1e6 && largest >= 1e-3);
    return isPlain ? 0 : orderOf(largest);
}

std::string Axis::Named(const std::string& name) const {
    return Power() == 0 ? name : name + " / " + powerOfTen(Power());
}

} // namespace tour
