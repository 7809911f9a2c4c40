#include "dataprocessing/base/comp.h"

#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/bounds.h"

namespace {

using Wide = std::complex<long double>;

template<class T>
Wide wide(const comp_cComplex<T>& z) {
    return {z.re, z.im};
}

template<class T>
class ComplexOf : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexOf, Precisions);

/// A value whose parts have independent random exponents within the given bounds.
template<class T>
comp_cComplex<T> random(std::mt19937& bits, int lowest, int highest) {
    std::uniform_real_distribution<double> mantissa(1, 2);
    std::uniform_int_distribution<int> exponent(lowest, highest);
    const auto part = [&] {
        const double sign = bits() % 2 == 0 ? 1 : -1;
        return static_cast<T>(std::ldexp(sign * mantissa(bits), exponent(bits)));
    };
    const T re = part();
    return {re, part()};
}

} // namespace

TEST(Complex, ProductIsThePlainFormula) {
    const comp_cComplex<double> z = comp_cComplex<double>(1, 2) * comp_cComplex<double>(3, 4);
    EXPECT_EQ(z, comp_cComplex<double>(-5, 10));
}

TEST(Complex, ProductOfInfinitiesIsNotRepaired) {
    const double infinity = std::numeric_limits<double>::infinity();
    const comp_cComplex<double> z =
        comp_cComplex<double>(infinity, infinity) * comp_cComplex<double>(1, 1);
    EXPECT_TRUE(std::isnan(z.re));
    EXPECT_EQ(z.im, infinity);
}

TYPED_TEST(ComplexOf, SumsAndDifferencesAreByPart) {
    using C = comp_cComplex<TypeParam>;
    EXPECT_EQ(C(1, 2) + C(3, 5), C(4, 7));
    EXPECT_EQ(C(1, 2) - C(3, 5), C(-2, -3));
    EXPECT_EQ(-C(1, -2), C(-1, 2));
    EXPECT_EQ(C(), C(0, 0));
    EXPECT_EQ(C(3), C(3, 0));
}

TYPED_TEST(ComplexOf, EqualityNeedsBothPartsAndKnowsNoNaN) {
    using C = comp_cComplex<TypeParam>;
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    EXPECT_FALSE(C(1, 2) == C(1, 3));
    EXPECT_FALSE(C(1, 2) == C(0, 2));
    EXPECT_FALSE(C(nan, 0) == C(nan, 0));
    EXPECT_FALSE(C(0, nan) == C(0, nan));
}

TYPED_TEST(ComplexOf, QuotientsOfSmallIntegersAreExact) {
    using C = comp_cComplex<TypeParam>;
    const struct {
        C a, b, quotient;
    } cases[] = {
        {{1, 0}, {1, 0}, {1, 0}},   {{0, 1}, {0, 1}, {1, 0}},   {{1, 0}, {0, 1}, {0, -1}},
        {{-5, 10}, {3, 4}, {1, 2}}, {{-5, 10}, {1, 2}, {3, 4}}, {{6, 4}, {2, 0}, {3, 2}},
        {{6, 4}, {0, 2}, {2, -3}},  {{0, 0}, {3, 4}, {0, 0}},   {{8, 0}, {-2, 2}, {-2, -2}}};
    for (const auto& c : cases)
        EXPECT_EQ(c.a / c.b, c.quotient) << c.a << " / " << c.b;
}

TYPED_TEST(ComplexOf, QuotientsOverTheWholeRangeAreWithinAFewEpsilon) {
    using T = TypeParam;
    using limits = std::numeric_limits<T>;
    // Of the modulus; where parts get close to vanishing, a few of the smallest value.
    const long double bound =
        statedBound("complex quotients") * static_cast<long double>(limits::epsilon());
    std::mt19937 bits(20261121);
    int representable = 0;
    for (int i = 0; i < 200000; ++i) {
        const comp_cComplex<T> a =
            random<T>(bits, limits::min_exponent - 1, limits::max_exponent - 2);
        const comp_cComplex<T> b =
            random<T>(bits, limits::min_exponent - 1, limits::max_exponent - 2);
        const Wide exact = wide(a) / wide(b);
        const long double modulus = std::abs(exact);
        if (!(modulus < limits::max() / 2))
            continue;
        ++representable;
        const long double error = std::abs(wide(a / b) - exact);
        ASSERT_LE(error, bound * modulus + 4 * static_cast<long double>(limits::denorm_min()))
            << a << " / " << b;
    }
    EXPECT_GT(representable, 100000);
}

