#include "dataprocessing/reduce/stat.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/unary/unry.h"
#include "tests/failing_new.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

const cal_c1DArrayCal lineCal(12.5, 0.25, 3);
const cal_c2DArrayCal imageCal(1, 2, 3, 4, 5, 6);

/// The same type and the same bits, where NaN is one value.
void expectSame(const pnum_cNumber& actual, const pnum_cNumber& expected, const std::string& what) {
    ASSERT_EQ(actual.DataType(), expected.DataType()) << what;
    bool isSame = false;
    forEachElementType([&]<class T>(int code) {
        if (code != actual.DataType().Code())
            return;
        T a;
        T b;
        std::memcpy(static_cast<void*>(&a), actual.Data(), sizeof a);
        std::memcpy(static_cast<void*>(&b), expected.Data(), sizeof b);
        isSame = isSameElement(a, b);
    });
    EXPECT_TRUE(isSame) << what << ": " << actual << " instead of " << expected;
}

/// The most elements that are summed as int32; -1 where none are.
int mostForInt(int code) {
    switch (code) {
    case 1:
        return 8388607;
    case 2:
        return 32767;
    case 4:
        return 16777215;
    case 5:
        return 65535;
    default:
        return -1;
    }
}

/// The plain sum in storage order, one double addition after the other.
template<class T>
double orderedSum(const T* elements, std::size_t count) {
    volatile double sum = 0;
    for (std::size_t i = 0; i < count; ++i)
        sum = sum + static_cast<double>(elements[i]);
    return sum;
}

template<class T>
pnum_cNumber expectedSum(std::span<const T> elements) {
    if constexpr (isComplexElement<T>) {
        std::vector<typename PartOf<T>::type> re, im;
        for (const T& z : elements) {
            re.push_back(z.re);
            im.push_back(z.im);
        }
        return ComplexDouble(orderedSum(re.data(), re.size()), orderedSum(im.data(), im.size()));
    } else {
        const int most = mostForInt(dtyp_Of<T>().Code());
        if (static_cast<long long>(elements.size()) > most)
            return orderedSum(elements.data(), elements.size());
        long long sum = 0;
        for (const T x : elements)
            sum += static_cast<long long>(x);
        EXPECT_LE(std::llabs(sum), 1LL << 31);
        return static_cast<int>(sum);
    }
}

/// Random elements over the whole range of the type; floating ones of very different sizes.
template<class T>
std::vector<T> randomElements(std::size_t count, unsigned seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> unit(-1, 1);
    std::uniform_int_distribution<int> exponent(-30, 30);
    std::vector<T> elements(count);
    for (T& x : elements) {
        if constexpr (std::is_integral_v<T>)
            x = static_cast<T>(random());
        else
            x = elementOf<T>(std::ldexp(unit(random), exponent(random)),
                             std::ldexp(unit(random), exponent(random)));
    }
    return elements;
}

template<class T>
class StatisticsOf : public testing::Test {};
using Elements = testing::Types<unsigned char, unsigned short, unsigned int, signed char, short,
                                int, float, double, ComplexFloat, ComplexDouble>;
TYPED_TEST_SUITE(StatisticsOf, Elements);

constexpr std::size_t counts[] = {0,  1,  2,  3,   4,   5,   6,    7,    8,    9,
                                  63, 64, 65, 127, 128, 511, 4095, 4096, 4097, 100003};

TYPED_TEST(StatisticsOf, SumIsThatOfThePlainLoop) {
    for (const std::size_t count : counts) {
        const std::vector<TypeParam> elements =
            randomElements<TypeParam>(count, static_cast<unsigned>(count));
        const std::span<const TypeParam> span(elements);
        const int size = static_cast<int>(count);
        const std::string what = std::to_string(count);
        expectSame(stat_Sum(parr_c1DNumberArray(span)), expectedSum(span), what);
        expectSame(stat_Sum(darr_c1DArray(span, lineCal)), expectedSum(span), what);
        expectSame(stat_Sum(parr_c2DNumberArray(size, 1, span)), expectedSum(span), what);
        expectSame(stat_Sum(darr_c2DArray(1, size, span, imageCal)), expectedSum(span), what);
    }
}

