#pragma once

#include <ostream>

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// The name of an element type: "uint16".
const char* typeName(dtyp_cDataType type);

/// Prints "what   uint16 - uint16 -> int32": the types of two operands and of their result.
void tellTypes(std::ostream& text, const char* what, dtyp_cDataType a, char operation,
               dtyp_cDataType b, dtyp_cDataType result);

/// The same for the types of values.
template<class A, class B, class Result>
void tellTypes(std::ostream& text, const char* what, const A& a, char operation, const B& b,
               const Result& result) {
    tellTypes(text, what, a.DataType(), operation, b.DataType(), result.DataType());
}

} // namespace tour
