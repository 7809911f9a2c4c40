#pragma once

/// @file
/// Arrays as a transform wants to see them, before anything is copied.

#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

/// An array seen along axes of its own or matched ones.
template<class Array>
struct four_sOperand {
    const Array& array;
    view_cAxis x;
    view_cAxis y;

    explicit four_sOperand(const Array& whole) : array(whole), x(view_X(whole)), y(view_Y(whole)) {}

    /// Its elements as elements of `type`, when they are stored like that; null otherwise. Throws
    /// the errors of conv_Convert.
    const void* Direct(dtyp_cDataType type) const {
        conv_Check(array.DataType(), type, conv_RealPart);
        return array.DataType() == type && x.IsWhole() && y.IsWhole() ? array.Data() : nullptr;
    }
    /// Writes its elements as elements of `type`: those of the matched array, converted.
    void Fetch(dtyp_cDataType type, void* target) const;
};

/// Two arrays, brought to one delta and one power-of-two size along each axis.
template<class Array>
struct four_sMatched {
    four_sOperand<Array> a;
    four_sOperand<Array> b;

    /// Throws the errors of four_MatchAndFitToPowerOfTwo.
    four_sMatched(const Array& first, const Array& second);
};

} // namespace dataprocessing::detail
