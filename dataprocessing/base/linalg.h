#pragma once

/// @file
/// Small matrices.

#include <cmath>
#include <limits>

#include "dataprocessing/base/expt.h"

namespace dataprocessing::detail {

/// A 2 x 2 matrix, acting on column vectors.
template<class T>
struct linalg_c2x2Matrix {
    T m00 = 1;
    T m01 = 0;
    T m10 = 0;
    T m11 = 1;

    friend constexpr bool operator==(const linalg_c2x2Matrix&, const linalg_c2x2Matrix&) = default;

    friend constexpr linalg_c2x2Matrix operator*(const linalg_c2x2Matrix& a,
                                                 const linalg_c2x2Matrix& b) noexcept {
        return {a.m00 * b.m00 + a.m01 * b.m10, a.m00 * b.m01 + a.m01 * b.m11,
                a.m10 * b.m00 + a.m11 * b.m10, a.m10 * b.m01 + a.m11 * b.m11};
    }

    /// The first and the second component of the product with (x, y).
    constexpr T First(T x, T y) const noexcept { return m00 * x + m01 * y; }
    constexpr T Second(T x, T y) const noexcept { return m10 * x + m11 * y; }

    /// The inverse. Throws expt_cUserException ("linalg", 157, expt_InvertSingularMatrix) when the
    /// magnitude of the determinant is below the smallest normal value.
    linalg_c2x2Matrix Inverse() const {
        const T determinant = m00 * m11 - m01 * m10;
        if (std::fabs(determinant) < std::numeric_limits<T>::min())
            throw expt_cUserException("linalg", 157, expt_InvertSingularMatrix);
        return {m11 / determinant, -m01 / determinant, -m10 / determinant, m00 / determinant};
    }
};

} // namespace dataprocessing::detail
