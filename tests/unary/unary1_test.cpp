#include "dataprocessing/unary/unry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <limits>
#include <numbers>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "tests/failing_new.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

constexpr double largest = std::numeric_limits<double>::max();
constexpr double smallest = std::numeric_limits<double>::min();
constexpr double least = std::numeric_limits<double>::denorm_min();

/// Which real elements a function has a real value for.
enum eDomain { anywhere, withinUnity, positive, notNegative };

bool isIn(eDomain domain, double x) {
    switch (domain) {
    case withinUnity:
        return x >= -1 && x <= 1;
    case positive:
        return x > 0;
    case notNegative:
        return x >= 0;
    default:
        return true;
    }
}

/// One function under all its names, and what it is of one element.
struct Function {
    const char* name;
    unry_eMathUnaryOperation code;
    pnum_cNumber (*ofNumber)(const pnum_cNumber&);
    darr_c1DArray (*ofLine)(const darr_c1DArray&);
    darr_c2DArray (*ofImage)(const darr_c2DArray&);
    eDomain domain;
    bool hasRealResult;
    double (*ofReal)(double);
    std::complex<float> (*ofComplexFloat)(const std::complex<float>&);
    std::complex<double> (*ofComplexDouble)(const std::complex<double>&);

    template<class T>
    std::complex<T> ofComplex(const std::complex<T>& z) const {
        if constexpr (std::is_same_v<T, float>)
            return ofComplexFloat(z);
        else
            return ofComplexDouble(z);
    }
};

template<class Complex>
Complex product(const Complex& a, const Complex& b) {
    // The parts of the textbook product; volatile, so that no compiler fuses what is rounded.
    typename Complex::value_type volatile rr = a.real() * b.real(), ii = a.imag() * b.imag(),
                                          ri = a.real() * b.imag(), ir = a.imag() * b.real();
    return {rr - ii, ri + ir};
}

