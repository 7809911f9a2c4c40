#include "dataprocessing/binary/binary1_kernels.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/kernels/conv_kernels.h"

using namespace dataprocessing::detail;

namespace {

constexpr int operations[] = {bnry_Add, bnry_Subtract, bnry_Multiply, bnry_Divide, bnry_Power};

std::vector<level_eSet> levels() {
    std::vector<level_eSet> usable;
    for (const level_eSet level : {level_Baseline, level_V3, level_V4})
        if (level <= level_Current())
            usable.push_back(level);
    return usable;
}

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
        case bnry_Add:
            return {a.re + b.re, a.im + b.im};
        case bnry_Subtract:
            return {a.re - b.re, a.im - b.im};
        case bnry_Multiply: {
            const volatile auto p = a.re * b.re, q = a.im * b.im, s = a.re * b.im, t = a.im * b.re;
            return {p - q, s + t};
        }
        case bnry_Divide:
            return a / b;
        default:
            return pow(a, b);
        }
    } else if constexpr (std::is_integral_v<T>) {
        const long long x = a, y = b;
        switch (operation) {
        case bnry_Add:
            return static_cast<T>(x + y);
        case bnry_Subtract:
            return static_cast<T>(x - y);
        case bnry_Multiply:
            return static_cast<T>(static_cast<unsigned long long>(x) *
                                  static_cast<unsigned long long>(y));
        case bnry_Divide:
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
        case bnry_Add:
            return a + b;
        case bnry_Subtract:
            return a - b;
        case bnry_Multiply:
            return a * b;
        case bnry_Divide:
            return a / b;
        default:
            return static_cast<T>(std::pow(static_cast<double>(a), static_cast<double>(b)));
        }
    }
}

/// What a kernel stores: the plain rules, and array op number in whole chunks of the types that
/// the image library serves.
template<class T>
std::vector<T> oracleKernel(int operation, const std::vector<T>& a, bool firstIsArray,
                            const std::vector<T>& b, bool secondIsArray, std::size_t count) {
    constexpr std::size_t chunk = std::is_same_v<T, short> ? 4 : 2;
    constexpr bool isServed =
        std::is_same_v<T, short> || std::is_same_v<T, int> || std::is_same_v<T, float>;
    const std::size_t rows = isServed && operation <= bnry_Multiply ? count / chunk * chunk : 0;
    std::vector<T> result(count);
    for (std::size_t i = 0; i < count; ++i) {
        const bool inRows = i < rows;
        if (firstIsArray && secondIsArray) {
            result[i] = oracle(operation, a[i], b[i]);
            continue;
        }
        T number = firstIsArray ? b[0] : a[0];
        const T element = firstIsArray ? a[i] : b[i];
        if constexpr (std::is_same_v<T, int>)
            if (inRows) // low bits of the nearest float
                number = static_cast<int>(static_cast<long long>(static_cast<float>(number)));
        result[i] = firstIsArray || inRows ? oracle(operation, element, number)
                                           : oracle(operation, number, element);
    }
    return result;
}

template<class T>
std::vector<T> run(int operation, const std::vector<T>& a, bool firstIsArray,
                   const std::vector<T>& b, bool secondIsArray, std::size_t count,
                   level_eSet level = level_Current()) {
    std::vector<T> result(count + 1, T(42));
    bnry_RunKernel(
        a.data(), b.data(), result.data(),
        {operation, dtyp_Of<T>().Code(), firstIsArray, secondIsArray, static_cast<int>(count)},
        level);
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

/// All elements in one row, at the default calibration.
view_cView wholeView(const void* data, dtyp_cDataType stored, dtyp_cDataType seen,
                     std::size_t count) {
    return {data, stored, seen, view_cAxis(static_cast<int>(count), cal_cArrayCal()),
            view_cAxis(1, cal_cArrayCal())};
}

} // namespace

