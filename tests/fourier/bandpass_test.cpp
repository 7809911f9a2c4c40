#include <gtest/gtest.h>

#include "dataprocessing/fourier/four.h"
#include "dataprocessing/fourier/prut.h"
#include "tests/failing_new.h"
#include "tests/fourier/fft_oracle.h"
#include "tests/support/elements.h"

using oracle::Exact;

TEST(BandPassFilter, PassesTheStrictInsideOfTheBand) {
    struct Case {
        int n;
        double low;
        double high;
        std::vector<float> expected;
    };
    const Case cases[] = {
        {8, 0.0, 0.6, {0, 0, 0, 0, 0, 1, 1, 0}},
        {8, 0.25, 0.75, {0, 0, 0, 0, 0, 0, 1, 0}},
        {8, -0.1, 0.25, {0, 0, 0, 0, 1, 0, 0, 0}},
        {8, -0.75, -0.25, {0, 0, 1, 0, 0, 0, 0, 0}},
        {8, -2, 2, {1, 1, 1, 1, 1, 1, 1, 1}},
        {8, -1, 2, {0, 1, 1, 1, 1, 1, 1, 1}},
        {8, 0.5, 0.5, {0, 0, 0, 0, 0, 0, 0, 0}},
        {8, 0.6, 0.0, {0, 0, 0, 0, 0, 0, 0, 0}},
        {8, std::numeric_limits<double>::quiet_NaN(), 1, {0, 0, 0, 0, 0, 0, 0, 0}},
        {5, -0.7, 0.5, {0, 1, 1, 1, 0}},               // from -0.8 on: the calibration index is 2
        {10, -0.1, 0, {0, 0, 0, 0, 0, 1, 0, 0, 0, 0}}, // its steps add up to -5.6e-17
        {1, -0.5, 0.5, {1}},
        {0, -2, 2, {0, 0}},
    };
    for (const Case& c : cases) {
        const darr_c1DArray mask = prut_BandPassFilter(c.n, c.low, c.high);
        EXPECT_EQ(mask.DataType(), dtyp_Float);
        EXPECT_EQ(elementsOf<float>(mask), c.expected) << c.n << " " << c.low << " " << c.high;
    }
}

TEST(BandPassFilter, ComparesInDoublePrecision) {
    // 0.6 of the ramp is 0.6F = 0.60000002, which lies above 0.6 and below 0.600000025.
    EXPECT_EQ(elementsOf<float>(prut_BandPassFilter(10, 0.6, 0.600000025)),
              (std::vector<float>{0, 0, 0, 0, 0, 0, 0, 0, 1, 0}));
}

TEST(BandPassFilter, LiesOnTheCalibrationOfItsFrequencies) {
    EXPECT_EQ(prut_BandPassFilter(8, 0, 1).Cal(), cal_c1DArrayCal(0, 0.25, 4));
    EXPECT_EQ(prut_BandPassFilter(5, 0, 1).Cal(), cal_c1DArrayCal(0, 0.4, 2));
    EXPECT_EQ(prut_BandPassFilter(8, 4, 0, 1).Cal(), cal_c2DArrayCal(0, 0.25, 0, 0.5, 4, 2));
}

TEST(BandPassFilter, OfAnImagePassesARing) {
    const int nx = 16;
    const int ny = 8;
    for (const auto& [low, high] : {std::pair{0.0, 0.5}, std::pair{0.25, 1.0}, std::pair{-1.0, 0.3},
                                    std::pair{1.0, 2.0}, std::pair{0.5, 0.5}}) {
        const darr_c2DArray mask = prut_BandPassFilter(nx, ny, low, high);
        ASSERT_EQ(mask.SizeX(), nx);
        ASSERT_EQ(mask.SizeY(), ny);
        ASSERT_EQ(mask.DataType(), dtyp_Float);
        for (int j = 0; j < ny; ++j)
            for (int i = 0; i < nx; ++i) {
                const float radius = static_cast<float>(std::hypot((i - 8) / 8.0, (j - 4) / 4.0));
                EXPECT_EQ(mask.Elements<float>()[static_cast<std::size_t>(j * nx + i)],
                          radius > low && radius < high ? 1 : 0)
                    << i << " " << j << " " << low;
            }
    }
}

