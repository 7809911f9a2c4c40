#pragma once

// What the transforms are checked against: the defining sums in long double, and the textbook loop
// that fixes every bit.

#include <cmath>
#include <complex>
#include <cstddef>
#include <random>
#include <utility>
#include <vector>

#include "dataprocessing/valuemodel/darr.h"
#include "tests/support/elements.h"

namespace oracle {

using Exact = std::complex<long double>;

/// e^(2 pi i sign k / n) for k = 0 to n - 1.
inline std::vector<Exact> roots(std::size_t n, int sign) {
    std::vector<Exact> result;
    for (std::size_t k = 0; k < n; ++k) {
        const long double angle =
            2 * std::acos(-1.0L) * static_cast<long double>(k) / static_cast<long double>(n);
        result.emplace_back(std::cos(angle), sign * std::sin(angle));
    }
    return result;
}

/// X[f] = sum over k of x[k] e^(2 pi i sign f k / n).
inline std::vector<Exact> sum(const std::vector<Exact>& x, int sign) {
    const std::size_t n = x.size();
    const std::vector<Exact> root = roots(n, sign);
    std::vector<Exact> result(n);
    for (std::size_t f = 0; f < n; ++f)
        for (std::size_t k = 0; k < n; ++k)
            result[f] += x[k] * root[f * k % n];
    return result;
}

/// An image of `w` by `h`, row after row, and its sum along both axes.
inline std::vector<Exact> sum(const std::vector<Exact>& x, int w, int h, int sign) {
    std::vector<Exact> result(x.size());
    for (int r = 0; r < h; ++r) {
        const auto row = x.begin() + r * w;
        const std::vector<Exact> line = sum(std::vector<Exact>(row, row + w), sign);
        std::copy(line.begin(), line.end(), result.begin() + r * w);
    }
    for (int c = 0; c < w; ++c) {
        std::vector<Exact> column;
        for (int r = 0; r < h; ++r)
            column.push_back(result[static_cast<std::size_t>(r * w + c)]);
        column = sum(column, sign);
        for (int r = 0; r < h; ++r)
            result[static_cast<std::size_t>(r * w + c)] = column[static_cast<std::size_t>(r)];
    }
    return result;
}

/// The image whose quadrants are exchanged: what lies at (x, y) comes from (x + w/2, y + h/2).
template<class T>
std::vector<T> centred(const std::vector<T>& x, int w, int h) {
    std::vector<T> result;
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c)
            result.push_back(x[static_cast<std::size_t>((r + h / 2) % h * w + (c + w / 2) % w)]);
    return result;
}

/// The largest error of a transform of `count` elements, of which the largest sum has the magnitude
/// `scale`. The constant is the same everywhere.
inline double tolerance(std::size_t count, double scale) {
    constexpr double c = 4;
    return c * std::numeric_limits<float>::epsilon() *
           std::max(1.0, std::log2(static_cast<double>(count))) * scale;
}

/// Root of the sum of squares: the scale of an unscaled transform.
inline double magnitude(const std::vector<Exact>& x) {
    long double squares = 0;
    for (const Exact& z : x)
        squares += std::norm(z);
    return static_cast<double>(std::sqrt(squares));
}

/// The radix-2 loop. `factors(half)` gives the factors of a pass, the format of which is that of
/// the products.
template<class Factors>
void radixTwo(std::vector<ComplexFloat>& values, const Factors& factors) {
    const std::size_t n = values.size();
    for (std::size_t i = 0; i < n; ++i) {
        std::size_t mirrored = 0;
        for (std::size_t bit = 1; bit < n; bit *= 2)
            mirrored = 2 * mirrored + ((i & bit) != 0 ? 1 : 0);
        if (mirrored > i)
            std::swap(values[i], values[mirrored]);
    }
    for (std::size_t half = 1; half < n; half *= 2) {
        const auto w = factors(half);
        for (std::size_t i = 0; i < n; ++i) {
            if ((i & half) != 0)
                continue;
            const auto wr = w[i % half].real();
            const auto wi = w[i % half].imag();
            const std::size_t j = i + half;
            const float tr = static_cast<float>(wr * values[j].re - wi * values[j].im);
            const float ti = static_cast<float>(wr * values[j].im + wi * values[j].re);
            values[j].re = values[i].re - tr;
            values[j].im = values[i].im - ti;
            values[i].re = values[i].re + tr;
            values[i].im = values[i].im + ti;
        }
    }
}