template<class T>
class ArithmeticKernel : public testing::Test {};
using KernelTypes = testing::Types<unsigned short, unsigned int, short, int, float, double,
                                   comp_cComplex<float>, comp_cComplex<double>>;
TYPED_TEST_SUITE(ArithmeticKernel, KernelTypes);

TYPED_TEST(ArithmeticKernel, EveryOperationFormSizeAndLevelFollowsThePlainRules) {
    using T = TypeParam;
    for (const std::size_t count : std::initializer_list<std::size_t>{
             0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 31, 33, 63, 64, 65, 4095, 4096, 4097}) {
        const std::vector<T> a = somethings<T>(count + 1, 1), b = somethings<T>(count + 1, 2);
        for (const int operation : operations) {
            if (operation == bnry_Power && count > 65)
                continue;
            for (const bool first : {false, true})
                for (const bool second : {false, true}) {
                    const std::size_t elements =
                        first || second ? count : std::min<std::size_t>(count, 1);
                    const std::vector<T> expected =
                        oracleKernel(operation, a, first, b, second, elements);
                    for (const level_eSet level : levels())
                        expectSame(
                            run(operation, a, first, b, second, elements, level), expected,
                            describe(dtyp_Of<T>(), operation, first, second, elements, level));
                }
        }
    }
}

TYPED_TEST(ArithmeticKernel, UnknownOperationsWriteNothing) {
    using T = TypeParam;
    const std::vector<T> a(9, T(1)), b(9, T(2));
    for (const int operation : {-1, 5, 1000, std::numeric_limits<int>::min()})
        expectSame(run(operation, a, true, b, true, 9), std::vector<T>(9, T(42)), "operation");
}

TYPED_TEST(ArithmeticKernel, NoElementsWriteNothing) {
    using T = TypeParam;
    T a(1), b(2), result(42);
    for (const int count : {0, -1, -4096}) {
        bnry_RunKernel(&a, &b, &result, {bnry_Add, dtyp_Of<T>().Code(), 1, 1, count});
        EXPECT_TRUE(same(result, T(42)));
    }
}

TYPED_TEST(ArithmeticKernel, FirstOperandThatIsANumberDecidesTheForm) {
    using T = TypeParam;
    // One element of the first operand is all there is, whatever the second flag says.
    const std::vector<T> a(1, T(10)), b = {T(1), T(2), T(5)};
    expectSame(run(bnry_Divide, a, false, b, false, 3), std::vector<T>{T(10), T(5), T(2)}, "0 0");
    expectSame(run(bnry_Divide, a, false, b, true, 3), std::vector<T>{T(10), T(5), T(2)}, "0 1");
}

TEST(ArithmeticKernels, EightBitAndUnknownTypesWriteNothing) {
    const std::vector<int> a(16, 1), b(16, 2);
    for (const int type : {0, 1, 4, 11, -1}) {
        std::vector<int> result(16, 42);
        bnry_RunKernel(a.data(), b.data(), result.data(), {bnry_Add, type, 1, 1, 8});
        EXPECT_EQ(result, std::vector<int>(16, 42)) << type;
    }
}

