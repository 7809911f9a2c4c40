#include "dataprocessing/kernels/arit.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/comp.h"
#include "tests/support/levels.h"

using namespace dataprocessing::detail;

namespace {

constexpr int operations[] = {arit_Add, arit_Subtract, arit_Multiply, arit_Divide, arit_Power};

template<class T>
constexpr bool complexElement = false;
template<class T>
constexpr bool complexElement<comp_cComplex<T>> = true;

template<class T>
T something(std::mt19937& random) {
    if constexpr (complexElement<T>) {
        using Part = decltype(T::re);
        return {something<Part>(random), something<Part>(random)};
    } else if constexpr (std::is_integral_v<T>) {
        const T extremes[] = {0,
                              1,
                              2,
                              static_cast<T>(-1),
                              std::numeric_limits<T>::min(),
                              std::numeric_limits<T>::max(),
                              100};
        return random() % 4 == 0 ? extremes[random() % std::size(extremes)]
                                 : static_cast<T>(random());
    } else {
        using limits = std::numeric_limits<T>;
        const T extremes[] = {0,
                              -T(0),
                              1,
                              limits::max(),
                              limits::min(),
                              limits::min() / 2,
                              limits::infinity(),
                              limits::quiet_NaN()};
        if (random() % 16 == 0)
            return extremes[random() % std::size(extremes)];
        return static_cast<T>((static_cast<double>(random() % 20001) - 10000.0) / 313);
    }
}

template<class T>
std::vector<T> somethings(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<T> elements(count);
    for (T& element : elements)
        element = something<T>(random);
    return elements;
}

/// Equal bits, except that any NaN equals any other.
template<class T>
bool same(const T& a, const T& b) {
    if constexpr (complexElement<T>)
        return same(a.re, b.re) && same(a.im, b.im);
    else if constexpr (std::is_floating_point_v<T>)
        return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
    else
        return a == b;
}

template<class T>
void expectSame(const std::vector<T>& actual, const std::vector<T>& expected,
                const std::string& what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (std::size_t i = 0; i < actual.size(); ++i)
        ASSERT_TRUE(same(actual[i], expected[i])) << what << ", element " << i;
}

/// One element, by the plain rules.
template<class T>
T oracle(int operation, T a, T b) {
    if constexpr (complexElement<T>) {
        switch (operation) {
        case arit_Add:
            return {a.re + b.re, a.im + b.im};
        case arit_Subtract:
            return {a.re - b.re, a.im - b.im};
        case arit_Multiply: {
            const volatile auto p = a.re * b.re, q = a.im * b.im, s = a.re * b.im, t = a.im * b.re;
            return {p - q, s + t};
        }
        case arit_Divide:
            return a / b;
        default:
            return pow(a, b);
        }
    } else if constexpr (std::is_integral_v<T>) {
        const long long x = a, y = b;
        switch (operation) {
        case arit_Add:
            return static_cast<T>(x + y);
        case arit_Subtract:
            return static_cast<T>(x - y);
        case arit_Multiply:
            return static_cast<T>(static_cast<unsigned long long>(x) *
                                  static_cast<unsigned long long>(y));
        case arit_Divide:
            return static_cast<T>(y == 0 ? 0 : x / y);
        default: {
            const double power = std::pow(static_cast<double>(a), static_cast<double>(b));
            if (std::isnan(power) || power >= 9223372036854775808.0 ||
                power <= -9223372036854775808.0)
                return 0;
            return static_cast<T>(static_cast<long long>(power));
        }
        }
    } else {
        switch (operation) {
        case arit_Add:
            return a + b;
        case arit_Subtract:
            return a - b;
        case arit_Multiply:
            return a * b;
        case arit_Divide:
            return a / b;
        default:
            return static_cast<T>(std::pow(static_cast<double>(a), static_cast<double>(b)));
        }
    }
}

/// Every element by the plain rules; an operand that is no array is its first element.
template<class T>
std::vector<T> oracles(int operation, const std::vector<T>& a, bool firstIsArray,
                       const std::vector<T>& b, bool secondIsArray, std::size_t count) {
    std::vector<T> result(count);
    for (std::size_t i = 0; i < count; ++i)
        result[i] =
            oracle(operation, a[firstIsArray ? i : 0], b[secondIsArray || !firstIsArray ? i : 0]);
    return result;
}

template<class T>
arit_Loop loopFor(int operation, bool firstIsArray, bool secondIsArray) {
    const dtyp_cDataType type = dtyp_Of<T>();
    return arit_LoopFor(type, type, type, operation, form_Of(firstIsArray, secondIsArray));
}

template<class T>
std::vector<T> run(int operation, const std::vector<T>& a, bool firstIsArray,
                   const std::vector<T>& b, bool secondIsArray, std::size_t count,
                   level_eSet level = level_Current()) {
    const LevelInUse inUse(level);
    std::vector<T> result(count + 1, T(42));
    EXPECT_FALSE(loopFor<T>(operation, firstIsArray, secondIsArray)(a.data(), b.data(),
                                                                    result.data(), count));
    EXPECT_TRUE(same(result[count], T(42))) << "written past the end";
    result.pop_back();
    return result;
}

std::string describe(dtyp_cDataType type, int operation, bool first, bool second, std::size_t count,
                     level_eSet level) {
    return "type " + std::to_string(type.Code()) + " operation " + std::to_string(operation) +
           " form " + std::to_string(first) + std::to_string(second) + " count " +
           std::to_string(count) + " level " + level_Name(level);
}

} // namespace

