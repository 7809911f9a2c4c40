#pragma once

// What arithmetic on numbers and calibrated arrays must give, worked out from its rules one element
// at a time. Nothing here uses the library's conversion, alignment or arithmetic: every operand is
// converted, resampled and extended as a whole first, and then combined.

#include <string>
#include <vector>

namespace oracle {

/// One element of any of the ten types: each of them fits two doubles exactly.
struct Element {
    double re = 0;
    double im = 0;
};

struct Axis {
    double offset = 0;
    double delta = 1;
    int index = 0;
    int count = 1;

    double position(long long i) const { return offset + static_cast<double>(i - index) * delta; }
    double start() const { return position(0); }
    double end() const { return position(count); }
};

/// A number (no dimension) or an array of one or two dimensions; rows one after the other.
struct Value {
    int type = 8;
    int dimensions = 0;
    Axis x;
    Axis y;
    std::vector<Element> elements = std::vector<Element>(1);

    int count() const { return x.count * y.count; }
};

/// A value, or the refusal as "kind unit:line message".
struct Outcome {
    std::string refusal;
    Value value;
};

enum Operation { Add, Subtract, Multiply, Divide, Power };

/// The element of `type` nearest to a value: integers take ties to even and clip, NaN becomes 0.
Element converted(Element element, int type);
int resultType(int first, int second, int operation);
/// One result element, outside of whole chunks.
Element combined(int type, int operation, Element a, Element b);
/// Whether a divisor of a floating or complex type counts as zero.
bool isZero(int type, Element element);

Value convertedTo(Value value, int type);
Value rescaled(const Value& value, double deltaX, double deltaY);
/// The elements of indices [first, last) along each axis; what is outside is zero.
Value selected(const Value& value, long long firstX, long long lastX, long long firstY,
               long long lastY);
/// 0, or 1 or 2 for the operand that was resampled.
int matchDelta(Value& a, Value& b);
/// Whether the ranges differed.
bool matchRange(Value& a, Value& b);

Outcome operate(int operation, const Value& a, const Value& b);

/// Where the two differ, "" when they agree bit for bit (any NaN agrees with any other).
std::string difference(const Outcome& expected, const Outcome& actual);
bool isSame(Element a, Element b);

} // namespace oracle