TYPED_TEST(StatisticsOf, SumIsNearTheExactOne) {
    const std::vector<TypeParam> elements = randomElements<TypeParam>(5000, 3);
    const ComplexDouble sum = stat_Sum(parr_c1DNumberArray(std::span<const TypeParam>(elements)))
                                  .template As<ComplexDouble>();
    long double re = 0, im = 0, magnitude = 0;
    for (const TypeParam& x : elements) {
        const ComplexDouble z = pnum_cNumber(dtyp_Of<TypeParam>(), &x).template As<ComplexDouble>();
        re += z.re;
        im += z.im;
        magnitude += std::fabs(z.re) + std::fabs(z.im);
    }
    const bool isInteger = std::is_integral_v<TypeParam>;
    const long double bound = isInteger ? statedBound("sums of integers")
                                        : statedBound("sums of doubles") * 4999 *
                                              std::numeric_limits<double>::epsilon() * magnitude;
    EXPECT_LE(std::fabs(sum.re - re), bound);
    EXPECT_LE(std::fabs(sum.im - im), bound);
}

TYPED_TEST(StatisticsOf, SumOfAnEmptyArrayIsZeroOfItsAccumulator) {
    const int code = dtyp_Of<TypeParam>().Code();
    const int expected = isComplexElement<TypeParam> ? 10 : mostForInt(code) > 0 ? 6 : 8;
    const pnum_cNumber ofLine = stat_Sum(parr_c1DNumberArray(0, dtyp_Of<TypeParam>()));
    const pnum_cNumber ofImage = stat_Sum(parr_c2DNumberArray(0, 7, dtyp_Of<TypeParam>()));
    EXPECT_EQ(ofLine.DataType().Code(), expected);
    EXPECT_EQ(ofImage.DataType().Code(), expected);
    EXPECT_EQ(ofLine.As<ComplexDouble>(), ComplexDouble(0));
    EXPECT_EQ(ofImage.As<ComplexDouble>(), ComplexDouble(0));
}

struct Limit {
    int code;
    int count;
    double element;
    int expectedCode;
};

// With the extreme elements, the sum is int32 up to the limit and double beyond it.
TEST(StatisticsSum, ChangesItsTypeExactlyAtTheAccumulatorsLimit) {
    const Limit cases[] = {
        {1, 8388607, 255, 6},   {1, 8388608, 255, 8},     {2, 32767, 65535, 6},
        {2, 32768, 65535, 8},   {4, 16777215, -128, 6},   {4, 16777215, 127, 6},
        {4, 16777216, -128, 8}, {4, 16777216, 127, 8},    {5, 65535, -32768, 6},
        {5, 65535, 32767, 6},   {5, 65536, -32768, 8},    {5, 65536, 32767, 8},
        {2, 1000000, 65535, 8}, {5, 1000000, -32768, 8},  {5, 1000000, 32767, 8},
        {1, 1000, 255, 6},      {6, 3, -2147483648.0, 8}, {3, 3, 4294967295.0, 8}};
    for (const Limit& c : cases) {
        const pnum_cNumber element = conv_Convert(pnum_cNumber(c.element), dtyp_cDataType(c.code));
        const pnum_cNumber ofLine = stat_Sum(parr_c1DNumberArray(c.count, element));
        EXPECT_EQ(ofLine.DataType().Code(), c.expectedCode) << c.code << " " << c.count;
        EXPECT_EQ(ofLine.As<double>(), c.element * c.count) << c.code << " " << c.count;
        const pnum_cNumber ofImage = stat_Sum(parr_c2DNumberArray(c.count, 1, element));
        expectSame(ofImage, ofLine, "image");
    }
}

