#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <numeric>
#include <utility>

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_power.h"
#include "dataprocessing/algebra/rcps_triangle.h"
#include "dataprocessing/algebra/rcps_work.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/fitting/plft.h"
#include "dataprocessing/fitting/plft_deviations.h"

using namespace dataprocessing::detail;

namespace {

int checkedOrder(int order) {
    if (order < 0)
        throw expt_cProgramException("poly_fit", 22, "The order of a polynomial is 0 or more.");
    return order;
}

void requirePairs(const arr_cC_Array<double>& x, const arr_cC_Array<double>& y, int line) {
    if (x.Size() != y.Size())
        throw expt_cProgramException("poly_fit", line, "x and y differ in size: points are pairs.");
}

void requirePoints(int count, int order) {
    if (count <= order)
        throw expt_cUserException("poly_fit", 3,
                                  "The selection takes fewer points than there are coefficients.");
}

double largestMagnitude(const arr_cC_Array<double>& x) {
    // In lanes, which need not wait for each other. A NaN is no larger than anything.
    constexpr int lanes = 8;
    double largest[lanes] = {};
    const auto take = [&](int lane, double value) {
        const double magnitude = std::fabs(value);
        largest[lane] = magnitude > largest[lane] ? magnitude : largest[lane];
    };
    const double* const values = x.Data();
    const int whole = x.Size() / lanes * lanes;
    for (int i = 0; i < whole; i += lanes)
        for (int lane = 0; lane < lanes; ++lane)
            take(lane, values[i + lane]);
    for (int i = whole; i < x.Size(); ++i)
        take(0, values[i]);
    return *std::max_element(largest, largest + lanes);
}

arr_cC_Array<double> noErrors(int count) {
    return arr_cC_Array<double>(count, std::numeric_limits<double>::quiet_NaN());
}

} // namespace

void dataprocessing::detail::plft_CheckDeviations(const darr_c1DArray& data,
                                                  const darr_c1DArray& deviations) {
    if (deviations.Size() != data.Size())
        arr_SizeError(deviations.Size(), data.Size());
    if (deviations.Cal() != data.Cal())
        throw expt_cProgramException("poly_fit", 1,
                                     "The deviations have another calibration than the data.");
}

plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction(int order,
                                                         dasl_c1DDataArraySelection& selection)
    : ftfn_c1DFittingFunction(selection), order_(checkedOrder(order)),
      coefficients_(arr_CheckedSize(order + 1LL), 0.0),
      standardErrors_(noErrors(coefficients_.Size())) {}

plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction(const plft_c1DPolyFittingFunction& other,
                                                         dasl_c1DDataArraySelection& selection)
    : ftfn_c1DFittingFunction(selection), order_(other.order_), coefficients_(other.coefficients_),
      covariance_(other.covariance_), standardErrors_(other.standardErrors_), rank_(other.rank_),
      points_(other.points_), residualSum_(other.residualSum_) {
    SetName(other.Name());
}

plft_c1DPolyFittingFunction::~plft_c1DPolyFittingFunction() = default;

arr_cC_Array<double> plft_c1DPolyFittingFunction::StandardErrors() const { return standardErrors_; }

double plft_c1DPolyFittingFunction::Value(double x) const noexcept {
    const double* const c = coefficients_.Data();
    double value = c[0];
    double power = x;
    for (int j = 1; j <= order_; ++j) {
        value += power * c[j];
        power *= x;
    }
    return value;
}

void plft_c1DPolyFittingFunction::LoadValues(arr_cC_Array<double>& x,
                                             arr_cC_Array<double>& y) const {
    requirePairs(x, y, 44);
    for (int i = 0; i < x.Size(); ++i)
        y[i] = Value(x[i]);
}

