#include "dataprocessing/valuemodel/resc.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/base/arr.h"
#include "tests/support/arrays.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

/// Where a position of the result lies between the stored elements of one axis.
struct sPlace {
    int left;
    int right;
    long double part;

    sPlace(int index, double delta, double storedDelta, int stored) {
        const long double p = index *
                              (static_cast<long long>(1) * static_cast<long double>(delta)) /
                              static_cast<long double>(storedDelta);
        const long double nearest = std::floor(p + 0.5L);
        const bool isThere = std::fabs(p - nearest) <= 1e-6L; // it is taken exactly
        left = std::min(static_cast<int>(isThere ? nearest : std::floor(p)), stored - 1);
        right = std::min(left + 1, stored - 1);
        part = isThere ? 0 : p - static_cast<long double>(left);
    }
    long double Of(long double a, long double b) const { return a + (b - a) * part; }
};

/// Within a few roundings of the position and of the value; integers may fall to either side of a
/// tie that the roundings decide.
template<class Part>
void checkPart(Part got, long double wanted, long double scale) {
    static const double bound = statedBound("`resc_Rescale`") * epsilon;
    const long double tolerance = bound * scale;
    if constexpr (std::is_floating_point_v<Part>) {
        const long double rounding =
            std::is_same_v<Part, float>
                ? std::fabs(wanted) * std::numeric_limits<float>::epsilon() / 2
                : std::fabs(wanted) * epsilon;
        ASSERT_LE(std::fabs(static_cast<long double>(got) - wanted), tolerance + rounding);
    } else {
        ASSERT_LE(std::fabs(static_cast<long double>(got) - wanted), 0.5L + tolerance);
    }
}
template<class T>
void checkElement(T got, long double re, long double im, long double scale) {
    if constexpr (isComplexElement<T>) {
        checkPart(got.re, re, scale);
        checkPart(got.im, im, scale);
    } else {
        checkPart(got, re, scale);
    }
}

template<class T>
long double realPart(const T& value) {
    if constexpr (isComplexElement<T>)
        return value.re;
    else
        return static_cast<long double>(value);
}
template<class T>
long double imaginaryPart(const T& value) {
    if constexpr (isComplexElement<T>)
        return value.im;
    else
        return 0;
}

template<class T>
std::vector<T> randomElements(std::size_t count, std::mt19937_64& random) {
    std::uniform_real_distribution<double> signedReal(-100, 100);
    std::uniform_real_distribution<double> unsignedReal(0, 200);
    using Part = typename PartOf<T>::type;
    std::vector<T> elements;
    for (std::size_t i = 0; i < count; ++i)
        elements.push_back(std::is_unsigned_v<Part>
                               ? elementOf<T>(unsignedReal(random))
                               : elementOf<T>(signedReal(random), signedReal(random)));
    return elements;
}

int countOf(int stored, double storedDelta, double delta) {
    return static_cast<int>(
        std::floor(static_cast<long double>(stored) * storedDelta / delta + 0.5L));
}

template<class T>
void checkLine(const std::vector<T>& elements, const cal_c1DArrayCal& cal, double delta) {
    const int stored = static_cast<int>(elements.size());
    const darr_c1DArray result = resc_Rescale(lineOf(elements, cal), delta);
    ASSERT_EQ(result.DataType(), dtyp_Of<T>());
    ASSERT_EQ(result.Size(), countOf(stored, cal.Delta(), delta));
    ASSERT_EQ(result.Cal(), cal_c1DArrayCal(cal.Position(0), delta, 0));
    for (int i = 0; i < result.Size(); ++i) {
        const sPlace place(i, delta, cal.Delta(), stored);
        const T& a = elements[static_cast<std::size_t>(place.left)];
        const T& b = elements[static_cast<std::size_t>(place.right)];
        SCOPED_TRACE(i);
        checkElement(result.Elements<T>()[static_cast<std::size_t>(i)],
                     place.Of(realPart(a), realPart(b)),
                     place.Of(imaginaryPart(a), imaginaryPart(b)), 400.0L * (stored + 2));
    }
}

