#include "types.h"

namespace tour {

const char* typeName(dtyp_cDataType type) {
    constexpr const char* names[] = {"unknown", "uint8",         "uint16",        "uint32",
                                     "int8",    "int16",         "int32",         "float",
                                     "double",  "complex float", "complex double"};
    return names[type.IsKnown() ? type.Code() : 0];
}

Table tableOfTypes(std::string caption) {
    return {.caption = std::move(caption),
            .heading = {"operation", "types", "result"},
            .columns = {Column::name, Column::name, Column::name}};
}

std::vector<std::string> rowOfTypes(const char* what, dtyp_cDataType a, char operation,
                                    dtyp_cDataType b, dtyp_cDataType result) {
    return {what, std::string(typeName(a)) + ' ' + operation + ' ' + typeName(b), typeName(result)};
}

} // namespace tour