void plft_c1DPolyFittingFunction::Refit(const darr_c1DArray& data,
                                        const darr_c1DArray& deviations) {
    plft_CheckDeviations(data, deviations);
    arr_cC_Array<double> x;
    arr_cC_Array<double> y;
    arr_cC_Array<double> selected;
    Gather(deviations, x, selected);
    Gather(data, x, y);
    RefitValues(x, y, selected);
}

void plft_c1DPolyFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                              const arr_cC_Array<double>& y) {
    FitFromZero(x, y, nullptr);
}

void plft_c1DPolyFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                              const arr_cC_Array<double>& y,
                                              const arr_cC_Array<double>& deviations) {
    FitFromZero(x, y, &deviations);
}

void plft_c1DPolyFittingFunction::CheckPoints(const arr_cC_Array<double>& x,
                                              const arr_cC_Array<double>& y,
                                              const arr_cC_Array<double>* deviations) {
    requirePairs(x, y, 72);
    if (deviations == nullptr)
        return;
    if (deviations->Size() != y.Size())
        arr_SizeError(deviations->Size(), y.Size());
    for (const double deviation : *deviations)
        if (!(deviation > 0 && std::isfinite(deviation)))
            throw expt_cUserException("poly_fit", 2,
                                      "A standard deviation is not positive and finite.");
}

void plft_c1DPolyFittingFunction::FitFromZero(const arr_cC_Array<double>& x,
                                              const arr_cC_Array<double>& y,
                                              const arr_cC_Array<double>* deviations) {
    CheckPoints(x, y, deviations);
    if (deviations != nullptr)
        requirePoints(x.Size(), order_);
    const double scale = largestMagnitude(x);
    if (x.Size() > order_ && scale < type_MinValue)
        throw expt_cProgramException(
            "poly_fit", 105,
            "All positions are 0 (of a power law, 1): a fit needs one that is not.");
    FitPowers(x, y, deviations, 0.0, scale);
}

