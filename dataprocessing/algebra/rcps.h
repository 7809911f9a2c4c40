#pragma once

/// @file
/// Singular value decomposition and linear least squares on one-based storage.
///
/// Vectors are addressed from 1 to n, matrices by row pointers from 1 and columns from 1. The
/// routines take sizes that are positive; they check nothing. They raise nothing but
/// std::bad_alloc, for their work storage.

#include "dataprocessing/algebra/rcps_storage.h"
#include "dataprocessing/dataprocessing_export.h"

namespace rcps {

/// Decomposes the m x n matrix a = U diag(w) V^T. `a` becomes U (m x n), `w` the n singular values,
/// not negative and not sorted, `v` the n x n matrix V (not its transpose).
///
/// A singular value takes at most 30 sweeps; when the 30th has not brought convergence,
/// nrerror("no convergence in 30 svdcmp iterations") is called and the result stands as it is. NaN
/// or infinite elements give NaN.
///
/// Every sum is made in the order of its terms, so that the bits are those of plain loops at every
/// instruction-set level. Work storage is up to (max(m, n) + 8) (n + 22) +
/// (n + 8) (m + n + 53) elements: that of two more matrices like `a` where it has many columns, of
/// 17 where it is one long column, which also takes three times as long as plain loops.
///
/// Source: G. H. Golub and C. Reinsch, Singular value decomposition and least squares solutions,
/// Numerische Mathematik 14 (1970).
DATAPROCESSING_EXPORT void svdcmp(double** a, int m, int n, double* w, double** v);

/// Solves U diag(w) V^T x = b in the least-squares sense: x = V diag(1 / w) U^T b, leaving out
/// every component whose w is exactly 0.
DATAPROCESSING_EXPORT void svbksb(double** u, const double* w, double** v, int m, int n,
                                  const double* b, double* x);

/// Fits the `ma` parameters `a` of a linear model to `ndata` points by weighted least squares: the
/// value at point i is the sum of a[j] basis[i][j]; a residual weighs 1 / sig[i]. Singular values
/// below 1e-5 of the largest are set to 0. `u` (ndata x ma), `v` (ma x ma) and `w` (ma) receive the
/// decomposition, `chisq` the sum of the squared weighted residuals.
DATAPROCESSING_EXPORT void svdfit(const double* x, const double* y, const double* sig, int ndata,
                                  double* a, int ma, double** u, double** v, double* w,
                                  double* chisq, double** basis);

/// The ma x ma covariance matrix of the parameters of svdfit, from its `v` and `w`; singular values
/// of 0 are left out.
DATAPROCESSING_EXPORT void svdvar(double** v, int ma, const double* w, double** cvm);

/// sqrt(a^2 + b^2) without overflow or underflow on the way; 0 when both are 0, NaN when one is NaN
/// or both are infinite.
DATAPROCESSING_EXPORT double pythag(double a, double b) noexcept;

} // namespace rcps