TEST(StatisticsSum, OfAThousandBytesIsTheInteger) {
    const pnum_cNumber sum = stat_Sum(parr_c1DNumberArray(1000, static_cast<unsigned char>(255)));
    EXPECT_EQ(sum.DataType(), dtyp_Int32);
    EXPECT_EQ(sum.As<int>(), 255000);
}

TEST(StatisticsSum, CountsAllElementsOfAnImage) {
    const short elements[] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(stat_Sum(parr_c2DNumberArray(2, 3, std::span(elements))).As<int>(), 21);
    EXPECT_EQ(stat_Sum(parr_c2DNumberArray(3, 2, std::span(elements))).As<int>(), 21);
}

/// 32-bit elements whose sum passes 2^53 within the first `climb` ones, goes on rounding, and, with
/// a sign, comes back.
template<class T>
std::vector<T> climbing(std::size_t count, std::size_t climb) {
    std::mt19937 random(7);
    std::vector<T> elements(count);
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned odd = (static_cast<unsigned>(random()) & 0xfffU) | 1U;
        const T top = static_cast<T>(std::numeric_limits<T>::max() - static_cast<T>(odd - 1));
        if (i < climb || std::is_unsigned_v<T>)
            elements[i] = i < climb + 5000 ? top : static_cast<T>(odd);
        else
            elements[i] = i < 2 * climb ? static_cast<T>(-top) : static_cast<T>(odd);
    }
    return elements;
}

// Beyond 2^53 every addition rounds, and the order decides which way.
TEST(StatisticsSum, Of32BitIntegersBeyondTheExactDoublesIsThatOfThePlainLoop) {
    const std::vector<unsigned> up = climbing<unsigned>(2150000, 2110000);
    ASSERT_GT(orderedSum(up.data(), up.size()), 0x1p53);
    long long exact = 0;
    for (const unsigned x : up)
        exact += x;
    ASSERT_NE(static_cast<double>(exact), orderedSum(up.data(), up.size()))
        << "the order has to matter";
    // Blocks end at multiples of 4096; the sum can leave the exact doubles from 2093057 on.
    for (const std::size_t count :
         {std::size_t{2092031}, std::size_t{2093055}, std::size_t{2093056}, std::size_t{2093057},
          std::size_t{2097151}, std::size_t{2097152}, std::size_t{2097153}, std::size_t{2097154},
          std::size_t{2101248}, std::size_t{2101249}, up.size()})
        EXPECT_EQ(stat_Sum(parr_c1DNumberArray(std::span(up.data(), count))).As<double>(),
                  orderedSum(up.data(), count))
            << count;

    std::vector<int> upAndDown = climbing<int>(8600000, 4250000);
    ASSERT_GT(orderedSum(upAndDown.data(), 4250000), 0x1p53);
    for (int sign = 0; sign < 2; ++sign) {
        for (const std::size_t count :
             {std::size_t{4186111}, std::size_t{4190208}, std::size_t{4194303},
              std::size_t{4194304}, std::size_t{4198400}, std::size_t{4250000}, upAndDown.size()})
            EXPECT_EQ(stat_Sum(parr_c1DNumberArray(std::span<const int>(upAndDown.data(), count)))
                          .As<double>(),
                      orderedSum(upAndDown.data(), count))
                << count;
        for (int& x : upAndDown)
            x = -x;
    }
}

TEST(StatisticsSum, ReachesTheLargestMagnitudesOf32BitIntegers) {
    const std::size_t count = 4200000;
    const std::vector<int> lowest(count, std::numeric_limits<int>::min());
    EXPECT_EQ(stat_Sum(parr_c1DNumberArray(std::span<const int>(lowest))).As<double>(),
              -2147483648.0 * static_cast<double>(count));
    const std::vector<unsigned> highest(count, std::numeric_limits<unsigned>::max());
    EXPECT_EQ(stat_Sum(parr_c1DNumberArray(std::span<const unsigned>(highest))).As<double>(),
              orderedSum(highest.data(), count));
}

