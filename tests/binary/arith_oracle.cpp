#include "tests/binary/arith_oracle.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <sstream>

#include "dataprocessing/base/comp.h"

namespace oracle {

namespace {

using Refused = std::string;

bool isInteger(int type) { return type <= 6; }
bool isComplexType(int type) { return type >= 9; }
bool isSingle(int type) { return type == 7 || type == 9; }

double lowest(int type) {
    const double bounds[] = {0, 0, 0, 0, -128, -32768, -2147483648.0};
    return bounds[type];
}
double highest(int type) {
    const double bounds[] = {0, 255, 65535, 4294967295.0, 127, 32767, 2147483647};
    return bounds[type];
}

double convertedPart(double value, int type) {
    if (isSingle(type)) {
        // Kept in memory: g++ 12 drops the rounding at the end of a loop that it vectorises.
        const volatile float single = static_cast<float>(value);
        return single;
    }
    if (!isInteger(type))
        return value;
    if (std::isnan(value))
        return 0;
    // An integer has one zero.
    return std::nearbyint(std::clamp(value, lowest(type), highest(type))) + 0.0;
}

/// The low bits of an integer, read as an element of `type`.
Element wrapped(int type, std::uint64_t bits) {
    switch (type) {
    case 2:
        return {static_cast<double>(static_cast<std::uint16_t>(bits)), 0};
    case 3:
        return {static_cast<double>(static_cast<std::uint32_t>(bits)), 0};
    case 5:
        return {static_cast<double>(static_cast<std::int16_t>(bits)), 0};
    default:
        return {static_cast<double>(static_cast<std::int32_t>(bits)), 0};
    }
}

Element combinedIntegers(int type, int operation, double first, double second) {
    const auto a = static_cast<std::uint64_t>(static_cast<std::int64_t>(first));
    const auto b = static_cast<std::uint64_t>(static_cast<std::int64_t>(second));
    switch (operation) {
    case Add:
        return wrapped(type, a + b);
    case Subtract:
        return wrapped(type, a - b);
    default:
        return wrapped(type, a * b);
    }
}

template<class T>
Element combinedReals(int operation, T a, T b) {
    switch (operation) {
    case Add:
        return {static_cast<double>(a + b), 0};
    case Subtract:
        return {static_cast<double>(a - b), 0};
    case Multiply:
        return {static_cast<double>(a * b), 0};
    case Divide:
        return {static_cast<double>(a / b), 0};
    default:
        return {static_cast<double>(
                    static_cast<T>(std::pow(static_cast<double>(a), static_cast<double>(b)))),
                0};
    }
}

template<class T>
Element combinedComplex(int operation, Element first, Element second) {
    const T ar = static_cast<T>(first.re), ai = static_cast<T>(first.im);
    const T br = static_cast<T>(second.re), bi = static_cast<T>(second.im);
    switch (operation) {
    case Add:
        return {static_cast<double>(ar + br), static_cast<double>(ai + bi)};
    case Subtract:
        return {static_cast<double>(ar - br), static_cast<double>(ai - bi)};
    case Multiply:
        return {static_cast<double>(ar * br - ai * bi), static_cast<double>(ar * bi + ai * br)};
    case Divide: {
        // The quotient is the complex type's own operation.
        const comp_cComplex<T> quotient = comp_cComplex<T>(ar, ai) / comp_cComplex<T>(br, bi);
        return {static_cast<double>(quotient.re), static_cast<double>(quotient.im)};
    }
    default: {
        const std::complex<T> power = std::pow(std::complex<T>(ar, ai), std::complex<T>(br, bi));
        return {static_cast<double>(power.real()), static_cast<double>(power.imag())};
    }
    }
}

/// How many elements of `count` lie in whole chunks.
int inChunks(int type, int operation, int count) {
    if (operation > Multiply || type < 5 || type > 7)
        return 0;
    const int chunk = type == 5 ? 4 : 2;
    return count / chunk * chunk;
}

/// The number of an operation in whole chunks: 32-bit integers pass through single precision, and
/// what that takes beyond the largest one is clipped.
Element numberInChunks(int type, Element number) {
    if (type != 6)
        return number;
    return {std::min(2147483647.0, convertedPart(number.re, 7)), 0};
}

/// How far from a whole index, or from a half, one still counts as that.
double toleranceAt(const Axis& axis, double x) {
    const double larger = std::max(std::fabs(x), std::fabs(axis.offset));
    const double ulp = std::nextafter(larger, HUGE_VAL) - larger;
    return std::max(1e-6, 4 * ulp / std::fabs(axis.delta));
}

/// The element of `axis` nearest to position `x`, halves upward.
long long nearestIndex(const Axis& axis, double x) {
    if (axis.delta == 0)
        throw Refused("index arr:1");
    if (axis.start() == x)
        return 0;
    const double tolerance = toleranceAt(axis, x);
    const double p = (x - axis.offset) / axis.delta + axis.index;
    double index = std::floor(p + 0.5);
    if (std::isnan(index))
        throw Refused("index arr:1");
    if (std::fabs(p) < 4e15) {
        const bool isWhole =
            std::fabs(p - index) <= tolerance || axis.position(static_cast<long long>(index)) == x;
        if (!isWhole && std::fabs(p - std::floor(p) - 0.5) <= tolerance)
            index = std::floor(p) + 1;
    }
    return static_cast<long long>(std::clamp(index, -1e12, 1e12));
}

Axis rescaledAxis(const Axis& axis, double delta) {
    const bool isTurned = delta < 0 ? axis.delta > 0 : axis.delta < 0;
    if (delta == 0 || !std::isfinite(delta) || isTurned)
        throw Refused("program resc:1");
    const double count = std::floor(axis.count * axis.delta / delta + 0.5);
    if (!(count >= 0 && count <= 2147483647.0))
        throw Refused("size arr:2");
    return {axis.start(), delta, 0, static_cast<int>(count)};
}

#ifdef __SIZEOF_FLOAT128__
__extension__ typedef __float128 Wide;
#else
typedef long double Wide;
#endif

/// Where element `i` of a resampled axis lies among the stored ones.
struct Between {
    int left = 0;
    double part = 0;

