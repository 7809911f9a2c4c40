#pragma once

#include <string>
#include <utility>
#include <vector>

#include "dataprocessing/dataprocessing.h"
#include "table.h"

namespace tour {

/// The name of an element type: "uint16".
const char* typeName(dtyp_cDataType type);

/// A table for operations and the types of their results.
Table tableOfTypes(std::string caption);

/// A row of it: "what", "uint16 - uint16", "int32".
std::vector<std::string> rowOfTypes(const char* what, dtyp_cDataType a, char operation,
                                    dtyp_cDataType b, dtyp_cDataType result);

/// The same for the types of values.
template<class A, class B, class Result>
std::vector<std::string> rowOfTypes(const char* what, const A& a, char operation, const B& b,
                                    const Result& result) {
    return rowOfTypes(what, a.DataType(), operation, b.DataType(), result.DataType());
}

} // namespace tour
