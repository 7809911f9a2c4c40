#include "dataprocessing/algebra/eqns.h"

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_work.h"

namespace {

/// The count as a 16-bit value. Throws the size error unless it is positive and still the count.
int shortCount(int count) {
    const short truncated = static_cast<short>(count);
    if (truncated != count || truncated <= 0)
        arr_SizeError();
    return truncated;
}

} // namespace

arr_c1DNumberArray<double> eqns_SolveEquations(const arr_c2DNumberArray<double>& a,
                                               const arr_c1DNumberArray<double>& b) {
    const int rows = shortCount(a.Rows());
    const int columns = shortCount(a.Columns());
    if (rows < columns)
        arr_SizeError(rows, columns);
    if (b.Size() != rows)
        arr_SizeError(b.Size(), rows);

    rcps::cMatrix u(rows, columns);
    rcps::cMatrix v(columns, columns);
    rcps::cVector<double> w(columns);
    rcps::cVector<double> right(rows);
    rcps::cVector<double> solution(columns);
    for (int i = 1; i <= rows; ++i) {
        for (int j = 1; j <= columns; ++j)
            u[i][j] = a(i - 1, j - 1);
        right[i] = b[i - 1];
    }
    rcps::svdcmp(u.Data(), rows, columns, w.Data(), v.Data());
    rcps::svbksb(u.Data(), w.Data(), v.Data(), rows, columns, right.Data(), solution.Data());

    arr_c1DNumberArray<double> result(columns);
    for (int j = 0; j < columns; ++j)
        result[j] = solution[j + 1];
    return result;
}
