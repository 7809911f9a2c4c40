#include <gtest/gtest.h>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/fourier/four.h"
#include "dataprocessing/fourier/prut.h"
#include "dataprocessing/platform/memory.h"
#include "dataprocessing/unary/unry.h"
#include "tests/failing_new.h"
#include "tests/fourier/fft_oracle.h"
#include "tests/support/elements.h"

using oracle::Exact;

namespace {

int wrapped(int i, int n) { return (i % n + n) % n; }

/// sum over k of a[k + shift] b[k], both circular; with `reversed`, of a[shift - k] b[k].
std::vector<Exact> circular(const std::vector<float>& a, const std::vector<float>& b,
                            bool reversed) {
    const int n = static_cast<int>(a.size());
    std::vector<Exact> result;
    for (int shift = 0; shift < n; ++shift) {
        long double sum = 0;
        for (int k = 0; k < n; ++k)
            sum += static_cast<long double>(
                       a[static_cast<std::size_t>(wrapped(reversed ? shift - k : shift + k, n))]) *
                   b[static_cast<std::size_t>(k)];
        result.emplace_back(sum);
    }
    return result;
}

/// The same along both axes of images.
std::vector<Exact> circular(const std::vector<float>& a, const std::vector<float>& b, int w, int h,
                            bool reversed) {
    std::vector<Exact> result;
    for (int dy = 0; dy < h; ++dy)
        for (int dx = 0; dx < w; ++dx) {
            long double sum = 0;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const int fromX = wrapped(reversed ? dx - x : dx + x, w);
                    const int fromY = wrapped(reversed ? dy - y : dy + y, h);
                    sum +=
                        static_cast<long double>(a[static_cast<std::size_t>(fromY * w + fromX)]) *
                        b[static_cast<std::size_t>(y * w + x)];
                }
            result.emplace_back(sum);
        }
    return result;
}

/// What the transforms of a line make of a circular sum: divided by n, alternating in sign.
std::vector<Exact> asLine(std::vector<Exact> sums) {
    const long double n = static_cast<long double>(sums.size());
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] *= (i % 2 == 0 ? 1 : -1) / n;
    return sums;
}

double allowedFor(const std::vector<float>& a, const std::vector<float>& b, double scale) {
    return oracle::tolerance(a.size(), scale * oracle::magnitude(oracle::exact(a)) *
                                           oracle::magnitude(oracle::exact(b)));
}

int largest(const std::vector<Exact>& values) {
    std::size_t best = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
        if (std::abs(values[i]) > std::abs(values[best]))
            best = i;
    return static_cast<int>(best);
}

/// The image moved by (dx, dy), circularly.
std::vector<float> moved(const std::vector<float>& image, int w, int h, int dx, int dy) {
    std::vector<float> result;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            result.push_back(
                image[static_cast<std::size_t>(wrapped(y - dy, h) * w + wrapped(x - dx, w))]);
    return result;
}

} // namespace

// ---- Lines --------------------------------------------------------------------------------------

TEST(CorrelateLines, AutoCorrelationAlternatesInSignFromElementZero) {
    for (const int n : {2, 8, 32}) {
        const std::vector<float> a = someReals(n, 1);
        const darr_c1DArray result = four_AutoCorrelate(lineOf(a));
        EXPECT_EQ(result.DataType(), dtyp_ComplexFloat);
        EXPECT_LE(distance(exactOf(result), asLine(circular(a, a, false))),
                  allowedFor(a, a, 1.0 / n));
    }
}

TEST(CorrelateLines, CrossCorrelationHasItsPeakAtTheShift) {
    const int n = 32;
    const std::vector<float> b = someReals(n, 2);
    for (int shift = 0; shift < n; ++shift) {
        const std::vector<float> a = moved(b, n, 1, shift, 0);
        const std::vector<Exact> result = exactOf(four_CrossCorrelate(lineOf(a), lineOf(b)));
        EXPECT_LE(distance(result, asLine(circular(a, b, false))), allowedFor(a, b, 1.0 / n));
        EXPECT_EQ(largest(result), shift);
    }
}

TEST(CorrelateLines, ConvolutionIsTheCircularOne) {
    for (const int n : {2, 16, 64}) {
        const std::vector<float> a = someReals(n, 3);
        const std::vector<float> b = someReals(n, 4);
        // Both factors are centred, so the second factor's alternation is that of the first.
        EXPECT_LE(distance(exactOf(four_Convolute(lineOf(a), lineOf(b))),
                           exactOf(four_IFFT(four_FFT(lineOf(a)) * four_FFT(lineOf(b))))),
                  0);
        std::vector<Exact> sums = circular(a, b, true);
        // The forward transform has e^(+...), the inverse e^(-...): shifts come out as they are.
        EXPECT_LE(distance(exactOf(four_Convolute(lineOf(a), lineOf(b))), asLine(sums)),
                  allowedFor(a, b, 1.0 / n));
    }
}

