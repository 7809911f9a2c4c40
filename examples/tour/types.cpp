#include "types.h"

#include <iomanip>

namespace tour {

const char* typeName(dtyp_cDataType type) {
    constexpr const char* names[] = {"unknown", "uint8",         "uint16",        "uint32",
                                     "int8",    "int16",         "int32",         "float",
                                     "double",  "complex float", "complex double"};
    return names[type.IsKnown() ? type.Code() : 0];
}

void tellTypes(std::ostream& text, const char* what, dtyp_cDataType a, char operation,
               dtyp_cDataType b, dtyp_cDataType result) {
    text << "   " << std::left << std::setw(36) << what << std::setw(7) << typeName(a) << operation
         << ' ' << std::setw(7) << typeName(b) << "-> " << typeName(result) << '\n';
}

} // namespace tour