constexpr double deltas[] = {0.01, 0.1, 0.3, 1.0 / 3, 0.5, 0.7, 0.99, 1,
                             1.01, 1.5, 2,   3,       3.7, 10,  300};

} // namespace

// 4.2 is as good as 4 where positions are 1/16 apart, which they are at the end of the stored ones.
TEST(Rescale, TakesElementsExactlyWithinTheToleranceOfTheFartherEnd) {
    const darr_c1DArray squares = lineOf<double>({0, 1, 4, 9, 16, 25, 36, 49}, {0x1p48 - 5, 1, 0});
    const auto found = elementsOf<double>(resc_Rescale(squares, 2.1));
    ASSERT_EQ(found.size(), 4u);
    EXPECT_EQ(found[1], 4);
    EXPECT_EQ(found[2], 16);
    EXPECT_NEAR(found[3], 36 + 0.3 * 13, 1e-12);
}

TEST(Rescale, MatchesTheFormulaForEveryTypeAndDelta) {
    std::mt19937_64 random(3);
    forEachElementType([&]<class T>(int code) {
        for (const int stored : {1, 2, 3, 9, 64, 300})
            for (const double delta : deltas) {
                SCOPED_TRACE(std::to_string(code) + ": " + std::to_string(stored) + " to " +
                             std::to_string(delta));
                checkLine(randomElements<T>(static_cast<std::size_t>(stored), random),
                          cal_c1DArrayCal(5, 1, 2), delta);
            }
    });
}

TEST(Rescale, MatchesTheFormulaOnRandomCalibrations) {
    std::mt19937_64 random(4);
    std::uniform_real_distribution<double> offset(-1e3, 1e3);
    std::uniform_real_distribution<double> logDelta(-3, 3);
    std::uniform_real_distribution<double> logRatio(-1.5, 1.5);
    for (int repeat = 0; repeat < 300; ++repeat) {
        const double storedDelta = std::pow(10, logDelta(random));
        checkLine(
            randomElements<double>(1 + random() % 700, random),
            cal_c1DArrayCal(offset(random), storedDelta, static_cast<int>(random() % 50) - 20),
            storedDelta * std::pow(10, logRatio(random)));
    }
}

TEST(Rescale, OfAPlaneIsBilinear) {
    std::mt19937_64 random(5);
    forEachElementType([&]<class T>(int code) {
        for (const auto& [sizeX, sizeY] : {std::pair(1, 1), std::pair(5, 1), std::pair(1, 4),
                                           std::pair(7, 5), std::pair(300, 3)})
            for (const auto& [deltaX, deltaY] :
                 {std::pair(2.0, 3.0), std::pair(1.0, 3.0), std::pair(2.0, 1.3),
                  std::pair(0.7, 1.9), std::pair(5.0, 0.5), std::pair(0.25, 7.0)}) {
                SCOPED_TRACE(std::to_string(code) + ": " + std::to_string(sizeX) + " x " +
                             std::to_string(sizeY) + " to " + std::to_string(deltaX) + ", " +
                             std::to_string(deltaY));
                const auto elements =
                    randomElements<T>(static_cast<std::size_t>(sizeX * sizeY), random);
                const cal_c2DArrayCal cal(10, 2, -4, 3, 1, 2);
                const darr_c2DArray result =
                    resc_Rescale(planeOf(sizeX, sizeY, elements, cal), deltaX, deltaY);
                ASSERT_EQ(result.SizeX(), countOf(sizeX, 2, deltaX));
                ASSERT_EQ(result.SizeY(), countOf(sizeY, 3, deltaY));
                ASSERT_EQ(result.DataType().Code(), code);
                ASSERT_EQ(result.Cal(), cal_c2DArrayCal(8, deltaX, -10, deltaY, 0, 0));
                for (int y = 0; y < result.SizeY(); ++y)
                    for (int x = 0; x < result.SizeX(); ++x) {
                        const sPlace atX(x, deltaX, 2, sizeX);
                        const sPlace atY(y, deltaY, 3, sizeY);
                        const auto stored = [&, columns = sizeX](int column, int row) {
                            return elements[static_cast<std::size_t>(row * columns + column)];
                        };
                        const auto value = [&](auto part) {
                            return atY.Of(atX.Of(part(stored(atX.left, atY.left)),
                                                 part(stored(atX.right, atY.left))),
                                          atX.Of(part(stored(atX.left, atY.right)),
                                                 part(stored(atX.right, atY.right))));
                        };
                        checkElement(result.template Elements<T>()[static_cast<std::size_t>(
                                         y * result.SizeX() + x)],
                                     value([](const T& z) { return realPart(z); }),
                                     value([](const T& z) { return imaginaryPart(z); }),
                                     400.0L * (sizeX + sizeY + 2));
                    }
            }
    });
}

