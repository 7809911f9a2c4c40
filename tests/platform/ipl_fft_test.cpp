#include <cstring>

#include <gtest/gtest.h>

#include "dataprocessing/platform/ipl_fft.h"
#include "tests/fourier/fft_oracle.h"

using namespace dataprocessing::detail;
using oracle::Exact;

namespace {

constexpr int forward = 0x21;
constexpr int inverse = 0x22;
constexpr int freeTables = 0x80;

/// A float image with storage, whose rows begin on multiples of `align` bytes.
struct Image {
    std::vector<float> storage;
    ipl_sImage header;

    Image(int w, int h, int align = 8, int depth = IPL_DEPTH_32F)
        : header(ipl_Header(1, 0, depth, "GRAY", "GRAY", 0, 1, align, w, h, nullptr, nullptr,
                            nullptr, nullptr)) {
        storage.resize(header.rowBytes / 4 * static_cast<std::size_t>(h), -99);
        header.data = storage.data();
    }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;
    ~Image() = default;

    float& at(int x, int y) {
        return storage[static_cast<std::size_t>(y) * header.rowBytes / 4 +
                       static_cast<std::size_t>(x)];
    }
};

void fillRandom(Image& image, unsigned seed) {
    const auto values = oracle::someValues(
        static_cast<std::size_t>(image.header.width * image.header.height), seed);
    std::size_t i = 0;
    for (int y = 0; y < image.header.height; ++y)
        for (int x = 0; x < image.header.width; ++x)
            image.at(x, y) = values[i++].re;
}

std::vector<Exact> pixels(Image& image) {
    std::vector<Exact> result;
    for (int y = 0; y < image.header.height; ++y)
        for (int x = 0; x < image.header.width; ++x)
            result.emplace_back(image.at(x, y));
    return result;
}

/// The packed layout of a full spectrum that starts at frequency 0.
std::vector<Exact> packed(const std::vector<Exact>& full, int w, int h) {
    std::vector<Exact> result(full.size());
    const auto at = [&](int u, int v) { return full[static_cast<std::size_t>(v * w + u)]; };
    const auto put = [&](int x, int y, long double value) {
        result[static_cast<std::size_t>(y * w + x)] = value;
    };
    for (int v = 0; v < h; ++v)
        for (int u = 1; u < w / 2; ++u) {
            put(2 * u - 1, v, at(u, v).real());
            put(2 * u, v, at(u, v).imag());
        }
    for (const auto& [x, u] : {std::pair{0, 0}, std::pair{w - 1, w / 2}}) {
        put(x, 0, at(u, 0).real());
        for (int j = 1; j < h / 2; ++j) {
            put(x, 2 * j - 1, at(u, j).real());
            put(x, 2 * j, at(u, j).imag());
        }
        put(x, h - 1, at(u, h / 2).real());
    }
    return result;
}

} // namespace

TEST(IplFft, FlagsAreTheNumbersThatCallersPass) {
    EXPECT_EQ(IPL_FFT_UseFloat | IPL_FFT_Forw, forward);
    EXPECT_EQ(IPL_FFT_UseFloat | IPL_FFT_Inv, inverse);
    EXPECT_EQ(IPL_FFT_Free, freeTables);
}

TEST(IplFft, OfARealImageIsItsPackedSpectrum) {
    for (int h = 2; h <= 64; h *= 2)
        for (int w = 2; w <= 64; w *= 2)
            for (const int flags : {forward, inverse}) {
                Image source(w, h);
                Image result(w, h);
                fillRandom(source, static_cast<unsigned>(w + 100 * h));
                const std::vector<Exact> x = pixels(source);
                const double scale = flags == forward ? 1 : 1.0 / (w * h);
                const std::vector<Exact> full =
                    oracle::scaled(oracle::sum(x, w, h, flags == forward ? -1 : 1), scale);
                iplRealFft2D(&source.header, &result.header, flags);
                EXPECT_LE(distance(pixels(result), packed(full, w, h)),
                          oracle::tolerance(x.size(), scale * oracle::magnitude(x)))
                    << w << " x " << h << " " << flags;
                EXPECT_EQ(distance(pixels(source), x), 0);
            }
}

