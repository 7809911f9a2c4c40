#include "dataprocessing/reduce/peak.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/arrays.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"

namespace {

/// The figures of a peak by their definitions, each by a walk of its own through the elements.
struct sOracle {
    std::vector<double> y;
    double delta;

    int Size() const { return static_cast<int>(y.size()); }
    double At(int i) const { return y[static_cast<std::size_t>(i)]; }

    /// The last element of the flat top that begins at `i`, or -1 when it is no top.
    int TopFrom(int i) const {
        if (i == 0 || !(At(i - 1) < At(i)))
            return -1;
        int last = i;
        while (last + 1 < Size() && At(last + 1) == At(i))
            ++last;
        return last + 1 < Size() && At(last + 1) < At(i) ? last : -1;
    }
    double FootOn(int i, int step) const {
        double lowest = At(i);
        for (int k = i; k >= 0 && k < Size() && At(k) <= At(i); k += step)
            lowest = std::min(lowest, At(k));
        return lowest;
    }
    double HalfWidthOn(int i, int step, double level) const {
        int k = i;
        while (At(k) > level)
            k += step;
        return std::abs(k - i) - (At(k) < level ? (level - At(k)) / (At(k - step) - At(k)) : 0);
    }

    std::vector<peak_sPeak> All() const {
        std::vector<peak_sPeak> peaks;
        for (int first = 0; first < Size(); ++first) {
            const int last = TopFrom(first);
            if (last < 0)
                continue;
            const int i = (first + last) / 2;
            const double foot = std::max(FootOn(i, -1), FootOn(i, 1));
            const double level = At(i) - (At(i) - foot) / 2;
            const double left = HalfWidthOn(i, -1, level);
            const double right = HalfWidthOn(i, 1, level);
            double position = (first + last) / 2.0;
            if (first == last)
                position += (At(i + 1) - At(i - 1)) / (2 * (2 * At(i) - At(i - 1) - At(i + 1)));
            double net = 0;
            double sum = 0;
            for (int k = 0; k < Size(); ++k)
                if (k >= i - left && k <= i + right) {
                    net += At(k) - foot;
                    sum += At(k);
                }
            peaks.push_back({i, position * delta, At(i), At(i) - foot, (left + right) * delta,
                             net / std::sqrt(std::max(1.0, sum))});
        }
        return peaks;
    }

    /// What the options leave, one condition after the other.
    std::vector<peak_sPeak> Found(const peak_sOptions& options) const {
        std::vector<peak_sPeak> left = All();
        std::vector<peak_sPeak> kept;
        while (!left.empty()) {
            const auto highest =
                std::max_element(left.begin(), left.end(), [](const auto& a, const auto& b) {
                    return a.height != b.height ? a.height < b.height : a.index < b.index;
                });
            const peak_sPeak next = *highest;
            kept.push_back(next);
            std::erase_if(left, [&](const peak_sPeak& peak) {
                return peak.index == next.index ||
                       std::abs(peak.index - next.index) < options.distance / delta - 1e-6;
            });
        }
        std::sort(kept.begin(), kept.end(),
                  [](const auto& a, const auto& b) { return a.index < b.index; });
        std::erase_if(kept, [&](const peak_sPeak& peak) {
            return peak.prominence < options.prominence || peak.width < options.width ||
                   peak.significance < options.significance;
        });
        return kept;
    }
};

void expectPeaks(const std::vector<peak_sPeak>& found, const std::vector<peak_sPeak>& wanted,
                 double tolerance) {
    ASSERT_EQ(found.size(), wanted.size());
    for (std::size_t k = 0; k < found.size(); ++k) {
        EXPECT_EQ(found[k].index, wanted[k].index) << k;
        EXPECT_EQ(found[k].height, wanted[k].height) << k;
        EXPECT_EQ(found[k].prominence, wanted[k].prominence) << k;
        EXPECT_NEAR(found[k].position, wanted[k].position, tolerance) << k;
        EXPECT_NEAR(found[k].width, wanted[k].width, tolerance) << k;
        EXPECT_NEAR(found[k].significance, wanted[k].significance,
                    tolerance * (1 + wanted[k].significance))
            << k;
    }
}

/// Small whole numbers, so that many neighbours, and many tops, are equal.
template<class T>
std::vector<T> steps(int count, int most, std::mt19937& random) {
    std::vector<T> elements;
    for (int i = 0; i < count; ++i)
        elements.push_back(static_cast<T>(random() % static_cast<unsigned>(most)));
    return elements;
}

template<class T>
std::vector<double> asDoubles(const std::vector<T>& elements) {
    return {elements.begin(), elements.end()};
}

std::vector<int> indicesOf(const std::vector<peak_sPeak>& peaks) {
    std::vector<int> indices;
    for (const peak_sPeak& peak : peaks)
        indices.push_back(peak.index);
    return indices;
}

} // namespace