// The subtraction shows who computed an element: the image library never flips it.
TEST(ArithmeticKernels, SignedSixteenBitOfThreeElementsIsAllPlainLoop) {
    expectSame(run<short>(bnry_Subtract, {5}, false, {1, 2, 3}, true, 3), {4, 3, 2}, "three");
}
TEST(ArithmeticKernels, SignedSixteenBitOfFourElementsIsAllImageLibrary) {
    expectSame(run<short>(bnry_Subtract, {5}, false, {1, 2, 3, 4}, true, 4), {-4, -3, -2, -1},
               "four");
}
TEST(ArithmeticKernels, SignedSixteenBitOfSixElementsIsFourAndTwo) {
    expectSame(run<short>(bnry_Subtract, {5}, false, {1, 2, 3, 4, 5, 6}, true, 6),
               {-4, -3, -2, -1, 0, -1}, "six");
}
TEST(ArithmeticKernels, ThirtyTwoBitChunksAreOfTwo) {
    expectSame(run<int>(bnry_Subtract, {5}, false, {1}, true, 1), {4}, "one");
    expectSame(run<int>(bnry_Subtract, {5}, false, {1, 2, 3}, true, 3), {-4, -3, 2}, "three");
    expectSame(run<float>(bnry_Subtract, {5}, false, {1}, true, 1), {4}, "one");
    expectSame(run<float>(bnry_Subtract, {5}, false, {1, 2, 3}, true, 3), {-4, -3, 2}, "three");
}
TEST(ArithmeticKernels, OtherTypesAreNeverFlipped) {
    expectSame(run<double>(bnry_Subtract, {5}, false, {1, 2, 3, 4}, true, 4), {4, 3, 2, 1}, "8");
    expectSame(run<unsigned>(bnry_Subtract, {5}, false, {1, 2, 3, 4}, true, 4), {4, 3, 2, 1}, "3");
}

TEST(ArithmeticKernels, FiveMinusAnEightBitArrayOfFiveElements) {
    const std::vector<signed char> a = {1, 2, 3, 4, 1};
    const short five = 5;
    std::vector<short> result(5);
    const view_cView view = wholeView(a.data(), dtyp_Int8, dtyp_Int16, 5);
    bnry_Compute(bnry_Subtract, dtyp_Int16, bnry_cOperand(&five), bnry_cOperand(view),
                 result.data(), 5);
    expectSame(result, {-4, -3, -2, -1, 4}, "five elements");
}

TEST(ArithmeticKernels, UnsignedThirtyTwoBitSumWraps) {
    expectSame(run<unsigned>(bnry_Add, {4000000000u}, true, {500000000u}, true, 1), {205032704u},
               "sum");
}

TEST(ArithmeticKernels, SignedSumsDifferencesAndProductsWrap) {
    const int top = std::numeric_limits<int>::max(), bottom = std::numeric_limits<int>::min();
    expectSame(run<int>(bnry_Add, {top, top, top}, true, {1, 1, 1}, true, 3),
               {bottom, bottom, bottom}, "sum");
    expectSame(run<int>(bnry_Subtract, {bottom, bottom, bottom}, true, {1, 1, 1}, true, 3),
               {top, top, top}, "difference");
    expectSame(run<int>(bnry_Multiply, {65536, 65537, 65537}, true, {65536, 65537, 65537}, true, 3),
               {0, 131073, 131073}, "product");
    expectSame(
        run<short>(bnry_Add, std::vector<short>(5, 32767), true, std::vector<short>(5, 1), true, 5),
        std::vector<short>(5, -32768), "short sum");
}

TEST(ArithmeticKernels, ThirtyTwoBitNumbersLoseLowBitsInWholeChunksOnly) {
    expectSame(run<int>(bnry_Add, {0, 0, 0}, true, {16777217}, false, 3),
               {16777216, 16777216, 16777217}, "2^24 + 1");
    expectSame(run<int>(bnry_Add, {-16777219}, false, {0, 0, 0}, true, 3),
               {-16777220, -16777220, -16777219}, "-(2^24 + 3)");
    expectSame(run<int>(bnry_Subtract, {0, 0, 0}, true, {16777217}, false, 3),
               {-16777216, -16777216, -16777217}, "difference");
    expectSame(run<int>(bnry_Multiply, {3, 3, 3}, true, {16777217}, false, 3),
               {50331648, 50331648, 50331651}, "product");
    const int top = std::numeric_limits<int>::max(), bottom = std::numeric_limits<int>::min();
    expectSame(run<int>(bnry_Add, {0, 0, 0}, true, {top}, false, 3), {bottom, bottom, top},
               "2^31 - 1 rounds to 2^31");
}