    Between(int i, double delta, const Axis& axis) {
        left = axis.count - 1;
        if (delta == axis.delta) {
            left = i;
            return;
        }
        const double tolerance =
            std::max(toleranceAt(axis, axis.start()), toleranceAt(axis, axis.end()));
        const Wide p =
            static_cast<Wide>(i) * static_cast<Wide>(delta) / static_cast<Wide>(axis.delta);
        const auto nearest = static_cast<long long>(p + static_cast<Wide>(0.5));
        const Wide away = p - static_cast<Wide>(nearest);
        if ((away < 0 ? -away : away) <= static_cast<Wide>(tolerance)) {
            left = static_cast<int>(std::min<long long>(nearest, left));
        } else if (p < static_cast<Wide>(left)) {
            left = static_cast<int>(p);
            // To 63 bits, the last of which stands for all that follow too.
            const Wide scaled = (p - static_cast<Wide>(left)) * static_cast<Wide>(0x1p63);
            auto bits = static_cast<long long>(scaled);
            if (static_cast<Wide>(bits) != scaled)
                bits |= 1;
            part = static_cast<double>(bits) * 0x1p-63;
        }
    }

    double of(double a, double b) const {
        // The values may lie further apart than the largest double, or infinitely far.
        return std::isfinite(b - a) ? a + (b - a) * part : a * (1 - part) + b * part;
    }
    Element of(Element a, Element b) const { return {of(a.re, b.re), of(a.im, b.im)}; }
};

Axis selectedAxis(const Axis& axis, long long first, long long last) {
    const long long count = std::max(last - first, 0LL);
    if (count > std::numeric_limits<int>::max())
        throw Refused("size arr:2");
    const long long index = axis.index - first;
    if (count > 0 &&
        (index < std::numeric_limits<int>::min() || index > std::numeric_limits<int>::max()))
        throw Refused("index arr:1");
    return {axis.offset, axis.delta,
            static_cast<int>(std::clamp<long long>(index, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max())),
            static_cast<int>(count)};
}

/// Raises the size error for more elements than an array can have.
void requireCountable(const Axis& x, const Axis& y) {
    if (static_cast<long long>(x.count) * y.count > std::numeric_limits<int>::max())
        throw Refused("size arr:2");
}

bool isSameRange(const Axis& a, const Axis& b) {
    return a.count == b.count && a.start() == b.start() && a.end() == b.end();
}

struct Run {
    long long first;
    long long last;
};

/// What each of two axes becomes: the elements from the one nearest to where the earlier of them
/// starts, as many as the farther reaches. An empty operand takes no part in that.
std::pair<Run, Run> runsOverBoth(const Axis& a, bool isEmptyA, const Axis& b, bool isEmptyB) {
    const double sign = a.delta < 0 ? -1 : 1;
    const auto earlier = [&](double x, double y) { return sign * x < sign * y ? x : y; };
    const auto later = [&](double x, double y) { return sign * x < sign * y ? y : x; };
    const double start = isEmptyB   ? a.start()
                         : isEmptyA ? b.start()
                                    : earlier(a.start(), b.start());
    long long firstA = nearestIndex(a, start);
    long long firstB = nearestIndex(b, start);
    if (!isEmptyA)
        firstA = std::min(firstA, 0LL);
    if (!isEmptyB)
        firstB = std::min(firstB, 0LL);
    if (a.delta == b.delta) {
        const long long count =
            std::max(isEmptyA ? 0 : a.count - firstA, isEmptyB ? 0 : b.count - firstB);
        return {{firstA, firstA + count}, {firstB, firstB + count}};
    }
    const double end = isEmptyB ? a.end() : isEmptyA ? b.end() : later(a.end(), b.end());
    const auto count = [&](const Axis& axis) {
        return -nearestIndex({start, -axis.delta, 0, 0}, end);
    };
    return {{firstA, firstA + count(a)}, {firstB, firstB + count(b)}};
}

std::string divideByZero(const Value& a, const Value& b) {
    const int line =
        a.dimensions == 0 ? (b.dimensions == 0 ? 436 : 475) : (b.dimensions == 0 ? 514 : 553);
    return "user binary1:" + std::to_string(line) + " Division by zero.";
}

Value computed(int operation, Value a, Value b) {
    const bool isNumberFirst = a.dimensions == 0;
    const bool isNumberSecond = b.dimensions == 0;
    if (isNumberFirst && isNumberSecond)
        return {a.type, 0, {}, {}, {combined(a.type, operation, a.elements[0], b.elements[0])}};

    Value result = isNumberFirst ? b : a;
    const int chunked = inChunks(a.type, operation, result.count());
    for (int i = 0; i < result.count(); ++i) {
        const auto at = static_cast<std::size_t>(i);
        const Element x = a.elements[isNumberFirst ? 0 : at];
        const Element y = b.elements[isNumberSecond ? 0 : at];
        if (i < chunked && isNumberFirst)
            result.elements[at] = combined(a.type, operation, y, numberInChunks(a.type, x));
        else if (i < chunked && isNumberSecond)
            result.elements[at] = combined(a.type, operation, x, numberInChunks(a.type, y));
        else
            result.elements[at] = combined(a.type, operation, x, y);
    }
    return result;
}

Value operated(int operation, Value a, Value b) {
    const bool areArrays = a.dimensions != 0 && b.dimensions != 0;
    if (areArrays && a.count() == 0 && b.count() == 0)
        return a;
    if (a.dimensions != 0 && !areArrays && a.count() == 0)
        return a;
    if (b.dimensions != 0 && !areArrays && b.count() == 0)
        return b;

    const int type = resultType(a.type, b.type, operation);
    a = convertedTo(a, type);
    b = convertedTo(b, type);
    if (operation == Divide)
        for (const Element& element : b.elements)
            if (isZero(type, element))
                throw Refused(divideByZero(a, b));
    if (areArrays) {
        matchDelta(a, b);
        matchRange(a, b);
        if (a.x.count != b.x.count || a.y.count != b.y.count)
            throw Refused("size arr:2");
    }
    return computed(operation, a, b);
}

} // namespace

Element converted(Element element, int type) {
    return {convertedPart(element.re, type),
            isComplexType(type) ? convertedPart(element.im, type) : 0};
}

int resultType(int first, int second, int operation) {
    enum Group { Bytes, Shorts, Words, Others };
    const Group groups[] = {Others, Bytes,  Shorts, Words,  Bytes, Shorts,
                            Words,  Others, Others, Others, Others};
    const Group group = std::max(groups[first], groups[second]);
    const bool isSum = operation == Add || operation == Subtract;
    switch (group) {
    case Bytes:
        return isSum ? 5 : operation == Multiply ? 6 : 7;
    case Shorts:
        return isSum ? 6 : 7;
    case Words:
        if (first == 3 && second == 3 && operation == Add)
            return 3;
        return isSum ? 6 : 8;
    default:
        if ((first == 8 && second == 9) || (first == 9 && second == 8))
            return 10;
        return std::max(first, second);
    }
}

Element combined(int type, int operation, Element a, Element b) {
    switch (type) {
    case 7:
        return combinedReals<float>(operation, static_cast<float>(a.re), static_cast<float>(b.re));
    case 8:
        return combinedReals<double>(operation, a.re, b.re);
    case 9:
        return combinedComplex<float>(operation, a, b);
    case 10:
        return combinedComplex<double>(operation, a, b);
    default:
        return combinedIntegers(type, operation, a.re, b.re);
    }
}

bool isZero(int type, Element element) {
    const double smallest = isSingle(type) ? double{FLT_MIN} : DBL_MIN;
    const bool re = !(std::fabs(element.re) >= smallest);
    const bool im = !(std::fabs(element.im) >= smallest);
    return isComplexType(type) ? re && im : re;
}

Value convertedTo(Value value, int type) {
    for (Element& element : value.elements)
        element = converted(element, type);
    value.type = type;
    return value;
}

Value rescaled(const Value& value, double deltaX, double deltaY) {
    Value result = value;
    result.x = rescaledAxis(value.x, deltaX);
    if (value.dimensions == 2)
        result.y = rescaledAxis(value.y, deltaY);
    requireCountable(result.x, result.y);
    const auto at = [&](int x, int y) {
        return value
            .elements[static_cast<std::size_t>(y) * static_cast<std::size_t>(value.x.count) +
                      static_cast<std::size_t>(x)];
    };
    result.elements.clear();
    if (result.count() == 0)
        return result;
    for (int j = 0; j < result.y.count; ++j)
        for (int i = 0; i < result.x.count; ++i) {
            const Between x(i, deltaX, value.x);
            const Between y(j, value.dimensions == 2 ? deltaY : value.y.delta, value.y);
            const auto inRow = [&](int row) {
                const Element left = at(x.left, row);
                return x.part == 0 ? left : x.of(left, at(x.left + 1, row));
            };
            const Element low = inRow(y.left);
            result.elements.push_back(
                converted(y.part == 0 ? low : y.of(low, inRow(y.left + 1)), value.type));
        }
    return result;
}

Value selected(const Value& value, long long firstX, long long lastX, long long firstY,
               long long lastY) {
    Value result = value;
    result.x = selectedAxis(value.x, firstX, lastX);
    if (value.dimensions == 2)
        result.y = selectedAxis(value.y, firstY, lastY);
    requireCountable(result.x, result.y);
    result.elements.clear();
    if (result.count() == 0)
        return result;
    for (long long y = firstY; y < lastY; ++y)
        for (long long x = firstX; x < lastX; ++x) {
            const bool inside = x >= 0 && x < value.x.count && y >= 0 && y < value.y.count;
            result.elements.push_back(
                inside ? value.elements[static_cast<std::size_t>(y * value.x.count + x)]
                       : Element{});
        }
    return result;
}

int matchDelta(Value& a, Value& b) {
    const auto finer = [](double p, double q) { return std::fabs(p) < std::fabs(q) ? p : q; };
    const double x = finer(a.x.delta, b.x.delta);
    const double y = finer(a.y.delta, b.y.delta);
    if (a.x.delta != x || a.y.delta != y) {
        a = rescaled(a, x, y);
        return 1;
    }
    if (b.x.delta != x || b.y.delta != y) {
        b = rescaled(b, x, y);
        return 2;
    }
    return 0;
}

bool matchRange(Value& a, Value& b) {
    if (isSameRange(a.x, b.x) && isSameRange(a.y, b.y))
        return false;
    const bool isEmptyA = a.count() == 0;
    const bool isEmptyB = b.count() == 0;
    const auto [xA, xB] = runsOverBoth(a.x, isEmptyA, b.x, isEmptyB);
    const auto [yA, yB] = a.dimensions == 2 ? runsOverBoth(a.y, isEmptyA, b.y, isEmptyB)
                                            : std::pair<Run, Run>{{0, 1}, {0, 1}};
    Value first = selected(a, xA.first, xA.last, yA.first, yA.last);
    b = selected(b, xB.first, xB.last, yB.first, yB.last);
    a = first;
    return true;
}

Outcome operate(int operation, const Value& a, const Value& b) {
    try {
        return {"", operated(operation, a, b)};
    } catch (const Refused& refusal) {
        return {refusal, {}};
    }
}

bool isSame(Element a, Element b) {
    const auto isSamePart = [](double p, double q) {
        return (std::isnan(p) && std::isnan(q)) || (p == q && std::signbit(p) == std::signbit(q));
    };
    return isSamePart(a.re, b.re) && isSamePart(a.im, b.im);
}

std::string difference(const Outcome& expected, const Outcome& actual) {
    std::ostringstream text;
    text.precision(17);
    const auto differ = [&](const char* what, auto wanted, auto got) {
        const bool areNaN = wanted != wanted && got != got;
        if (!(wanted == got) && !areNaN)
            text << what << ": " << got << " instead of " << wanted << "; ";
    };
    differ("refusal", expected.refusal, actual.refusal);
    if (!text.str().empty() || !expected.refusal.empty())
        return text.str();

    const Value& e = expected.value;
    const Value& v = actual.value;
    differ("type", e.type, v.type);
    differ("dimensions", e.dimensions, v.dimensions);
    for (const auto& [wanted, got] : {std::pair(e.x, v.x), std::pair(e.y, v.y)}) {
        differ("count", wanted.count, got.count);
        differ("offset", wanted.offset, got.offset);
        differ("delta", wanted.delta, got.delta);
        differ("index", wanted.index, got.index);
    }
    if (!text.str().empty())
        return text.str();
    if (e.elements.size() != v.elements.size())
        return "number of elements";
    for (std::size_t i = 0; i < e.elements.size(); ++i)
        if (!isSame(e.elements[i], v.elements[i])) {
            text << "element " << i << ": (" << v.elements[i].re << ", " << v.elements[i].im
                 << ") instead of (" << e.elements[i].re << ", " << e.elements[i].im << ")";
            return text.str();
        }
    return "";
}

} // namespace oracle