TEST(Rescale, FinerHoldsTheLastValue) {
    const darr_c1DArray fine =
        resc_Rescale(lineOf<double>({1, 3, 2}, cal_c1DArrayCal(4, 1, 0)), 0.25);
    EXPECT_EQ(elementsOf<double>(fine),
              (std::vector<double>{1, 1.5, 2, 2.5, 3, 2.75, 2.5, 2.25, 2, 2, 2, 2}));
    EXPECT_EQ(fine.Range(), rnge_c1DRange(4, 7));
}

TEST(Rescale, CoarserTakesEveryOther) {
    const darr_c1DArray coarse = resc_Rescale(lineOf(countedElements<int>(7)), 2);
    EXPECT_EQ(elementsOf<int>(coarse), (std::vector<int>{1, 3, 5, 7})); // 3.5 elements, rounded up
    EXPECT_EQ(resc_Rescale(lineOf(countedElements<int>(5)), 2.1).Size(), 2);
}

TEST(Rescale, IntegersAreRoundedOnceTiesToEven) {
    EXPECT_EQ(elementsOf<short>(resc_Rescale(lineOf<short>({0, 1, 2, 5, -2, -3}), 0.5)),
              (std::vector<short>{0, 0, 1, 2, 2, 4, 5, 2, -2, -2, -3, -3}));
    // Along each axis the halves would round to 0; together they make 1.
    const darr_c2DArray plane = resc_Rescale(planeOf<int>(2, 2, {0, 1, 1, 1}), 0.5, 0.5);
    EXPECT_EQ(plane.Number(1, 0).As<int>(), 0);
    EXPECT_EQ(plane.Number(1, 1).As<int>(), 1);
}

TEST(Rescale, ToTheOwnDeltaKeepsTheElements) {
    forEachElementType([]<class T>(int) {
        const darr_c1DArray line = lineOf(countedElements<T>(500), cal_c1DArrayCal(1, 0.1, 3));
        const darr_c1DArray same = resc_Rescale(line, 0.1);
        EXPECT_EQ(elementsOf<T>(same), elementsOf<T>(line));
        EXPECT_EQ(same.Cal(), cal_c1DArrayCal(line.Range().Start(), 0.1, 0));
    });
}

TEST(Rescale, ExtremeIntegersSurvive) {
    const std::vector<unsigned int> elements = {0, 4294967295u, 4294967295u, 0, 4294967294u};
    EXPECT_EQ(elementsOf<unsigned int>(resc_Rescale(lineOf(elements), 1)), elements);
    EXPECT_EQ(elementsOf<unsigned int>(resc_Rescale(lineOf(elements), 0.5)),
              (std::vector<unsigned int>{0, 2147483648u, 4294967295u, 4294967295u, 4294967295u,
                                         2147483648u, 0, 2147483647u, 4294967294u, 4294967294u}));
}