template<class T>
class ArithmeticLoop : public testing::Test {};
using KernelTypes = testing::Types<unsigned short, unsigned int, short, int, float, double,
                                   comp_cComplex<float>, comp_cComplex<double>>;
TYPED_TEST_SUITE(ArithmeticLoop, KernelTypes);

TYPED_TEST(ArithmeticLoop, EveryOperationFormSizeAndLevelFollowsThePlainRules) {
    using T = TypeParam;
    for (const std::size_t count : std::initializer_list<std::size_t>{
             0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 31, 33, 63, 64, 65, 4095, 4096, 4097}) {
        const std::vector<T> a = somethings<T>(count + 1, 1), b = somethings<T>(count + 1, 2);
        for (const int operation : operations) {
            if (operation == arit_Power && count > 65)
                continue;
            for (const bool first : {false, true})
                for (const bool second : {false, true}) {
                    const std::vector<T> expected = oracles(operation, a, first, b, second, count);
                    for (const level_eSet level : levels())
                        expectSame(run(operation, a, first, b, second, count, level), expected,
                                   describe(dtyp_Of<T>(), operation, first, second, count, level));
                }
        }
    }
}

TYPED_TEST(ArithmeticLoop, OfAnUnknownOperationIsNone) {
    for (const int operation : {-1, 6, 1000, std::numeric_limits<int>::min()})
        for (const bool second : {false, true})
            EXPECT_EQ(loopFor<TypeParam>(operation, true, second), nullptr);
}

TYPED_TEST(ArithmeticLoop, FirstOperandThatIsANumberDecidesTheForm) {
    using T = TypeParam;
    // One element of the first operand is all there is, whatever the second flag says.
    const std::vector<T> a(1, T(10)), b = {T(1), T(2), T(5)};
    expectSame(run(arit_Divide, a, false, b, false, 3), std::vector<T>{T(10), T(5), T(2)}, "0 0");
    expectSame(run(arit_Divide, a, false, b, true, 3), std::vector<T>{T(10), T(5), T(2)}, "0 1");
}

TEST(ArithmeticLoops, OfEightBitAndUnknownTypesAreNone) {
    for (const int code : {0, 1, 4, 11, -1}) {
        const dtyp_cDataType type(code);
        EXPECT_EQ(arit_LoopFor(type, type, type, arit_Add, form_Arrays), nullptr) << code;
        EXPECT_EQ(arit_LoopFor(type, type, type, arit_Power, form_Arrays), nullptr) << code;
    }
}