TEST(ArithmeticKernels, IntegerDivisionTruncatesAndNeverTraps) {
    expectSame(run<int>(bnry_Divide, {7, -7, 7, -7}, true, {2, 2, -2, -2}, true, 4), {3, -3, -3, 3},
               "truncation");
    expectSame(run<int>(bnry_Divide, {7, 0, -7}, true, {0}, false, 3), {0, 0, 0}, "by zero");
    const int bottom = std::numeric_limits<int>::min();
    expectSame(run<int>(bnry_Divide, {bottom, 5}, true, {-1}, false, 2), {bottom, -5}, "by -1");
    expectSame(run<short>(bnry_Divide, {-32768, 5}, true, {-1}, false, 2), {-32768, -5}, "by -1");
    expectSame(run<unsigned>(bnry_Divide, {4000000000u}, true, {3}, true, 1), {1333333333u},
               "unsigned");
    expectSame(run<unsigned short>(bnry_Divide, {60000}, true, {7}, true, 1), {8571}, "unsigned");
}

TEST(ArithmeticKernels, IntegerPowerTruncatesAndKeepsLowBits) {
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
        expectSame(run<int>(bnry_Power, {c.a}, true, {c.b}, true, 1), {c.power},
                   std::to_string(c.a) + "^" + std::to_string(c.b));
    // 10^10 = 0x2540BE400
    expectSame(run<int>(bnry_Power, {10}, true, {10}, true, 1), {0x540BE400}, "10^10");
    expectSame(run<unsigned>(bnry_Power, {4294967295u}, true, {1}, true, 1), {4294967295u},
               "converted as unsigned");
    expectSame(run<unsigned short>(bnry_Power, {300}, true, {2}, true, 1), {90000 - 65536},
               "low 16 bits");
}

TEST(ArithmeticKernels, FloatPowerIsTheDoublePowerRoundedOnce) {
    const float a = 1.1F, b = 37.7F;
    expectSame(run<float>(bnry_Power, {a}, true, {b}, true, 1),
               {static_cast<float>(std::pow(double{a}, double{b}))}, "1.1^37.7");
    EXPECT_TRUE(std::isnan(run<float>(bnry_Power, {-2}, true, {0.5F}, true, 1)[0]));
    EXPECT_EQ(run<float>(bnry_Power, {10}, true, {39}, true, 1)[0],
              std::numeric_limits<float>::infinity());
}

TEST(ArithmeticKernels, ZeroDivisorsGiveInfinitiesAndNaN) {
    const std::vector<double> r = run<double>(bnry_Divide, {1, -1, 0}, true, {0}, false, 3);
    EXPECT_EQ(r[0], std::numeric_limits<double>::infinity());
    EXPECT_EQ(r[1], -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(r[2]));
}

TEST(ArithmeticKernels, ComplexProductsAreNotFused) {
    // With the first product kept exact, the real part would be about 2^-24 instead of 0.
    const float x = 1 + 0x1p-12F;
    using C = comp_cComplex<float>;
    for (const level_eSet level : levels())
        for (const std::size_t count : std::initializer_list<std::size_t>{1, 2, 3, 7, 8, 9, 64}) {
            const std::vector<C> a(count, C(x, x));
            for (const C& z : run<C>(bnry_Multiply, a, true, a, true, count, level)) {
                EXPECT_EQ(z.re, 0);
                EXPECT_EQ(z.im, 2 * (x * x));
            }
        }
}

namespace {

/// Runs the engine and the kernel on converted copies, for one triple of types.
class cEngineCheck {
public:
    cEngineCheck(dtyp_cDataType type, dtyp_cDataType storedA, dtyp_cDataType storedB,
                 std::size_t count)
        : type_(type), storedA_(storedA), storedB_(storedB), count_(count), a_(stored(storedA, 3)),
          b_(stored(storedB, 4)), convertedA_(converted(a_, storedA)),
          convertedB_(converted(b_, storedB)) {}