// clang-format off
const Function functions[] = {
    {"plus", unry_Plus, ::operator+, ::operator+, ::operator+, anywhere, false,
     [](double x) { return x; }, [](const auto& z) { return z; }, [](const auto& z) { return z; }},
    {"negate", unry_Negate, ::operator-, ::operator-, ::operator-, anywhere, false,
     [](double x) { return -x; }, [](const auto& z) { return -z; }, [](const auto& z) { return -z; }},
    {"abs", unry_Abs, ::abs, ::abs, ::abs, anywhere, false,
     [](double x) { return x == 0 ? -0.0 : std::fabs(x); },
     [](const auto& z) { return std::complex(std::abs(z)); }, [](const auto& z) { return std::complex(std::abs(z)); }},
    {"acos", unry_Acos, ::acos, ::acos, ::acos, withinUnity, false,
     [](double x) { return std::acos(x); }, [](const auto& z) { return std::acos(z); }, [](const auto& z) { return std::acos(z); }},
    {"asin", unry_Asin, ::asin, ::asin, ::asin, withinUnity, false,
     [](double x) { return std::asin(x); }, [](const auto& z) { return std::asin(z); }, [](const auto& z) { return std::asin(z); }},
    {"atan", unry_Atan, ::atan, ::atan, ::atan, anywhere, false,
     [](double x) { return std::atan(x); }, [](const auto& z) { return std::atan(z); }, [](const auto& z) { return std::atan(z); }},
    {"cos", unry_Cos, ::cos, ::cos, ::cos, anywhere, false,
     [](double x) { return std::cos(x); }, [](const auto& z) { return std::cos(z); }, [](const auto& z) { return std::cos(z); }},
    {"cosh", unry_Cosh, ::cosh, ::cosh, ::cosh, anywhere, false,
     [](double x) { return std::cosh(x); }, [](const auto& z) { return std::cosh(z); }, [](const auto& z) { return std::cosh(z); }},
    {"exp", unry_Exp, ::exp, ::exp, ::exp, anywhere, false,
     [](double x) { return std::exp(x); }, [](const auto& z) { return std::exp(z); }, [](const auto& z) { return std::exp(z); }},
    {"log", unry_Log, ::log, ::log, ::log, positive, false,
     [](double x) { return std::log(x); }, [](const auto& z) { return std::log(z); }, [](const auto& z) { return std::log(z); }},
    {"log10", unry_Log10, ::log10, ::log10, ::log10, positive, false,
     [](double x) { return std::log10(x); }, [](const auto& z) { return std::log10(z); }, [](const auto& z) { return std::log10(z); }},
    {"sin", unry_Sin, ::sin, ::sin, ::sin, anywhere, false,
     [](double x) { return std::sin(x); }, [](const auto& z) { return std::sin(z); }, [](const auto& z) { return std::sin(z); }},
    {"sinh", unry_Sinh, ::sinh, ::sinh, ::sinh, anywhere, false,
     [](double x) { return std::sinh(x); }, [](const auto& z) { return std::sinh(z); }, [](const auto& z) { return std::sinh(z); }},
    {"sqr", unry_Sqr, ::sqr, ::sqr, ::sqr, anywhere, false,
     [](double x) { return x * x; }, [](const auto& z) { return product(z, z); }, [](const auto& z) { return product(z, z); }},
    {"sqrt", unry_Sqrt, ::sqrt, ::sqrt, ::sqrt, notNegative, false,
     [](double x) { return std::sqrt(x); },
     [](const auto& z) { return std::complex<float>(std::sqrt(std::complex<double>(z))); }, [](const auto& z) { return std::sqrt(z); }},
    {"tan", unry_Tan, ::tan, ::tan, ::tan, anywhere, false,
     [](double x) { return std::tan(x); }, [](const auto& z) { return std::tan(z); }, [](const auto& z) { return std::tan(z); }},
    {"tanh", unry_Tanh, ::tanh, ::tanh, ::tanh, anywhere, false,
     [](double x) { return std::tanh(x); }, [](const auto& z) { return std::tanh(z); }, [](const auto& z) { return std::tanh(z); }},
    {"real", unry_Real, ::real, ::real, ::real, anywhere, true,
     [](double x) { return x; }, [](const auto& z) { return std::complex(z.real()); }, [](const auto& z) { return std::complex(z.real()); }},
    {"imag", unry_Imag, ::imag, ::imag, ::imag, anywhere, true,
     [](double) { return 0.0; }, [](const auto& z) { return std::complex(z.imag()); }, [](const auto& z) { return std::complex(z.imag()); }},
    {"norm", unry_Norm, ::norm, ::norm, ::norm, anywhere, true,
     [](double x) { return x; },
     [](const auto& z) { return std::complex(product(z, std::conj(z)).real()); }, [](const auto& z) { return std::complex(product(z, std::conj(z)).real()); }},
    {"arg", unry_Arg, ::arg, ::arg, ::arg, anywhere, true,
     [](double) { return 0.0; },
     [](const auto& z) { return std::complex(static_cast<float>(std::atan2(double{z.imag()}, double{z.real()}))); },
     [](const auto& z) { return std::complex(std::atan2(z.imag(), z.real())); }},
    {"conj", unry_Conj, ::conj, ::conj, ::conj, anywhere, false,
     [](double x) { return x; }, [](const auto& z) { return std::conj(z); }, [](const auto& z) { return std::conj(z); }}};
// clang-format on

/// The type that the elements of a real operand are computed in.
template<class T>
using Floating = std::conditional_t<std::is_integral_v<T>, float, T>;

template<class T>
Floating<T> expectedReal(const Function& f, T x) {
    return static_cast<Floating<T>>(f.ofReal(static_cast<double>(static_cast<Floating<T>>(x))));
}

