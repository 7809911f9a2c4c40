#include "tests/faults/operation.h"

Table fourierOperations() {
    Table table;
    const auto addArrays = [&](const std::string& name, auto call) {
        table.Add(name + " line", [=](Operands& of) { return call(of.line); });
        table.Add(name + " image", [=](Operands& of) { return call(of.image); });
        table.Add(name + " complex line", [=](Operands& of) { return call(of.complexLine); });
        table.Add(name + " complex image", [=](Operands& of) { return call(of.complexImage); });
    };
    addArrays("expand", [](const auto& array) { return four_ExpandToPowerOfTwo(array); });
    addArrays("centre", [](const auto& array) { return four_Center(array); });
    addArrays("forward", [](const auto& array) { return four_FFT(array); });
    addArrays("inverse", [](const auto& array) { return four_IFFT(array); });
    addArrays("auto-correlate", [](const auto& array) { return four_AutoCorrelate(array); });
    table.Add("there and back", [](Operands& of) { return four_IFFT(four_FFT(of.image)); });
    table.Add("fit", [](Operands&) { return four_FitToPowerOfTwo(100); });

    const auto addPairs = [&](const std::string& name, auto call) {
        table.Add(name + " lines", [=](Operands& of) { return call(of.line, of.coarseLine); });
        table.Add(name + " images", [=](Operands& of) { return call(of.image, of.coarseImage); });
    };
    addPairs("cross-correlate",
             [](const auto& a, const auto& b) { return four_CrossCorrelate(a, b); });
    addPairs("convolute", [](const auto& a, const auto& b) { return four_Convolute(a, b); });
    addPairs("match", [](auto& a, auto& b) { four_MatchAndFitToPowerOfTwo(a, b); });
    addPairs("cross-correlate in a band",
             [](const auto& a, const auto& b) { return prut_CrossCorrelate(a, b, 0.1, 0.6); });
    table.Add("band of a line", [](Operands&) { return prut_BandPassFilter(30, 0.1, 0.6); });
    table.Add("band of an image", [](Operands&) { return prut_BandPassFilter(12, 9, 0.1, 0.6); });
    table.Add("register lines", [](Operands& of) {
        const regs_s1DShift shift = regs_Register(of.line, of.line.Selection(2, 20));
        return bytesOf(shift.x, shift.elementsX, shift.height, shift.second);
    });
    table.Add("register images", [](Operands& of) {
        const regs_s2DShift shift =
            regs_Register(of.image, of.image.Selection(1, 1, 8, 7), {.low = 0.1});
        return bytesOf(shift.x, shift.y, shift.elementsX, shift.elementsY, shift.height,
                       shift.second);
    });
    table.AddRefused("register other deltas",
                     [](Operands& of) { return regs_Register(of.line, of.coarseLine); });
    return table;
}
