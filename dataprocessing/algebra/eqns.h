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
