#include "dataprocessing/algebra/eqns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_power.h"
#include "dataprocessing/algebra/rcps_work.h"

namespace {

/// The count as a 16-bit value. Throws the size error unless it is positive and still the count.
int shortCount(int count) {
    const short truncated = static_cast<short>(count);
    if (truncated != count || truncated <= 0)
        arr_SizeError();
    return truncated;
}

/// The number of equations. Throws the size error unless it is one of a system that can be solved.
int checkedRows(const arr_c2DNumberArray<double>& a, const arr_c1DNumberArray<double>& b) {
    const int rows = shortCount(a.Rows());
    const int columns = shortCount(a.Columns());
    if (rows < columns)
        arr_SizeError(rows, columns);
    if (b.Size() != rows)
        arr_SizeError(b.Size(), rows);
    return rows;
}

/// A system, decomposed and solved. Unknown j, from 1, of the decomposed one is scale[j] times that
/// of the system.
struct sSystem {
    sSystem(const arr_c2DNumberArray<double>& a, const arr_c1DNumberArray<double>& b,
            eqns_eColumns taken)
        : rows(checkedRows(a, b)), columns(a.Columns()), u(rows, columns), v(columns, columns),
          w(columns), scale(columns), solution(columns) {
        for (int j = 1; j <= columns; ++j)
            scale[j] = taken == eqns_ColumnsScaled ? ScaleOf(a, j - 1) : 1.0;
        rcps::cVector<double> right(rows);
        std::copy_n(b.Data(), rows, right.Data() + 1);
        for (int i = 1; i <= rows; ++i) {
            double* const row = u[i] + 1;
            std::copy_n(a.Data() + static_cast<std::ptrdiff_t>(i - 1) * columns, columns, row);
            for (int j = 0; j < columns && taken == eqns_ColumnsScaled; ++j)
                row[j] /= scale[j + 1];
        }
        rcps::svdcmp(u.Data(), rows, columns, w.Data(), v.Data());
        rcps::svbksb(u.Data(), w.Data(), v.Data(), rows, columns, right.Data(), solution.Data());
    }

    arr_c1DNumberArray<double> Unknowns() {
        arr_c1DNumberArray<double> x(columns);
        for (int j = 0; j < columns; ++j)
            x[j] = solution[j + 1] / scale[j + 1];
        return x;
    }

    /// The power of two next to the largest element of a column; 1 where there is none.
    static double ScaleOf(const arr_c2DNumberArray<double>& a, int column) {
        double largest = 0;
        for (int i = 0; i < a.Rows(); ++i)
            largest = std::max(largest, std::fabs(a(i, column)));
        return rcps::powerBelow(largest);
    }

    int rows;
    int columns;
    rcps::cMatrix u;
    rcps::cMatrix v;
    rcps::cVector<double> w;
    rcps::cVector<double> scale;
    rcps::cVector<double> solution;
};

} // namespace

arr_c1DNumberArray<double> eqns_SolveEquations(const arr_c2DNumberArray<double>& a,
                                               const arr_c1DNumberArray<double>& b) {
    return sSystem(a, b, eqns_ColumnsAsGiven).Unknowns();
}

eqns_sSolution eqns_SolveEquations(const arr_c2DNumberArray<double>& a,
                                   const arr_c1DNumberArray<double>& b, eqns_eColumns columns) {
    sSystem system(a, b, columns);
    const int count = system.columns;
    eqns_sSolution result;
    result.x = system.Unknowns();
    std::vector<double> residuals;
    double largest = 0;
    for (int i = 0; i < system.rows; ++i) {
        double residual = b[i];
        for (int j = 0; j < count; ++j)
            residual -= a(i, j) * result.x[j];
        residuals.push_back(residual);
        largest = std::max(largest, std::fabs(residual));
    }
    const double unit = rcps::powerBelow(largest);
    double squares = 0;
    for (const double residual : residuals)
        squares += residual / unit * (residual / unit);
    result.residualSum = squares * unit * unit;
    const double* const w = system.w.Data() + 1;
    result.rank = count - static_cast<int>(std::count(w, w + count, 0.0));
    result.degreesOfFreedom = system.rows - result.rank;

    rcps::cMatrix covariance(count, count);
    rcps::svdvar(system.v.Data(), count, system.w.Data(), covariance.Data());
    const double variance = result.degreesOfFreedom > 0 ? squares / result.degreesOfFreedom
                                                        : std::numeric_limits<double>::quiet_NaN();
    result.covariance = arr_c2DNumberArray<double>(count, count);
    result.standardErrors = arr_c1DNumberArray<double>(count);
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j)
            result.covariance(i, j) = covariance[i + 1][j + 1] * variance *
                                      (unit / system.scale[i + 1]) * (unit / system.scale[j + 1]);
        result.standardErrors[i] =
            std::sqrt(covariance[i + 1][i + 1] * variance) * (unit / system.scale[i + 1]);
    }
    return result;
}
