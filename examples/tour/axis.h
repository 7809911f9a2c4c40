#pragma once

#include <string>
#include <vector>

namespace tour {

/// A place on an axis with its number.
struct Tick {
    double value;
    std::string label;
};

/// Where an axis puts values: `low` at the coordinate `from`, `high` at `to`.
class Axis {
public:
    Axis(double low, double high, double from, double to)
        : low_(low), high_(high), from_(from), to_(to) {}
    /// An axis of decades; `low` is positive.
    static Axis Logarithmic(double low, double high, double from, double to);

    double Low() const { return low_; }
    double High() const { return high_; }
    double At(double value) const;
    /// Round values, about `wanted` of them; the decades on a logarithmic axis.
    std::vector<Tick> Ticks(int wanted) const;
    /// `name`, and the power of ten that the labels are multiples of: "power / 10⁻⁹". Very large
    /// and very small numbers are told so.
    std::string Named(const std::string& name) const;

private:
    double low_;
    double high_;
    double from_;
    double to_;
    bool isLogarithmic_ = false;

    int Power() const;
};

} // namespace tour