TEST(Complex, QuotientsOfExtremeMagnitudesDoNotOverflowOnTheWay) {
    using C = comp_cComplex<double>;
    const struct {
        C a, b;
    } cases[] = {
        {{1e308, 1e308}, {1e308, 1e308}},
        {{1e308, 1e-308}, {1e308, 1e-308}},
        {{1e-308, 1e-308}, {1e-308, 1e-308}},
        {{1e-320, 1e-320}, {1e-320, 2e-320}},
        {{1e-320, 0}, {0, 1e-320}},
        {{1e308, 1e308}, {2, 1e308}},
        {{1e300, 1e-300}, {1e-5, 1e5}},
        {{0x1p1023, 0x1p-1023}, {0x1p677, 0x1p-677}},
        {{0x1p1020, 0x1p-844}, {0x1p656, 0x1p-780}},
        {{0x1p-71, 0x1p1021}, {0x1p1001, 0x1p-323}},
        {{0x1p-347, 0x1p-54}, {0x1p-1037, 0x1p-1058}},
        {{0x1p-1074, 0x1p-1074}, {0x1p-1073, 0x1p-1074}},
        {{std::numeric_limits<double>::max(), 1}, {std::numeric_limits<double>::max(), 1}}};
    for (const auto& c : cases) {
        const Wide exact = wide(c.a) / wide(c.b);
        const C quotient = c.a / c.b;
        EXPECT_LE(std::abs(wide(quotient) - exact), 8 * 0x1p-52L * std::abs(exact) + 4 * 0x1p-1074L)
            << c.a << " / " << c.b << " = " << quotient;
    }
}

TEST(Complex, QuotientThatVanishesIsRoundedNotFlushed) {
    const comp_cComplex<double> z =
        comp_cComplex<double>(1, 1) / comp_cComplex<double>(1, 0x1p1023);
    EXPECT_EQ(z, comp_cComplex<double>(0x1p-1023, -0x1p-1023));
}

TYPED_TEST(ComplexOf, QuotientByZeroIsNotFinite) {
    using C = comp_cComplex<TypeParam>;
    for (const C& a : {C(1, 1), C(-1, 2), C(0, 0)}) {
        const C z = a / C(0, 0);
        EXPECT_FALSE(std::isfinite(z.re) && std::isfinite(z.im)) << a;
    }
}

TYPED_TEST(ComplexOf, QuotientWithNaNIsNaN) {
    using C = comp_cComplex<TypeParam>;
    const TypeParam nan = std::numeric_limits<TypeParam>::quiet_NaN();
    const C z = C(1, 2) / C(nan, 1);
    EXPECT_TRUE(std::isnan(z.re) && std::isnan(z.im));
}

TYPED_TEST(ComplexOf, QuotientOfInfinitiesFollowsOneRule) {
    using T = TypeParam;
    using C = comp_cComplex<T>;
    const T inf = std::numeric_limits<T>::infinity();
    const T nan = std::numeric_limits<T>::quiet_NaN();
    const T max = std::numeric_limits<T>::max();
    const T smallest = std::numeric_limits<T>::denorm_min();
    enum eResult { Zero, Infinite, NaN };
    const struct {
        C a, b;
        eResult result;
    } cases[] = {{{1, 2}, {inf, 0}, Zero},
                 {{1, 2}, {-inf, 3}, Zero},
                 {{1, 2}, {4, inf}, Zero},
                 {{1, 2}, {inf, -inf}, Zero},
                 {{max, max}, {inf, inf}, Zero},
                 {{0, 0}, {inf, 1}, Zero},
                 {{inf, 0}, {1, 0}, Infinite},
                 {{inf, 2}, {1, 3}, Infinite},
                 {{1, -inf}, {0, 2}, Infinite},
                 {{inf, inf}, {1, 1}, Infinite},
                 {{inf, -inf}, {max, max}, Infinite},
                 {{inf, 1}, {0, 0}, Infinite},
                 {{inf, 1}, {smallest, 0}, Infinite},
                 {{0, -inf}, {0, smallest}, Infinite},
                 {{inf, inf}, {smallest, -smallest}, Infinite},
                 {{1, 2}, {0, 0}, Infinite},
                 {{-1, 0}, {0, 0}, Infinite},
                 {{0, 0}, {0, 0}, NaN},
                 {{inf, 1}, {inf, 1}, NaN},
                 {{inf, 1}, {2, -inf}, NaN},
                 {{nan, 1}, {2, 3}, NaN},
                 {{1, 2}, {3, nan}, NaN},
                 {{1, 2}, {inf, nan}, NaN},
                 {{inf, nan}, {2, 3}, NaN},
                 {{nan, 1}, {0, 0}, NaN}};
    for (const auto& c : cases) {
        const C z = c.a / c.b;
        if (c.result == Zero)
            EXPECT_EQ(z, C(0, 0)) << c.a << " / " << c.b;
        else if (c.result == Infinite)
            EXPECT_TRUE(std::isinf(z.re) || std::isinf(z.im)) << c.a << " / " << c.b << " " << z;
        else
            EXPECT_TRUE(std::isnan(z.re) && std::isnan(z.im)) << c.a << " / " << c.b << " " << z;
    }
    EXPECT_EQ((C(inf, 2) / C(-1, 2)).re, -inf);
    EXPECT_EQ((C(3, -4) / C(0, 0)).re, inf);
    EXPECT_EQ((C(3, -4) / C(0, 0)).im, -inf);
    EXPECT_TRUE(std::signbit((C(1, 0) / C(-inf, 0)).re));
    EXPECT_FALSE(std::signbit((C(-1, 0) / C(-inf, 0)).re));
}

