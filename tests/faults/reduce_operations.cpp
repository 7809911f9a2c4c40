#include "tests/faults/operation.h"

Table reduceOperations() {
    Table table;
    const auto addArrays = [&](const std::string& name, auto call) {
        table.Add(name + " line", [=](Operands& of) { return call(of.line); });
        table.Add(name + " image", [=](Operands& of) { return call(of.image); });
        table.Add(name + " complex line", [=](Operands& of) { return call(of.complexLine); });
        table.Add(name + " complex image", [=](Operands& of) { return call(of.complexImage); });
    };
    addArrays("sum", [](const auto& array) { return stat_Sum(array); });
    addArrays("mean", [](const auto& array) { return stat_Mean(array); });
    addArrays("variance", [](const auto& array) { return stat_Variance(array); });
    table.AddRefused("mean of nothing", [](Operands&) { return stat_Mean(darr_c1DArray()); });
    const auto addMasked = [&](const std::string& name, auto call) {
        table.Add(name + " line under a mask",
                  [=](Operands& of) { return call(of.line, of.lineMask); });
        table.Add(name + " image under a mask",
                  [=](Operands& of) { return call(of.image, of.imageMask); });
    };
    addMasked("sum", [](const auto& array, const auto& mask) { return stat_Sum(array, mask); });
    addMasked("mean", [](const auto& array, const auto& mask) { return stat_Mean(array, mask); });
    addMasked("variance",
              [](const auto& array, const auto& mask) { return stat_Variance(array, mask); });
    addMasked("min", [](const auto& array, const auto& mask) { return extr_Min(array, mask); });
    addMasked("max", [](const auto& array, const auto& mask) { return extr_Max(array, mask); });
    addMasked("both", [](const auto& array, const auto& mask) {
        pnum_cNumber min, max;
        extr_MinMax(array, mask, min, max);
        return bytesOf(min, max);
    });
    table.Add("places under a mask", [](Operands& of) {
        int index[2];
        double at[2];
        const std::string values = bytesOf(
            extr_Min(of.line, of.lineMask, index[0]), extr_Max(of.line, of.lineMask, index[1]),
            extr_Min(of.line, of.lineMask, at[0]), extr_Max(of.line, of.lineMask, at[1]));
        return values + bytesOf(index[0], index[1], at[0], at[1]);
    });
    table.Add("places in an image under a mask", [](Operands& of) {
        int index[4];
        double at[4];
        const std::string values = bytesOf(extr_Min(of.image, of.imageMask, index[0], index[1]),
                                           extr_Max(of.image, of.imageMask, index[2], index[3]),
                                           extr_Min(of.image, of.imageMask, at[0], at[1]),
                                           extr_Max(of.image, of.imageMask, at[2], at[3]));
        return values + bytesOf(index[0], index[3], at[0], at[3]);
    });
    table.AddRefused("sum under another mask",
                     [](Operands& of) { return stat_Sum(of.coarseLine, of.lineMask); });
    addArrays("min", [](const auto& array) { return extr_Min(array, conv_Modulus); });
    addArrays("max", [](const auto& array) { return extr_Max(array, conv_Modulus); });
    addArrays("both", [](const auto& array) {
        pnum_cNumber min, max;
        extr_MinMax(array, min, max, conv_Modulus);
        return bytesOf(min, max);
    });

    const auto addPlaces = [&](const std::string& name, auto extremum) {
        table.Add(name + " index", [=](Operands& of) {
            int at = 0;
            const pnum_cNumber found = extremum(of.coarseLine, at);
            return bytesOf(found, at);
        });
        table.Add(name + " indices", [=](Operands& of) {
            int x = 0, y = 0;
            const pnum_cNumber found = extremum(of.complexImage, x, y);
            return bytesOf(found, x, y);
        });
        table.Add(name + " position", [=](Operands& of) {
            double at = 0;
            const pnum_cNumber found = extremum(of.complexLine, at);
            return bytesOf(found, at);
        });
        table.Add(name + " positions", [=](Operands& of) {
            double x = 0, y = 0;
            const pnum_cNumber found = extremum(of.coarseImage, x, y);
            return bytesOf(found, x, y);
        });
    };
    addPlaces("min", [](const auto& array, auto&... places) {
        return extr_Min(array, places..., conv_RealPart);
    });
    addPlaces("max", [](const auto& array, auto&... places) {
        return extr_Max(array, places..., conv_RealPart);
    });
    table.Add("min over a range", [](Operands& of) {
        return extr_Min(of.line, of.range, darr_LinearInterpolation, conv_RealPart);
    });
    table.Add("max over a range", [](Operands& of) {
        return extr_Max(of.complexLine, of.range, darr_NoInterpolation, conv_Modulus);
    });
    table.Add("peaks", [](Operands& of) { return peak_Find(of.spectrum); });
    table.Add("peaks, chosen", [](Operands& of) {
        return peak_Find(of.line, {.prominence = 0.01, .distance = 2, .width = 0.5});
    });
    table.AddRefused("peaks of complex elements",
                     [](Operands& of) { return peak_Find(of.complexLine); });
    return table;
}