template<class T>
std::vector<T> realElements(eDomain domain) {
    std::vector<T> elements;
    const auto add = [&](double x) {
        if constexpr (std::is_integral_v<T>) {
            if (x != std::floor(x) || x < static_cast<double>(std::numeric_limits<T>::min()) ||
                x > static_cast<double>(std::numeric_limits<T>::max()))
                return;
        } else if (std::isfinite(x) &&
                   std::fabs(x) > static_cast<double>(std::numeric_limits<T>::max())) {
            return;
        }
        if (isIn(domain, x) && isIn(domain, static_cast<double>(static_cast<T>(x))))
            elements.push_back(static_cast<T>(x));
    };
    constexpr double pi = std::numbers::pi;
    for (const double x :
         {0.0,     least,      smallest,     1e-300,       1e-40,        1.4e-45, 1.1754944e-38,
          1e-10,   0.25,       0.5,          0.7,          1.0,          1.5,     pi / 4,
          pi / 2,  pi,         2.0,          3.0,          10.0,         88.7,    89.0,
          100.0,   127.0,      128.0,        255.0,        709.0,        710.0,   745.0,
          746.0,   32767.0,    32768.0,      65535.,       1e5,          1e22,    3.4028234e38,
          largest, 16777217.0, 2147483647.0, 2147483648.0, 4294967295.0, infinity}) {
        add(x);
        add(-x);
    }
    add(notANumber);
    std::mt19937_64 random(20);
    std::uniform_real_distribution<double> near(-1, 1);
    std::uniform_int_distribution<int> exponent(-40, 40);
    for (int i = 0; i < 3000; ++i) {
        add(near(random));
        add(std::ldexp(near(random), exponent(random)));
        if (std::is_integral_v<T>)
            add(std::floor(std::ldexp(near(random), 33)));
    }
    return elements;
}

template<class T>
std::vector<std::complex<T>> complexElements() {
    const T parts[] = {T(0),
                       -T(0),
                       T(0.5),
                       T(-0.5),
                       T(1),
                       T(-1),
                       T(1.5),
                       T(-2),
                       T(3),
                       T(-100),
                       T(1e10),
                       std::numeric_limits<T>::min(),
                       std::numeric_limits<T>::denorm_min(),
                       std::numeric_limits<T>::max(),
                       std::numeric_limits<T>::infinity(),
                       -std::numeric_limits<T>::infinity(),
                       std::numeric_limits<T>::quiet_NaN()};
    std::vector<std::complex<T>> elements;
    for (const T re : parts)
        for (const T im : parts)
            elements.emplace_back(re, im);
    std::mt19937_64 random(21);
    std::uniform_real_distribution<T> part(-4, 4);
    for (int i = 0; i < 1000; ++i)
        elements.emplace_back(part(random), part(random));
    return elements;
}

template<class T>
void expectSame(T actual, T expected, const std::string& what) {
    if (!isSameElement(actual, expected))
        ADD_FAILURE() << what << ": " << pnum_cNumber(dtyp_Of<T>(), &actual) << " instead of "
                      << pnum_cNumber(dtyp_Of<T>(), &expected);
}

const cal_c1DArrayCal lineCal(12.5, 0.25, 3);
const cal_c2DArrayCal imageCal(1, 2, 3, 4, 5, 6);

/// Every form of a function, of these elements, gives these results.
template<class T, class R>
void expectEverywhere(const Function& f, const std::vector<T>& elements,
                      const std::vector<R>& expected) {
    ASSERT_EQ(elements.size(), expected.size());
    const std::span<const T> span(elements);
    const int count = static_cast<int>(elements.size());
    const dtyp_cDataType type = dtyp_Of<T>();
    const darr_c1DArray line(parr_c1DNumberArray(count, type, elements.data()), lineCal);
    const darr_c2DArray image(parr_c2DNumberArray(1, count, type, elements.data()), imageCal);
    const darr_c1DArray lines[] = {f.ofLine(line), unry_Operate(f.code, line)};
    const darr_c2DArray images[] = {f.ofImage(image), unry_Operate(f.code, image)};
    for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(lines[k].DataType(), dtyp_Of<R>()) << f.name << " of type " << type.Code();
        ASSERT_EQ(images[k].DataType(), dtyp_Of<R>()) << f.name << " of type " << type.Code();
        ASSERT_EQ(lines[k].Size(), count);
        ASSERT_EQ(lines[k].Cal(), lineCal);
        ASSERT_EQ(images[k].SizeX(), 1);
        ASSERT_EQ(images[k].SizeY(), count);
        ASSERT_EQ(images[k].Cal(), imageCal);
    }
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const std::string what = std::string(f.name) + " of type " + std::to_string(type.Code()) +
                                 " at " + std::to_string(i);
        for (int k = 0; k < 2; ++k) {
            expectSame(lines[k].template Elements<R>()[i], expected[i], what);
            expectSame(images[k].template Elements<R>()[i], expected[i], what);
        }
        const pnum_cNumber number(type, &elements[i]);
        const pnum_cNumber numbers[] = {f.ofNumber(number), unry_Operate(f.code, number)};
        for (const pnum_cNumber& result : numbers) {
            ASSERT_EQ(result.DataType(), dtyp_Of<R>()) << what;
            R value;
            std::memcpy(&value, result.Data(), sizeof value);
            expectSame(value, expected[i], what);
        }
        if (testing::Test::HasFailure())
            return;
    }
}