// 1 is lost beside 2^53 unless it is added to something small first.
TEST(StatisticsSum, OfDoublesIsTakenInStorageOrder) {
    std::vector<double> elements(101, 1.0);
    elements[0] = 0x1p53;
    EXPECT_EQ(stat_Sum(parr_c1DNumberArray(std::span<const double>(elements))).As<double>(),
              0x1p53);
    std::swap(elements[0], elements[100]);
    EXPECT_EQ(stat_Sum(parr_c1DNumberArray(std::span<const double>(elements))).As<double>(),
              0x1p53 + 100);
}

TEST(StatisticsSum, OfFloatsIsTakenInDouble) {
    std::vector<float> elements(1001, 1.0F);
    elements[0] = 0x1p40F;
    EXPECT_EQ(stat_Sum(parr_c1DNumberArray(std::span<const float>(elements))).As<double>(),
              0x1p40 + 1000);
}

struct FloatCase {
    const char* name;
    double (*element)(std::size_t i);
};

// Additions of floats in double are exact for a while and then round, depending on the elements.
TEST(StatisticsSum, OfFloatsIsThatOfThePlainLoopWhereverRoundingBegins) {
    constexpr double fine = 1 + 0x1p-23;
    const FloatCase cases[] = {
        {"counts", [](std::size_t i) { return static_cast<double>(i * 7919 % 65536); }},
        {"never rounded", [](std::size_t i) { return 0.5 + static_cast<double>(i % 1000) / 1024; }},
        {"rounded in the end",
         [](std::size_t i) {
             return i % 2 == 0 ? fine : 65535 + 0x1p-8 * static_cast<double>(i % 7);
         }},
        {"rounded upon a late small one",
         [](std::size_t i) {
             return i == 20000 ? 0x1p-40 : 16777215 - static_cast<double>(i % 3);
         }},
        {"rounded at once",
         [](std::size_t i) { return i % 2 == 0 ? 0x1.234568p-40 : 0x1.abcdp20; }},
        {"exact beside a power of two",
         [](std::size_t i) { return i == 0       ? 0x1p29
                                    : i % 2 == 0 ? fine
                                                 : -fine; }},
        {"smallest powers of two",
         [](std::size_t i) { return i % 512 == 0 ? 0x1p-20 : 0x1.fffffep8; }},
        {"falling back",
         [](std::size_t i) {
             return (i < 30000 ? 1 : -1) * (65535 + 0x1p-8 * static_cast<double>(i % 5));
         }},
        {"coarse ones that cancel beside a fine one",
         [](std::size_t i) {
             return i < 512 ? (i == 0 ? fine : 0.0) : i / 256 % 2 == 0 ? 0x1p31 : -0x1p31;
         }},
        {"zeros among them",
         [](std::size_t i) { return i % 3 == 0   ? fine
                                    : i % 3 == 1 ? 0.0
                                                 : -0.0; }},
        {"zeros", [](std::size_t) { return 0.0; }},
        {"negative zeros", [](std::size_t) { return -0.0; }},
        {"subnormal", [](std::size_t i) { return 0x1p-149 * static_cast<double>(i % 4099); }},
        {"subnormal beside normal", [](std::size_t i) { return i % 2 == 0 ? 0x1p-149 : 0x1p-97; }},
        {"largest", [](std::size_t i) { return i % 2 == 0 ? 0x1.fffffep127 : 0x1.8p100; }},
        {"infinite", [](std::size_t i) { return i == 5000 ? infinity : 1.5; }},
        {"not a number", [](std::size_t i) { return i == 5000 ? notANumber : 1.5; }},
        {"opposite infinities", [](std::size_t i) {
             return i == 5000 ? infinity : i == 30000 ? -infinity : 1.5;
         }}};
    for (const FloatCase& c : cases)
        for (const int sign : {1, -1}) {
            std::vector<float> elements(60000);
            for (std::size_t i = 0; i < elements.size(); ++i)
                elements[i] = static_cast<float>(sign * c.element(i));
            for (const std::size_t count :
                 {std::size_t{1}, std::size_t{31}, std::size_t{32}, std::size_t{33},
                  std::size_t{511}, std::size_t{512}, std::size_t{513}, std::size_t{5001},
                  std::size_t{16384}, std::size_t{20481}, std::size_t{33333}, std::size_t{60000}})
                expectSame(
                    stat_Sum(parr_c1DNumberArray(std::span<const float>(elements.data(), count))),
                    orderedSum(elements.data(), count),
                    c.name + std::string(" ") + std::to_string(count));
        }
}