TEST(CorrelateLines, ComplexLinesConjugateTheSecond) {
    const std::vector<ComplexFloat> a = oracle::someValues(16, 5);
    const std::vector<ComplexFloat> b = oracle::someValues(16, 6);
    std::vector<Exact> expected;
    for (int shift = 0; shift < 16; ++shift) {
        Exact sum = 0;
        for (int k = 0; k < 16; ++k)
            sum += oracle::exact(a)[static_cast<std::size_t>((k + shift) % 16)] *
                   std::conj(oracle::exact(b)[static_cast<std::size_t>(k)]);
        expected.push_back(sum);
    }
    EXPECT_LE(distance(exactOf(four_CrossCorrelate(lineOf(a), lineOf(b))), asLine(expected)),
              oracle::tolerance(16, 2));
}

TEST(CorrelateLines, AutoCorrelationOfFiveElementsIsThatOfEightCutBackToFive) {
    const std::vector<float> five{1, 2, 3, 4, 5};
    const std::vector<float> eight{1, 2, 3, 4, 5, 3, 3, 3};
    const darr_c1DArray result = four_AutoCorrelate(lineOf(five, cal_c1DArrayCal(3, 0.5, 1)));
    std::vector<Exact> expected = asLine(circular(eight, eight, false));
    expected.resize(5);
    EXPECT_EQ(result.Size(), 5);
    EXPECT_LE(distance(exactOf(result), expected), allowedFor(eight, eight, 1.0 / 8));
    EXPECT_EQ(result.Cal().CalIndex(), 2);
    EXPECT_EQ(result.Cal().Offset(), 0);
    EXPECT_DOUBLE_EQ(result.Cal().Delta(), 0.5); // 1 / (8 / (8 x 0.5))
}

TEST(CorrelateLines, DifferentDeltasAreResampledToTheSmallerFirst) {
    const darr_c1DArray coarse = lineOf(someReals(8, 7), cal_c1DArrayCal(0, 1, 0));
    const darr_c1DArray fine = lineOf(someReals(10, 8), cal_c1DArrayCal(5, 0.5, 2));
    const darr_c1DArray result = four_CrossCorrelate(coarse, fine);
    darr_c1DArray a = coarse;
    darr_c1DArray b = fine;
    four_MatchAndFitToPowerOfTwo(a, b);
    ASSERT_EQ(a.Size(), 16);
    EXPECT_EQ(result.Size(), 16);
    EXPECT_EQ(result.Cal(), cal_c1DArrayCal(0, 0.5, 8));
    EXPECT_LE(distance(exactOf(result),
                       asLine(circular(elementsOf<float>(a), elementsOf<float>(b), false))),
              allowedFor(elementsOf<float>(a), elementsOf<float>(b), 1.0 / 16));
    EXPECT_EQ(four_Convolute(coarse, fine).Cal(), cal_c1DArrayCal(0, 0.5, 8));
}

TEST(CorrelateLines, KeepTheirArguments) {
    const darr_c1DArray a = lineOf(someReals(5, 9), cal_c1DArrayCal(0, 1, 0));
    const darr_c1DArray b = lineOf(someReals(7, 10), cal_c1DArrayCal(0, 0.5, 0));
    const std::vector<float> before = elementsOf<float>(a);
    four_CrossCorrelate(a, b);
    four_Convolute(a, b);
    EXPECT_EQ(elementsOf<float>(a), before);
    EXPECT_EQ(a.Cal(), cal_c1DArrayCal(0, 1, 0));
    EXPECT_EQ(b.Size(), 7);
}

TEST(CorrelateLines, WithoutElementsAreRefusedByTheMeanOrExtendedByTheMatch) {
    EXPECT_EQ(refusalOf([] { four_AutoCorrelate(darr_c1DArray()); }), "statist:166");
    const darr_c1DArray zeros = four_CrossCorrelate(darr_c1DArray(), lineOf<float>({1, 2, 3}));
    EXPECT_EQ(distance(exactOf(zeros), std::vector<Exact>(4)), 0);
}