template<class T>
class UnaryOfReals : public testing::Test {};
using RealTypes = testing::Types<unsigned char, unsigned short, unsigned int, signed char, short,
                                 int, float, double>;
TYPED_TEST_SUITE(UnaryOfReals, RealTypes);

TYPED_TEST(UnaryOfReals, GiveTheRuntimesDoubleResultRoundedOnce) {
    for (const Function& f : functions) {
        const std::vector<TypeParam> elements = realElements<TypeParam>(f.domain);
        ASSERT_GE(elements.size(), 2U) << f.name;
        std::vector<Floating<TypeParam>> expected;
        for (const TypeParam x : elements)
            expected.push_back(expectedReal(f, x));
        expectEverywhere(f, elements, expected);
    }
}

TYPED_TEST(UnaryOfReals, ServeEveryCount) {
    for (const Function& f : functions) {
        const std::vector<TypeParam> pool = realElements<TypeParam>(f.domain);
        for (const int count : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 63, 64, 65, 511, 512, 513, 1025}) {
            std::vector<TypeParam> elements;
            for (int i = 0; i < count; ++i)
                elements.push_back(pool[static_cast<std::size_t>(i * 7) % pool.size()]);
            const darr_c1DArray result =
                f.ofLine(darr_c1DArray(std::span<const TypeParam>(elements), lineCal));
            ASSERT_EQ(result.Size(), count);
            ASSERT_EQ(result.Cal(), lineCal);
            ASSERT_EQ(result.DataType(), dtyp_Of<Floating<TypeParam>>());
            for (int i = 0; i < count; ++i)
                expectSame(result.Elements<Floating<TypeParam>>()[static_cast<std::size_t>(i)],
                           expectedReal(f, elements[static_cast<std::size_t>(i)]), f.name);
        }
    }
}

template<class T>
class UnaryOfComplexes : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(UnaryOfComplexes, Precisions);

// Among the elements are both sides of every branch cut: zeros of either sign as either part.
TYPED_TEST(UnaryOfComplexes, GiveTheStandardLibrarysValues) {
    using Complex = comp_cComplex<TypeParam>;
    const std::vector<std::complex<TypeParam>> plane = complexElements<TypeParam>();
    const std::vector<Complex> elements(plane.begin(), plane.end());
    for (const Function& f : functions) {
        if (f.hasRealResult) {
            std::vector<TypeParam> expected;
            for (const auto& z : plane)
                expected.push_back(f.ofComplex(z).real());
            expectEverywhere(f, elements, expected);
        } else {
            std::vector<Complex> expected;
            for (const auto& z : plane)
                expected.emplace_back(f.ofComplex(z));
            expectEverywhere(f, elements, expected);
        }
    }
}

TYPED_TEST(UnaryOfComplexes, ServeEveryCount) {
    using Complex = comp_cComplex<TypeParam>;
    for (const Function& f : functions)
        for (const int count : {0, 1, 2, 7, 511, 512, 513, 1025}) {
            std::vector<Complex> elements;
            for (int i = 0; i < count; ++i)
                elements.emplace_back(static_cast<TypeParam>(i % 50 - 20) / 8,
                                      static_cast<TypeParam>(i % 37 - 15) / 8);
            const darr_c1DArray result =
                f.ofLine(darr_c1DArray(std::span<const Complex>(elements)));
            ASSERT_EQ(result.Size(), count);
            ASSERT_EQ(result.DataType(),
                      f.hasRealResult ? dtyp_Of<TypeParam>() : dtyp_Of<Complex>());
            for (int i = 0; i < count; ++i) {
                const std::size_t at = static_cast<std::size_t>(i);
                const Complex expected = f.ofComplex(std::complex<TypeParam>(elements[at]));
                if (f.hasRealResult)
                    expectSame(result.Elements<TypeParam>()[at], expected.re, f.name);
                else
                    expectSame(result.Elements<Complex>()[at], expected, f.name);
            }
        }
}