TEST(Peaks, AreThoseOfTheDefinitionsForEveryType) {
    std::mt19937 random(7);
    forEachElementType([&]<class T>(int code) {
        if constexpr (std::is_arithmetic_v<T>)
            for (int repeat = 0; repeat < 120; ++repeat) {
                const auto elements = steps<T>(repeat, 2 + repeat % 90, random);
                const sOracle oracle{asDoubles(elements), 0.25};
                const peak_sOptions options{.prominence = repeat % 3 == 0 ? repeat % 7 : 0.0,
                                            .distance =
                                                repeat % 4 == 0 ? 0.25 * (repeat % 11) : 0.0,
                                            .width = repeat % 5 == 0 ? 0.7071 : 0.0,
                                            .significance = repeat % 6 == 0 ? 1.5 : 0.0};
                SCOPED_TRACE(std::to_string(code) + ", " + std::to_string(repeat));
                expectPeaks(peak_Find(lineOf(elements, {0, 0.25, 0}), options),
                            oracle.Found(options), 8 * epsilon * (1 + repeat));
            }
    });
}

TEST(Peaks, KeepTheirDistanceFromHigherOnes) {
    std::mt19937 random(8);
    for (int repeat = 0; repeat < 600; ++repeat) {
        const auto elements = steps<short>(5 + repeat % 300, 2 + repeat % 40, random);
        const peak_sOptions options{.distance = 1.0 + repeat % 23};
        SCOPED_TRACE(repeat);
        EXPECT_EQ(indicesOf(peak_Find(lineOf(elements), options)),
                  indicesOf(sOracle{asDoubles(elements), 1}.Found(options)));
    }
}

TEST(Peaks, AreFoundAcrossTheBlocksOfALongArray) {
    std::mt19937 random(9);
    for (const int count : {1023, 1024, 1025, 1026, 2047, 2050, 5000}) {
        const auto elements = steps<unsigned char>(count, 200, random);
        SCOPED_TRACE(count);
        expectPeaks(peak_Find(lineOf(elements)), sOracle{asDoubles(elements), 1}.Found({}),
                    8 * epsilon * count);
        // A flat top that begins in one block and ends in another.
        std::vector<float> flat(static_cast<std::size_t>(count), 0.0F);
        std::fill(flat.begin() + 1000, flat.begin() + 1020, 3.0F);
        EXPECT_EQ(indicesOf(peak_Find(lineOf(flat))), std::vector<int>{1009});
    }
}

TEST(Peaks, HaveTheFiguresOfASimpleOne) {
    const darr_c1DArray line = lineOf<double>({1, 2, 10, 6, 0, 3, 2}, cal_c1DArrayCal(6.2, 0.1, 0));
    const std::vector<peak_sPeak> peaks = peak_Find(line);
    ASSERT_EQ(peaks.size(), 2u);
    EXPECT_EQ(peaks[0].index, 2);
    EXPECT_EQ(peaks[0].height, 10);
    EXPECT_EQ(peaks[0].prominence, 9); // down to 1 on the left, to 0 on the right
    EXPECT_NEAR(peaks[0].width, 0.1 * (4.5 / 8 + 1 + 0.5 / 6), 1e-14); // where it crosses 5.5
    EXPECT_NEAR(peaks[0].position, 6.4 + 0.1 * (2.0 / 12), 1e-14);     // the parabola's vertex
    EXPECT_NEAR(peaks[0].significance, (9 + 5) / std::sqrt(16), 1e-14);
    EXPECT_EQ(peaks[1].prominence, 1);
}