TEST(CorrelateLines, OfOneElementHasTheOneOfItsEqualPair) {
    const darr_c1DArray result = four_AutoCorrelate(lineOf<float>({3}));
    ASSERT_EQ(result.Size(), 1);
    EXPECT_EQ(distance(exactOf(result), {9}), 0);
    EXPECT_EQ(result.Cal().CalIndex(), 0);
}

// ---- Images -------------------------------------------------------------------------------------

TEST(CorrelateImages, AutoCorrelationIsCentredAndComplex) {
    const int w = 16;
    const int h = 8;
    const std::vector<float> a = someReals(w * h, 11);
    const darr_c2DArray result =
        four_AutoCorrelate(imageOf(w, h, a, cal_c2DArrayCal(1, 0.5, 2, 0.25, 3, 4)));
    EXPECT_EQ(result.DataType(), dtyp_ComplexFloat);
    // norm: 4 / (W H)^4 |X|^2; the real inverse: the sum over W H coefficients.
    const double count = w * h;
    const std::vector<Exact> expected = oracle::centred(
        oracle::scaled(circular(a, a, w, h, false), 4 / (count * count * count)), w, h);
    // The norm is a spectrum at its centre, so its transform alternates along both axes.
    std::vector<Exact> alternating;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            alternating.push_back(expected[static_cast<std::size_t>(y * w + x)] *
                                  static_cast<long double>((x + y) % 2 == 0 ? 1 : -1));
    EXPECT_LE(distance(exactOf(result), alternating),
              allowedFor(a, a, 4 / (count * count * count)));
    EXPECT_EQ(result.Cal().X().CalIndex(), w / 2);
    EXPECT_EQ(result.Cal().Y().CalIndex(), h / 2);
    EXPECT_EQ(result.Cal().X().Offset(), 0);
    EXPECT_DOUBLE_EQ(result.Cal().X().Delta(), 0.5);
    EXPECT_DOUBLE_EQ(result.Cal().Y().Delta(), 0.25);
}