// Cuts of the principal values, by closed forms.
TEST(UnaryOfComplexes, LieOnTheRightSideOfTheirBranchCuts) {
    constexpr double pi = std::numbers::pi;
    const auto of = [](pnum_cNumber (*f)(const pnum_cNumber&), double re, double im) {
        return f(pnum_cNumber(ComplexDouble(re, im))).As<ComplexDouble>();
    };
    EXPECT_EQ(of(::sqrt, -4, 0.0), ComplexDouble(0, 2));
    EXPECT_EQ(of(::sqrt, -4, -0.0), ComplexDouble(0, -2));
    EXPECT_EQ(of(::log, -1, 0.0), ComplexDouble(0, pi));
    EXPECT_EQ(of(::log, -1, -0.0), ComplexDouble(0, -pi));
    EXPECT_DOUBLE_EQ(of(::log10, -1, 0.0).im, pi / std::numbers::ln10);
    EXPECT_DOUBLE_EQ(of(::log10, -1, -0.0).im, -pi / std::numbers::ln10);
    EXPECT_DOUBLE_EQ(of(::acos, 2, 0.0).im, -std::acosh(2.0));
    EXPECT_DOUBLE_EQ(of(::acos, 2, -0.0).im, std::acosh(2.0));
    EXPECT_DOUBLE_EQ(of(::acos, -2, 0.0).re, pi);
    EXPECT_DOUBLE_EQ(of(::asin, 2, 0.0).im, std::acosh(2.0));
    EXPECT_DOUBLE_EQ(of(::asin, 2, -0.0).im, -std::acosh(2.0));
    EXPECT_DOUBLE_EQ(of(::atan, 0.0, 2).re, pi / 2);
    EXPECT_DOUBLE_EQ(of(::atan, -0.0, 2).re, -pi / 2);
    EXPECT_DOUBLE_EQ(of(::arg, -3, -0.0).re, -pi);
    EXPECT_DOUBLE_EQ(of(::arg, -3, 0.0).re, pi);
}

// Where single precision is computed as it is, one rounding has to give what the rounded double
// result is; the stride meets every exponent, both signs and all kinds of values.
TEST(UnaryOfFloats, InTheirOwnPrecisionEqualTheRoundedDoubleResult) {
    std::vector<float> all;
    std::vector<float> notBelowZero;
    for (unsigned long long bits = 0; bits < 1ULL << 32; bits += 8191) {
        const float x = std::bit_cast<float>(static_cast<unsigned>(bits));
        all.push_back(x);
        if (x >= 0)
            notBelowZero.push_back(x);
    }
    for (const Function& f : functions) {
        if (f.domain != anywhere && f.domain != notNegative)
            continue;
        if (f.code != unry_Negate && f.code != unry_Abs && f.code != unry_Sqr &&
            f.code != unry_Sqrt)
            continue;
        const std::vector<float>& elements = f.domain == anywhere ? all : notBelowZero;
        const darr_c1DArray result = f.ofLine(darr_c1DArray(std::span<const float>(elements)));
        const std::span<const float> values = result.Elements<float>();
        for (std::size_t i = 0; i < elements.size(); ++i)
            ASSERT_TRUE(isSameElement(values[i], expectedReal(f, elements[i])))
                << f.name << " of " << elements[i];
    }
}

struct Widening {
    unry_eMathUnaryOperation code;
    double outside;
};