TEST(Peaks, OfFlatTopsLieInTheirMiddle) {
    const auto peaks =
        peak_Find(lineOf<int>({0, 5, 5, 0, 7, 7, 7, 1, 1, 2}, cal_c1DArrayCal(-0.3, 0.5, 0)));
    ASSERT_EQ(peaks.size(), 2u);
    EXPECT_EQ(peaks[0].index, 1);
    EXPECT_DOUBLE_EQ(peaks[0].position, -0.3 + 0.75);
    EXPECT_EQ(peaks[1].index, 5);
    EXPECT_DOUBLE_EQ(peaks[1].position, -0.3 + 2.5);
}

TEST(Peaks, LieBetweenTheElementsOfAGaussian) {
    for (const double centre : {20.0, 20.2, 20.5, 20.8}) {
        std::vector<double> elements;
        for (int i = 0; i < 41; ++i)
            elements.push_back(std::exp(-std::pow((i - centre) / 4, 2)));
        const auto peaks = peak_Find(lineOf(elements, cal_c1DArrayCal(5, 0.01, 0)));
        ASSERT_EQ(peaks.size(), 1u);
        EXPECT_NEAR(peaks[0].position, 5 + 0.01 * centre, 0.01 * 0.006);
        EXPECT_NEAR(peaks[0].width, 0.01 * 8 * std::sqrt(std::log(2.0)), 0.01 * 0.1);
    }
}

TEST(Peaks, AreWhereTheCalibrationPutsThem) {
    const std::vector<int> elements = {0, 1, 5, 1, 0};
    EXPECT_EQ(peak_Find(lineOf(elements, {1.7e9, 60, 2}))[0].position, 1.7e9);
    const auto backwards = peak_Find(lineOf(elements, {3, -0.5, 0}), {.distance = 1, .width = 0.5});
    ASSERT_EQ(backwards.size(), 1u);
    EXPECT_EQ(backwards[0].position, 2);
    EXPECT_DOUBLE_EQ(backwards[0].width, 0.625);
}

TEST(Peaks, AreAsFarApartAsADistanceThatIsRoundedSays) {
    // 3 x 0.3 is below 0.9 in double precision.
    const darr_c1DArray line =
        lineOf<int>({0, 5, 0, 0, 9, 0, 0, 6, 0, 7, 0}, cal_c1DArrayCal(0, 0.3, 0));
    EXPECT_EQ(indicesOf(peak_Find(line, {.distance = 0.9})), (std::vector<int>{1, 4, 9}));
    EXPECT_EQ(indicesOf(peak_Find(line, {.distance = 0.91})), (std::vector<int>{4, 9}));
    EXPECT_EQ(indicesOf(peak_Find(line, {.distance = infinity})), (std::vector<int>{4}));
    EXPECT_EQ(indicesOf(peak_Find(lineOf<int>({0, 5, 0, 7, 0}, {0, 0, 0}), {.distance = 1})),
              (std::vector<int>{3})); // with a delta of 0 all are near
}

TEST(Peaks, OfEqualHeightKeepTheLaterOne) {
    EXPECT_EQ(indicesOf(peak_Find(lineOf<int>({0, 5, 0, 5, 0, 5, 0}), {.distance = 3})),
              (std::vector<int>{1, 5}));
    // The later of the two equal ones goes, as a higher one is near, and with it its claim; that
    // one goes by a still higher one, so the later equal one is back.
    EXPECT_EQ(indicesOf(peak_Find(lineOf<int>({0, 5, 0, 5, 0, 0, 6, 0, 0, 7, 0}), {.distance = 4})),
              (std::vector<int>{3, 9}));
}

