#pragma once

/// @file
/// Grids: where the elements of an array lie and how many there are, without the elements.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/darr.h"

/// The grid of a 1D array.
struct grid_s1DGrid {
    cal_c1DArrayCal cal; ///< where the elements lie
    int size = 0;        ///< how many there are

    friend constexpr bool operator==(const grid_s1DGrid&, const grid_s1DGrid&) = default;
};

/// The grid of a 2D array.
struct grid_s2DGrid {
    cal_c2DArrayCal cal; ///< where the elements lie
    int sizeX = 0;       ///< columns
    int sizeY = 0;       ///< rows

    friend constexpr bool operator==(const grid_s2DGrid&, const grid_s2DGrid&) = default;
};

/// The grid of `array`.
inline grid_s1DGrid grid_Of(const darr_c1DArray& array) noexcept {
    return {array.Cal(), array.Size()};
}
/// The grid of `array`.
inline grid_s2DGrid grid_Of(const darr_c2DArray& array) noexcept {
    return {array.Cal(), array.SizeX(), array.SizeY()};
}

/// The grid on which two arrays are combined: that of `a + b`, whatever the operation and the
/// element types, without computing it. Arrays that lie together keep the grid of the first; others
/// are aligned to the finer delta and the hull of their ranges. Of two arrays without elements it
/// is that of the first.
///
///     const auto [cal, size] = algn_Calibration(spectrum, background);
///     darr_c1DArray both(size, dtyp_Double, cal);
///
/// Throws what aligning them throws: expt_cProgramException ("resc", 1) for deltas of opposite
/// signs, or one that is zero or not finite; the size error for more than 2^31-1 elements and for
/// images of which each is finer along one axis, where that makes their sizes differ; the index
/// error for positions that have no index.
/// @{
DATAPROCESSING_EXPORT grid_s1DGrid algn_Calibration(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT grid_s2DGrid algn_Calibration(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}
