#include "dataprocessing/fourier/regs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/filter/smth.h"
#include "dataprocessing/reduce/stat.h"
#include "tests/support/arrays.h"
#include "tests/support/constants.h"
#include "tests/support/elements.h"
#include "tests/support/levels.h"

namespace {

/// A scene of round spots, which has a value everywhere between elements.
class cScene {
public:
    explicit cScene(unsigned seed, double extent = 800, int spots = 4000, double smallest = 1.5,
                    double largest = 4) {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> place(-extent / 2, extent);
        std::uniform_real_distribution<double> size(smallest, largest);
        std::uniform_real_distribution<double> height(-1, 1);
        for (int i = 0; i < spots; ++i)
            spots_.push_back({place(random), place(random), size(random), height(random)});
    }

    /// What is seen from (x, y) on, with noise of that standard deviation.
    template<class T = float>
    darr_c2DArray Seen(int sizeX, int sizeY, double x, double y, const cal_c2DArrayCal& cal = {},
                       double noise = 0, unsigned seed = 1) const {
        std::vector<double> values(static_cast<std::size_t>(sizeX * sizeY));
        for (const sSpot& spot : spots_) {
            const double reach = 5 * spot.size;
            const int firstX = std::max(0, static_cast<int>(std::ceil(spot.x - x - reach)));
            const int firstY = std::max(0, static_cast<int>(std::ceil(spot.y - y - reach)));
            for (int row = firstY; row < sizeY && row <= spot.y - y + reach; ++row)
                for (int column = firstX; column < sizeX && column <= spot.x - x + reach;
                     ++column) {
                    const double dx = (x + column - spot.x) / spot.size;
                    const double dy = (y + row - spot.y) / spot.size;
                    values[static_cast<std::size_t>(row * sizeX + column)] +=
                        spot.height * std::exp(-(dx * dx + dy * dy) / 2);
                }
        }
        std::mt19937 random(seed);
        std::normal_distribution<double> deviation(0, 1);
        std::vector<T> elements;
        for (const double value : values) {
            const double noisy = value + (noise > 0 ? noise * deviation(random) : 0);
            // Integers are the same scene in steps of a tenth, around the middle of their range.
            elements.push_back(
                std::is_integral_v<T>
                    ? static_cast<T>(std::lround(10 * noisy) + (std::is_signed_v<T> ? 0 : 100))
                    : static_cast<T>(noisy));
        }
        return planeOf(sizeX, sizeY, elements, cal);
    }

private:
    struct sSpot {
        double x, y, size, height;
    };
    std::vector<sSpot> spots_;
};

/// A line of spots that never repeats.
darr_c1DArray lineSeen(int size, double x, const cal_c1DArrayCal& cal = {}) {
    std::vector<double> elements;
    for (int i = 0; i < size; ++i) {
        const double t = x + i;
        double value = 0;
        const int nearest = static_cast<int>(std::lround(t / 6));
        for (int k = nearest - 6; k <= nearest + 6; ++k) {
            std::mt19937 random(static_cast<unsigned>(k + 100000));
            random.discard(3);
            const double height = static_cast<double>(random() % 2000) / 1000 - 1;
            const double place = 6 * k + static_cast<double>(random() % 600) / 100;
            value += height * std::exp(-(t - place) * (t - place) / 12);
        }
        elements.push_back(value);
    }
    return lineOf(elements, cal);
}

/// A pair with noise of so much of the content's variance in both, and the least standard errors of
/// its shift that any method can have which knows neither what is seen nor how bright it is in
/// either (Cramer and Rao): the covariance is twice the noise's variance times the inverse of the
/// sums of products of slopes over what overlaps, as far as those are not proportional to the
/// content or constant.
struct sNoisyPair {
    darr_c2DArray fixed, moved;
    double x, y;
    double boundX, boundY;
};

sNoisyPair noisyPair(const cScene& scene, int sizeX, int sizeY, double x, double y, unsigned seed,
                     double power = 0.1) {
    const darr_c2DArray clean = scene.Seen(sizeX, sizeY, 0, 0);
    const double noise = std::sqrt(power * stat_Variance(clean).As<double>());
    const auto at = [&](int column, int row) { return clean.Number(column, row).As<double>(); };
    double products[4][4] = {}; // of the slopes, the content and 1
    for (int row = std::max(1, static_cast<int>(-y)); row < std::min(sizeY - 1.0, sizeY - y); ++row)
        for (int column = std::max(1, static_cast<int>(-x));
             column < std::min(sizeX - 1.0, sizeX - x); ++column) {
            const double terms[] = {(at(column + 1, row) - at(column - 1, row)) / 2,
                                    (at(column, row + 1) - at(column, row - 1)) / 2,
                                    at(column, row), 1};
            for (int i = 0; i < 4; ++i)
                for (int k = 0; k < 4; ++k)
                    products[i][k] += terms[i] * terms[k];
        }
    for (const int known : {3, 2})
        for (int i = 0; i < known; ++i)
            for (int k = 0; k < known; ++k)
                products[i][k] -= products[i][known] * products[known][k] / products[known][known];
    const double xx = products[0][0], xy = products[0][1], yy = products[1][1];
    const double factor = 2 * noise * noise / (xx * yy - xy * xy);
    return {scene.Seen(sizeX, sizeY, 0, 0, {}, noise, 2 * seed),
            scene.Seen(sizeX, sizeY, -x, -y, {}, noise, 2 * seed + 1),
            x,
            y,
            std::sqrt(factor * yy),
            std::sqrt(factor * xx)};
}

/// Pairs of random sizes that are no powers of two and of random shifts, up to a quarter of them.
std::vector<sNoisyPair> noisyPairs(unsigned seed, int count, int most, double smallest,
                                   double largest) {
    std::mt19937 random(seed);
    const auto size = [&] {
        int value = 64;
        while ((value & (value - 1)) == 0)
            value = 64 + static_cast<int>(random() % static_cast<unsigned>(most - 63));
        return value;
    };
    const auto part = [&] { return static_cast<double>(random()) / 4294967296.0 / 2 - 0.25; };
    std::vector<sNoisyPair> pairs;
    for (int i = 0; i < count; ++i) {
        const int sizeX = size();
        const int sizeY = size();
        const double extent = 1.5 * most + 6 * largest;
        const cScene scene(seed + static_cast<unsigned>(i), extent,
                           static_cast<int>(0.4 * extent * extent / largest / largest), smallest,
                           largest);
        pairs.push_back(noisyPair(scene, sizeX, sizeY, part() * sizeX, part() * sizeY,
                                  seed + static_cast<unsigned>(i)));
    }
    return pairs;
}

/// What is told of what is refused.
template<class Call>
std::string textOf(Call call) {
    try {
        call();
    } catch (const std::exception& refusal) {
        return refusal.what();
    }
    return "none";
}

void expectShift(const regs_s2DShift& shift, double x, double y, double tolerance) {
    EXPECT_NEAR(shift.elementsX, x, tolerance);
    EXPECT_NEAR(shift.elementsY, y, tolerance);
}

} // namespace

