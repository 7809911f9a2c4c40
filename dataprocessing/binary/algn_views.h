#pragma once

/// @file
/// Alignment of views in one step: two operands to each other, or one to a mask.

#include <cstddef>

#include "dataprocessing/binary/algn.h"
#include "dataprocessing/valuemodel/barr.h"

namespace dataprocessing::detail {

/// The axes of a mask.
algn_sAxes algn_Axes(const barr_c1DBoolArray& mask) noexcept;
algn_sAxes algn_Axes(const barr_c2DBoolArray& mask) noexcept;

/// The number of elements.
inline std::size_t algn_Count(const algn_sAxes& axes) noexcept {
    return static_cast<std::size_t>(axes.x.Count()) * static_cast<std::size_t>(axes.y.Count());
}

/// Brings two operands to where elements of equal index belong together: algn_MatchDelta, then
/// algn_MatchRange. Throws the errors of both, the index error when the first has no element then,
/// and the size error when the two differ in size.
void algn_Match(algn_sAxes& a, algn_sAxes& b);

/// Brings data to where its elements belong to those of a mask, as algn_MatchDeltaToMask and then
/// algn_MatchRangeToMask do with arrays; returns whether anything was done. Throws their errors.
bool algn_MatchToMask(const algn_sAxes& mask, algn_sAxes& data);

/// Throws the size error when the two differ in size.
void algn_RequireSameSize(const algn_sAxes& a, const algn_sAxes& b);

} // namespace dataprocessing::detail