TEST(ArithmeticLoops, WidenTheArrayAndNeverTheNumber) {
    struct Row {
        dtyp_eDataType a;
        dtyp_eDataType b;
        form_eOperands form;
        bool exists;
    };
    for (const Row& row : {Row{dtyp_Int16, dtyp_Int32, form_NumberSecond, true},
                           Row{dtyp_Int16, dtyp_Int32, form_NumberFirst, false},
                           Row{dtyp_Int32, dtyp_Int16, form_NumberFirst, true},
                           Row{dtyp_Int32, dtyp_Int16, form_NumberSecond, false},
                           Row{dtyp_Int16, dtyp_Int32, form_Arrays, true},
                           Row{dtyp_Int32, dtyp_Int16, form_Arrays, true}})
        EXPECT_EQ(arit_LoopFor(dtyp_Int32, row.a, row.b, arit_Add, row.form) != nullptr, row.exists)
            << row.a << ' ' << row.b << ' ' << row.form;
}

namespace {

/// Every widening loop there is, beside the plain rules on widened elements.
template<class T, class A, class B>
void checkWidening() {
    const std::size_t count = 131;
    const std::vector<A> a = somethings<A>(count, 3);
    const std::vector<B> b = somethings<B>(count, 4);
    const std::vector<T> wideA(a.begin(), a.end()), wideB(b.begin(), b.end());
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        for (const int operation : operations)
            for (const form_eOperands form : {form_NumberFirst, form_Arrays, form_NumberSecond}) {
                const arit_Loop loop =
                    arit_LoopFor(dtyp_Of<T>(), dtyp_Of<A>(), dtyp_Of<B>(), operation, form);
                if (loop == nullptr)
                    continue;
                std::vector<T> result(count + 1, T(42));
                loop(a.data(), b.data(), result.data(), count);
                EXPECT_EQ(result.back(), T(42));
                result.pop_back();
                expectSame(result,
                           oracles(operation, wideA, form != form_NumberFirst, wideB,
                                   form != form_NumberSecond, count),
                           describe(dtyp_Of<T>(), operation, form != form_NumberFirst,
                                    form != form_NumberSecond, count, level));
            }
    }
}

template<class T, class Narrow>
void checkWideningOf() {
    checkWidening<T, Narrow, Narrow>();
    checkWidening<T, Narrow, T>();
    checkWidening<T, T, Narrow>();
}

} // namespace

TEST(ArithmeticLoops, WidenedElementsFollowThePlainRules) {
    checkWideningOf<short, signed char>();
    checkWideningOf<short, unsigned char>();
    checkWideningOf<int, signed char>();
    checkWideningOf<int, unsigned char>();
    checkWideningOf<int, short>();
    checkWideningOf<int, unsigned short>();
    checkWideningOf<float, signed char>();
    checkWideningOf<float, unsigned char>();
    checkWideningOf<float, short>();
    checkWideningOf<float, unsigned short>();
}

TEST(ArithmeticLoops, UnsignedThirtyTwoBitSumWraps) {
    expectSame(run<unsigned>(arit_Add, {4000000000u}, true, {500000000u}, true, 1), {205032704u},
               "sum");
}

TEST(ArithmeticLoops, SignedSumsDifferencesAndProductsWrap) {
    const int top = std::numeric_limits<int>::max(), bottom = std::numeric_limits<int>::min();
    expectSame(run<int>(arit_Add, {top, top, top}, true, {1, 1, 1}, true, 3),
               {bottom, bottom, bottom}, "sum");
    expectSame(run<int>(arit_Subtract, {bottom, bottom, bottom}, true, {1, 1, 1}, true, 3),
               {top, top, top}, "difference");
    expectSame(run<int>(arit_Multiply, {65536, 65537, 65537}, true, {65536, 65537, 65537}, true, 3),
               {0, 131073, 131073}, "product");
    expectSame(
        run<short>(arit_Add, std::vector<short>(5, 32767), true, std::vector<short>(5, 1), true, 5),
        std::vector<short>(5, -32768), "short sum");
}