TEST(Registration, ContentMayBeSmallBesideTheMeanOrAsANumber) {
    for (const auto& [mean, size] :
         {std::pair{1e9, 1.0}, {-3e12, 1.0}, {0.0, 1e100}, {0.0, 1e-100}}) {
        std::vector<double> at100, at105;
        for (int i = 0; i < 300; ++i) {
            at100.push_back(mean + size * std::exp(-0.5 * std::pow((i - 100) / 4.0, 2)));
            at105.push_back(mean + size * std::exp(-0.5 * std::pow((i - 105) / 4.0, 2)));
        }
        const regs_s1DShift shift = regs_Register(darr_c1DArray{std::span<const double>(at100)},
                                                  darr_c1DArray{std::span<const double>(at105)});
        EXPECT_NEAR(shift.elementsX, 5, 0.01) << mean << ' ' << size;
        EXPECT_GT(shift.height, 0.99) << mean << ' ' << size;
    }
}

TEST(Registration, FindsShiftsOfAnySizesBetweenElements) {
    const cScene scene(1);
    const struct {
        int fixedX, fixedY, movedX, movedY;
        double x, y;
    } table[] = {{300, 200, 300, 200, 12, -7},      {300, 200, 300, 200, -40.3, 31.7},
                 {97, 143, 97, 143, 0.25, -0.5},    {64, 64, 64, 64, 5.4, 3.2},
                 {200, 150, 120, 170, 20.6, -11.1}, {75, 301, 333, 77, 13.9, 5.8},
                 {600, 90, 600, 90, -151.2, 3.4},   {530, 400, 530, 400, 77.75, -60.5}};
    for (const auto& row : table) {
        SCOPED_TRACE(std::to_string(row.fixedX) + " x " + std::to_string(row.fixedY));
        // What lies at i of the fixed image lies at i + shift of the moved one.
        const darr_c2DArray fixed = scene.Seen(row.fixedX, row.fixedY, 0, 0);
        const darr_c2DArray moved = scene.Seen(row.movedX, row.movedY, -row.x, -row.y);
        const regs_s2DShift shift = regs_Register(fixed, moved);
        expectShift(shift, row.x, row.y, 0.05);
        EXPECT_GT(shift.height, 0.85);
        EXPECT_LT(shift.second, 0.8);
        expectShift(regs_Register(moved, fixed), -row.x, -row.y, 0.05);
    }
}

TEST(Registration, OfEqualImagesIsZero) {
    const cScene scene(2);
    for (const auto& [x, y] : {std::pair(64, 64), std::pair(71, 300), std::pair(9, 5)}) {
        const darr_c2DArray image = scene.Seen(x, y, 3, 4);
        const regs_s2DShift shift = regs_Register(image, image);
        expectShift(shift, 0, 0, 1e-3);
        EXPECT_NEAR(shift.height, 1, 1e-6);
    }
}

TEST(Registration, StandsNoise) {
    const cScene scene(3);
    std::mt19937 random(4);
    std::uniform_real_distribution<double> part(-0.25, 0.25);
    for (unsigned repeat = 0; repeat < 12; ++repeat) {
        const int sizeX = 90 + static_cast<int>(random() % 150);
        const int sizeY = 90 + static_cast<int>(random() % 150);
        const double x = part(random) * sizeX;
        const double y = part(random) * sizeY;
        // The scene's standard deviation is .147, so this is 10 dB.
        const regs_s2DShift shift =
            regs_Register(scene.Seen(sizeX, sizeY, 0, 0, {}, 0.0465, 2 * repeat + 1),
                          scene.Seen(sizeX, sizeY, -x, -y, {}, 0.0465, 2 * repeat + 2));
        SCOPED_TRACE(std::to_string(sizeX) + " x " + std::to_string(sizeY));
        expectShift(shift, x, y, 0.1);
    }
}

TEST(Registration, IsWithinATwentiethOfAnElementWithNoise) {
    for (const sNoisyPair& pair : noisyPairs(100, 40, 260, 1.5, 4)) {
        SCOPED_TRACE(std::to_string(pair.fixed.SizeX()) + " x " +
                     std::to_string(pair.fixed.SizeY()));
        expectShift(regs_Register(pair.fixed, pair.moved), pair.x, pair.y, 0.05);
    }
}

TEST(Registration, ReachesWhatTheNoiseAllows) {
    const struct {
        double smallest, largest;
    } spots[] = {{0.8, 1.2}, {1.5, 4}, {6, 16}, {1.5, 16}, {10, 30}};
    for (const auto& [smallest, largest] : spots) {
        SCOPED_TRACE(largest);
        double squares = 0;
        const auto pairs = noisyPairs(200, 12, 200, smallest, largest);
        for (const sNoisyPair& pair : pairs) {
            const regs_s2DShift shift = regs_Register(pair.fixed, pair.moved);
            const double x = (shift.elementsX - pair.x) / pair.boundX;
            const double y = (shift.elementsY - pair.y) / pair.boundY;
            EXPECT_LE(x * x + y * y, 25)
                << pair.fixed.SizeX() << " x " << pair.fixed.SizeY() << ", height " << shift.height;
            squares += x * x + y * y;
        }
        // 24 squares of deviation 1: the root of their mean is within .3 of it but once in 30.
        EXPECT_LE(std::sqrt(squares / static_cast<double>(2 * pairs.size())), 1.4);
    }
}