    void Check(int operation, bool first, bool second) const {
        const view_cView viewA = wholeView(a_.data(), storedA_, type_, count_);
        const view_cView viewB = wholeView(b_.data(), storedB_, type_, count_);
        const bnry_cOperand a = first ? bnry_cOperand(viewA) : bnry_cOperand(convertedA_.data());
        const bnry_cOperand b = second ? bnry_cOperand(viewB) : bnry_cOperand(convertedB_.data());
        std::vector<std::byte> expected(count_ * type_.SizeOf(), std::byte{42});
        bnry_RunKernel(convertedA_.data(), convertedB_.data(), expected.data(),
                       {operation, type_.Code(), first, second, static_cast<int>(count_)},
                       level_Baseline);
        for (const level_eSet level : levels()) {
            std::vector<std::byte> actual(count_ * type_.SizeOf(), std::byte{42});
            bnry_Compute(operation, type_, a, b, actual.data(), count_, level);
            const std::string what = describe(type_, operation, first, second, count_, level) +
                                     " from " + std::to_string(storedA_.Code()) + ", " +
                                     std::to_string(storedB_.Code());
            dtyp_Visit(type_, [&]<class T>(dtyp_Tag<T>) {
                expectSame(elements<T>(actual), elements<T>(expected), what);
            });
        }
    }

private:
    template<class T>
    static std::vector<T> elements(const std::vector<std::byte>& bytes) {
        std::vector<T> result(bytes.size() / sizeof(T));
        if (!result.empty())
            std::memcpy(static_cast<void*>(result.data()), bytes.data(), bytes.size());
        return result;
    }
    std::vector<std::byte> stored(dtyp_cDataType type, unsigned seed) const {
        std::vector<std::byte> bytes(count_ * type.SizeOf());
        dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
            const std::vector<T> values = somethings<T>(count_, seed);
            if (count_ != 0)
                std::memcpy(bytes.data(), values.data(), bytes.size());
        });
        return bytes;
    }
    std::vector<std::byte> converted(const std::vector<std::byte>& from,
                                     dtyp_cDataType stored) const {
        std::vector<std::byte> bytes(count_ * type_.SizeOf());
        conv_Elements(from.data(), stored, bytes.data(), type_, count_, conv_RealPart);
        return bytes;
    }

    dtyp_cDataType type_, storedA_, storedB_;
    std::size_t count_;
    std::vector<std::byte> a_, b_, convertedA_, convertedB_;
};

} // namespace

// Sizes lie around chunks, and around blocks of 4096 bytes of every element size.
TEST(ArithmeticEngine, MixedTypesGiveTheBitsOfTheKernelOnConvertedCopies) {
    for (int type = dtyp_UInt16; type <= dtyp_ComplexDouble; ++type)
        for (int storedA = dtyp_UInt8; storedA <= type; ++storedA)
            for (int storedB = dtyp_UInt8; storedB <= type; ++storedB)
                for (const std::size_t count :
                     std::initializer_list<std::size_t>{1, 3, 4, 6, 7, 65, 1025, 2051}) {
                    const cEngineCheck check(dtyp_cDataType(type), dtyp_cDataType(storedA),
                                             dtyp_cDataType(storedB), count);
                    for (const int operation : operations) {
                        if (operation == bnry_Power && count != 7)
                            continue;
                        check.Check(operation, true, true);
                        check.Check(operation, true, false);
                        check.Check(operation, false, true);
                    }
                }
}

TEST(ArithmeticEngine, NoElementsWriteNothing) {
    for (const dtyp_eDataType stored : {dtyp_UInt16, dtyp_Float})
        cEngineCheck(dtyp_Float, stored, dtyp_Float, 0).Check(bnry_Add, true, true);
}