TEST(StatisticsSum, OfFloatsOfRandomSizesIsThatOfThePlainLoop) {
    std::mt19937_64 random(17);
    std::uniform_real_distribution<float> unit(0.5F, 1.0F);
    for (int trial = 0; trial < 300; ++trial) {
        const int spread = trial % 30;
        std::vector<float> elements(1 + random() % 20000);
        for (float& x : elements) {
            const int exponent =
                spread == 0 ? 0 : static_cast<int>(random() % static_cast<unsigned>(spread));
            x = std::ldexp(random() % 2 == 0 ? unit(random) : -unit(random), exponent);
        }
        expectSame(stat_Sum(parr_c1DNumberArray(std::span<const float>(elements))),
                   orderedSum(elements.data(), elements.size()), std::to_string(spread));
    }
}

TEST(StatisticsSum, KeepsTheSignOfZeroThatAdditionsHave) {
    const double zeros[] = {-0.0, -0.0};
    EXPECT_FALSE(std::signbit(stat_Sum(parr_c1DNumberArray(std::span(zeros))).As<double>()));
}

TEST(StatisticsSum, PropagatesNaNAndInfinityOfEachPart) {
    const ComplexDouble elements[] = {{1, notANumber}, {infinity, 2}};
    const ComplexDouble sum =
        stat_Sum(parr_c1DNumberArray(std::span(elements))).As<ComplexDouble>();
    EXPECT_EQ(sum.re, infinity);
    EXPECT_TRUE(std::isnan(sum.im));
    const float opposite[] = {std::numeric_limits<float>::infinity(), 1,
                              -std::numeric_limits<float>::infinity()};
    EXPECT_TRUE(std::isnan(stat_Sum(parr_c1DNumberArray(std::span(opposite))).As<double>()));
}

TEST(StatisticsSum, OfAnUnknownTypeIsTheFloatZero) {
    for (const int code : {-1, 0, 11}) {
        expectSame(stat_Sum(parr_c1DNumberArray(5, dtyp_cDataType(code))), 0.0f, "line");
        expectSame(stat_Sum(parr_c2DNumberArray(5, 2, dtyp_cDataType(code))), 0.0f, "image");
    }
}

// The mean.

TYPED_TEST(StatisticsOf, MeanIsTheSumTimesTheReciprocal) {
    for (const std::size_t count : counts) {
        if (count == 0)
            continue;
        const std::vector<TypeParam> elements =
            randomElements<TypeParam>(count, static_cast<unsigned>(count) + 1);
        const std::span<const TypeParam> span(elements);
        const double factor = 1.0 / static_cast<double>(count);
        const ComplexDouble sum = expectedSum(span).template As<ComplexDouble>();
        pnum_cNumber expected;
        if (isComplexElement<TypeParam>)
            expected = ComplexDouble(sum.re * factor - sum.im * 0, sum.re * 0 + sum.im * factor);
        else
            expected = sum.re * factor;
        const int size = static_cast<int>(count);
        expectSame(stat_Mean(parr_c1DNumberArray(span)), expected, std::to_string(count));
        expectSame(stat_Mean(parr_c2DNumberArray(1, size, span)), expected, std::to_string(count));
    }
}

TEST(StatisticsMean, OfOneAndTwoIsOneAndAHalf) {
    const int elements[] = {1, 2};
    const pnum_cNumber mean = stat_Mean(parr_c1DNumberArray(std::span(elements)));
    EXPECT_EQ(mean.DataType(), dtyp_Double);
    EXPECT_EQ(mean.As<double>(), 1.5);
}