TEST(Registration, SettlesInTheMiddleBetweenElements) {
    // What overlaps is not the same on both sides of the middle.
    for (unsigned seed = 0; seed < 12; ++seed) {
        const cScene scene(400 + seed, 500, 400, 8, 20);
        const sNoisyPair pair = noisyPair(scene, 150, 130, 12.5, -7.5, seed);
        const regs_s2DShift shift = regs_Register(pair.fixed, pair.moved);
        SCOPED_TRACE(seed);
        EXPECT_NEAR(shift.elementsX, pair.x, 4 * pair.boundX);
        EXPECT_NEAR(shift.elementsY, pair.y, 4 * pair.boundY);
    }
}

TEST(Registration, WithoutNoiseIsExactToTwoThousandths) {
    for (const auto& [smallest, largest] : {std::pair(1.5, 4.0), std::pair(4.0, 12.0)}) {
        const cScene scene(12, 400, 900, smallest, largest);
        const darr_c2DArray fixed = scene.Seen(150, 120, 0, 0);
        for (const double x : {-9.5, 0.25, 3.5, 17.75})
            for (const double y : {-12.25, 0.5, 6.0}) {
                SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
                expectShift(regs_Register(fixed, scene.Seen(150, 120, -x, -y)), x, y, 0.002);
            }
    }
}

TEST(Registration, HasTheSameBitsAtEveryLevel) {
    const sNoisyPair pair = noisyPairs(300, 1, 200, 1.5, 4).front();
    std::vector<regs_s2DShift> shifts;
    for (const auto level : levels()) {
        const LevelInUse inUse(level);
        shifts.push_back(regs_Register(pair.fixed, pair.moved));
    }
    for (const regs_s2DShift& shift : shifts) {
        EXPECT_EQ(shift.elementsX, shifts[0].elementsX);
        EXPECT_EQ(shift.elementsY, shifts[0].elementsY);
        EXPECT_EQ(shift.height, shifts[0].height);
        EXPECT_EQ(shift.second, shifts[0].second);
    }
}

TEST(Registration, OfBrightnessThatDiffersIsTheSame) {
    const cScene scene(11);
    const darr_c2DArray fixed = scene.Seen(140, 90, 0, 0);
    const darr_c2DArray moved = scene.Seen(140, 90, -6.3, 2.8);
    const regs_s2DShift shift = regs_Register(fixed, moved * 7.0 + 1000.0);
    expectShift(shift, 6.3, -2.8, 0.01);
}

TEST(Registration, ServesColumnsAsRows) {
    std::vector<double> at100, at105;
    for (int i = 0; i < 300; ++i) {
        at100.push_back(std::exp(-0.5 * std::pow((i - 100) / 4.0, 2)));
        at105.push_back(std::exp(-0.5 * std::pow((i - 105.25) / 4.0, 2)));
    }
    for (const auto subElement : {regs_LeastSquares, regs_Fourier, regs_Parabola}) {
        const regs_sOptions options{.subElement = subElement};
        expectShift(regs_Register(planeOf(300, 1, at100), planeOf(300, 1, at105), options), 5.25, 0,
                    0.02);
        expectShift(regs_Register(planeOf(1, 300, at100), planeOf(1, 300, at105), options), 0, 5.25,
                    0.02);
    }
}

TEST(Registration, OfAStripeIsAcrossIt) {
    std::vector<float> at50, at55;
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 110; ++x) {
            at50.push_back(std::exp(-0.02F * static_cast<float>((x - 50) * (x - 50))));
            at55.push_back(std::exp(-0.02F * static_cast<float>((x - 55) * (x - 55))));
        }
    expectShift(regs_Register(planeOf(110, 70, at50), planeOf(110, 70, at55)), 5, 0, 0.01);
}

TEST(Registration, OfANoisyStripeIsBetweenElementsToo) {
    const auto content = [](double x) {
        return std::exp(-(x - 40) * (x - 40) / 8) + std::exp(-(x - 75) * (x - 75) / 18) -
               std::exp(-(x - 100) * (x - 100) / 10);
    };
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        std::normal_distribution<double> noise(0, 0.2);
        std::vector<double> across, moved;
        for (int y = 0; y < 130; ++y)
            for (int x = 0; x < 150; ++x) {
                across.push_back(content(x) + noise(random));
                moved.push_back(content(x - 7.5) + noise(random));
            }
        SCOPED_TRACE(seed);
        const auto shift = regs_Register(planeOf(150, 130, across), planeOf(150, 130, moved));
        EXPECT_NEAR(shift.elementsX, 7.5, 0.1);
    }
}

TEST(Registration, OfFewRowsIsThatOfAllTheirContent) {
    // It is as likely as not that hardly less is alike where one row more overlaps.
    for (const auto& [smallest, largest] : {std::pair(1.5, 3.0), std::pair(3.0, 5.0)})
        for (int rows = 4; rows <= 12; ++rows) {
            const cScene scene(500 + static_cast<unsigned>(rows), 300, 900, smallest, largest);
            const darr_c2DArray fixed = scene.Seen(120, rows, 40, 40);
            for (int y = -(rows / 4); y <= rows / 4; ++y)
                for (const int x : {-30, -7, 0, 1, 22}) {
                    SCOPED_TRACE(std::to_string(rows) + " rows, " + std::to_string(x) + ", " +
                                 std::to_string(y));
                    const darr_c2DArray moved = scene.Seen(120, rows, 40 - x, 40 - y);
                    const regs_s2DShift shift = regs_Register(fixed, moved);
                    expectShift(shift, x, y, 0.02);
                    EXPECT_GT(shift.height, 0.999);
                    expectShift(regs_Register(fixed, moved, {.subElement = regs_Whole}), x, y, 0);
                }
        }
}