TEST(ArithmeticEngine, SelectedViewsAreFetchedAndChunksCountFromTheirStart) {
    // 5000 elements seen from 3000 before to 2001 behind, the missing ones zero, in 16-bit and
    // 32-bit steps that straddle blocks.
    const std::vector<short> elements = somethings<short>(5000, 7);
    view_cAxis axis(5000, cal_cArrayCal());
    axis.Select(-3000, 7001);
    const std::size_t count = 10001;
    for (const dtyp_eDataType type : {dtyp_Int16, dtyp_Int32, dtyp_Float, dtyp_Double}) {
        const view_cView view(elements.data(), dtyp_Int16, type, axis,
                              view_cAxis(1, cal_cArrayCal()));
        ASSERT_EQ(view.Stored(), nullptr);
        std::vector<std::byte> seen(count * 8), expected(count * 8), actual(count * 8);
        view.Fetch(0, count, seen.data());
        const std::byte* number = seen.data() + 3003 * dtyp_cDataType(type).SizeOf();
        for (const level_eSet level : levels())
            for (const int operation : {bnry_Add, bnry_Subtract, bnry_Multiply, bnry_Divide}) {
                const std::string what = describe(type, operation, false, true, count, level);
                bnry_RunKernel(number, seen.data(), expected.data(),
                               {operation, type, 0, 1, static_cast<int>(count)}, level);
                bnry_Compute(operation, type, bnry_cOperand(number), bnry_cOperand(view),
                             actual.data(), count, level);
                EXPECT_EQ(actual, expected) << what;
                bnry_RunKernel(seen.data(), seen.data(), expected.data(),
                               {operation, type, 1, 1, static_cast<int>(count)}, level);
                bnry_Compute(operation, type, bnry_cOperand(view), bnry_cOperand(view),
                             actual.data(), count, level);
                if (operation != bnry_Divide) { // 0 / 0 has no bits of its own
                    EXPECT_EQ(actual, expected) << what;
                }
            }
    }
}

