#include "tests/faults/operation.h"

namespace {

/// A compound assignment, which exists for five pairings.
template<class Call>
void addAssignments(Table& table, const std::string& name, Call call) {
    table.Add(name + " number number", [call](Operands& of) { return call(of.number, of.count); });
    table.Add(name + " line number", [call](Operands& of) { return call(of.line, of.count); });
    table.Add(name + " line line", [call](Operands& of) { return call(of.line, of.coarseLine); });
    table.Add(name + " image number", [call](Operands& of) { return call(of.image, of.count); });
    table.Add(name + " image image",
              [call](Operands& of) { return call(of.image, of.coarseImage); });
}

template<class Call>
void addMasks(Table& table, const std::string& name, Call call) {
    table.Add(name + " line", [call](Operands& of) { return call(of.lineMask); });
    table.Add(name + " image", [call](Operands& of) { return call(of.imageMask); });
}

} // namespace

Table binaryOperations() {
    Table table;
    table.AddPairings("+", [](const auto& a, const auto& b) { return a + b; });
    table.AddPairings("-", [](const auto& a, const auto& b) { return a - b; });
    table.AddPairings("*", [](const auto& a, const auto& b) { return a * b; });
    table.AddPairings("/", [](const auto& a, const auto& b) { return a / b; });
    table.AddPairings("pow", [](const auto& a, const auto& b) { return pow(a, b); });
    table.AddPairings("add",
                      [](const auto& a, const auto& b) { return bnry_Operate(bnry_Add, a, b); });
    table.AddRefused("divide by zero", [](Operands& of) { return of.line / 0.0; });
    table.AddRefused(
        "divide by a line with a zero", [](Operands& of) { of.coarseLine.SetNumber(3, 0); },
        [](Operands& of) { return of.line / of.coarseLine; });
    table.Add("bnry_ResultType", [](Operands& of) {
        return bnry_ResultType(of.number.DataType(), of.count.DataType(), bnry_Multiply);
    });

    addAssignments(table, "+=", [](auto& a, const auto& b) { return a += b; });
    addAssignments(table, "-=", [](auto& a, const auto& b) { return a -= b; });
    addAssignments(table, "*=", [](auto& a, const auto& b) { return a *= b; });
    addAssignments(table, "/=", [](auto& a, const auto& b) { return a /= b; });

    table.AddPairings("==", [](const auto& a, const auto& b) { return a == b; });
    table.AddPairings("!=", [](const auto& a, const auto& b) { return a != b; });
    table.AddPairings(">", [](const auto& a, const auto& b) { return a > b; });
    table.AddPairings(">=", [](const auto& a, const auto& b) { return a >= b; });
    table.AddPairings("<", [](const auto& a, const auto& b) { return a < b; });
    table.AddPairings("<=", [](const auto& a, const auto& b) { return a <= b; });
    table.AddPairings(
        "greater", [](const auto& a, const auto& b) { return bnry_Operate(bnry_Greater, a, b); });

    addMasks(table, "&", [](const auto& mask) { return mask & mask; });
    addMasks(table, "&&", [](const auto& mask) { return mask && mask; });
    addMasks(table, "|", [](const auto& mask) { return mask | mask; });
    addMasks(table, "||", [](const auto& mask) { return mask || mask; });
    addMasks(table, "^", [](const auto& mask) { return mask ^ mask; });
    table.Add("&= line mask", [](Operands& of) { of.lineMask &= of.lineMask; });
    table.Add("&= image mask", [](Operands& of) { of.imageMask &= of.imageMask; });
    table.Add("|= line mask", [](Operands& of) { of.lineMask |= of.lineMask; });
    table.Add("|= image mask", [](Operands& of) { of.imageMask |= of.imageMask; });
    table.Add("^= line mask", [](Operands& of) { of.lineMask ^= of.lineMask; });
    table.Add("^= image mask", [](Operands& of) { of.imageMask ^= of.imageMask; });
    addMasks(table, "!", [](const auto& mask) { return !mask; });
    const auto where = [](const auto& a, const auto& b) {
        return bnry_Operate(bnry_Less, a, b, bnry_DataCal);
    };
    table.Add("compare with place number line",
              [=](Operands& of) { return where(of.number, of.line); });
    table.Add("compare with place number image",
              [=](Operands& of) { return where(of.number, of.image); });
    table.Add("compare with place line number",
              [=](Operands& of) { return where(of.line, of.count); });
    table.Add("compare with place line line",
              [=](Operands& of) { return where(of.line, of.coarseLine); });
    table.Add("compare with place image number",
              [=](Operands& of) { return where(of.image, of.count); });
    table.Add("compare with place image image",
              [=](Operands& of) { return where(of.image, of.coarseImage); });
    table.AddRefused("compare with an unknown place", [](Operands& of) {
        return bnry_Operate(bnry_Less, of.line, of.count, static_cast<bnry_eMaskCal>(9));
    });
    table.AddRefused("& of different masks",
                     [](Operands& of) { return of.lineMask & barr_c1DBoolArray(3); });
    return table;
}