TEST(IplFft, OfAPackedSpectrumIsTheRealImageOfItsSum) {
    for (int h = 2; h <= 64; h *= 2)
        for (int w = 2; w <= 64; w *= 2)
            for (const int flags : {forward, inverse}) {
                Image source(w, h);
                Image result(w, h);
                // The spectrum of an integer image, so that it is known without a transform.
                fillRandom(result, static_cast<unsigned>(w + 100 * h));
                const std::vector<Exact> x = pixels(result);
                const std::vector<Exact> spectrum =
                    packed(oracle::sum(x, w, h, flags == forward ? 1 : -1), w, h);
                for (int i = 0; i < w * h; ++i)
                    source.at(i % w, i / w) =
                        static_cast<float>(spectrum[static_cast<std::size_t>(i)].real());
                const double scale = flags == forward ? static_cast<double>(w * h) : 1;
                iplCcsFft2D(&source.header, &result.header, flags);
                EXPECT_LE(distance(pixels(result), oracle::scaled(x, scale)),
                          oracle::tolerance(x.size(), scale * oracle::magnitude(x)))
                    << w << " x " << h << " " << flags;
            }
}

TEST(IplFft, ReadsAndWritesRowsWithPadding) {
    Image tight(8, 4);
    fillRandom(tight, 1);
    Image padded(8, 4, 64);
    for (int i = 0; i < 32; ++i)
        padded.at(i % 8, i / 8) = tight.at(i % 8, i / 8);
    Image tightResult(8, 4);
    Image paddedResult(8, 4, 64);
    iplRealFft2D(&tight.header, &tightResult.header, forward);
    iplRealFft2D(&padded.header, &paddedResult.header, forward);
    EXPECT_EQ(distance(pixels(tightResult), pixels(paddedResult)), 0);
    EXPECT_EQ(paddedResult.storage[8], -99);
    iplCcsFft2D(&tightResult.header, &tight.header, inverse);
    iplCcsFft2D(&paddedResult.header, &padded.header, inverse);
    EXPECT_EQ(distance(pixels(tight), pixels(padded)), 0);
    EXPECT_EQ(padded.storage[8], -99);
}

TEST(IplFft, FreesTablesWithoutImages) {
    iplRealFft2D(nullptr, nullptr, freeTables);
    iplCcsFft2D(nullptr, nullptr, freeTables);
}

TEST(IplFft, LeavesTheResultAloneWhenItCannotTransform) {
    const auto isUntouched = [](Image& source, Image& result, int flags) {
        iplRealFft2D(&source.header, &result.header, flags);
        iplCcsFft2D(&source.header, &result.header, flags);
        for (const float x : result.storage)
            if (x != -99)
                return false;
        return true;
    };
    Image good(4, 4);
    Image result(4, 4);
    Image wide(8, 4);
    Image high(4, 8);
    Image odd(6, 6);
    Image oddResult(6, 6);
    Image single(1, 4);
    Image singleResult(1, 4);
    Image integers(4, 4, 8, IPL_DEPTH_32S);
    Image channels(4, 4);
    channels.header.channels = 2;
    Image oddRows(4, 4, 20);
    EXPECT_TRUE(isUntouched(wide, result, forward));
    EXPECT_TRUE(isUntouched(high, result, forward));
    EXPECT_TRUE(isUntouched(odd, oddResult, forward));
    EXPECT_TRUE(isUntouched(single, singleResult, forward));
    EXPECT_TRUE(isUntouched(integers, result, forward));
    EXPECT_TRUE(isUntouched(good, integers, forward));
    EXPECT_TRUE(isUntouched(channels, result, forward));
    EXPECT_TRUE(isUntouched(good, oddRows, forward));
    EXPECT_TRUE(isUntouched(good, result, 0x20));
    EXPECT_TRUE(isUntouched(good, result, 0x23));
    EXPECT_TRUE(isUntouched(good, result, freeTables));
    EXPECT_FALSE(isUntouched(good, result, forward));
}