// One element that has no real result makes the whole operand complex double.
TEST(UnaryOfReals, OneElementOutsideTheDomainWidensTheWholeArray) {
    const Widening cases[] = {{unry_Log, 0.0},        {unry_Log, -0.0},    {unry_Log, -2},
                              {unry_Log, notANumber}, {unry_Log, -least},  {unry_Log10, 0.0},
                              {unry_Log10, -0.0},     {unry_Log10, -100},  {unry_Log10, notANumber},
                              {unry_Sqrt, -4},        {unry_Sqrt, -least}, {unry_Sqrt, -infinity},
                              {unry_Sqrt, notANumber}};
    for (const Widening& c : cases)
        for (const int count : {1, 2, 512, 513, 1500})
            for (const int at : {0, count / 2, count - 1}) {
                std::vector<double> elements(static_cast<std::size_t>(count), 2.25);
                elements[static_cast<std::size_t>(at)] = c.outside;
                std::vector<ComplexDouble> expected;
                for (const double x : elements)
                    expected.emplace_back(functions[c.code].ofComplexDouble({x, 0.0}));
                const darr_c1DArray line(std::span<const double>(elements), lineCal);
                const darr_c2DArray image(count, 1, std::span<const double>(elements), imageCal);
                const darr_c1DArray ofLine = unry_Operate(c.code, line);
                const darr_c2DArray ofImage = unry_Operate(c.code, image);
                ASSERT_EQ(ofLine.DataType(), dtyp_ComplexDouble);
                ASSERT_EQ(ofImage.DataType(), dtyp_ComplexDouble);
                EXPECT_EQ(ofLine.Cal(), lineCal);
                EXPECT_EQ(ofImage.Cal(), imageCal);
                for (std::size_t i = 0; i < elements.size(); ++i) {
                    expectSame(ofLine.Elements<ComplexDouble>()[i], expected[i], "line");
                    expectSame(ofImage.Elements<ComplexDouble>()[i], expected[i], "image");
                }
            }
}

TEST(UnaryOfReals, WhatLiesAtTheEdgeOfTheDomainStaysReal) {
    for (const double x : {0.0, -0.0})
        EXPECT_EQ(sqrt(pnum_cNumber(x)).DataType(), dtyp_Double);
    for (const double x : {least, smallest}) {
        EXPECT_EQ(log(pnum_cNumber(x)).DataType(), dtyp_Double);
        EXPECT_EQ(log10(pnum_cNumber(x)).DataType(), dtyp_Double);
        EXPECT_EQ(sqrt(pnum_cNumber(x)).DataType(), dtyp_Double);
    }
    EXPECT_EQ(acos(pnum_cNumber(-1.0)).As<double>(), std::numbers::pi);
    EXPECT_EQ(asin(pnum_cNumber(1.0f)).As<float>(), static_cast<float>(std::numbers::pi / 2));
}

// Float and integer operands widen from their single-precision working copy.
TEST(UnaryOfReals, FloatsAndIntegersWidenToComplexDoubleToo) {
    const pnum_cNumber numbers[] = {pnum_cNumber(-2.0f), pnum_cNumber(-2), pnum_cNumber(short(-2)),
                                    pnum_cNumber(static_cast<signed char>(-2))};
    for (const pnum_cNumber& number : numbers)
        for (const Widening& c : {Widening{unry_Log, 0}, {unry_Log10, 0}, {unry_Sqrt, 0}}) {
            const pnum_cNumber result = unry_Operate(c.code, number);
            ASSERT_EQ(result.DataType(), dtyp_ComplexDouble);
            expectSame(result.As<ComplexDouble>(),
                       ComplexDouble(functions[c.code].ofComplexDouble({-2.0, 0.0})), "number");
        }
    const unsigned char zeros[] = {1, 0, 2};
    const darr_c1DArray logs = log(darr_c1DArray(std::span(zeros)));
    ASSERT_EQ(logs.DataType(), dtyp_ComplexDouble);
    EXPECT_EQ(logs.Number(1).As<ComplexDouble>().re, -infinity);
    const int large[] = {-16777217};
    EXPECT_EQ(sqrt(darr_c1DArray(std::span(large))).Number(0).As<ComplexDouble>(),
              ComplexDouble(0, 4096))
        << "the working copy is single precision";
}

