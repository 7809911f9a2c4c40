#pragma once

/// @file
/// What a kernel of element-wise arithmetic is asked to do.

namespace dataprocessing::detail {

/// One request to a kernel. The storages that go with it hold elements of `dataType`; an operand
/// that is not an array is one element.
struct bnry_sAritOperation {
    int operation;     ///< a bnry_eAritBinaryOperation
    int dataType;      ///< the dtyp_eDataType of both operands and the result
    int firstIsArray;  ///< 0 or 1
    int secondIsArray; ///< 0 or 1
    int count;         ///< the number of result elements
};

} // namespace dataprocessing::detail
