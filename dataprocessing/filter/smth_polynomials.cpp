#include "dataprocessing/filter/smth_polynomials.h"

#include <cmath>
#include <cstddef>
#include <utility>

namespace dataprocessing::detail {

namespace {

/// The polynomials that are orthonormal over `width` places a distance of 1 apart, the middle one
/// at 0, one degree after the other, with their derivatives. They obey r(j + 1) p(j + 1) = x p(j) -
/// r(j) p(j - 1), from which derivatives follow by the product rule.
class cOrthonormal {
public:
    cOrthonormal(int width, int derivatives)
        : width_(width), stride_(static_cast<std::size_t>(derivatives) + 1),
          values_(static_cast<std::size_t>(width) * stride_), before_(values_.size()) {
        for (int i = 0; i < width; ++i)
            values_[Place(i, 0)] = 1 / std::sqrt(static_cast<long double>(width));
    }

    /// The derivative, 0 being the value, at place `i` of the polynomial of the degree reached.
    long double At(int i, int derivative) const { return values_[Place(i, derivative)]; }

    /// Goes on to the next degree, which is less than the number of places.
    void Next() {
        const long double last = Root(degree_);
        const long double next = Root(++degree_);
        for (int i = 0; i < width_; ++i) {
            const int x = i - width_ / 2;
            for (int d = static_cast<int>(stride_) - 1; d >= 0; --d) {
                const std::size_t at = Place(i, d);
                long double value = x * values_[at] - last * before_[at];
                if (d > 0)
                    value += d * values_[at - 1];
                before_[at] = value / next;
            }
        }
        std::swap(values_, before_);
    }

private:
    std::size_t Place(int i, int derivative) const {
        return static_cast<std::size_t>(i) * stride_ + static_cast<std::size_t>(derivative);
    }
    long double Root(int degree) const {
        if (degree == 0)
            return 0;
        const long double j = degree;
        const long double m = width_;
        return j / 2 * std::sqrt((m - j) * (m + j) / ((2 * j - 1) * (2 * j + 1)));
    }

    int width_;
    std::size_t stride_;
    int degree_ = 0;
    std::vector<long double> values_;
    std::vector<long double> before_; // of the degree before
};

/// Calls `take` with the polynomials of every degree up to the order.
template<class Take>
void forEachDegree(int width, int order, int derivatives, Take take) {
    cOrthonormal polynomials(width, derivatives);
    for (int degree = 0; degree <= order; ++degree) {
        if (degree > 0)
            polynomials.Next();
        take(polynomials);
    }
}

} // namespace

std::vector<long double> smth_CentralWeights(int width, int order, int derivative) {
    std::vector<long double> weights(static_cast<std::size_t>(width));
    forEachDegree(width, order, derivative, [&](const cOrthonormal& polynomials) {
        const long double central = polynomials.At(width / 2, derivative);
        for (int i = 0; i < width; ++i)
            weights[static_cast<std::size_t>(i)] += central * polynomials.At(i, 0);
    });
    return weights;
}

std::vector<comp_cComplex<double>> smth_FittedValues(std::span<const comp_cComplex<double>> values,
                                                     int order, int derivative, long double scale) {
    std::vector<long double> re(values.size());
    std::vector<long double> im(values.size());
    const int width = static_cast<int>(values.size());
    forEachDegree(width, order, derivative, [&](const cOrthonormal& polynomials) {
        long double partRe = 0;
        long double partIm = 0;
        for (int i = 0; i < width; ++i) {
            partRe += polynomials.At(i, 0) * values[static_cast<std::size_t>(i)].re;
            partIm += polynomials.At(i, 0) * values[static_cast<std::size_t>(i)].im;
        }
        for (int i = 0; i < width; ++i) {
            re[static_cast<std::size_t>(i)] += partRe * polynomials.At(i, derivative);
            im[static_cast<std::size_t>(i)] += partIm * polynomials.At(i, derivative);
        }
    });
    std::vector<comp_cComplex<double>> fitted;
    for (std::size_t i = 0; i < values.size(); ++i)
        fitted.emplace_back(static_cast<double>(re[i] * scale), static_cast<double>(im[i] * scale));
    return fitted;
}

} // namespace dataprocessing::detail
