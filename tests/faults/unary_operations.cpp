#include "tests/faults/operation.h"

Table unaryOperations() {
    Table table;
    table.AddKinds("+", [](const auto& x) { return +x; });
    table.AddKinds("-", [](const auto& x) { return -x; });
    table.AddKinds("abs", [](const auto& x) { return abs(x); });
    table.AddKinds("acos", [](const auto& x) { return acos(x); });
    table.AddKinds("asin", [](const auto& x) { return asin(x); });
    table.AddKinds("atan", [](const auto& x) { return atan(x); });
    table.AddKinds("cos", [](const auto& x) { return cos(x); });
    table.AddKinds("cosh", [](const auto& x) { return cosh(x); });
    table.AddKinds("exp", [](const auto& x) { return exp(x); });
    table.AddKinds("log", [](const auto& x) { return log(x); });
    table.AddKinds("log10", [](const auto& x) { return log10(x); });
    table.AddKinds("sin", [](const auto& x) { return sin(x); });
    table.AddKinds("sinh", [](const auto& x) { return sinh(x); });
    table.AddKinds("sqr", [](const auto& x) { return sqr(x); });
    table.AddKinds("sqrt", [](const auto& x) { return sqrt(x); });
    table.AddKinds("tan", [](const auto& x) { return tan(x); });
    table.AddKinds("tanh", [](const auto& x) { return tanh(x); });
    table.AddKinds("real", [](const auto& x) { return real(x); });
    table.AddKinds("imag", [](const auto& x) { return imag(x); });
    table.AddKinds("norm", [](const auto& x) { return norm(x); });
    table.AddKinds("arg", [](const auto& x) { return arg(x); });
    table.AddKinds("conj", [](const auto& x) { return conj(x); });
    table.AddKinds("operate", [](const auto& x) { return unry_Operate(unry_Sin, x); });
    table.Add("sqrt of integers", [](Operands& of) { return sqrt(of.coarseImage); });
    table.Add("norm of a complex line", [](Operands& of) { return norm(of.complexLine); });
    table.AddRefused("acos beyond unity", [](Operands& of) { return acos(of.coarseLine); });

    table.AddKinds("scan_IsZero", [](const auto& x) { return scan_IsZero(x); });
    table.AddKinds("scan_IsZeroOrNegative", [](const auto& x) { return scan_IsZeroOrNegative(x); });
    table.AddKinds("scan_IsNegative", [](const auto& x) { return scan_IsNegative(x); });
    table.AddKinds("scan_IsAbsLargerThanUnity",
                   [](const auto& x) { return scan_IsAbsLargerThanUnity(x); });
    table.AddRefused("scan of integers", [](Operands& of) { return scan_IsZero(of.coarseLine); });

    const auto addTernary = [&](const std::string& name, auto maskOf, auto arrayOf, auto otherOf) {
        table.Add("ternary numbers" + name,
                  [=](Operands& of) { return tnry_Ternary(maskOf(of), of.number, of.count); });
        table.Add("ternary number array" + name,
                  [=](Operands& of) { return tnry_Ternary(maskOf(of), of.number, otherOf(of)); });
        table.Add("ternary array number" + name,
                  [=](Operands& of) { return tnry_Ternary(maskOf(of), arrayOf(of), of.count); });
        table.Add("ternary arrays" + name,
                  [=](Operands& of) { return tnry_Ternary(maskOf(of), arrayOf(of), otherOf(of)); });
    };
    addTernary(
        " line", [](Operands & of) -> auto& { return of.lineMask; },
        [](Operands & of) -> auto& { return of.line; },
        [](Operands & of) -> auto& { return of.coarseLine; });
    addTernary(
        " image", [](Operands & of) -> auto& { return of.imageMask; },
        [](Operands & of) -> auto& { return of.image; },
        [](Operands & of) -> auto& { return of.coarseImage; });
    table.Add("ternary number",
              [](Operands& of) { return tnry_Ternary(of.fitCalibration, of.number, of.count); });
    table.AddPairings("trny_min", [](const auto& a, const auto& b) { return trny_min(a, b); });
    table.AddPairings("trny_max", [](const auto& a, const auto& b) { return trny_max(a, b); });
    return table;
}
