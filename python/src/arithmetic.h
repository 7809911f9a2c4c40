#pragma once

// Arithmetic and comparisons as users of Python expect them: the library's, with its element types
// and its alignment, and with the value that the operands say where the library keeps an old
// surprise.

#include <optional>

#include "objects.h"

namespace dataprocessing::python {

// Number with array, array with number, array with array, for 1D and 2D.
template<class A>
A arithmetic(bnry_eAritBinaryOperation operation, const pnum_cNumber& a, const A& b);
template<class A>
A arithmetic(bnry_eAritBinaryOperation operation, const A& a, const pnum_cNumber& b);
template<class A>
A arithmetic(bnry_eAritBinaryOperation operation, const A& a, const A& b);

/// On which side of an operation the array stands.
enum eOrder { ArrayFirst, ArraySecond };

/// An array with as many elements of its own type at `elements`, single or double precision, read
/// where they are; none where the result takes more than the operation: a power, a divisor with 0.
template<class A>
std::optional<A> arithmeticInPlace(bnry_eAritBinaryOperation operation, const A& array,
                                   const void* elements, eOrder order);

/// The mask of the comparison, on the axes of the data. Operands of different types are compared in
/// a type that holds both.
template<class A, class Mask>
Mask comparison(bnry_eCompBinaryOperation operation, const A& a, const pnum_cNumber& b);
template<class A, class Mask>
Mask comparison(bnry_eCompBinaryOperation operation, const A& a, const A& b);

/// The type in which values of both types can be compared without a loss.
dtyp_cDataType commonType(dtyp_cDataType a, dtyp_cDataType b);

/// The array in a floating type that holds its elements: 32-bit integers as doubles.
template<class A>
A exactlyFloating(const A& a);

} // namespace dataprocessing::python