TEST(BandPassFilter, BlocksTheCentreOfAnImageUnlessLowIsNegative) {
    const auto centre = [](double low) {
        return prut_BandPassFilter(8, 8, low, 2).Number(4, 4).As<float>();
    };
    EXPECT_EQ(centre(0), 0);
    EXPECT_EQ(centre(-1e-9), 1);
}

// One ramp, and three masks of bytes: what has passed either bound, and both.
TEST(BandPassFilter, HoldsLessThanTwiceItsSizeAtATime) {
    constexpr std::size_t count = 30000; // storage that is not kept
    const std::size_t most = count * sizeof(float) * 15 / 8;
    {
        const PeakOfNew peak;
        prut_BandPassFilter(int{count}, 0.1, 0.4);
        EXPECT_LT(peak.Bytes(), most);
    }
    const PeakOfNew peak;
    prut_BandPassFilter(200, int{count} / 200, 0.1, 0.4);
    EXPECT_LT(peak.Bytes(), most);
}

TEST(BandPassFilter, RefusesNegativeSizesAndHasZerosForNone) {
    EXPECT_EQ(refusalOf([] { prut_BandPassFilter(-1, 0, 1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { prut_BandPassFilter(-1, 4, 0, 1); }), sizeRefusal);
    EXPECT_EQ(refusalOf([] { prut_BandPassFilter(4, -1, 0, 1); }), sizeRefusal);
    const darr_c2DArray none = prut_BandPassFilter(0, 4, -2, 2);
    EXPECT_EQ(none.SizeX(), 2);
    EXPECT_EQ(none.SizeY(), 2);
    EXPECT_EQ(elementsOf<float>(none), std::vector<float>(4));
}

TEST(BandPassCorrelation, OfLinesWithTheWholeBandIsTheCentredProduct) {
    const darr_c1DArray a = lineOf(someReals(13, 1), cal_c1DArrayCal(2, 0.5, 3));
    const darr_c1DArray b = lineOf(someReals(9, 2), cal_c1DArrayCal(0, 0.25, 0));
    darr_c1DArray first = a;
    darr_c1DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    const std::size_t n = 32;
    const std::vector<Exact> x = oracle::sum(exactOf(first), 1);
    const std::vector<Exact> y = oracle::sum(exactOf(second), 1);
    std::vector<Exact> product;
    for (std::size_t i = 0; i < n; ++i) { // of centred spectra
        const std::size_t f = (i + n / 2) % n;
        product.push_back(x[f] * std::conj(y[f]) / static_cast<long double>(n * n));
    }
    std::vector<Exact> expected = oracle::sum(product, -1);
    std::rotate(expected.begin(), expected.begin() + n / 2, expected.end());
    const darr_c1DArray result = prut_CrossCorrelate(a, b, -2, 2);
    EXPECT_EQ(result.Size(), 32);
    EXPECT_LE(distance(exactOf(result), expected),
              oracle::tolerance(n, oracle::magnitude(x) * oracle::magnitude(y) / (n * n)));
    EXPECT_EQ(result.Cal(), cal_c1DArrayCal(0, 1, 16));
}

TEST(BandPassCorrelation, OfLinesKeepsThePositiveFrequenciesOfTheBandAlone) {
    // With the second line an impulse, the product is the spectrum of the first, divided by n.
    const int n = 16;
    const std::vector<float> a = someReals(n, 3);
    std::vector<float> impulse(n);
    impulse[0] = 1;
    std::vector<Exact> product =
        oracle::scaled(oracle::sum(oracle::exact(a), 1), 1 / static_cast<long double>(n * n));
    std::vector<Exact> kept(n);
    for (std::size_t f = 1; f <= 4; ++f) // positions 1/8 to 4/8, below 0.6
        kept[f + n / 2] = product[f];
    std::vector<Exact> expected = oracle::sum(kept, -1);
    std::rotate(expected.begin(), expected.begin() + n / 2, expected.end());
    const darr_c1DArray result = prut_CrossCorrelate(lineOf(a), lineOf(impulse), 0, 0.6);
    EXPECT_LE(distance(exactOf(result), expected),
              oracle::tolerance(n, oracle::magnitude(product)));
}

TEST(BandPassCorrelation, OfImagesWithTheWholeBandIsTheCrossCorrelation) {
    const int w = 16;
    const int h = 8;
    const cal_c2DArrayCal cal(1, 0.5, 2, 2, 3, 4);
    const darr_c2DArray a = imageOf(w, h, someReals(w * h, 4), cal);
    const darr_c2DArray b = imageOf(w, h, someReals(w * h, 5), cal);
    const std::vector<Exact> x = oracle::sum(exactOf(a), w, h, -1);
    const std::vector<Exact> y = oracle::sum(exactOf(b), w, h, -1);
    const double scale = 4 / std::pow(w * h, 4);
    std::vector<Exact> product;
    for (std::size_t i = 0; i < x.size(); ++i)
        product.push_back(x[i] * std::conj(y[i]) * static_cast<long double>(scale));
    const darr_c2DArray result = prut_CrossCorrelate(a, b, -1, 2);
    EXPECT_EQ(result.DataType(), dtyp_Float);
    EXPECT_LE(distance(exactOf(result), oracle::centred(oracle::sum(product, w, h, 1), w, h)),
              oracle::tolerance(x.size(), scale * oracle::magnitude(x) * oracle::magnitude(y)));
    EXPECT_EQ(result.Cal(), cal_c2DArrayCal(0, 0.5, 0, 2, 8, 8));
}

TEST(BandPassCorrelation, OfImagesKeepsARingOfFrequencies) {
    const int w = 16;
    const int h = 16;
    const std::vector<float> a = someReals(w * h, 6);
    std::vector<float> impulse(w * h);
    impulse[0] = 1;
    const double count = w * h;
    std::vector<Exact> spectrum = oracle::sum(oracle::exact(a), w, h, -1);
    for (int v = 0; v < h; ++v)
        for (int u = 0; u < w; ++u) {
            const double radius =
                std::hypot((u < 8 ? u : u - 16) / 8.0, (v < 8 ? v : v - 16) / 8.0);
            if (!(radius > 0.2 && radius < 0.7))
                spectrum[static_cast<std::size_t>(v * w + u)] = 0;
        }
    const double scale = 4 / std::pow(count, 4);
    const std::vector<Exact> expected =
        oracle::centred(oracle::scaled(oracle::sum(spectrum, w, h, 1), scale), w, h);
    const darr_c2DArray result =
        prut_CrossCorrelate(imageOf(w, h, a), imageOf(w, h, impulse), 0.2, 0.7);
    EXPECT_EQ(result.DataType(), dtyp_Float);
    EXPECT_LE(distance(exactOf(result), expected),
              oracle::tolerance(a.size(), scale * count * oracle::magnitude(oracle::exact(a))));
}

TEST(BandPassCorrelation, TakesBothCalibrationIndicesFromTheSizeOfX) {
    const darr_c2DArray a = imageOf(20, 7, someReals(140, 7));
    const darr_c2DArray result = prut_CrossCorrelate(a, a, 0, 0.5);
    EXPECT_EQ(result.SizeX(), 32);
    EXPECT_EQ(result.SizeY(), 8);
    EXPECT_EQ(result.Cal(), cal_c2DArrayCal(0, 1, 0, 1, 16, 16));
}

TEST(BandPassCorrelation, OfAnEmptyBandIsZero) {
    const darr_c1DArray a = lineOf(someReals(16, 8));
    const darr_c2DArray b = imageOf(8, 8, someReals(64, 9));
    EXPECT_EQ(distance(exactOf(prut_CrossCorrelate(a, a, 0.5, 0.5)), std::vector<Exact>(16)), 0);
    EXPECT_EQ(distance(exactOf(prut_CrossCorrelate(b, b, 0.7, 0.2)), std::vector<Exact>(64)), 0);
}