TEST(ArithmeticLoops, IntegerDivisionTruncatesAndNeverTraps) {
    expectSame(run<int>(arit_Divide, {7, -7, 7, -7}, true, {2, 2, -2, -2}, true, 4), {3, -3, -3, 3},
               "truncation");
    expectSame(run<int>(arit_Divide, {7, 0, -7}, true, {0}, false, 3), {0, 0, 0}, "by zero");
    const int bottom = std::numeric_limits<int>::min();
    expectSame(run<int>(arit_Divide, {bottom, 5}, true, {-1}, false, 2), {bottom, -5}, "by -1");
    expectSame(run<short>(arit_Divide, {-32768, 5}, true, {-1}, false, 2), {-32768, -5}, "by -1");
    expectSame(run<unsigned>(arit_Divide, {4000000000u}, true, {3}, true, 1), {1333333333u},
               "unsigned");
    expectSame(run<unsigned short>(arit_Divide, {60000}, true, {7}, true, 1), {8571}, "unsigned");
}

TEST(ArithmeticLoops, IntegerPowerTruncatesAndKeepsLowBits) {
    const struct {
        int a, b, power;
    } cases[] = {{2, 10, 1024},
                 {2, -1, 0},
                 {-2, 3, -8},
                 {0, 0, 1},
                 {0, -1, 0},  // infinity
                 {-8, 31, 0}, // beyond 64 bits
                 {2, 31, std::numeric_limits<int>::min()},
                 {2, 32, 0},
                 {2, 62, 0},
                 {2, 63, 0},
                 {10, 400, 0}};
    for (const auto& c : cases)
        expectSame(run<int>(arit_Power, {c.a}, true, {c.b}, true, 1), {c.power},
                   std::to_string(c.a) + "^" + std::to_string(c.b));
    // 10^10 = 0x2540BE400
    expectSame(run<int>(arit_Power, {10}, true, {10}, true, 1), {0x540BE400}, "10^10");
    expectSame(run<unsigned>(arit_Power, {4294967295u}, true, {1}, true, 1), {4294967295u},
               "converted as unsigned");
    expectSame(run<unsigned short>(arit_Power, {300}, true, {2}, true, 1), {90000 - 65536},
               "low 16 bits");
}

TEST(ArithmeticLoops, FloatPowerIsTheDoublePowerRoundedOnce) {
    const float a = 1.1F, b = 37.7F;
    expectSame(run<float>(arit_Power, {a}, true, {b}, true, 1),
               {static_cast<float>(std::pow(double{a}, double{b}))}, "1.1^37.7");
    EXPECT_TRUE(std::isnan(run<float>(arit_Power, {-2}, true, {0.5F}, true, 1)[0]));
    EXPECT_EQ(run<float>(arit_Power, {10}, true, {39}, true, 1)[0],
              std::numeric_limits<float>::infinity());
}

TEST(ArithmeticLoops, ZeroDivisorsGiveInfinitiesAndNaN) {
    const std::vector<double> r = run<double>(arit_Divide, {1, -1, 0}, true, {0}, false, 3);
    EXPECT_EQ(r[0], std::numeric_limits<double>::infinity());
    EXPECT_EQ(r[1], -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(r[2]));
}

TEST(ArithmeticLoops, ComplexProductsAreNotFused) {
    // With the first product kept exact, the real part would be about 2^-24 instead of 0.
    const float x = 1 + 0x1p-12F;
    using C = comp_cComplex<float>;
    for (const level_eSet level : levels())
        for (const std::size_t count : std::initializer_list<std::size_t>{1, 2, 3, 7, 8, 9, 64}) {
            const std::vector<C> a(count, C(x, x));
            for (const C& z : run<C>(arit_Multiply, a, true, a, true, count, level)) {
                EXPECT_EQ(z.re, 0);
                EXPECT_EQ(z.im, 2 * (x * x));
            }
        }
}