/// The loop with products in double and factors by recurrence: what the library's transforms of
/// lines are, bit by bit.
inline void textbook(std::vector<ComplexFloat>& values, int sign) {
    radixTwo(values, [sign](std::size_t half) {
        const double theta = 6.28318530717959 / (sign * static_cast<double>(2 * half));
        const double sine = std::sin(0.5 * theta);
        const double wpr = -2.0 * sine * sine;
        const double wpi = std::sin(theta);
        std::vector<std::complex<double>> factors;
        double wr = 1.0;
        double wi = 0.0;
        for (std::size_t m = 0; m < half; ++m) {
            factors.emplace_back(wr, wi);
            const double before = wr;
            wr = (wr * wpr - wi * wpi) + wr;
            wi = (wi * wpr + before * wpi) + wi;
        }
        return factors;
    });
}

/// The loop with products in single precision and factors rounded to it.
inline void singlePrecision(std::vector<ComplexFloat>& values, int sign) {
    radixTwo(values, [sign](std::size_t half) {
        std::vector<std::complex<float>> factors;
        for (const Exact& root : roots(2 * half, sign))
            factors.emplace_back(static_cast<float>(root.real()), static_cast<float>(root.imag()));
        factors[0] = 1;
        if (half > 1)
            factors[half / 2] = {0, static_cast<float>(sign)};
        return factors;
    });
}

/// The same over several dimensions, the last one varying fastest.
inline void textbook(std::vector<ComplexFloat>& values, const std::vector<int>& sizes, int sign) {
    std::size_t below = 1;
    for (std::size_t d = sizes.size(); d-- > 0;) {
        const std::size_t n = static_cast<std::size_t>(sizes[d]);
        for (std::size_t first = 0; first < values.size(); ++first) {
            if (first / below % n != 0)
                continue;
            std::vector<ComplexFloat> line;
            for (std::size_t k = 0; k < n; ++k)
                line.push_back(values[first + k * below]);
            textbook(line, sign);
            for (std::size_t k = 0; k < n; ++k)
                values[first + k * below] = line[k];
        }
        below *= n;
    }
}

/// `count` values, an eighth of whose parts are zeros of either sign.
inline std::vector<ComplexFloat> someValues(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    const auto part = [&] {
        const auto bits = random();
        const float x = static_cast<float>(bits >> 8) / 8388608.0F - 1.0F;
        return bits % 8 == 0 ? std::copysign(0.0F, x) : x;
    };
    std::vector<ComplexFloat> values(count);
    for (ComplexFloat& z : values) {
        z.re = part();
        z.im = part();
    }
    return values;
}

template<class T>
std::vector<Exact> exact(const std::vector<T>& values) {
    std::vector<Exact> result;
    for (const T& x : values) {
        if constexpr (isComplexElement<T>)
            result.emplace_back(x.re, x.im);
        else
            result.emplace_back(x);
    }
    return result;
}

inline std::vector<Exact> scaled(std::vector<Exact> values, long double factor) {
    for (Exact& z : values)
        z *= factor;
    return values;
}

} // namespace oracle

/// The real parts of some values.
inline std::vector<float> someReals(int count, unsigned seed) {
    std::vector<float> values;
    for (const ComplexFloat& z : oracle::someValues(static_cast<std::size_t>(count), seed))
        values.push_back(z.re);
    return values;
}

template<class T>
darr_c1DArray lineOf(const std::vector<T>& values, const cal_c1DArrayCal& cal = {}) {
    return darr_c1DArray(std::span<const T>(values), cal);
}
template<class T>
darr_c2DArray imageOf(int w, int h, const std::vector<T>& values, const cal_c2DArrayCal& cal = {}) {
    return darr_c2DArray(w, h, std::span<const T>(values), cal);
}
template<class T, class Array>
std::vector<T> elementsOf(const Array& array) {
    const auto elements = array.template Elements<T>();
    return {elements.begin(), elements.end()};
}

/// The elements of a result, float or complex float, as exact values.
template<class Array>
std::vector<oracle::Exact> exactOf(const Array& array) {
    if (array.DataType() == dtyp_Float)
        return oracle::exact(elementsOf<float>(array));
    return oracle::exact(elementsOf<ComplexFloat>(array));
}

/// The largest distance between two results; infinite where one has a NaN or their counts differ.
inline double distance(const std::vector<oracle::Exact>& a, const std::vector<oracle::Exact>& b) {
    if (a.size() != b.size())
        return std::numeric_limits<double>::infinity();
    double largest = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double apart = static_cast<double>(std::abs(a[i] - b[i]));
        if (!(apart <= largest))
            largest = std::isnan(apart) ? std::numeric_limits<double>::infinity() : apart;
    }
    return largest;
}

inline bool isSameBits(const std::vector<ComplexFloat>& a, const std::vector<ComplexFloat>& b) {
    return a.size() == b.size() &&
           std::memcmp(a.data(), b.data(), a.size() * sizeof(ComplexFloat)) == 0;
}