TYPED_TEST(UnaryOfReals, ArcCosineAndSineRefuseWhatLiesOutsideUnity) {
    const std::string ofAcos = std::string("unary1:264: ") + expt_DomainError;
    const std::string ofAsin = std::string("unary1:268: ") + expt_DomainError;
    std::vector<double> outside = {2, 100};
    if (std::is_signed_v<TypeParam>)
        outside.insert(outside.end(), {-2, -100});
    if (std::is_floating_point_v<TypeParam>)
        outside.insert(outside.end(),
                       {static_cast<double>(std::nextafter(static_cast<float>(1), 2.0F)), -1.5,
                        notANumber, infinity, -infinity});
    for (const double x : outside)
        for (const int count : {1, 2, 600})
            for (const int at : {0, count - 1}) {
                std::vector<TypeParam> elements(static_cast<std::size_t>(count), TypeParam(1));
                elements[static_cast<std::size_t>(at)] = static_cast<TypeParam>(x);
                const std::span<const TypeParam> span(elements);
                const pnum_cNumber number(static_cast<TypeParam>(x));
                const darr_c1DArray line(span);
                const darr_c2DArray image(1, count, span);
                EXPECT_EQ(userRefusalOf([&] { acos(number); }), ofAcos) << x;
                EXPECT_EQ(userRefusalOf([&] { acos(line); }), ofAcos) << x;
                EXPECT_EQ(userRefusalOf([&] { acos(image); }), ofAcos) << x;
                EXPECT_EQ(userRefusalOf([&] { asin(number); }), ofAsin) << x;
                EXPECT_EQ(userRefusalOf([&] { asin(line); }), ofAsin) << x;
                EXPECT_EQ(userRefusalOf([&] { asin(image); }), ofAsin) << x;
            }
}

TEST(Unary, ArcCosineOfAComplexNumberIsNeverRefused) {
    EXPECT_EQ(acos(pnum_cNumber(ComplexDouble(2, 0))).DataType(), dtyp_ComplexDouble);
    const pnum_cNumber nans(ComplexDouble(notANumber, notANumber));
    EXPECT_NO_THROW(acos(nans));
    EXPECT_NO_THROW(asin(nans));
}

TEST(Unary, SquareRootOfAPositiveNumberStaysReal) {
    const pnum_cNumber four = sqrt(pnum_cNumber(4.0));
    EXPECT_EQ(four.DataType(), dtyp_Double);
    EXPECT_EQ(four.As<double>(), 2);
    const pnum_cNumber minusFour = sqrt(pnum_cNumber(-4.0));
    EXPECT_EQ(minusFour.DataType(), dtyp_ComplexDouble);
    EXPECT_EQ(minusFour.As<ComplexDouble>(), ComplexDouble(0, 2));
}

TEST(Unary, AbsoluteValueOfEitherZeroIsMinusZero) {
    for (const double zero : {0.0, -0.0}) {
        const double ofDouble = abs(pnum_cNumber(zero)).As<double>();
        const float ofFloat = abs(pnum_cNumber(static_cast<float>(zero))).As<float>();
        EXPECT_TRUE(ofDouble == 0 && std::signbit(ofDouble));
        EXPECT_TRUE(ofFloat == 0 && std::signbit(ofFloat));
    }
    const float ofInteger = abs(pnum_cNumber(0)).As<float>();
    EXPECT_TRUE(ofInteger == 0 && std::signbit(ofInteger));
}

TEST(Unary, NormAndArgumentOfRealsAreTheElementAndZero) {
    EXPECT_EQ(norm(pnum_cNumber(-3.0)).As<double>(), -3);
    EXPECT_EQ(arg(pnum_cNumber(-3.0)).As<double>(), 0);
    EXPECT_FALSE(std::signbit(arg(pnum_cNumber(-3.0)).As<double>()));
}