TEST(Peaks, EndAtANaN) {
    const auto peaks = peak_Find(
        lineOf<double>({0, 3, 1, 9, notANumber, 8, 2, 4, 3, notANumber, notANumber, 1, 2, 1}));
    EXPECT_EQ(indicesOf(peaks), (std::vector<int>{1, 7, 12}));
    EXPECT_EQ(peaks[0].prominence, 2); // up to 9, beside which there is nothing
    EXPECT_EQ(peaks[1].prominence, 1);
    EXPECT_TRUE(peak_Find(lineOf<float>(std::vector<float>(9, std::nanf("")))).empty());
}

TEST(Peaks, OfExtremeValuesAreFoundWithoutLeavingTheArray) {
    const double most = std::numeric_limits<double>::max();
    const auto wide = peak_Find(lineOf<double>({0, -most, most, 0, -most, 1, -infinity, 2, -most}));
    EXPECT_EQ(indicesOf(wide), (std::vector<int>{2, 5, 7}));
    EXPECT_EQ(wide[0].prominence, infinity);
    const auto infinite = peak_Find(lineOf<double>({0, infinity, 0, 1, 0, infinity, infinity, 5}));
    EXPECT_EQ(indicesOf(infinite), (std::vector<int>{1, 3, 5}));
    EXPECT_EQ(infinite[0].position, 1);
    const double least = std::numeric_limits<double>::denorm_min();
    const auto tiny = peak_Find(lineOf<double>({0, least, 0}), {.prominence = least});
    ASSERT_EQ(tiny.size(), 1u);
    EXPECT_EQ(peak_Find(lineOf<unsigned int>({4294967294u, 4294967295u, 0}))[0].prominence, 1);
}

TEST(Peaks, AreNotAmongFewerThanThreeElements) {
    EXPECT_TRUE(peak_Find(darr_c1DArray()).empty());
    EXPECT_TRUE(peak_Find(lineOf<int>({3})).empty());
    EXPECT_TRUE(peak_Find(lineOf<int>({3, 4})).empty());
    EXPECT_TRUE(peak_Find(lineOf<int>({3, 3, 3, 3})).empty());
    EXPECT_TRUE(peak_Find(lineOf<int>({1, 2, 3, 3})).empty());
    EXPECT_TRUE(peak_Find(lineOf<int>({3, 3, 2, 1})).empty());
}

TEST(Peaks, StandOutOfCountingNoiseByTheirSignificance) {
    std::mt19937 random(11);
    std::vector<int> counts;
    for (int i = 0; i < 2000; ++i) {
        const double line = 60 * std::exp(-std::pow((i - 700) / 8.0, 2));
        counts.push_back(std::poisson_distribution<int>(100 + line)(random));
    }
    const auto all = peak_Find(lineOf(counts));
    EXPECT_GT(all.size(), 500u);
    const auto strongest =
        std::max_element(all.begin(), all.end(), [](const peak_sPeak& a, const peak_sPeak& b) {
            return a.significance < b.significance;
        });
    EXPECT_NEAR(strongest->index, 700, 8);
}

TEST(Peaks, RefuseWhatTheyCannotServe) {
    const darr_c1DArray line = lineOf<int>({1, 2, 1});
    for (const double least : {-1.0, -infinity, notANumber}) {
        EXPECT_EQ(refusalOf([&] { peak_Find(line, {.prominence = least}); }), "peak:1");
        EXPECT_EQ(refusalOf([&] { peak_Find(line, {.distance = least}); }), "peak:1");
        EXPECT_EQ(refusalOf([&] { peak_Find(line, {.width = least}); }), "peak:1");
        EXPECT_EQ(refusalOf([&] { peak_Find(line, {.significance = least}); }), "peak:1");
    }
    for (const auto type : {dtyp_ComplexFloat, dtyp_ComplexDouble})
        EXPECT_EQ(refusalOf([&] { peak_Find(darr_c1DArray(3, type, {})); }), "peak:2");
    EXPECT_EQ(refusalOf([&] { peak_Find(darr_c1DArray(3, dtyp_cDataType(11), {})); }), "conv:1");
    EXPECT_EQ(refusalOf([&] { peak_Find(line, {.prominence = infinity}); }), "none");
}