TEST(Rescale, NeighboursOfWeightZeroDoNotMatter) {
    const std::vector<double> elements = {1, infinity, 2, notANumber, 3, -infinity};
    const auto coarse = elementsOf<double>(resc_Rescale(lineOf(elements), 2));
    EXPECT_EQ(coarse, (std::vector<double>{1, 2, 3}));
    const auto fine = elementsOf<double>(resc_Rescale(lineOf(elements), 0.5));
    ASSERT_EQ(fine.size(), 12u);
    const std::vector<double> wanted = {1, infinity,   infinity,   infinity,
                                        2, notANumber, notANumber, notANumber,
                                        3, -infinity,  -infinity,  -infinity};
    for (std::size_t i = 0; i < wanted.size(); ++i)
        EXPECT_TRUE(isSameElement(fine[i], wanted[i])) << i << ": " << fine[i];
    // Rows too.
    const darr_c2DArray plane = planeOf<double>(2, 3, {1, 2, notANumber, notANumber, 5, 6});
    EXPECT_EQ(elementsOf<double>(resc_Rescale(plane, 1, 2)), (std::vector<double>{1, 2, 5, 6}));
    const darr_c2DArray columns = planeOf<double>(3, 1, {1, infinity, 3});
    EXPECT_EQ(elementsOf<double>(resc_Rescale(columns, 2, 1)), (std::vector<double>{1, 3}));
}

TEST(Rescale, BetweenTheLargestValuesDoesNotOverflow) {
    const double most = std::ldexp(1.0, 1023); // the difference overflows
    EXPECT_EQ(elementsOf<double>(resc_Rescale(lineOf<double>({-most, most, most}), 0.25)),
              (std::vector<double>{-most, -most / 2, 0, most / 2, most, most, most, most, most,
                                   most, most, most}));
}

TEST(Rescale, InfiniteNeighboursStayInfinite) {
    EXPECT_EQ(elementsOf<double>(resc_Rescale(lineOf<double>({infinity, infinity}), 0.5)),
              std::vector<double>(4, infinity));
}

TEST(Rescale, OfOneElementHoldsIt) {
    EXPECT_EQ(elementsOf<int>(resc_Rescale(lineOf<int>({7}), 0.3)), std::vector<int>(3, 7));
    EXPECT_EQ(elementsOf<int>(resc_Rescale(lineOf<int>({7}), 1.9)), std::vector<int>(1, 7));
    EXPECT_EQ(elementsOf<int>(resc_Rescale(lineOf<int>({7}), 2)), std::vector<int>(1, 7));
    EXPECT_EQ(resc_Rescale(lineOf<int>({7}), 2.1).Size(), 0);
}

TEST(Rescale, OfAnEmptyArrayIsEmpty) {
    const darr_c1DArray empty(0, dtyp_Int16, cal_c1DArrayCal(1, 2, 3));
    const darr_c1DArray result = resc_Rescale(empty, 0.5);
    EXPECT_EQ(result.Size(), 0);
    EXPECT_EQ(result.DataType(), dtyp_Int16);
    EXPECT_EQ(result.Cal(), cal_c1DArrayCal(-5, 0.5, 0));
    EXPECT_EQ(resc_Rescale(darr_c2DArray(), 2, 3).Count(), 0);
    const darr_c2DArray rowless = resc_Rescale(darr_c2DArray(4, 0, dtyp_Float, {}), 0.5, 3);
    EXPECT_EQ(rowless.SizeX(), 8);
    EXPECT_EQ(rowless.SizeY(), 0);
    EXPECT_EQ(resc_Rescale(darr_c2DArray(0, 4, dtyp_Float, {}), 0.5, 2).SizeY(), 2);
    // Too coarse for a single element.
    EXPECT_EQ(resc_Rescale(lineOf(countedElements<int>(3)), 1e9).Size(), 0);
}