template<class T>
class TestingDivision : public testing::Test {};
using DivisionTypes = testing::Types<float, double, comp_cComplex<float>, comp_cComplex<double>>;
TYPED_TEST_SUITE(TestingDivision, DivisionTypes);

namespace {

template<class T>
struct sRealOf {
    using type = T;
};
template<class T>
struct sRealOf<comp_cComplex<T>> {
    using type = T;
};

template<class T>
bool hasZero(const std::vector<T>& divisor, bool numberFirst, bool numberSecond) {
    const std::size_t count = divisor.size();
    const std::vector<T> dividend(count, T(6));
    std::vector<T> result(count);
    const bool zero = loopFor<T>(arit_DivideTesting, !numberFirst, !numberSecond)(
        dividend.data(), divisor.data(), result.data(), count);
    for (std::size_t i = 0; i < count && !zero; ++i) {
        EXPECT_TRUE(same(result[i], oracle(arit_Divide, T(6), divisor[numberSecond ? 0 : i]))) << i;
    }
    return zero;
}

} // namespace

TYPED_TEST(TestingDivision, TellsZerosFromNumbers) {
    using T = TypeParam;
    using Real = typename sRealOf<T>::type;
    using limits = std::numeric_limits<Real>;
    const struct {
        Real value;
        bool isZero;
    } cases[] = {{0, true},
                 {-Real(0), true},
                 {limits::denorm_min(), true},
                 {std::nextafter(limits::min(), Real(0)), true},
                 {-std::nextafter(limits::min(), Real(0)), true},
                 {limits::min(), false},
                 {-limits::min(), false},
                 {1, false},
                 {limits::max(), false},
                 {limits::infinity(), false},
                 {-limits::infinity(), false},
                 {limits::quiet_NaN(), true},
                 {-limits::quiet_NaN(), true}};
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        for (const auto& c : cases)
            for (const std::size_t count :
                 std::initializer_list<std::size_t>{1, 2, 3, 17, 64, 4099})
                for (const std::size_t at :
                     std::initializer_list<std::size_t>{std::size_t{0}, count / 2, count - 1}) {
                    std::vector<T> divisor(count, T(2));
                    divisor[at] = T(c.value);
                    const std::string what = std::to_string(c.value) + " at " + std::to_string(at) +
                                             " of " + std::to_string(count);
                    EXPECT_EQ(hasZero(divisor, false, false), c.isZero) << what;
                    EXPECT_EQ(hasZero(divisor, true, false), c.isZero) << what;
                    EXPECT_EQ(hasZero(divisor, false, true), c.isZero && at == 0) << what;
                    if constexpr (complexElement<T>) {
                        divisor[at] = T(0, c.value);
                        EXPECT_EQ(hasZero(divisor, false, false), c.isZero) << what << " i";
                        divisor[at] = T(c.value, 1);
                        EXPECT_FALSE(hasZero(divisor, false, false)) << what << " + i";
                    }
                }
    }
}

TEST(TestingDivisions, OfIntegersAreNone) {
    EXPECT_EQ(loopFor<int>(arit_DivideTesting, true, true), nullptr);
    EXPECT_EQ(loopFor<unsigned short>(arit_DivideTesting, true, true), nullptr);
}

TEST(TestingDivisions, IntegerDivisorsAreTestedOnTheWay) {
    for (const level_eSet level : levels()) {
        const LevelInUse inUse(level);
        const arit_Loop loop =
            arit_LoopFor(dtyp_Float, dtyp_UInt16, dtyp_UInt16, arit_DivideTesting, form_Arrays);
        for (const std::size_t at : std::initializer_list<std::size_t>{0, 1500, 2999, 3000}) {
            std::vector<unsigned short> divisor(3000, 7);
            if (at < 3000)
                divisor[at] = 0;
            const std::vector<unsigned short> dividend(3000, 1);
            std::vector<float> result(3000);
            EXPECT_EQ(loop(dividend.data(), divisor.data(), result.data(), 3000), at < 3000);
            if (at == 3000) {
                EXPECT_EQ(result, std::vector<float>(3000, 1.0F / 7));
            }
        }
    }
}
