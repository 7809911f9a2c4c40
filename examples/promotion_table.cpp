// Prints, for every pair of element types, the type that each arithmetic operation results in, as
// the tables of docs/types.md.
#include <iostream>
#include <string>

#include "dataprocessing/dataprocessing.h"

namespace {

std::string name(dtyp_cDataType type) {
    constexpr const char* names[] = {"unknown", "u8",    "u16",    "u32",    "i8",     "i16",
                                     "i32",     "float", "double", "cfloat", "cdouble"};
    return names[type.IsKnown() ? type.Code() : 0];
}

/// The type of a result, or two where the two operations differ.
std::string cell(dtyp_cDataType a, dtyp_cDataType b, bnry_eAritBinaryOperation first,
                 bnry_eAritBinaryOperation second) {
    const std::string one = name(bnry_ResultType(a, b, first));
    const std::string other = name(bnry_ResultType(a, b, second));
    return one == other ? one : one + ", " + other;
}

void table(const char* title, bnry_eAritBinaryOperation first, bnry_eAritBinaryOperation second) {
    std::cout << "| " << title << " |";
    for (int b = dtyp_UInt8; b <= dtyp_ComplexDouble; ++b)
        std::cout << ' ' << name(dtyp_cDataType(b)) << " |";
    std::cout << "\n|---|---|---|---|---|---|---|---|---|---|---|\n";
    for (int a = dtyp_UInt8; a <= dtyp_ComplexDouble; ++a) {
        std::cout << "| **" << name(dtyp_cDataType(a)) << "** |";
        for (int b = dtyp_UInt8; b <= dtyp_ComplexDouble; ++b)
            std::cout << ' ' << cell(dtyp_cDataType(a), dtyp_cDataType(b), first, second) << " |";
        std::cout << '\n';
    }
    std::cout << '\n';
}

} // namespace

int main() {
    table("+, -", bnry_Add, bnry_Subtract);
    table("*", bnry_Multiply, bnry_Multiply);
    table("/, pow", bnry_Divide, bnry_Power);
}
