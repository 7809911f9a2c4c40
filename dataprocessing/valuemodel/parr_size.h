#pragma once

/// @file
/// The checks of sizes and indices that all arrays share.

#include <limits>

#include "dataprocessing/valuemodel/arr.h"

namespace dataprocessing::detail {

/// The count, as an int. Throws the size error when it is negative or more than 2^31-1.
inline int parr_CheckedCount(long long count) {
    if (count < 0 || count > std::numeric_limits<int>::max())
        arr_SizeError(count);
    return static_cast<int>(count);
}

/// The count of a 2D array. Throws the size error as above, for each size and for the product.
inline int parr_CheckedCount(int sizeX, int sizeY) {
    return parr_CheckedCount(static_cast<long long>(parr_CheckedCount(sizeX)) *
                             parr_CheckedCount(sizeY));
}

/// The index. Throws the index error outside [0, count).
inline int parr_CheckedIndex(int index, int count) {
    if (index < 0 || index >= count)
        arr_IndexError(index, count);
    return index;
}

/// The index of (x, y) in storage order. Throws the index error outside the array.
inline int parr_CheckedIndex(int x, int y, int sizeX, int sizeY) {
    return parr_CheckedIndex(y, sizeY) * sizeX + parr_CheckedIndex(x, sizeX);
}

} // namespace dataprocessing::detail
