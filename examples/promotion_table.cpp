// Prints, for every pair of element types, the type that each operation results in, and the same
// for the operations of one operand, as the tables of docs/types.md.
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

void head(const char* title) {
    std::cout << "| " << title << " |";
    for (int type = dtyp_UInt8; type <= dtyp_ComplexDouble; ++type)
        std::cout << ' ' << name(dtyp_cDataType(type)) << " |";
    std::cout << "\n|---|---|---|---|---|---|---|---|---|---|---|\n";
}

void table(const char* title, bnry_eAritBinaryOperation first, bnry_eAritBinaryOperation second) {
    head(title);
    for (int a = dtyp_UInt8; a <= dtyp_ComplexDouble; ++a) {
        std::cout << "| **" << name(dtyp_cDataType(a)) << "** |";
        for (int b = dtyp_UInt8; b <= dtyp_ComplexDouble; ++b)
            std::cout << ' ' << cell(dtyp_cDataType(a), dtyp_cDataType(b), first, second) << " |";
        std::cout << '\n';
    }
    std::cout << '\n';
}

/// What `operation` makes of an array of ones of each type.
template<class Operation>
void row(const char* names, Operation operation) {
    std::cout << "| " << names << " |";
    for (int type = dtyp_UInt8; type <= dtyp_ComplexDouble; ++type) {
        const pnum_cNumber one = conv_Convert(1.0, dtyp_cDataType(type));
        std::cout << ' ' << name(operation(darr_c2DArray(4, 4, one, cal_c2DArrayCal())).DataType())
                  << " |";
    }
    std::cout << '\n';
}

void common() {
    head("compared as; min, max, choice");
    for (int a = dtyp_UInt8; a <= dtyp_ComplexDouble; ++a) {
        const pnum_cNumber first = conv_Convert(1.0, dtyp_cDataType(a));
        std::cout << "| **" << name(dtyp_cDataType(a)) << "** |";
        for (int b = dtyp_UInt8; b <= dtyp_ComplexDouble; ++b)
            std::cout
                << ' '
                << name(tnry_Ternary(true, first, conv_Convert(1.0, dtyp_cDataType(b))).DataType())
                << " |";
        std::cout << '\n';
    }
    std::cout << '\n';
}

void one() {
    using Image = darr_c2DArray;
    const rnge_c2DRange whole(0, 0, 4, 4);
    head("of one operand");
    row("+x", [](const Image& x) { return +x; });
    row("-x, abs, sqr, exp, sin, ...", [](const Image& x) { return sqr(x); });
    row("sqrt, log, log10 beyond the reals", [](const Image& x) { return sqrt(-x); });
    row("real, imag, norm, arg", [](const Image& x) { return real(x); });
    row("conj", [](const Image& x) { return conj(x); });
    row("extr_Min, extr_Max", [](const Image& x) { return extr_Max(x, conv_RealPart); });
    row("stat_Sum", [](const Image& x) { return stat_Sum(x); });
    row("stat_Mean, stat_Variance", [](const Image& x) { return stat_Mean(x); });
    row("Selection, resc_Rescale", [](const Image& x) { return resc_Rescale(x, 0.5, 0.5); });
    row("warp_...", [](const Image& x) { return warp_FlipPoint(x); });
    row("proj_Project, proj_LineScan", [&](const Image& x) { return proj_Project(x, whole); });
    row("four_FFT, four_IFFT of a line", [](const Image& x) { return four_FFT(x.LineAtY(0)); });
}

} // namespace

int main() {
    table("+, -", bnry_Add, bnry_Subtract);
    table("*", bnry_Multiply, bnry_Multiply);
    table("/, pow", bnry_Divide, bnry_Power);
    common();
    one();
}