TEST(Rescale, CountIsTheLengthOverTheDeltaToTheNearest) {
    const struct {
        int stored;
        double storedDelta, delta;
        int count;
    } table[] = {{10, 1, 3, 3},     {10, 1, 4, 3},    {10, 1, 20, 1},        {10, 1, 20.1, 0},
                 {10, 0.1, 0.3, 3}, {3, 0.1, 0.3, 1}, {1000, 0.1, 0.2, 500}, {7, 1, 0.1, 70}};
    for (const auto& row : table)
        EXPECT_EQ(resc_Rescale(darr_c1DArray(row.stored, pnum_cNumber(1.0f),
                                             cal_c1DArrayCal(0, row.storedDelta, 0)),
                               row.delta)
                      .Size(),
                  row.count)
            << row.stored << ' ' << row.storedDelta << ' ' << row.delta;
}

TEST(Rescale, StretchesCoverLongLinesAtEveryRatio) {
    // A ramp stays a ramp; every element shows that none was skipped or repeated.
    std::vector<double> ramp;
    for (int i = 0; i < 5000; ++i)
        ramp.push_back(i);
    for (const double delta : {0.125, 0.5, 1.0, 1.5, 2.0, 3.0, 100.0, 126.5, 127.0, 128.0, 200.0,
                               253.0, 254.0, 255.0, 256.0, 1000.0, 2499.5}) {
        const auto elements = elementsOf<double>(resc_Rescale(lineOf(ramp), delta));
        for (std::size_t i = 0; i < elements.size(); ++i)
            ASSERT_EQ(elements[i], std::min(static_cast<double>(i) * delta, 4999.0)) << delta;
    }
}

TEST(Rescale, DeltasThatAreNotPositiveAndFiniteAreRefused) {
    const darr_c1DArray line = lineOf(countedElements<int>(3));
    const darr_c2DArray plane = planeOf(3, 1, countedElements<int>(3));
    for (const double delta : {0.0, -0.0, -1.0, notANumber, infinity, -infinity}) {
        EXPECT_EQ(refusalOf([&] { resc_Rescale(line, delta); }), "resc:1") << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rescale(darr_c1DArray(), delta); }), "resc:1") << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rescale(plane, delta, 1); }), "resc:1") << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rescale(plane, 1, delta); }), "resc:1") << delta;
    }
}

TEST(Rescale, MoreElementsThanAnArrayCanHaveAreRefused) {
    const darr_c1DArray line = lineOf(countedElements<unsigned char>(3));
    const darr_c2DArray plane = planeOf(3, 1, countedElements<unsigned char>(3));
    for (const double delta : {1e-9, 1e-300, 5e-324, 3.0 / 2147483648.0}) {
        EXPECT_EQ(refusalOf([&] { resc_Rescale(line, delta); }), sizeRefusal) << delta;
        EXPECT_EQ(refusalOf([&] { resc_Rescale(plane, delta, 1); }), sizeRefusal) << delta;
    }
    EXPECT_EQ(refusalOf([&] { resc_Rescale(plane, 3.0 / 65536, 1.0 / 65536); }), sizeRefusal);
    // A length that overflows, though each element would stay as it is.
    const cal_c1DArrayCal huge(0, 1.5e308, 0);
    EXPECT_EQ(refusalOf([&] { resc_Rescale(lineOf<float>({1, 2}, huge), 1.5e308); }), sizeRefusal);
}

TEST(Rescale, SourcesWithoutALengthAreRefusedOrEmpty) {
    const auto of = [](double storedDelta) {
        return refusalOf([&] {
            const darr_c1DArray line = lineOf(countedElements<int>(3), {0, storedDelta, 0});
            EXPECT_EQ(resc_Rescale(line, 1).Size(), 0) << storedDelta;
        });
    };
    EXPECT_EQ(of(-1), "resc:1"); // the other direction
    EXPECT_EQ(of(-1e300), "resc:1");
    EXPECT_EQ(of(-infinity), "resc:1");
    EXPECT_EQ(of(notANumber), sizeRefusal);
    EXPECT_EQ(of(infinity), sizeRefusal);
    EXPECT_EQ(of(0), "none");
}