// 5 / 49 and 5 x (1 / 49) are different doubles.
TEST(StatisticsMean, MultipliesByTheReciprocalRatherThanDivides) {
    std::vector<double> elements(49, 0.0);
    elements[0] = 49;
    const double mean =
        stat_Mean(parr_c1DNumberArray(std::span<const double>(elements))).As<double>();
    ASSERT_NE(49 * (1.0 / 49), 1.0);
    EXPECT_EQ(mean, 49 * (1.0 / 49));
}

TEST(StatisticsMean, OfAnEmptyArrayIsRefused) {
    const std::string message = ": Cannot calculate mean on empty array.";
    for (const int code : {0, 1, 6, 7, 10, 11}) {
        const dtyp_cDataType type(code);
        EXPECT_EQ(userRefusalOf([&] { stat_Mean(parr_c1DNumberArray(0, type)); }),
                  "statist:166" + message);
        EXPECT_EQ(userRefusalOf([&] { stat_Mean(parr_c2DNumberArray(0, 4, type)); }),
                  "statist:178" + message);
        EXPECT_EQ(userRefusalOf([&] { stat_Mean(parr_c2DNumberArray(4, 0, type)); }),
                  "statist:178" + message);
    }
}

TEST(StatisticsMean, OfAnUnknownTypeIsZero) {
    expectSame(stat_Mean(parr_c1DNumberArray(3, dtyp_cDataType(11))), 0.0, "line");
    expectSame(stat_Mean(parr_c2DNumberArray(3, 2, dtyp_cDataType(0))), 0.0, "image");
}

// The variance.

/// The plain loops: the mean, then the squared deviations from it in storage order, times the
/// reciprocal, by a complex product where elements are complex.
template<class T>
pnum_cNumber expectedVariance(std::span<const T> elements, double denominator) {
    const double part = 1.0 / static_cast<double>(elements.size());
    const double factor = 1.0 / denominator;
    const ComplexDouble sum = expectedSum(elements).template As<ComplexDouble>();
    double re = 0;
    double im = 0;
    if constexpr (isComplexElement<T>) {
        const double meanRe = sum.re * part - sum.im * 0;
        const double meanIm = sum.re * 0 + sum.im * part;
        for (const T& z : elements) {
            const double x = static_cast<double>(z.re) - meanRe;
            const double y = static_cast<double>(z.im) - meanIm;
            re += x * x - y * y;
            im += x * y + y * x;
        }
        return ComplexDouble(re * factor - im * 0, re * 0 + im * factor);
    } else {
        for (const T element : elements) {
            const double deviation = static_cast<double>(element) - sum.re * part;
            re += deviation * deviation;
        }
        return re * factor;
    }
}

template<class T>
void expectVariances(const std::vector<T>& elements, const std::string& what) {
    const std::span<const T> span(elements);
    const int count = static_cast<int>(elements.size());
    const pnum_cNumber expected = expectedVariance(span, count - 1);
    expectSame(stat_Variance(darr_c1DArray(span, lineCal)), expected, what);
    expectSame(stat_Variance(parr_c1DNumberArray(span)), expected, what);
    for (const int sizeX : {1, 2, 3, 8, 100}) {
        if (count % sizeX != 0 || count / sizeX < 2)
            continue;
        const int sizeY = count / sizeX;
        const pnum_cNumber ofImage =
            expectedVariance(span, static_cast<double>(sizeX - 1) * (sizeY - 1));
        const std::string where = what + " as " + std::to_string(sizeX) + " columns";
        expectSame(stat_Variance(darr_c2DArray(sizeX, sizeY, span, imageCal)), ofImage, where);
        expectSame(stat_Variance(parr_c2DNumberArray(sizeX, sizeY, span)), ofImage, where);
    }
}

TYPED_TEST(StatisticsOf, VarianceIsThatOfThePlainLoops) {
    for (const int count : {2, 3, 4, 5, 6, 7, 8, 9, 16, 200, 511, 512, 513, 4097, 100000})
        expectVariances(randomElements<TypeParam>(static_cast<std::size_t>(count),
                                                  static_cast<unsigned>(count)),
                        std::to_string(count));
}