TYPED_TEST(ComplexOf, PhaseIsThatOfTheDoublesRoundedOnce) {
    using C = comp_cComplex<TypeParam>;
    std::mt19937 bits(11);
    for (int i = 0; i < 20000; ++i) {
        const C z = random<TypeParam>(bits, -40, 40);
        ASSERT_EQ(arg(z), static_cast<TypeParam>(
                              std::atan2(static_cast<double>(z.im), static_cast<double>(z.re))));
    }
    EXPECT_EQ(arg(C(-1, TypeParam(-0.0))), static_cast<TypeParam>(-3.14159265358979323846));
}

TYPED_TEST(ComplexOf, FunctionsAreThoseOfTheStandardLibrary) {
    using T = TypeParam;
    using C = comp_cComplex<T>;
    using S = std::complex<T>;
    const struct {
        const char* name;
        C (*ours)(const C&);
        Wide (*reference)(const Wide&);
    } functions[] = {
        {"acos", [](const C& z) { return acos(z); }, [](const Wide& z) { return std::acos(z); }},
        {"asin", [](const C& z) { return asin(z); }, [](const Wide& z) { return std::asin(z); }},
        {"atan", [](const C& z) { return atan(z); }, [](const Wide& z) { return std::atan(z); }},
        {"cos", [](const C& z) { return cos(z); }, [](const Wide& z) { return std::cos(z); }},
        {"cosh", [](const C& z) { return cosh(z); }, [](const Wide& z) { return std::cosh(z); }},
        {"exp", [](const C& z) { return exp(z); }, [](const Wide& z) { return std::exp(z); }},
        {"log", [](const C& z) { return log(z); }, [](const Wide& z) { return std::log(z); }},
        {"log10", [](const C& z) { return log10(z); }, [](const Wide& z) { return std::log10(z); }},
        {"sin", [](const C& z) { return sin(z); }, [](const Wide& z) { return std::sin(z); }},
        {"sinh", [](const C& z) { return sinh(z); }, [](const Wide& z) { return std::sinh(z); }},
        {"sqrt", [](const C& z) { return sqrt(z); }, [](const Wide& z) { return std::sqrt(z); }},
        {"sqr", [](const C& z) { return sqr(z); }, [](const Wide& z) { return z * z; }},
        {"tan", [](const C& z) { return tan(z); }, [](const Wide& z) { return std::tan(z); }},
        {"tanh", [](const C& z) { return tanh(z); }, [](const Wide& z) { return std::tanh(z); }}};
    const double ofFunctions = statedBound("complex functions") * std::numeric_limits<T>::epsilon();
    const double ofPowers = statedBound("complex powers") * std::numeric_limits<T>::epsilon();
    std::mt19937 bits(7);
    for (int i = 0; i < 200; ++i) {
        const C z = random<T>(bits, -3, 2);
        for (const auto& function : functions) {
            const Wide exact = function.reference(wide(z));
            EXPECT_LE(std::abs(wide(function.ours(z)) - exact),
                      ofFunctions * std::max(1.0L, std::abs(exact)))
                << function.name << z;
        }
        const C w = random<T>(bits, -3, 1);
        const Wide power = std::pow(wide(z), wide(w));
        EXPECT_LE(std::abs(wide(pow(z, w)) - power), ofPowers * std::abs(power)) << z << " ^ " << w;
        EXPECT_EQ(abs(z), std::abs(S(z)));
        EXPECT_EQ(norm(z), z.re * z.re + z.im * z.im);
        EXPECT_EQ(conj(z), C(z.re, -z.im));
        EXPECT_EQ(real(z), z.re);
        EXPECT_EQ(imag(z), z.im);
    }
}

TEST(Complex, FunctionsGivePrincipalValues) {
    using C = comp_cComplex<double>;
    const double pi = 3.14159265358979323846;
    EXPECT_EQ(sqrt(C(-4, 0)), C(0, 2));
    EXPECT_EQ(sqrt(C(-4, -0.0)), C(0, -2));
    EXPECT_EQ(log(C(-1, 0)), C(0, pi));
    EXPECT_EQ(log(C(-1, -0.0)), C(0, -pi));
    EXPECT_EQ(arg(C(-1, 0)), pi);
    EXPECT_EQ(abs(C(3e300, 4e300)), 5e300);
    EXPECT_NEAR(pow(C(-8, 0), C(1.0 / 3, 0)).im, std::sqrt(3.0), 1e-15);
}

TEST(Complex, ConvertsToAndFromTheStandardType) {
    const comp_cComplex<float> z = std::complex<float>(1, 2);
    EXPECT_EQ(z, comp_cComplex<float>(1, 2));
    EXPECT_EQ(static_cast<std::complex<float>>(z), std::complex<float>(1, 2));
    EXPECT_EQ(z.Real(), 1);
    EXPECT_EQ(z.Imag(), 2);
}

TYPED_TEST(ComplexOf, PrintsAsAPair) {
    std::ostringstream text;
    text << comp_cComplex<TypeParam>(1.5, -2);
    EXPECT_EQ(text.str(), "(1.5,-2)");
}
