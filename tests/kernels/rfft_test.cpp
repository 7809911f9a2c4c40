#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/base/type.h"
#include "dataprocessing/kernels/rfft.h"
#include "tests/fourier/fft_oracle.h"

using namespace dataprocessing::detail;
using oracle::Exact;

namespace {

/// A float image with storage, whose rows are `gap` floats longer than the image is wide.
struct Image {
    std::vector<float> storage;
    rfft_sRows<float> rows;

    Image(int w, int h, int gap = 0)
        : storage(static_cast<std::size_t>((w + gap) * h), -99), rows{storage.data(),
                                                                      static_cast<std::size_t>(w),
                                                                      static_cast<std::size_t>(h),
                                                                      static_cast<std::size_t>(
                                                                          w + gap)} {}
    Image(const Image& other) : storage(other.storage), rows(other.rows) {
        rows.first = storage.data();
    }
    Image& operator=(const Image&) = delete;
    ~Image() = default;

    int Width() const { return static_cast<int>(rows.width); }
    int Height() const { return static_cast<int>(rows.height); }
    rfft_sRows<const float> Seen() const {
        return {storage.data(), rows.width, rows.height, rows.step};
    }
    float& at(int x, int y) {
        return rows.Row(static_cast<std::size_t>(y))[static_cast<std::size_t>(x)];
    }
};

void fillRandom(Image& image, unsigned seed) {
    const auto values =
        oracle::someValues(static_cast<std::size_t>(image.Width() * image.Height()), seed);
    std::size_t i = 0;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            image.at(x, y) = values[i++].re;
}

std::vector<Exact> pixels(Image& image) {
    std::vector<Exact> result;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
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

/// An image whose rows are two floats apart.
struct GappedImage : Image {
    GappedImage(int w, int h) : Image(w, h, 2) {}

    std::vector<float> Gaps() {
        std::vector<float> gaps;
        for (int y = 0; y < Height(); ++y)
            gaps.insert(gaps.end(), {at(Width(), y), at(Width() + 1, y)});
        return gaps;
    }
};

ComplexFloat root(int u, int w, int sign) {
    const double angle = 2 * type_Pi * u / w;
    return {static_cast<float>(std::cos(angle)), static_cast<float>(sign * std::sin(angle))};
}

void transformRows(std::vector<ComplexFloat>& z, std::size_t m, int sign) {
    for (std::size_t first = 0; first < z.size(); first += m) {
        const auto row = z.begin() + static_cast<std::ptrdiff_t>(first);
        std::vector<ComplexFloat> line(row, row + static_cast<std::ptrdiff_t>(m));
        oracle::singlePrecision(line, sign);
        std::copy(line.begin(), line.end(), row);
    }
}

void transformColumns(std::vector<ComplexFloat>& z, std::size_t m, int sign) {
    for (std::size_t u = 0; u < m; ++u) {
        std::vector<ComplexFloat> line;
        for (std::size_t i = u; i < z.size(); i += m)
            line.push_back(z[i]);
        oracle::singlePrecision(line, sign);
        for (std::size_t v = 0; v < line.size(); ++v)
            z[u + v * m] = line[v];
    }
}

/// From the transform of pairs of reals to that of the reals, one row; the coefficient m is kept as
/// the imaginary part of 0.
void separate(ComplexFloat* z, int m, int sign) {
    z[0] = {z[0].re + z[0].im, z[0].re - z[0].im};
    for (int u = 1; u <= m / 2; ++u) {
        const ComplexFloat a = z[u];
        const ComplexFloat b = z[m - u];
        const ComplexFloat w = root(u, 2 * m, sign);
        const ComplexFloat even(0.5F * (a.re + b.re), 0.5F * (a.im - b.im));
        const ComplexFloat odd(0.5F * (a.im + b.im), 0.5F * (b.re - a.re));
        const ComplexFloat turned(w.re * odd.re - w.im * odd.im, w.re * odd.im + w.im * odd.re);
        z[u] = {even.re + turned.re, even.im + turned.im};
        z[m - u] = {even.re - turned.re, turned.im - even.im};
    }
}

/// Twice the way back.
void join(ComplexFloat* x, int m, int sign) {
    x[0] = {x[0].re + x[0].im, x[0].re - x[0].im};
    for (int u = 1; u <= m / 2; ++u) {
        const ComplexFloat a = x[u];
        const ComplexFloat b = x[m - u];
        const ComplexFloat w = root(u, 2 * m, sign);
        const ComplexFloat even(a.re + b.re, a.im - b.im);
        const ComplexFloat apart(a.re - b.re, a.im + b.im);
        const ComplexFloat turned(w.re * apart.re - w.im * apart.im,
                                  w.re * apart.im + w.im * apart.re);
        x[u] = {even.re - turned.im, even.im + turned.re};
        x[m - u] = {even.re + turned.im, turned.re - even.im};
    }
}

constexpr int widths[] = {2, 4, 8, 32, 512, 1024};
constexpr int heights[] = {2, 4, 32};

} // namespace

TEST(RealTransform, OfARealImageIsItsPackedSpectrum) {
    for (int h = 2; h <= 64; h *= 2)
        for (int w = 2; w <= 64; w *= 2)
            for (const int sign : {-1, 1}) {
                Image source(w, h);
                Image result(w, h);
                fillRandom(source, static_cast<unsigned>(w + 100 * h));
                const std::vector<Exact> x = pixels(source);
                const double scale = 1.0 / (w * h);
                const std::vector<Exact> full = oracle::scaled(oracle::sum(x, w, h, sign), scale);
                rfft_Pack(source.Seen(), result.rows, sign, static_cast<float>(scale));
                EXPECT_LE(distance(pixels(result), packed(full, w, h)),
                          oracle::tolerance(x.size(), scale * oracle::magnitude(x)))
                    << w << " x " << h << " " << sign;
                EXPECT_EQ(distance(pixels(source), x), 0);
            }
}

TEST(RealTransform, OfAPackedSpectrumIsTheRealImageOfItsSum) {
    for (int h = 2; h <= 64; h *= 2)
        for (int w = 2; w <= 64; w *= 2)
            for (const int sign : {-1, 1}) {
                Image source(w, h);
                Image result(w, h);
                // The spectrum of an integer image, so that it is known without a transform.
                fillRandom(result, static_cast<unsigned>(w + 100 * h));
                const std::vector<Exact> x = pixels(result);
                const std::vector<Exact> spectrum = packed(oracle::sum(x, w, h, -sign), w, h);
                for (int i = 0; i < w * h; ++i)
                    source.at(i % w, i / w) =
                        static_cast<float>(spectrum[static_cast<std::size_t>(i)].real());
                const double scale = w * h;
                rfft_Unpack(source.Seen(), result.rows, sign, 1);
                EXPECT_LE(distance(pixels(result), oracle::scaled(x, scale)),
                          oracle::tolerance(x.size(), scale * oracle::magnitude(x)))
                    << w << " x " << h << " " << sign;
            }
}

TEST(RealTransform, OfARealImageRoundsWhereThePlainFormulaDoesAtEveryLevelAndKeepsToItsRows) {
    for (const int w : widths)
        for (const int h : heights) {
            GappedImage source(w, h);
            GappedImage result(w, h);
            fillRandom(source, static_cast<unsigned>(w + h));
            const int m = w / 2;
            std::vector<ComplexFloat> z;
            for (int i = 0; i < m * h; ++i)
                z.emplace_back(source.at(i % m * 2, i / m), source.at(i % m * 2 + 1, i / m));
            transformRows(z, static_cast<std::size_t>(m), -1);
            for (int y = 0; y < h; ++y)
                separate(&z[static_cast<std::size_t>(y * m)], m, -1);
            transformColumns(z, static_cast<std::size_t>(m), -1);

            rfft_Pack(source.Seen(), result.rows, -1, 1);
            for (int y = 0; y < h; ++y)
                for (int u = 1; u < m; ++u) {
                    const ComplexFloat& expected = z[static_cast<std::size_t>(y * m + u)];
                    ASSERT_EQ(result.at(2 * u - 1, y), expected.re) << w << " x " << h;
                    ASSERT_EQ(result.at(2 * u, y), expected.im) << w << " x " << h;
                }
            EXPECT_THAT(result.Gaps(), testing::Each(-99)) << w << " x " << h;
        }
}

TEST(RealTransform, OfAPackedSpectrumRoundsWhereThePlainFormulaDoesAtEveryLevelAndKeepsToItsRows) {
    for (const int w : widths)
        for (const int h : heights) {
            GappedImage source(w, h);
            GappedImage result(w, h);
            fillRandom(source, static_cast<unsigned>(w + h));
            const int m = w / 2;
            const int last = w - 1;
            std::vector<ComplexFloat> z(static_cast<std::size_t>(m * h));
            const auto at = [&](int u, int v) -> ComplexFloat& {
                return z[static_cast<std::size_t>(v * m + u)];
            };
            for (int y = 0; y < h; ++y)
                for (int u = 1; u < m; ++u)
                    at(u, y) = {source.at(2 * u - 1, y), source.at(2 * u, y)};
            at(0, 0) = {source.at(0, 0), source.at(last, 0)};
            at(0, h / 2) = {source.at(0, h - 1), source.at(last, h - 1)};
            for (int v = 1; v < h / 2; ++v) {
                const ComplexFloat first(source.at(0, 2 * v - 1), source.at(0, 2 * v));
                const ComplexFloat second(source.at(last, 2 * v - 1), source.at(last, 2 * v));
                at(0, v) = {first.re - second.im, first.im + second.re};
                at(0, h - v) = {first.re + second.im, second.re - first.im};
            }
            transformColumns(z, static_cast<std::size_t>(m), 1);
            for (int y = 0; y < h; ++y)
                join(&at(0, y), m, 1);
            transformRows(z, static_cast<std::size_t>(m), 1);

            const float scale = 1.0F / static_cast<float>(w * h);
            rfft_Unpack(source.Seen(), result.rows, 1, scale);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const ComplexFloat& pair = at(x / 2, y);
                    ASSERT_EQ(result.at(x, y), scale * (x % 2 == 0 ? pair.re : pair.im))
                        << w << " x " << h;
                }
            EXPECT_THAT(result.Gaps(), testing::Each(-99)) << w << " x " << h;
        }
}

TEST(RealTransform, MayWriteOverItsSource) {
    for (const int w : widths)
        for (const int h : heights)
            for (const int sign : {-1, 1}) {
                GappedImage source(w, h);
                fillRandom(source, static_cast<unsigned>(w + h));
                GappedImage packed(w, h);
                GappedImage image(w, h);
                rfft_Pack(source.Seen(), packed.rows, sign, 0.5F);
                rfft_Unpack(source.Seen(), image.rows, sign, 0.25F);
                GappedImage inPlace = source;
                rfft_Pack(inPlace.Seen(), inPlace.rows, sign, 0.5F);
                EXPECT_EQ(inPlace.storage, packed.storage) << w << " x " << h;
                inPlace.storage = source.storage;
                inPlace.rows.first = inPlace.storage.data();
                rfft_Unpack(inPlace.Seen(), inPlace.rows, sign, 0.25F);
                EXPECT_EQ(inPlace.storage, image.storage) << w << " x " << h;
            }
}
