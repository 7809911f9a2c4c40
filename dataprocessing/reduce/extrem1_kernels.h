#pragma once

/// @file
/// The search for extrema in stored elements.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/valuemodel/pnum.h"

namespace dataprocessing::detail {

/// What a search looks for.
enum extr_eKind : int { extr_Minimum = 0, extr_Maximum = 1 };

/// The best element so far and its index. It begins as the first element.
struct extr_sBest {
    pnum_cNumber value;
    std::size_t index = 0;
};

/// Goes on with `count` elements of a real type, the type of best.value, the first of which has
/// the index `first`.
void extr_Continue(extr_eKind kind, const void* elements, std::size_t first, std::size_t count,
                   extr_sBest& best) noexcept;

} // namespace dataprocessing::detail