TEST(Registration, OfFewRowsIsNotMistakenForANearRepetition) {
    const auto seen = [](int y) {
        std::vector<double> values;
        for (int j = 0; j < 8; ++j)
            for (int i = 0; i < 200; ++i)
                values.push_back(std::sin(0.7 * i + 0.3 * (j - y)) +
                                 std::cos(0.5 * (j - y) - 0.2 * i));
        return planeOf(200, 8, values);
    };
    for (int y = -2; y <= 2; ++y)
        expectShift(regs_Register(seen(0), seen(y)), 0, y, 1e-3);
}

TEST(Registration, OfFewRowsGoesBetweenElements) {
    const cScene scene(13, 300, 900, 2, 4);
    const darr_c2DArray fixed = scene.Seen(150, 9, 40, 40);
    for (const double x : {-4.3, 0.5, 11.8})
        for (const double y : {-1.4, 0.3, 1.7}) {
            SCOPED_TRACE(std::to_string(x) + ", " + std::to_string(y));
            expectShift(regs_Register(fixed, scene.Seen(150, 9, 40 - x, 40 - y)), x, y, 0.1);
        }
}

TEST(Registration, FindsShiftsOfShortLines) {
    for (int size = 10; size <= 20; ++size)
        for (int from = 0; from < 400; from += 40)
            for (int x = -(size / 4); x <= size / 4; ++x)
                EXPECT_NEAR(regs_Register(lineSeen(size, from), lineSeen(size, from - x)).elementsX,
                            x, 0.1)
                    << size << " from " << from;
}

TEST(Registration, FindsBroadContentInStrongNoise) {
    // Twice the content's deviation, in both: 6 dB below it.
    for (unsigned seed = 0; seed < 6; ++seed) {
        const cScene scene(600 + seed, 700, 300, 10, 20);
        const darr_c2DArray clean = scene.Seen(400, 400, 0, 0);
        const double noise = 2 * std::sqrt(stat_Variance(clean).As<double>());
        const regs_s2DShift shift =
            regs_Register(scene.Seen(400, 400, 0, 0, {}, noise, 2 * seed + 1),
                          scene.Seen(400, 400, -31.3, 44.6, {}, noise, 2 * seed + 2));
        SCOPED_TRACE(seed);
        expectShift(shift, 31.3, -44.6, 0.8);
        EXPECT_LT(shift.second, 0.8 * shift.height);
    }
}

TEST(Registration, ReachesWhatStrongNoiseAllows) {
    double squares = 0;
    constexpr unsigned pairs = 12;
    for (unsigned seed = 0; seed < pairs; ++seed) {
        const cScene scene(800 + seed, 600, 400, 7, 12);
        const sNoisyPair pair = noisyPair(scene, 330, 290, 17.3, -31.6, seed, 4);
        const regs_s2DShift shift = regs_Register(pair.fixed, pair.moved);
        squares += std::pow((shift.elementsX - pair.x) / pair.boundX, 2) +
                   std::pow((shift.elementsY - pair.y) / pair.boundY, 2);
    }
    // The bound is that of weak noise.
    EXPECT_LE(std::sqrt(squares / (2 * pairs)), 1.4);
}

TEST(Registration, TellsHowAlikeTheSecondPeakIsByTheSameElements) {
    for (const double noise : {0.0465, 0.147, 0.294})
        for (unsigned seed = 1; seed <= 4; ++seed) {
            const cScene scene(700 + seed);
            const regs_s2DShift shift =
                regs_Register(scene.Seen(300, 260, 0, 0, {}, noise, 2 * seed),
                              scene.Seen(300, 260, -21.4, 17.8, {}, noise, 2 * seed + 1));
            expectShift(shift, 21.4, -17.8, 0.3);
            EXPECT_LT(shift.second, 0.6 * shift.height) << noise;
        }
}

TEST(Registration, TellsApartWhatRepeatsItselfInNoise) {
    std::mt19937 random(14);
    std::normal_distribution<float> noise(0, 1);
    const auto seen = [&] {
        std::vector<float> lattice;
        for (int y = 0; y < 200; ++y)
            for (int x = 0; x < 200; ++x)
                lattice.push_back(std::cos(0.5F * static_cast<float>(x)) *
                                      std::cos(0.5F * static_cast<float>(y)) +
                                  noise(random));
        return planeOf(200, 200, lattice);
    };
    const regs_s2DShift shift = regs_Register(seen(), seen());
    EXPECT_NEAR(shift.second, shift.height, 0.1 * shift.height);
}

TEST(Registration, KnowsOfNoSecondPeakOnEqualElements) {
    darr_c2DArray fixed(50, 40, 0.0, {});
    darr_c2DArray moved(50, 40, 0.0, {});
    fixed.SetNumber(20, 13, 1.0);
    moved.SetNumber(27, 18, 1.0);
    const regs_s2DShift shift = regs_Register(fixed, moved);
    expectShift(shift, 7, 5, 1e-6);
    EXPECT_NEAR(shift.height, 1, 1e-6);
    EXPECT_EQ(shift.second, 0);
}

TEST(Registration, KnowsTheSecondPeakOfWhatRepeatsItself) {
    for (const auto& [sizeX, sizeY] : {std::pair(50, 50), {120, 90}, {500, 300}}) {
        darr_c2DArray board(sizeX, sizeY, dtyp_Double, {});
        board.Fill([](double x, double y) { return std::fmod(x + y, 2); });
        const regs_s2DShift shift = regs_Register(board, board);
        SCOPED_TRACE(sizeX);
        expectShift(shift, 0, 0, 1e-6);
        EXPECT_NEAR(shift.second, 1, 1e-6);
    }
}