TEST(Unary, PartsOfComplexesAreRealOfTheirPrecision) {
    const pnum_cNumber z(ComplexDouble(3, 4));
    const ComplexFloat w(3, 4);
    EXPECT_EQ(norm(z).DataType(), dtyp_Double);
    EXPECT_EQ(norm(z).As<double>(), 25);
    EXPECT_EQ(norm(pnum_cNumber(dtyp_ComplexFloat, &w)).DataType(), dtyp_Float);
    EXPECT_EQ(norm(pnum_cNumber(dtyp_ComplexFloat, &w)).As<float>(), 25);
    EXPECT_EQ(arg(pnum_cNumber(ComplexDouble(0, 1))).As<double>(), std::numbers::pi / 2);
    EXPECT_EQ(abs(z).DataType(), dtyp_ComplexDouble);
    EXPECT_EQ(abs(z).As<ComplexDouble>(), ComplexDouble(5, 0));
}

TEST(Unary, EmptyArraysGiveEmptyOnesOfTheResultsType) {
    for (const Function& f : functions)
        forEachElementType([&]<class T>(int code) {
            const darr_c1DArray line(0, dtyp_cDataType(code), lineCal);
            const darr_c2DArray image(0, 3, dtyp_cDataType(code), imageCal);
            int expected = code < 7 ? 7 : code;
            if (code > 8 && f.hasRealResult)
                expected = code - 2;
            EXPECT_EQ(f.ofLine(line).Size(), 0);
            EXPECT_EQ(f.ofLine(line).DataType().Code(), expected) << f.name;
            EXPECT_EQ(f.ofLine(line).Cal(), lineCal);
            EXPECT_EQ(f.ofImage(image).SizeX(), 0);
            EXPECT_EQ(f.ofImage(image).SizeY(), 3);
            EXPECT_EQ(f.ofImage(image).DataType().Code(), expected) << f.name;
            EXPECT_EQ(f.ofImage(image).Cal(), imageCal);
        });
}

TEST(Unary, AnOperationOutsideTheEnumerationIsRefused) {
    for (const int code : {-1, 22, 1000}) {
        const auto operation = static_cast<unry_eMathUnaryOperation>(code);
        EXPECT_EQ(refusalOf([&] { unry_Operate(operation, pnum_cNumber(1.0)); }), "unary1:1");
        EXPECT_EQ(refusalOf([&] { unry_Operate(operation, darr_c1DArray()); }), "unary1:1");
        EXPECT_EQ(refusalOf([&] { unry_Operate(operation, darr_c2DArray()); }), "unary1:1");
    }
}

TEST(Unary, ATypeBelowTheTenIsRefusedAndNothingIsComputedOfOneAbove) {
    for (const Function& f : functions) {
        for (const int code : {-1, 0}) {
            const dtyp_cDataType type(code);
            EXPECT_EQ(refusalOf([&] { f.ofNumber(pnum_cNumber(type)); }), "conv:1") << f.name;
            EXPECT_EQ(refusalOf([&] { f.ofLine(darr_c1DArray(3, type, lineCal)); }), "conv:1");
            EXPECT_EQ(refusalOf([&] { f.ofImage(darr_c2DArray(3, 2, type, imageCal)); }), "conv:1");
        }
        const dtyp_cDataType above(11);
        EXPECT_EQ(f.ofNumber(pnum_cNumber(above)).DataType(), above) << f.name;
        const darr_c1DArray line = f.ofLine(darr_c1DArray(3, above, lineCal));
        EXPECT_EQ(line.DataType(), above);
        EXPECT_EQ(line.Size(), 3);
        EXPECT_EQ(line.Data(), nullptr);
        EXPECT_EQ(f.ofImage(darr_c2DArray(3, 2, above, imageCal)).Cal(), imageCal);
    }
}

TEST(Unary, AnOperandStaysAsItIsAndOnlyTheResultIsAllocated) {
    const std::vector<short> elements = countedElements<short>(3000);
    const darr_c1DArray line(std::span<const short>(elements), lineCal);
    for (const Function& f : functions) {
        if (f.domain == withinUnity)
            continue;
        const long before = allocationCount();
        const darr_c1DArray result = f.ofLine(line);
        EXPECT_EQ(allocationCount() - before, 1) << f.name;
        const FailingNew failing(0);
        EXPECT_THROW(f.ofLine(line), std::bad_alloc) << f.name;
    }
    EXPECT_EQ(std::memcmp(line.Data(), elements.data(), elements.size() * sizeof(short)), 0);
    EXPECT_EQ(line.Cal(), lineCal);
}

} // namespace
