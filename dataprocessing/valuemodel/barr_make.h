#pragma once

/// @file
/// Masks for whoever writes every element of them.

#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"

namespace dataprocessing::detail {

/// The kind of mask that goes with an array.
template<class Array>
struct barr_sMask;
template<>
struct barr_sMask<darr_c1DArray> {
    using type = barr_c1DBoolArray;
};
template<>
struct barr_sMask<darr_c2DArray> {
    using type = barr_c2DBoolArray;
};
template<class Array>
using barr_Mask = typename barr_sMask<Array>::type;

/// A mask on the default calibration with elements that are not set. The sizes are those of an
/// array, so they are not checked; a 1D mask has one row.
template<>
barr_c1DBoolArray barr_Unset<barr_c1DBoolArray>(int sizeX, int sizeY);
template<>
barr_c2DBoolArray barr_Unset<barr_c2DBoolArray>(int sizeX, int sizeY);

/// The elements of a mask in storage order; a truth value is one. Throws the index error when there
/// is none.
inline unsigned char* barr_Elements(type_cBoolean& value) {
    return reinterpret_cast<unsigned char*>(&value);
}
inline const unsigned char* barr_Elements(const type_cBoolean& value) {
    return reinterpret_cast<const unsigned char*>(&value);
}
inline unsigned char* barr_Elements(barr_c1DBoolArray& mask) { return &mask.Element(0); }
inline unsigned char* barr_Elements(barr_c2DBoolArray& mask) { return &mask.Element(0, 0); }
inline const unsigned char* barr_Elements(const barr_c1DBoolArray& mask) {
    return &mask.Element(0);
}
inline const unsigned char* barr_Elements(const barr_c2DBoolArray& mask) {
    return &mask.Element(0, 0);
}

} // namespace dataprocessing::detail