TEST(Registration, KnowsTheSecondPeakOfStripesAmongAverages) {
    const struct {
        int sizeX, sizeY;
        double period;
    } cases[] = {{500, 50, 8}, {500, 50, 4}, {999, 60, 3}, {999, 60, 17}, {700, 500, 5.5}};
    for (const auto& [sizeX, sizeY, period] : cases) {
        const auto seen = [sizeX = sizeX, sizeY = sizeY, period = period](double by) {
            darr_c2DArray stripes(sizeX, sizeY, dtyp_Double, {});
            stripes.Fill(
                [&](double x, double) { return std::sin(2 * type_Pi * (x - by) / period); });
            return stripes;
        };
        const regs_s2DShift shift = regs_Register(seen(0), seen(0.5));
        SCOPED_TRACE(period);
        EXPECT_NEAR(std::remainder(shift.elementsX - 0.5, period), 0, 0.02);
        EXPECT_GT(shift.second, 0.9 * shift.height);
    }
}

TEST(Registration, TakesNoShiftBetweenElementsThatTheyExclude) {
    const auto seen = [](int sizeX, int sizeY, int period, int byX, int byY, auto& random) {
        std::normal_distribution<double> noise(0, 0.1);
        darr_c2DArray board(sizeX, sizeY, dtyp_Double, {});
        board.Fill([&](double x, double y) {
            const double square = std::floor((x - byX) / period) + std::floor((y - byY) / period);
            return std::fabs(std::remainder(square, 2)) + noise(random);
        });
        return board;
    };
    for (const auto& [sizeX, sizeY, period] :
         {std::tuple(12, 40, 2), {500, 300, 2}, {50, 50, 1}, {120, 90, 1}})
        for (unsigned seed = 0; seed < 4; ++seed) {
            std::mt19937 random(seed);
            const darr_c2DArray fixed = seen(sizeX, sizeY, period, 0, 0, random);
            const regs_s2DShift shift =
                regs_Register(fixed, seen(sizeX, sizeY, period, 3, 1, random));
            SCOPED_TRACE(std::to_string(sizeX) + " of " + std::to_string(period));
            expectShift(shift, std::round(shift.elementsX), std::round(shift.elementsY), 0.25);
            EXPECT_GT(shift.height, 0.9);
        }
}

TEST(Registration, OfOneElementAlongAnAxisStaysThere) {
    const auto seen = [](int size, double by) {
        darr_c2DArray column(1, size, dtyp_Double, {});
        column.Fill([&](double, double y) { return std::sin((y - by) / 5); });
        return column;
    };
    for (const auto subElement : {regs_LeastSquares, regs_Parabola, regs_Fourier})
        for (const double by : {0.3, 2.7})
            EXPECT_EQ(
                regs_Register(seen(283, 0), seen(70, by), {.subElement = subElement}).elementsX, 0);
}

TEST(Registration, FindsLatticesFinerThanAverages) {
    const struct {
        int sizeX, sizeY;
        double period, sigma;
    } cases[] = {{200, 150, 5, 1.3}, {310, 230, 5.5, 1.2}, {500, 350, 6.3, 1}, {700, 480, 5, 1.3}};
    for (const auto& row : cases) {
        const auto seen = [&](double byX, double byY) {
            darr_c2DArray dots(row.sizeX, row.sizeY, dtyp_Double, {});
            dots.Fill([&](double x, double y) {
                return std::exp(-(std::pow(std::remainder(x - byX, row.period), 2) +
                                  std::pow(std::remainder(y - byY, row.period), 2)) /
                                (2 * row.sigma * row.sigma));
            });
            return dots;
        };
        const regs_s2DShift shift = regs_Register(seen(0, 0), seen(1.4, 0.6));
        SCOPED_TRACE(row.sizeX);
        EXPECT_NEAR(std::remainder(shift.elementsX - 1.4, row.period), 0, 0.1);
        EXPECT_NEAR(std::remainder(shift.elementsY - 0.6, row.period), 0, 0.1);
        EXPECT_GT(shift.height, 0.7);
        EXPECT_GT(shift.second, 0.9 * shift.height);
    }
}

TEST(Registration, GoesOnceToTheCrestOfADiagonalRidge) {
    // Averages have nothing of it, so that no least squares lead to it.
    for (const auto& [size, period] : {std::pair(200, 4.0), {500, 4.0}, {500, 8.0}}) {
        std::mt19937 random(1);
        std::normal_distribution<double> noise(0, 0.3);
        const auto seen = [&, size = size, period = period](double by) {
            darr_c2DArray stripes(size, size, dtyp_Double, {});
            stripes.Fill([&](double x, double y) {
                return std::sin(2 * type_Pi * (x + y - by) / period) + noise(random);
            });
            return stripes;
        };
        for (const auto subElement : {regs_LeastSquares, regs_Parabola, regs_Fourier}) {
            const regs_s2DShift shift =
                regs_Register(seen(0), seen(0.5), {.subElement = subElement});
            SCOPED_TRACE(std::to_string(size) + " way " + std::to_string(subElement));
            EXPECT_NEAR(std::remainder(shift.elementsX + shift.elementsY - 0.5, period), 0, 0.25);
        }
    }
}

TEST(Registration, LeadsTiltedStripesIntoNoOthers) {
    const struct {
        double degrees;
        unsigned seed;
        int size;
        double least, step;
        unsigned periods;
    } cases[] = {{45, 55, 40, 6, 3, 5},  {30, 40, 40, 6, 3, 5},  {20, 16, 40, 6, 3, 5},
                 {70, 0, 75, 5, 2.3, 7}, {85, 1, 75, 5, 2.3, 7}, {85, 36, 75, 5, 2.3, 7}};
    for (const auto& [degrees, seed, size, least, step, periods] : cases) {
        SCOPED_TRACE(degrees);
        std::mt19937 random(seed + 1);
        std::normal_distribution<double> noise;
        const double period = least + seed % periods * step;
        const double by = 0.5 + 0.1 * (seed % 3);
        const double alongX = std::cos(degrees * type_Pi / 180);
        const double alongY = std::sin(degrees * type_Pi / 180);
        const auto stripes = [&](double at) { return std::sin(2 * type_Pi * at / period); };
        darr_c2DArray fixed(size, size, dtyp_Double, {});
        darr_c2DArray moved(size, size, dtyp_Double, {});
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x) {
                const double at = alongX * x + alongY * y;
                fixed.SetNumber(x, y, stripes(at) + 0.1 * noise(random));
                moved.SetNumber(x, y, stripes(at - by) + 0.1 * noise(random));
            }
        const regs_s2DShift shift = regs_Register(fixed, moved);
        const double across = alongX * shift.elementsX + alongY * shift.elementsY - by;
        EXPECT_LT(std::fabs(std::remainder(across, period)), 0.2);
        EXPECT_GT(shift.height, 0.85);
    }
}