TEST(CorrelateImages, AutoCorrelationIsCutToTheSizesOfTheImage) {
    const darr_c2DArray image = imageOf(5, 3, someReals(15, 12));
    const darr_c2DArray result = four_AutoCorrelate(image);
    const darr_c2DArray whole = four_IFFT(norm(four_FFT(image)));
    ASSERT_EQ(result.SizeX(), 5);
    ASSERT_EQ(result.SizeY(), 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_TRUE(result.Elements<ComplexFloat>()[static_cast<std::size_t>(y * 5 + x)] ==
                        whole.Elements<ComplexFloat>()[static_cast<std::size_t>(y * 8 + x)]);
    EXPECT_EQ(result.Cal().X().CalIndex(), 2);
    EXPECT_EQ(result.Cal().Y().CalIndex(), 1);
}

TEST(CorrelateImages, CrossCorrelationHasItsPeakAtTheShiftFromTheCentre) {
    const int w = 16;
    const int h = 8;
    const double scale = 4 / std::pow(w * h, 3.0);
    const std::vector<float> b = someReals(w * h, 13);
    for (int dy = -4; dy < 4; ++dy)
        for (int dx = -8; dx < 8; ++dx) {
            const std::vector<float> a = moved(b, w, h, dx, dy);
            const darr_c2DArray result = four_CrossCorrelate(imageOf(w, h, a), imageOf(w, h, b));
            ASSERT_EQ(result.DataType(), dtyp_Float);
            const std::vector<Exact> expected =
                oracle::centred(oracle::scaled(circular(a, b, w, h, false), scale), w, h);
            EXPECT_LE(distance(exactOf(result), expected), allowedFor(a, b, scale));
            EXPECT_EQ(largest(exactOf(result)), (h / 2 + dy) * w + w / 2 + dx);
        }
}

TEST(CorrelateImages, ConvolutionIsTheCircularOneFromElementZero) {
    const int w = 8;
    const int h = 16;
    const double scale = 4 / std::pow(w * h, 3.0);
    const std::vector<float> a = someReals(w * h, 14);
    const std::vector<float> b = someReals(w * h, 15);
    const darr_c2DArray result = four_Convolute(imageOf(w, h, a), imageOf(w, h, b));
    ASSERT_EQ(result.DataType(), dtyp_Float);
    EXPECT_LE(distance(exactOf(result), oracle::scaled(circular(a, b, w, h, true), scale)),
              allowedFor(a, b, scale));
}

TEST(CorrelateImages, TakeBothCalibrationIndicesFromTheSizeOfX) {
    const darr_c2DArray a =
        imageOf(64, 32, someReals(64 * 32, 16), cal_c2DArrayCal(1, 0.5, 2, 2, 3, 4));
    const cal_c2DArrayCal expected(0, 0.5, 0, 2, 32, 32);
    EXPECT_EQ(four_CrossCorrelate(a, a).Cal(), expected);
    EXPECT_EQ(four_Convolute(a, a).Cal(), expected);
}

TEST(CorrelateImages, DifferentDeltasAreResampledAlongEachAxis) {
    const darr_c2DArray a = imageOf(4, 4, someReals(16, 17), cal_c2DArrayCal(0, 1, 0, 1, 0, 0));
    const darr_c2DArray b = imageOf(4, 4, someReals(16, 18), cal_c2DArrayCal(0, 0.5, 0, 2, 0, 0));
    darr_c2DArray first = a;
    darr_c2DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    const darr_c2DArray result = four_CrossCorrelate(a, b);
    ASSERT_EQ(result.SizeX(), 8);
    ASSERT_EQ(result.SizeY(), 8);
    const double scale = 4 / std::pow(64, 3.0);
    const std::vector<float> x = elementsOf<float>(first);
    const std::vector<float> y = elementsOf<float>(second);
    EXPECT_LE(distance(exactOf(result),
                       oracle::centred(oracle::scaled(circular(x, y, 8, 8, false), scale), 8, 8)),
              allowedFor(x, y, scale));
    EXPECT_EQ(result.Cal(), cal_c2DArrayCal(0, 0.5, 0, 1, 4, 4));
}

TEST(CorrelateImages, OfIntegersIsThatOfFloats) {
    std::vector<unsigned short> integers;
    for (int i = 0; i < 32; ++i)
        integers.push_back(static_cast<unsigned short>(i * 2654435 % 1009));
    const std::vector<float> floats(integers.begin(), integers.end());
    EXPECT_EQ(
        distance(exactOf(four_CrossCorrelate(imageOf(8, 4, integers), imageOf(8, 4, integers))),
                 exactOf(four_CrossCorrelate(imageOf(8, 4, floats), imageOf(8, 4, floats)))),
        0);
}

TEST(CorrelateImages, WithoutElementsAreRefusedByTheMeanOrExtendedByTheMatch) {
    EXPECT_EQ(refusalOf([] { four_AutoCorrelate(darr_c2DArray()); }), "statist:178");
    const darr_c2DArray zeros =
        four_CrossCorrelate(darr_c2DArray(), imageOf<float>(2, 2, {1, 2, 3, 4}));
    EXPECT_EQ(distance(exactOf(zeros), std::vector<Exact>(4)), 0);
}

TEST(CorrelationMemory, IsAtMostFiveTimesThatOfTheResult) {
    const auto times = [](const auto& call) {
        mem_ReleaseKept();
        const PeakOfNew peak;
        const auto result = call();
        return static_cast<double>(peak.Bytes()) /
               (static_cast<double>(result.Count()) *
                static_cast<double>(result.DataType().SizeOf()));
    };
    // Tables take a part of the last tenths; of what is smaller than these results, the thread
    // keeps up to 16 MiB beside.
    constexpr double bound = 5.3;
    for (const dtyp_cDataType type : {dtyp_Int16, dtyp_Float, dtyp_ComplexDouble}) {
        const darr_c2DArray image(1024, 1024, pnum_cNumber(type), cal_c2DArrayCal());
        const darr_c2DArray coarse(512, 1000, pnum_cNumber(type),
                                   cal_c2DArrayCal(0, 2, 0, 1, 0, 0));
        EXPECT_LE(times([&] { return four_CrossCorrelate(image, coarse); }), bound) << type.Code();
        EXPECT_LE(times([&] { return four_Convolute(coarse, image); }), bound) << type.Code();
        EXPECT_LE(times([&] { return prut_CrossCorrelate(image, coarse, 0, 1); }), bound)
            << type.Code();
        EXPECT_LE(times([&] { return four_AutoCorrelate(image); }), bound) << type.Code();
        const darr_c1DArray line(1 << 19, pnum_cNumber(type), cal_c1DArrayCal());
        const darr_c1DArray shorter(260000, pnum_cNumber(type), cal_c1DArrayCal(0, 2, 0));
        EXPECT_LE(times([&] { return four_CrossCorrelate(line, shorter); }), bound) << type.Code();
        EXPECT_LE(times([&] { return prut_CrossCorrelate(line, shorter, 0, 1); }), bound)
            << type.Code();
        EXPECT_LE(times([&] { return four_AutoCorrelate(shorter); }), bound) << type.Code();
    }
}
