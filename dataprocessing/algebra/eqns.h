#pragma once

/// @file
/// Overdetermined linear systems.

#include "dataprocessing/base/arr.h"
#include "dataprocessing/dataprocessing_export.h"

/// The least-squares solution x of a x = b, for as many equations (rows of `a`, elements of `b`) as
/// unknowns (columns of `a`) or more, by singular value decomposition.
///
/// Only singular values that are exactly zero are left out: a nearly singular system is divided by
/// what it has. Row and column counts are taken as 16-bit values. Throws the size error when a
/// count does not survive that (more than 32767), is not positive, when there are fewer rows than
/// columns, or when `b` has another number of elements than `a` has rows; std::bad_alloc when
/// memory runs out.
DATAPROCESSING_EXPORT arr_c1DNumberArray<double>
eqns_SolveEquations(const arr_c2DNumberArray<double>& a, const arr_c1DNumberArray<double>& b);

/// How the columns of a system are taken.
enum eqns_eColumns {
    eqns_ColumnsAsGiven, ///< as they are
    /// Each divided by the power of two next to its largest element, and the solution with it. That
    /// changes no digit of the system, and keeps those of unknowns whose sizes are far apart, such
    /// as the coefficients of powers.
    eqns_ColumnsScaled
};

/// A solution, and how well the equations determine it.
struct eqns_sSolution {
    arr_c1DNumberArray<double> x; ///< the unknowns
    /// Their covariances, by the variance residualSum / degreesOfFreedom of an equation: NaN where
    /// there are no degrees of freedom. Directions of a singular value of exactly zero are left
    /// out.
    arr_c2DNumberArray<double> covariance;
    arr_c1DNumberArray<double> standardErrors; ///< the roots of the diagonal of `covariance`
    double residualSum = 0;                    ///< the sum of the squares of b - a x
    int degreesOfFreedom = 0;                  ///< the number of equations less the rank
    int rank = 0;                              ///< the number of singular values that are not zero
};

/// The least-squares solution with its errors. Errors as above; with columns as they are given `x`
/// is what the other overload answers.
///
///     const eqns_sSolution line = eqns_SolveEquations(a, b, eqns_ColumnsScaled);
///     std::cout << line.x[1] << " +- " << line.standardErrors[1];
DATAPROCESSING_EXPORT eqns_sSolution eqns_SolveEquations(const arr_c2DNumberArray<double>& a,
                                                         const arr_c1DNumberArray<double>& b,
                                                         eqns_eColumns columns);