TEST(Registration, GoesNowhereWhereBothAreLessAlike) {
    // Slopes of a checkerboard of some two elements lead half a period away.
    for (const unsigned seed : {61U, 358U, 486U, 760U, 985U, 1368U}) {
        std::mt19937 random(seed);
        std::normal_distribution<double> noise(0, 0.2);
        const auto part = [&] { return static_cast<double>(random()) / 4294967296.0; };
        const int sizeX = 20 + static_cast<int>(random() % 40);
        const int sizeY = 20 + static_cast<int>(random() % 40);
        const double period = 1 + 5 * part();
        const double x = 10 * part();
        const double y = 10 * part();
        const auto seen = [&](double fromX, double fromY) {
            std::vector<double> values;
            for (int row = 0; row < sizeY; ++row)
                for (int column = 0; column < sizeX; ++column) {
                    const double fields =
                        std::floor((column + fromX) / period) + std::floor((row + fromY) / period);
                    values.push_back(std::fabs(std::remainder(fields, 2)) + noise(random));
                }
            return planeOf(sizeX, sizeY, values);
        };
        const darr_c2DArray fixed = seen(0, 0);
        const regs_s2DShift shift = regs_Register(fixed, seen(-x, -y));
        EXPECT_GT(shift.height, 0.5) << seed;
        EXPECT_GT(shift.height, shift.second - 0.1) << seed;
    }
}

TEST(Registration, DoesNotTakeTheFlankOfAPeakForASecondOne) {
    for (unsigned seed = 0; seed < 6; ++seed) {
        std::mt19937 random(seed);
        std::normal_distribution<double> noise(0, 0.3);
        const auto seen = [&](double x, double y) {
            std::vector<double> values;
            for (int j = 0; j < 120; ++j)
                for (int i = 0; i < 140; ++i)
                    values.push_back(std::exp(-((i - x) * (i - x) + (j - y) * (j - y)) / 500) +
                                     noise(random));
            return planeOf(140, 120, values);
        };
        const regs_s2DShift shift = regs_Register(seen(66, 58), seen(75, 54));
        expectShift(shift, 9, -4, 1);
        EXPECT_LT(shift.second, 0.5 * shift.height) << seed;
    }
}

TEST(Registration, DoesNotTakeThePeakItHasReachedForASecondOne) {
    // A bowl that stays where it is moves the best peak of the search, but not what it leads to.
    for (unsigned seed = 1; seed <= 12; ++seed) {
        std::mt19937 random(seed);
        std::normal_distribution<float> normal;
        std::vector<float> grain(300 * 300);
        for (float& value : grain)
            value = normal(random);
        const darr_c2DArray scene = smth_Gauss(planeOf(300, 300, grain), 2.0, 2.0);
        const double deviation = std::sqrt(stat_Variance(scene).As<double>());
        const auto seen = [&](int fromX, int fromY) {
            std::vector<float> values;
            for (int y = 0; y < 180; ++y)
                for (int x = 0; x < 200; ++x) {
                    const float u = static_cast<float>(x - 100) / 100;
                    const float v = static_cast<float>(y - 90) / 90;
                    const double content = scene.Number(fromX + x, fromY + y).As<double>();
                    values.push_back(static_cast<float>(content / deviation) +
                                     0.3F * normal(random) + u * u + v * v);
                }
            return planeOf(200, 180, values);
        };
        const darr_c2DArray moved = seen(37, 59);
        const regs_s2DShift shift = regs_Register(seen(50, 50), moved);
        SCOPED_TRACE(seed);
        expectShift(shift, 13, -9, 0.1);
        EXPECT_LT(shift.second, 0.9 * shift.height);
    }
}

TEST(Registration, OfSmallSquaresIsThatOfAllTheirContent) {
    int wrong = 0;
    for (int size = 10; size <= 16; size += 2)
        for (unsigned seed = 0; seed < 4; ++seed) {
            const cScene scene(1000 + 10 * static_cast<unsigned>(size) + seed, 200, 300, 4, 7);
            const darr_c2DArray fixed = scene.Seen(size, size, 40, 40);
            for (int y = -(size / 4); y <= size / 4; ++y)
                for (int x = -(size / 4); x <= size / 4; ++x) {
                    const auto shift = regs_Register(fixed, scene.Seen(size, size, 40 - x, 40 - y));
                    wrong += std::fabs(shift.elementsX - x) > 0.1 ||
                             std::fabs(shift.elementsY - y) > 0.1;
                }
        }
    EXPECT_EQ(wrong, 0);
}

TEST(Registration, GoesBetweenElementsOfAStripeByEachWay) {
    std::mt19937 random(15);
    std::normal_distribution<double> noise(0, 0.2);
    const auto seen = [&](double at) {
        std::vector<double> values;
        for (int y = 0; y < 130; ++y)
            for (int x = 0; x < 150; ++x)
                values.push_back(std::exp(-(x - at) * (x - at) / 18) + noise(random));
        return planeOf(150, 130, values);
    };
    for (const auto subElement : {regs_LeastSquares, regs_Fourier, regs_Parabola})
        for (int repeat = 0; repeat < 6; ++repeat) {
            const darr_c2DArray fixed = seen(60);
            EXPECT_NEAR(regs_Register(fixed, seen(67.4), {.subElement = subElement}).elementsX, 7.4,
                        0.2);
        }
}

