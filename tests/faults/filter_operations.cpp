#include "tests/faults/operation.h"

Table filterOperations() {
    Table table;
    const auto addLines = [&](const std::string& name, auto call) {
        table.Add(name, [=](Operands& of) { return call(of.line); });
        table.Add(name + " integers", [=](Operands& of) { return call(of.coarseLine); });
        table.Add(name + " complex", [=](Operands& of) { return call(of.complexLine); });
    };
    addLines("polynomials along a line",
             [](const auto& line) { return smth_SavitzkyGolay(line, 7, 3, 1); });
    addLines("averages along a line", [](const auto& line) { return smth_Gauss(line, 1.5); });
    const auto addImages = [&](const std::string& name, auto call) {
        table.Add(name, [=](Operands& of) { return call(of.image); });
        table.Add(name + " integers", [=](Operands& of) { return call(of.coarseImage); });
    };
    addImages("averages over an image",
              [](const auto& image) { return smth_Gauss(image, 0.7, 1.1); });
    addImages("medians over an image", [](const auto& image) { return smth_Median(image, 3, 3); });
    addImages("medians over much of an image",
              [](const auto& image) { return smth_Median(image, 9, 7); });
    table.Add("medians along a line", [](Operands& of) { return smth_Median(of.line, 5); });
    table.Add("background", [](Operands& of) { return bgnd_Snip(of.spectrum, 12); });
    table.Add("background of floats", [](Operands& of) { return bgnd_Snip(of.line, 3); });
    table.AddRefused("polynomials wider than the line",
                     [](Operands& of) { return smth_SavitzkyGolay(of.line, 99, 3); });
    table.AddRefused("averages of a negative width",
                     [](Operands& of) { return smth_Gauss(of.line, -1); });
    table.AddRefused("medians of complex elements",
                     [](Operands& of) { return smth_Median(of.complexLine, 3); });
    table.AddRefused("background of complex elements",
                     [](Operands& of) { return bgnd_Snip(of.complexLine, 3); });
    return table;
}
