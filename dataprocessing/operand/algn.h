#pragma once

/// @file
/// Alignment: what is done to two operands before they are combined element by element, so that
/// elements of equal index are of one type and lie at one position. Its steps change the axes along
/// which operands are seen, and no element.

#include <cstddef>

#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/view.h"

namespace dataprocessing::detail {

/// Both axes of one operand; those of a 1D array have one row.
struct algn_sAxes {
    view_cAxis x;
    view_cAxis y;
};

/// The axes of an array, or of a mask, as it is stored.
algn_sAxes algn_Axes(const darr_c1DArray& array) noexcept;
algn_sAxes algn_Axes(const darr_c2DArray& array) noexcept;
algn_sAxes algn_Axes(const barr_c1DBoolArray& mask) noexcept;
algn_sAxes algn_Axes(const barr_c2DBoolArray& mask) noexcept;

/// The number of elements.
inline std::size_t algn_Count(const algn_sAxes& axes) noexcept {
    return static_cast<std::size_t>(axes.x.Count()) * static_cast<std::size_t>(axes.y.Count());
}

/// The elements of an array, seen in a type along given axes.
template<class Array>
view_cView algn_View(const Array& array, dtyp_cDataType type, const algn_sAxes& axes) noexcept {
    return {array.Data(), array.DataType(), type, axes.x, axes.y};
}

/// Throws the size error when the two differ in size.
void algn_RequireSameSize(const algn_sAxes& a, const algn_sAxes& b);

/// True when elements of equal index lie at one position already: equal deltas, ranges and counts.
bool algn_IsAligned(const algn_sAxes& a, const algn_sAxes& b) noexcept;

/// The type that two operands meet in: the largest of the wanted one and theirs.
constexpr dtyp_cDataType algn_CommonType(dtyp_cDataType a, dtyp_cDataType b,
                                         dtyp_cDataType wanted) noexcept {
    return dtyp_Max(wanted, dtyp_Max(a, b));
}

/// Rescales at most one operand to the finer of the deltas (the one of smaller magnitude), those of
/// X and of Y each for itself: the first when a delta of it is not the finer one, else the second.
/// Deltas are compared exactly.
/// When each operand is finer along one axis, only the first is rescaled, and the deltas still
/// differ afterwards. Returns 0, or 1 or 2 for the one that was rescaled. Throws the errors of
/// resc_Rescale.
int algn_MatchDelta(algn_sAxes& a, algn_sAxes& b);

/// Selects both operands over the hull of their ranges, unless they have one already; the hull with
/// an operand without elements is the other's range. Each is taken from its element nearest to the
/// start of the hull on, and of equal deltas both take the same number of elements: as many as the
/// hull is long, halves down, so that none of their own is left out and each lies within half a
/// step of its place. The ranges need not intersect. Returns whether anything was done. Throws the
/// errors of darr_c1DArray::Selection, and the index error for a start that is NaN and for a delta
/// of zero.
bool algn_MatchRange(algn_sAxes& a, algn_sAxes& b);

/// Brings two operands to where elements of equal index belong together: algn_MatchDelta, then
/// algn_MatchRange. Throws the errors of both, and the size error when the two differ in size then,
/// which only images do of which each is the finer along one axis.
void algn_Align(algn_sAxes& a, algn_sAxes& b);

/// Rescales the data to the deltas of the mask when they differ; returns whether they did. Throws
/// the errors of resc_Rescale.
bool algn_MatchDeltaToMask(const algn_sAxes& mask, algn_sAxes& data);

/// Selects as many elements of the data as the mask has, from the one nearest to its start on, when
/// the ranges differ; returns whether they did. Throws the errors of
/// darr_c1DArray::Selection, and the index error for a start that is NaN and for a delta of zero.
bool algn_MatchRangeToMask(const algn_sAxes& mask, algn_sAxes& data);

/// Brings data to where its elements belong to those of a mask: algn_MatchDeltaToMask, then
/// algn_MatchRangeToMask; returns whether anything was done. Throws the errors of both.
bool algn_MatchToMask(const algn_sAxes& mask, algn_sAxes& data);

} // namespace dataprocessing::detail
