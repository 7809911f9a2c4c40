// Arithmetic, comparisons and functions of any operands give what their rules, worked out element
// by element, say: values, types and calibrations, or the refusal.

#include <algorithm>
#include <cmath>
#include <complex>
#include <new>
#include <string>
#include <utility>

#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/unary/unry.h"
#include "tests/binary/arith_values.h"
#include "tests/failing_new.h"
#include "tests/fuzz/values.h"

using oracle::Element;
using oracle::Outcome;
using oracle::Value;

namespace {

constexpr std::size_t libraryLimit = std::size_t{1} << 18;
constexpr std::size_t oracleLimit = std::size_t{4} << 20;

bool isUnalignable(const Outcome& outcome) {
    return outcome.refusal == "size arr:2" || outcome.refusal == "index arr:1";
}

/// The library's answer first: what it finds too large is too large for the oracle.
template<class Library, class Oracle>
void compare(const std::string& what, Library library, Oracle rules) {
    Outcome actual, expected;
    try {
        {
            const LimitedNew limited(libraryLimit);
            actual = library();
        }
        const LimitedNew limited(oracleLimit);
        expected = rules();
    } catch (const std::bad_alloc&) {
        return;
    }
    // Where an alignment is impossible for its size and for its indices, either may be named.
    if (isUnalignable(expected) && isUnalignable(actual))
        return;
    requireNone(oracle::difference(expected, actual), what);
}

const std::pair<int, int> pairings[] = {{0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 1}, {2, 0}, {2, 2}};

void arithmetic(cInput& input) {
    const auto [first, second] = pairings[input.Below(7)];
    const int operation = input.Below(5);
    const Value a = nextValue(input, first), b = nextValue(input, second);
    compare(
        "operation " + std::to_string(operation) + " on " + oracle::describe(a) + " and " +
            oracle::describe(b),
        [&] { return oracle::operateWithLibrary(operation, a, b); },
        [&] { return oracle::operate(operation, a, b); });
}

// ---- Comparisons: a mask is a value of 8-bit integers on the default calibration ----------------

Value valueOf(type_cBoolean truth) { return {1, 0, {}, {}, {{truth ? 1.0 : 0.0, 0}}}; }

Value valueOf(const barr_c1DBoolArray& mask) {
    Value value{1, 1, {0, 1, 0, mask.Size()}, {}, {}};
    for (int i = 0; i < mask.Size(); ++i)
        value.elements.push_back({static_cast<double>(mask.Element(i)), 0});
    return value;
}

Value valueOf(const barr_c2DBoolArray& mask) {
    Value value{1, 2, {0, 1, 0, mask.SizeX()}, {0, 1, 0, mask.SizeY()}, {}};
    for (int y = 0; y < mask.SizeY(); ++y)
        for (int x = 0; x < mask.SizeX(); ++x)
            value.elements.push_back({static_cast<double>(mask.Element(x, y)), 0});
    return value;
}

/// Calls `visit` with the library's value of the same kind.
template<class Visit>
void visitKind(const Value& value, Visit visit) {
    switch (value.dimensions) {
    case 0:
        return visit(oracle::numberOf(value));
    case 1:
        return visit(oracle::array1DOf(value));
    default:
        return visit(oracle::array2DOf(value));
    }
}

Outcome compareWithLibrary(int comparison, const Value& a, const Value& b) {
    Outcome outcome;
    visitKind(a, [&](const auto& first) {
        visitKind(b, [&](const auto& second) {
            if constexpr (requires { first == second; })
                outcome.refusal = refusalWithKindOf([&] {
                    outcome.value =
                        valueOf(bnry_Operate(bnry_eCompBinaryOperation(comparison), first, second));
                });
        });
    });
    return outcome;
}

template<class T>
bool holds(int comparison, T a, T b) {
    const bool answers[] = {a == b, a != b, a > b, a >= b, a < b, a <= b};
    return answers[comparison];
}

template<class T>
T modulus(Element z) {
    return std::abs(std::complex<T>(static_cast<T>(z.re), static_cast<T>(z.im)));
}

bool holds(int type, int comparison, Element a, Element b) {
    if (type <= 8)
        return holds(comparison, a.re, b.re);
    if (comparison < 2)
        return (a.re == b.re && a.im == b.im) == (comparison == 0);
    return type == 9 ? holds(comparison, modulus<float>(a), modulus<float>(b))
                     : holds(comparison, modulus<double>(a), modulus<double>(b));
}

Outcome compared(int comparison, Value a, Value b) {
    const bool areArrays = a.dimensions > 0 && b.dimensions > 0;
    const int type = std::max(a.type, b.type);
    Value result = a.dimensions > 0 ? a : b;
    const bool isEmpty = areArrays ? a.count() == 0 && b.count() == 0 : result.count() == 0;
    if (!isEmpty) {
        a = oracle::convertedTo(a, type);
        b = oracle::convertedTo(b, type);
        if (areArrays) {
            try {
                oracle::matchDelta(a, b);
                oracle::matchRange(a, b);
            } catch (const std::string& refusal) {
                return {refusal, {}};
            }
            if (a.count() == 0)
                return {"index arr:1", {}};
            if (a.x.count != b.x.count || a.y.count != b.y.count)
                return {"size arr:2", {}};
        }
        result = a.dimensions > 0 ? a : b;
    }
    result.type = 1;
    if (result.dimensions > 0)
        result.x = {0, 1, 0, isEmpty ? 2 : result.x.count};
    if (result.dimensions > 1)
        result.y = {0, 1, 0, isEmpty ? 2 : result.y.count};
    result.elements.assign(static_cast<std::size_t>(result.count()), Element{});
    for (std::size_t i = 0; !isEmpty && i < result.elements.size(); ++i)
        result.elements[i].re = holds(type, comparison, a.elements[a.dimensions > 0 ? i : 0],
                                      b.elements[b.dimensions > 0 ? i : 0]);
    return {"", result};
}

void comparison(cInput& input) {
    const auto [first, second] = pairings[input.Below(7)];
    const int code = input.Below(6);
    const Value a = nextValue(input, first), b = nextValue(input, second);
    compare(
        "comparison " + std::to_string(code) + " of " + oracle::describe(a) + " and " +
            oracle::describe(b),
        [&] { return compareWithLibrary(code, a, b); }, [&] { return compared(code, a, b); });
}

// ---- Functions ---------------------------------------------------------------------------------

/// The functions that reals and complex numbers share.
template<class T>
T evaluated(int function, T x) {
    switch (function) {
    case unry_Acos:
        return std::acos(x);
    case unry_Asin:
        return std::asin(x);
    case unry_Atan:
        return std::atan(x);
    case unry_Cos:
        return std::cos(x);
    case unry_Cosh:
        return std::cosh(x);
    case unry_Exp:
        return std::exp(x);
    case unry_Log:
        return std::log(x);
    case unry_Log10:
        return std::log10(x);
    case unry_Sin:
        return std::sin(x);
    case unry_Sinh:
        return std::sinh(x);
    case unry_Sqrt:
        return std::sqrt(x);
    case unry_Tan:
        return std::tan(x);
    case unry_Tanh:
        return std::tanh(x);
    default:
        return x;
    }
}

double ofReal(int function, double x) {
    switch (function) {
    case unry_Negate:
        return -x;
    case unry_Abs:
        return x > 0 ? x : x == 0 ? -0.0 : -x;
    case unry_Sqr:
        return x * x;
    case unry_Imag:
    case unry_Arg:
        return 0;
    default:
        return evaluated(function, x);
    }
}

template<class T>
Element ofComplex(int function, Element z) {
    const T re = static_cast<T>(z.re), im = static_cast<T>(z.im);
    switch (function) {
    case unry_Negate:
        return {-z.re, -z.im};
    case unry_Abs:
        return {double{modulus<T>(z)}, 0};
    case unry_Sqr:
        return {double{re * re - im * im}, double{re * im + im * re}};
    case unry_Real:
        return {z.re, 0};
    case unry_Imag:
        return {z.im, 0};
    case unry_Norm:
        return {double{re * re + im * im}, 0};
    case unry_Arg:
        return {double{static_cast<T>(std::atan2(z.im, z.re))}, 0};
    case unry_Sqrt: {
        const std::complex<T> root(std::sqrt(std::complex<double>(z.re, z.im)));
        return {double{root.real()}, double{root.imag()}};
    }
    case unry_Conj:
        return {z.re, -z.im};
    default: {
        const std::complex<T> value = evaluated(function, std::complex<T>(re, im));
        return {double{value.real()}, double{value.imag()}};
    }
    }
}

bool leavesReals(int function, double x) {
    switch (function) {
    case unry_Log:
    case unry_Log10:
        return !(x > 0);
    case unry_Sqrt:
        return !(x >= 0);
    default:
        return false;
    }
}

Outcome functionOf(int function, const Value& x) {
    Value value = oracle::convertedTo(x, std::max(x.type, 7));
    if (value.type <= 8)
        for (const Element& element : value.elements) {
            const bool isOutside = !(std::fabs(element.re) <= 1);
            if (isOutside && (function == unry_Acos || function == unry_Asin))
                return {std::string("user unary1:") + (function == unry_Acos ? "264" : "268") +
                            " Domain error.",
                        {}};
            if (leavesReals(function, element.re)) {
                value = oracle::convertedTo(value, 10);
                break;
            }
        }
    const bool isPart = function >= unry_Real && function <= unry_Arg;
    const int type = value.type >= 9 && isPart ? value.type - 2 : value.type;
    for (Element& element : value.elements)
        element = oracle::converted(value.type <= 8   ? Element{ofReal(function, element.re), 0}
                                    : value.type == 9 ? ofComplex<float>(function, element)
                                                      : ofComplex<double>(function, element),
                                    type);
    value.type = type;
    return {"", value};
}

void function(cInput& input) {
    const int code = input.Below(22);
    const Value x = nextValue(input, input.Below(3));
    compare(
        "function " + std::to_string(code) + " of " + oracle::describe(x),
        [&] {
            Outcome outcome;
            visitKind(x, [&](const auto& operand) {
                outcome.refusal = refusalWithKindOf([&] {
                    outcome.value =
                        oracle::valueOf(unry_Operate(unry_eMathUnaryOperation(code), operand));
                });
            });
            return outcome;
        },
        [&] { return functionOf(code, x); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cInput input(data, size);
    switch (input.Below(3)) {
    case 0:
        arithmetic(input);
        break;
    case 1:
        comparison(input);
        break;
    default:
        function(input);
    }
    return 0;
}