TEST(Registration, KeepsTheOverlapAskedFor) {
    const auto seen = [](double by) {
        std::vector<double> values;
        for (int y = 0; y < 80; ++y)
            for (int i = 0; i < 100; ++i) {
                const double x = i - by;
                values.push_back(std::sin(0.13 * x) + std::cos(0.17 * y + 0.05 * x) +
                                 4 * std::exp(-((x - 50) * (x - 50) + (y - 40) * (y - 40)) / 60));
            }
        return planeOf(100, 80, values);
    };
    for (const auto subElement : {regs_LeastSquares, regs_Fourier, regs_Parabola, regs_Whole})
        for (const auto& [overlap, most] : {std::pair(1.0, 0), {0.95, 5}, {0.9, 10}})
            for (const int by : {1, 3, 6, 12}) {
                const regs_sOptions options{.overlap = overlap, .subElement = subElement};
                const regs_s2DShift shift = regs_Register(seen(0), seen(by), options);
                SCOPED_TRACE(std::to_string(overlap) + " by " + std::to_string(by));
                EXPECT_LE(std::lround(std::fabs(shift.elementsX)), most);
                EXPECT_LE(std::lround(std::fabs(shift.elementsY)), 80 - std::ceil(80 * overlap));
                if (by <= most) {
                    EXPECT_NEAR(shift.elementsX, by, 0.2);
                }
            }
}

TEST(Registration, IsInTheUnitsOfTheCalibrations) {
    const cScene scene(5);
    const regs_s2DShift shift =
        regs_Register(scene.Seen(150, 100, 0, 0, {-0.3, 0.25, 1.7e9, 60, 0, 0}),
                      scene.Seen(150, 100, -6.5, 4.25, {10.2, 0.25, 1.7e9, 60, 2, 5}));
    expectShift(shift, 6.5, -4.25, 0.02);
    // Element 0 of the moved image lies at 10.2 - 2 x .25.
    EXPECT_NEAR(shift.x, 9.7 + 0.3 + 6.5 * 0.25, 0.02 * 0.25);
    EXPECT_NEAR(shift.y, -300 - 4.25 * 60, 0.02 * 60);
}

TEST(Registration, MovesAnArrayIntoPlace) {
    const cal_c1DArrayCal cal(5, 0.5, 0);
    const darr_c1DArray fixed = lineSeen(300, 0, cal);
    darr_c1DArray moved = lineSeen(300, -17.5, cal);
    const regs_s1DShift shift = regs_Register(fixed, moved);
    EXPECT_NEAR(shift.x, 8.75, 0.01);
    moved.SetOffsetX(moved.Cal().Offset() - shift.x);
    EXPECT_NEAR(regs_Register(fixed, moved).x, 0, 0.01);
}

TEST(Registration, FindsShiftsOfLines) {
    for (const auto& [fixed, moved, x] :
         {std::tuple(300, 300, 17.3), std::tuple(200, 1000, 300.6), std::tuple(1000, 333, -520.4),
          std::tuple(40000, 40000, -4321.75)}) {
        const regs_s1DShift shift = regs_Register(lineSeen(fixed, 500), lineSeen(moved, 500 - x));
        EXPECT_NEAR(shift.elementsX, x, 0.03) << fixed;
        EXPECT_GT(shift.height, 0.95);
    }
}

TEST(Registration, GoesBetweenElementsAsAsked) {
    const cScene scene(6);
    const darr_c2DArray fixed = scene.Seen(120, 80, 0, 0);
    const darr_c2DArray moved = scene.Seen(120, 80, -3.3, 8.2);
    expectShift(regs_Register(fixed, moved, {.subElement = regs_Whole}), 3, -8, 0);
    expectShift(regs_Register(fixed, moved, {.subElement = regs_Parabola}), 3.3, -8.2, 0.05);
    expectShift(regs_Register(fixed, moved, {.subElement = regs_Fourier}), 3.3, -8.2, 0.04);
    expectShift(regs_Register(fixed, moved, {.subElement = regs_LeastSquares}), 3.3, -8.2, 0.002);
}

TEST(Registration, UsesOnlyTheBandAskedFor) {
    const cScene scene(7);
    darr_c2DArray fixed = scene.Seen(150, 150, 0, 0);
    darr_c2DArray moved = scene.Seen(150, 150, -10.4, -20.6);
    // A slow change of brightness that stays where it is, far stronger than what moves.
    for (darr_c2DArray* image : {&fixed, &moved})
        for (int y = 0; y < 150; ++y)
            for (int x = 0; x < 150; ++x) {
                const float glow = 2 * std::exp(-0.0005F * static_cast<float>((x - 75) * (x - 75) +
                                                                              (y - 75) * (y - 75)));
                image->SetNumber(x, y, image->Number(x, y).As<float>() + glow);
            }
    EXPECT_LT(std::fabs(regs_Register(fixed, moved).elementsX), 2);
    expectShift(regs_Register(fixed, moved, {.low = 0.12}), 10.4, 20.6, 0.1);
}

TEST(Registration, UsesOnlyTheBandAskedForOfLines) {
    darr_c1DArray fixed = lineSeen(400, 0);
    darr_c1DArray moved = lineSeen(400, -10.4);
    for (darr_c1DArray* line : {&fixed, &moved})
        for (int i = 0; i < 400; ++i)
            line->SetNumber(i, line->Number(i).As<double>() +
                                   20 * std::exp(-0.0002 * (i - 200) * (i - 200)));
    EXPECT_LT(std::fabs(regs_Register(fixed, moved).elementsX), 2);
    EXPECT_NEAR(regs_Register(fixed, moved, {.low = 0.1}).elementsX, 10.4, 0.1);
    const auto upright = [](const darr_c1DArray& line) {
        return darr_c2DArray(1, line.Size(), line.Elements<double>());
    };
    EXPECT_NEAR(regs_Register(upright(fixed), upright(moved), {.low = 0.1}).elementsY, 10.4, 0.1);
}