void plft_c1DPolyFittingFunction::FitPowers(const arr_cC_Array<double>& x,
                                            const arr_cC_Array<double>& y,
                                            const arr_cC_Array<double>* deviations, double offset,
                                            double scale) {
    const int count = x.Size();
    if (count <= order_) {
        standardErrors_ = noErrors(order_ + 1);
        coefficients_.Fill(0.0);
        covariance_ = {};
        rank_ = 0;
        points_ = count;
        residualSum_ = std::inner_product(y.begin(), y.end(), y.begin(), 0.0);
        return;
    }
    // The smallest deviation weighs 1, and the largest value is next to 1, so that no square leaves
    // the numbers that there are.
    const double smallest =
        deviations == nullptr ? 1.0 : *std::min_element(deviations->begin(), deviations->end());
    const double size = rcps::powerBelow(largestMagnitude(y));
    const double perSize = 1 / size; // exact, as are products with it

    const int unknowns = order_ + 1;
    rcps::cTriangle triangle(unknowns);
    for (int first = 0; first < count; first += triangle.blockRows) {
        const int rows = std::min(triangle.blockRows, count - first);
        std::array<double, rcps::cTriangle::blockRows> t;
        for (int k = 0; k < rows; ++k)
            t[static_cast<std::size_t>(k)] = (x.Data()[first + k] - offset) / scale;
        double* const weights = triangle.BlockColumn(0);
        double* const right = triangle.BlockColumn(unknowns);
        std::fill_n(weights, rows, 1.0);
        std::transform(y.Data() + first, y.Data() + first + rows, right,
                       [perSize](double value) { return value * perSize; });
        for (int k = 0; k < rows && deviations != nullptr; ++k) {
            weights[k] = smallest / deviations->Data()[first + k];
            right[k] *= weights[k];
        }
        for (int j = 1; j < unknowns; ++j)
            std::transform(t.data(), t.data() + rows, triangle.BlockColumn(j - 1),
                           triangle.BlockColumn(j), std::multiplies<>());
        triangle.Absorb(rows);
    }

    rcps::cMatrix basis(unknowns, unknowns);
    rcps::cVector<double> right(unknowns);
    rcps::cVector<double> weight(unknowns);
    for (int i = 1; i <= unknowns; ++i) {
        const double* const row = triangle.Row(i - 1);
        std::copy_n(row, unknowns, basis[i] + 1);
        right[i] = row[unknowns];
        weight[i] = 1.0;
    }
    rcps::cMatrix u(unknowns, unknowns);
    rcps::cMatrix v(unknowns, unknowns);
    rcps::cMatrix covariance(unknowns, unknowns);
    rcps::cVector<double> w(unknowns);
    rcps::cVector<double> scaled(unknowns);
    double sumOfSquares = 0;
    rcps::svdfit(nullptr, right.Data(), weight.Data(), unknowns, scaled.Data(), unknowns, u.Data(),
                 v.Data(), w.Data(), &sumOfSquares, basis.Data());
    rcps::svdvar(v.Data(), unknowns, w.Data(), covariance.Data());

    arr_c2DNumberArray<double> unscaled(unknowns, unknowns);
    arr_cC_Array<double> errors(unknowns);
    rank_ = unknowns - static_cast<int>(std::count(w.Data() + 1, w.Data() + unknowns + 1, 0.0));
    points_ = count;
    const double squares = triangle.ResidualSum() + sumOfSquares;
    residualSum_ = squares * (size / smallest) * (size / smallest);
    // That of an equation, in units of the square of `unit`.
    const double unit = deviations != nullptr ? smallest : size;
    const double variance = deviations != nullptr ? 1.0
                            : points_ > rank_     ? squares / (points_ - rank_)
                                                  : std::numeric_limits<double>::quiet_NaN();
    double divisor = 1.0;
    for (int i = 0; i < unknowns; ++i) {
        coefficients_[i] = scaled[i + 1] * size / divisor;
        errors[i] = std::sqrt(covariance[i + 1][i + 1] * variance) * unit / divisor;
        double other = 1.0;
        for (int j = 0; j < unknowns; ++j) {
            unscaled(i, j) = covariance[i + 1][j + 1] * variance * unit / divisor * unit / other;
            other *= scale;
        }
        divisor *= scale;
    }
    covariance_ = std::move(unscaled);
    standardErrors_ = std::move(errors);
}

plft_c1DOffsetPolyFittingFunction::plft_c1DOffsetPolyFittingFunction(
    const plft_c1DOffsetPolyFittingFunction& other, dasl_c1DDataArraySelection& selection)
    : plft_c1DPolyFittingFunction(static_cast<const plft_c1DPolyFittingFunction&>(other),
                                  selection),
      offset_(other.offset_) {}

plft_c1DOffsetPolyFittingFunction::~plft_c1DOffsetPolyFittingFunction() = default;

void plft_c1DOffsetPolyFittingFunction::LoadValues(arr_cC_Array<double>& x,
                                                   arr_cC_Array<double>& y) const {
    requirePairs(x, y, 44);
    for (int i = 0; i < x.Size(); ++i)
        y[i] = Value(x[i] - offset_);
}

void plft_c1DOffsetPolyFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                                    const arr_cC_Array<double>& y) {
    FitFromMiddle(x, y, nullptr);
}

void plft_c1DOffsetPolyFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                                    const arr_cC_Array<double>& y,
                                                    const arr_cC_Array<double>& deviations) {
    FitFromMiddle(x, y, &deviations);
}

void plft_c1DOffsetPolyFittingFunction::FitFromMiddle(const arr_cC_Array<double>& x,
                                                      const arr_cC_Array<double>& y,
                                                      const arr_cC_Array<double>* deviations) {
    CheckPoints(x, y, deviations);
    requirePoints(x.Size(), Order());
    const auto [first, last] = std::minmax_element(x.begin(), x.end());
    const double half = *last / 2 - *first / 2;
    const double middle = *first + half;
    FitPowers(x, y, deviations, middle, half > 0 ? half : 1.0);
    offset_ = middle;
}