TYPED_TEST(StatisticsOf, VarianceOfEqualElementsIsThatOfThePlainLoops) {
    expectVariances(std::vector<TypeParam>(48, elementOf<TypeParam>(3, -2)), "equal");
}

template<class T>
class VarianceWithout : public testing::Test {};
using FloatingElements = testing::Types<float, double, ComplexFloat, ComplexDouble>;
TYPED_TEST_SUITE(VarianceWithout, FloatingElements);

TYPED_TEST(VarianceWithout, FiniteElementsIsThatOfThePlainLoops) {
    constexpr double largest = std::numeric_limits<double>::max();
    for (const double strange : {notANumber, infinity, -infinity, largest, -0.0})
        for (const double other : {1.0, infinity})
            for (const std::size_t at : {std::size_t{0}, std::size_t{7}, std::size_t{15}}) {
                if (strange == largest && sizeof(typename PartOf<TypeParam>::type) == sizeof(float))
                    continue;
                std::vector<TypeParam> elements(16, elementOf<TypeParam>(2, 1));
                elements[at] = elementOf<TypeParam>(strange, 1);
                elements[(at + 1) % 16] = elementOf<TypeParam>(3, strange);
                elements[(at + 2) % 16] = elementOf<TypeParam>(other, other);
                expectVariances(elements, std::to_string(strange));
            }
}

TEST(StatisticsVariance, OfOneToFourIsFiveThirds) {
    const double elements[] = {1, 2, 3, 4};
    EXPECT_DOUBLE_EQ(stat_Variance(parr_c1DNumberArray(std::span(elements))).As<double>(), 5.0 / 3);
    EXPECT_EQ(stat_Variance(parr_c2DNumberArray(2, 2, std::span(elements))).As<double>(), 5);
}

TEST(StatisticsVariance, OfAnImageDividesByTheProductOfBothSizesLessOne) {
    const float elements[] = {1, 2, 3, 4, 5, 6};
    EXPECT_DOUBLE_EQ(stat_Variance(parr_c2DNumberArray(3, 2, std::span(elements))).As<double>(),
                     17.5 / 2);
    EXPECT_DOUBLE_EQ(stat_Variance(parr_c2DNumberArray(2, 3, std::span(elements))).As<double>(),
                     17.5 / 2);
    EXPECT_EQ(stat_Variance(parr_c2DNumberArray(1, 6, std::span(elements))).As<double>(), infinity);
    const float equal[] = {1, 1};
    EXPECT_TRUE(
        std::isnan(stat_Variance(parr_c2DNumberArray(1, 2, std::span(equal))).As<double>()));
}

TEST(StatisticsVariance, OfComplexesSumsTheComplexSquares) {
    const ComplexDouble elements[] = {{0, 1}, {0, -1}};
    const pnum_cNumber variance = stat_Variance(parr_c1DNumberArray(std::span(elements)));
    EXPECT_EQ(variance.DataType(), dtyp_ComplexDouble);
    EXPECT_EQ(variance.As<ComplexDouble>(), ComplexDouble(-2));
}

TEST(StatisticsVariance, OfTooFewElementsIsRefused) {
    const std::string message = ": Cannot calculate variance on array.";
    for (const int code : {0, 1, 7, 10})
        for (const int count : {0, 1})
            EXPECT_EQ(userRefusalOf(
                          [&] { stat_Variance(parr_c1DNumberArray(count, dtyp_cDataType(code))); }),
                      "statist:190" + message);
    const int sizes[][2] = {{0, 0}, {0, 5}, {5, 0}, {1, 1}, {2, 1}, {3, 1}, {1000, 1}};
    for (const auto& size : sizes)
        EXPECT_EQ(userRefusalOf([&] {
                      stat_Variance(parr_c2DNumberArray(size[0], size[1], pnum_cNumber(1.0)));
                  }),
                  "statist:203" + message);
}

