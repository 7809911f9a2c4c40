#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_triangle.h"
#include "dataprocessing/algebra/rcps_work.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/fitting/plft.h"

namespace {

void refuseIf(bool isRefused, int line) {
    if (isRefused)
        throw expt_cProgramException("poly_fit", line);
}

int checkedOrder(int order) {
    refuseIf(order < 0, 22);
    return order;
}

double largestMagnitude(const arr_cC_Array<double>& x) {
    double largest = 0.0;
    for (const double value : x)
        if (std::fabs(value) > largest)
            largest = std::fabs(value);
    return largest;
}

} // namespace

plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction(int order,
                                                         dasl_c1DDataArraySelection& selection)
    : ftfn_c1DFittingFunction(selection), order_(checkedOrder(order)),
      coefficients_(arr_CheckedSize(order + 1LL), 0.0) {}

plft_c1DPolyFittingFunction::plft_c1DPolyFittingFunction(const plft_c1DPolyFittingFunction& other,
                                                         dasl_c1DDataArraySelection& selection)
    : ftfn_c1DFittingFunction(selection), order_(other.order_), coefficients_(other.coefficients_) {
    SetName(other.Name());
}

plft_c1DPolyFittingFunction::~plft_c1DPolyFittingFunction() = default;

void plft_c1DPolyFittingFunction::LoadValues(arr_cC_Array<double>& x,
                                             arr_cC_Array<double>& y) const {
    refuseIf(x.Size() != y.Size(), 44);
    for (int i = 0; i < x.Size(); ++i) {
        const double xi = x[i];
        double value = coefficients_[0];
        double power = xi;
        for (int j = 1; j <= order_; ++j) {
            value += power * coefficients_[j];
            power *= xi;
        }
        y[i] = value;
    }
}

void plft_c1DPolyFittingFunction::RefitValues(const arr_cC_Array<double>& x,
                                              const arr_cC_Array<double>& y) {
    refuseIf(x.Size() != y.Size(), 72);
    const int count = x.Size();
    if (count <= order_) {
        coefficients_.Fill(0.0);
        return;
    }
    const double scale = largestMagnitude(x);
    refuseIf(scale < type_MinValue, 105);

    const int unknowns = order_ + 1;
    rcps::cTriangle triangle(unknowns);
    for (int first = 0; first < count; first += triangle.blockRows) {
        const int rows = std::min(triangle.blockRows, count - first);
        std::array<double, rcps::cTriangle::blockRows> t;
        for (int k = 0; k < rows; ++k)
            t[static_cast<std::size_t>(k)] = x.Data()[first + k] / scale;
        std::fill_n(triangle.BlockColumn(0), rows, 1.0);
        for (int j = 1; j < unknowns; ++j)
            std::transform(t.data(), t.data() + rows, triangle.BlockColumn(j - 1),
                           triangle.BlockColumn(j), std::multiplies<>());
        std::copy_n(y.Data() + first, rows, triangle.BlockColumn(unknowns));
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
    rcps::cVector<double> w(unknowns);
    rcps::cVector<double> scaled(unknowns);
    double sumOfSquares = 0;
    rcps::svdfit(nullptr, right.Data(), weight.Data(), unknowns, scaled.Data(), unknowns, u.Data(),
                 v.Data(), w.Data(), &sumOfSquares, basis.Data());

    double divisor = 1.0;
    for (int j = 0; j < unknowns; ++j) {
        coefficients_[j] = scaled[j + 1] / divisor;
        divisor *= scale;
    }
}