TEST(Registration, ServesEveryRealType) {
    const cScene scene(8);
    forEachElementType([&]<class T>(int code) {
        if constexpr (std::is_arithmetic_v<T>) {
            SCOPED_TRACE(code);
            expectShift(regs_Register(scene.Seen<T>(110, 90, 0, 0), scene.Seen(110, 90, -9, 4)), 9,
                        -4, 0.03);
        }
    });
}

TEST(Registration, TellsApartWhatRepeatsItself) {
    std::vector<float> lattice;
    for (int y = 0; y < 96; ++y)
        for (int x = 0; x < 96; ++x)
            lattice.push_back(std::cos(0.5F * static_cast<float>(x)) *
                              std::cos(0.5F * static_cast<float>(y)));
    const darr_c2DArray image = planeOf(96, 96, lattice);
    const regs_s2DShift shift = regs_Register(image, image);
    EXPECT_GT(shift.second, 0.9);
}

TEST(Registration, ScalesWithExtremeValues) {
    const cScene scene(9);
    darr_c2DArray fixed = scene.Seen<double>(80, 70, 0, 0);
    darr_c2DArray moved = scene.Seen<double>(80, 70, -7, -3);
    for (double& element : fixed.Elements<double>())
        element *= 1e37;
    for (double& element : moved.Elements<double>())
        element = 1e-30 * element;
    expectShift(regs_Register(fixed, moved), 7, 3, 0.02);
}

TEST(Registration, OfAFewElementsStaysWithinThem) {
    for (int size = 1; size <= 5; ++size)
        for (int other = 1; other <= 5; ++other) {
            const darr_c1DArray fixed = lineOf(countedElements<float>(size + 1));
            const darr_c1DArray moved = lineOf(countedElements<float>(other + 1));
            const regs_s1DShift shift = regs_Register(fixed, moved);
            EXPECT_LE(std::fabs(shift.elementsX), size + other + 1);
        }
    const darr_c2DArray column = planeOf<int>(1, 5, {0, 1, 5, 1, 0});
    expectShift(regs_Register(column, column), 0, 0, 1e-3);
}

TEST(Registration, RefusesWhatItCannotServe) {
    const cScene scene(10);
    const darr_c2DArray image = scene.Seen(20, 20, 0, 0);
    const auto with = [&](const regs_sOptions& options) {
        return refusalOf([&] { regs_Register(image, image, options); });
    };
    EXPECT_EQ(with({.low = -0.1}), "regs:1");
    EXPECT_EQ(with({.low = 0.5, .high = 0.5}), "regs:1");
    EXPECT_EQ(with({.low = notANumber}), "regs:1");
    EXPECT_EQ(with({.high = notANumber}), "regs:1");
    EXPECT_EQ(with({.overlap = 0}), "regs:1");
    EXPECT_EQ(with({.overlap = 1.1}), "regs:1");
    EXPECT_EQ(with({.subElement = static_cast<regs_eSubElement>(4)}), "regs:1");
    EXPECT_EQ(with({.subElement = static_cast<regs_eSubElement>(-1)}), "regs:1");
    EXPECT_EQ(with({.overlap = 1}), "none");
    const std::string noFrequency = "regs:1: The band holds no frequency.";
    for (const auto& [low, high] :
         {std::pair(1.5, 2.0), {0.0, 1e-9}, {0.501, 0.502}, {1e300, infinity}})
        EXPECT_EQ(textOf([&, low = low, high = high] {
                      regs_Register(image, image, {.low = low, .high = high});
                  }),
                  noFrequency)
            << low;
    const darr_c1DArray line30 = lineSeen(30, 0);
    EXPECT_EQ(textOf([&] { regs_Register(line30, line30, {.low = 1.2}); }), noFrequency);
    EXPECT_EQ(with({.low = 1.3}), "none");

    const auto calibrated = [&](double deltaX, double deltaY) {
        return refusalOf([&] {
            regs_Register(image, scene.Seen(20, 20, 0, 0, {0, deltaX, 0, deltaY, 0, 0}));
        });
    };
    for (const double delta : {2.0, 0.0, -1.0, 1.00001, notANumber, infinity}) {
        EXPECT_EQ(calibrated(delta, 1), "regs:2") << delta;
        EXPECT_EQ(calibrated(1, delta), "regs:2") << delta;
    }
    EXPECT_EQ(calibrated(1 + 1e-9, 1), "none");
    for (const double offset : {notANumber, infinity, -infinity}) {
        const darr_c2DArray nowhere = scene.Seen(20, 20, 0, 0, {0, 1, offset, 1, 0, 0});
        EXPECT_EQ(textOf([&] { regs_Register(image, nowhere); }),
                  "regs:2: An offset is not finite.");
        EXPECT_EQ(refusalOf([&] { regs_Register(nowhere, image); }), "regs:2");
        EXPECT_EQ(refusalOf([&] {
                      regs_Register(lineSeen(30, 0), lineSeen(30, 0, {offset, 1, 0}));
                  }),
                  "regs:2");
    }

    const std::string nothing = "regs:4: There is nothing to register by.";
    const darr_c1DArray line = lineSeen(30, 0);
    for (const auto& other :
         {darr_c1DArray(), lineOf<int>({3, 3, 3}), lineOf<double>({1, notANumber, 2}),
          lineOf<float>({1, static_cast<float>(infinity), 2}),
          lineOf<double>({1.5e308, 1.5e308, 1})}) {
        EXPECT_EQ(userRefusalOf([&] { regs_Register(line, other); }), nothing);
        EXPECT_EQ(userRefusalOf([&] { regs_Register(other, line); }), nothing);
    }
    EXPECT_EQ(refusalOf([&] { regs_Register(line, darr_c1DArray(3, dtyp_ComplexFloat, {})); }),
              "regs:3");
    EXPECT_EQ(refusalOf([&] { regs_Register(line, darr_c1DArray(3, dtyp_cDataType(11), {})); }),
              "conv:1");
}