TEST(StatisticsVariance, OfAnUnknownTypeIsRefused) {
    for (const int code : {-1, 0, 11}) {
        const darr_c1DArray line(4, dtyp_cDataType(code), lineCal);
        const darr_c2DArray image(2, 2, dtyp_cDataType(code), imageCal);
        EXPECT_EQ(refusalOf([&] { stat_Variance(line); }), "conv:1");
        EXPECT_EQ(refusalOf([&] { stat_Variance(image); }), "conv:1");
    }
}

TEST(StatisticsVariance, DoesNotChangeWhenIntegersAreShifted) {
    std::mt19937 random(11);
    for (int trial = 0; trial < 200; ++trial) {
        const std::size_t count = 2 + random() % 500;
        const int shift = static_cast<int>(random() % 2000001) - 1000000;
        std::vector<int> elements(count);
        std::vector<int> shifted(count);
        for (std::size_t i = 0; i < count; ++i) {
            elements[i] = static_cast<int>(random() % 2001) - 1000;
            shifted[i] = elements[i] + shift;
        }
        const double a =
            stat_Variance(parr_c1DNumberArray(std::span<const int>(elements))).As<double>();
        const double b =
            stat_Variance(parr_c1DNumberArray(std::span<const int>(shifted))).As<double>();
        // The mean is off by at most two roundings of the shifted one, the deviations with it.
        const double off = 2e6 * std::numeric_limits<double>::epsilon();
        EXPECT_NEAR(a, b, 2 * (4 * 1000 * off + 1000 * std::numeric_limits<double>::epsilon() * a));
        EXPECT_GE(a, 0);
    }
}

// Univariate data of the NIST statistical reference collection, made from their definitions.
struct Certified {
    const char* name;
    std::vector<double> data;
    double mean;
    double deviation;
    double meanDigits;
    double deviationDigits;
};

std::vector<double> inTurn(double first, double low, double high) {
    std::vector<double> data = {first};
    for (int i = 0; i < 1000; ++i)
        data.push_back(i % 2 == 0 ? low : high);
    return data;
}

double digitsOfAgreement(double actual, double certified) {
    return actual == certified ? 16 : -std::log10(std::fabs(actual - certified) / certified);
}

TEST(StatisticsVariance, AgreesWithTheCertifiedUnivariateData) {
    const Certified cases[] = {
        {"NumAcc1", {10000001, 10000003, 10000002}, 10000002, 1, 16, 16},
        {"NumAcc2", inTurn(1.2, 1.1, 1.3), 1.2, 0.1, 14, 13},
        {"NumAcc3", inTurn(1000000.2, 1000000.1, 1000000.3), 1000000.2, 0.1, 13, 8},
        {"NumAcc4", inTurn(10000000.2, 10000000.1, 10000000.3), 10000000.2, 0.1, 13, 7}};
    for (const Certified& c : cases) {
        const parr_c1DNumberArray array{std::span<const double>(c.data)};
        const double mean = stat_Mean(array).As<double>();
        const double deviation = std::sqrt(stat_Variance(array).As<double>());
        EXPECT_GE(digitsOfAgreement(mean, c.mean), c.meanDigits) << c.name;
        EXPECT_GE(digitsOfAgreement(deviation, c.deviation), c.deviationDigits) << c.name;
    }
}

TYPED_TEST(StatisticsOf, NothingIsAllocated) {
    const std::vector<TypeParam> elements = countedElements<TypeParam>(3000);
    const std::span<const TypeParam> span(elements);
    const parr_c1DNumberArray line(span);
    const parr_c2DNumberArray image(30, 100, span);
    const FailingNew failing(0);
    EXPECT_NO_THROW(stat_Sum(line));
    EXPECT_NO_THROW(stat_Mean(line));
    EXPECT_NO_THROW(stat_Variance(line));
    EXPECT_NO_THROW(stat_Sum(image));
    EXPECT_NO_THROW(stat_Mean(image));
    EXPECT_NO_THROW(stat_Variance(image));
}

} // namespace