TEST(ArithmeticEngine, StreamedResultsHaveTheSameElements) {
    const std::size_t count = (std::size_t{48} << 20) / sizeof(int) + 5;
    std::vector<unsigned short> a(count), b(count);
    for (std::size_t i = 0; i < count; ++i) {
        a[i] = static_cast<unsigned short>(i * 7919);
        b[i] = static_cast<unsigned short>(i >> 3);
    }
    const view_cView viewA = wholeView(a.data(), dtyp_UInt16, dtyp_Int32, count);
    const view_cView viewB = wholeView(b.data(), dtyp_UInt16, dtyp_Int32, count);
    std::vector<int> result(count + 1, 42);
    for (const level_eSet level : levels()) {
        bnry_Compute(bnry_Subtract, dtyp_Int32, bnry_cOperand(viewA), bnry_cOperand(viewB),
                     result.data(), count, level);
        std::size_t wrong = 0;
        for (std::size_t i = 0; i < count; ++i)
            wrong += result[i] != a[i] - b[i];
        EXPECT_EQ(wrong, 0u) << level_Name(level);
        EXPECT_EQ(result[count], 42);
    }
    // A number minus the array: flipped as far as whole chunks reach, to the last element but one.
    const int number = 3;
    bnry_Compute(bnry_Subtract, dtyp_Int32, bnry_cOperand(&number), bnry_cOperand(viewA),
                 result.data(), count);
    EXPECT_EQ(result[0], a[0] - 3);
    EXPECT_EQ(result[count - 2], a[count - 2] - 3);
    EXPECT_EQ(result[count - 1], 3 - a[count - 1]);
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
bool hasZero(const std::vector<T>& divisor, bool numberFirst, bool numberSecond, level_eSet level) {
    const std::size_t count = divisor.size();
    const std::vector<T> dividend(count, T(6));
    const dtyp_cDataType type = dtyp_Of<T>();
    const view_cView a = wholeView(dividend.data(), type, type, count);
    const view_cView b = wholeView(divisor.data(), type, type, count);
    std::vector<T> result(count);
    const bool zero =
        bnry_DivideTesting(type, numberFirst ? bnry_cOperand(dividend.data()) : bnry_cOperand(a),
                           numberSecond ? bnry_cOperand(divisor.data()) : bnry_cOperand(b),
                           result.data(), count, level);
    for (std::size_t i = 0; i < count && !zero; ++i) {
        EXPECT_TRUE(same(result[i], oracle(bnry_Divide, T(6), divisor[numberSecond ? 0 : i]))) << i;
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
    for (const level_eSet level : levels())
        for (const auto& c : cases)
            for (const std::size_t count :
                 std::initializer_list<std::size_t>{1, 2, 3, 17, 64, 4099})
                for (const std::size_t at :
                     std::initializer_list<std::size_t>{std::size_t{0}, count / 2, count - 1}) {
                    std::vector<T> divisor(count, T(2));
                    divisor[at] = T(c.value);
                    const std::string what = std::to_string(c.value) + " at " + std::to_string(at) +
                                             " of " + std::to_string(count);
                    EXPECT_EQ(hasZero(divisor, false, false, level), c.isZero) << what;
                    EXPECT_EQ(hasZero(divisor, true, false, level), c.isZero) << what;
                    EXPECT_EQ(hasZero(divisor, false, true, level), c.isZero && at == 0) << what;
                    if constexpr (complexElement<T>) {
                        divisor[at] = T(0, c.value);
                        EXPECT_EQ(hasZero(divisor, false, false, level), c.isZero) << what << " i";
                        divisor[at] = T(c.value, 1);
                        EXPECT_FALSE(hasZero(divisor, false, false, level)) << what << " + i";
                    }
                }
}

TYPED_TEST(TestingDivision, OfNothingFindsNothing) {
    using T = TypeParam;
    EXPECT_FALSE(hasZero(std::vector<T>(), false, false, level_Current()));
    const T zero(0);
    T result(42);
    EXPECT_FALSE(
        bnry_DivideTesting(dtyp_Of<T>(), bnry_cOperand(&zero), bnry_cOperand(&zero), &result, 0));
    EXPECT_TRUE(same(result, T(42)));
}

TEST(TestingDivisions, IntegerDivisorsAreTestedOnTheWay) {
    for (const level_eSet level : levels())
        for (const std::size_t at : std::initializer_list<std::size_t>{0, 1500, 2999, 3000}) {
            std::vector<unsigned short> divisor(3000, 7);
            if (at < 3000)
                divisor[at] = 0;
            const std::vector<double> wide(3000, 1.0);
            std::vector<double> result(3000);
            const view_cView asFloat = wholeView(divisor.data(), dtyp_UInt16, dtyp_Float, 3000);
            const view_cView asDouble = wholeView(divisor.data(), dtyp_UInt16, dtyp_Double, 3000);
            const view_cView doubles = wholeView(wide.data(), dtyp_Double, dtyp_Double, 3000);
            EXPECT_EQ(bnry_DivideTesting(dtyp_Float, bnry_cOperand(asFloat), bnry_cOperand(asFloat),
                                         result.data(), 3000, level),
                      at < 3000);
            EXPECT_EQ(bnry_DivideTesting(dtyp_Double, bnry_cOperand(doubles),
                                         bnry_cOperand(asDouble), result.data(), 3000, level),
                      at < 3000);
            if (at == 3000) {
                EXPECT_EQ(result, std::vector<double>(3000, 1.0 / 7));
            }
        }
}

TEST(TestingDivisions, ZerosThatASelectionAddsCount) {
    const std::vector<float> ones(10, 1.0F);
    view_cAxis axis(10, cal_cArrayCal());
    axis.Select(2, 11);
    const view_cView view(ones.data(), dtyp_Float, dtyp_Float, axis,
                          view_cAxis(1, cal_cArrayCal()));
    std::vector<float> result(9);
    EXPECT_TRUE(
        bnry_DivideTesting(dtyp_Float, bnry_cOperand(view), bnry_cOperand(view), result.data(), 9));
}
