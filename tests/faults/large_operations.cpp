#include "tests/faults/operation.h"

Table largeOperations() {
    Table table;
    const auto enlargeLine = [](Operands& of) {
        of.line = darr_c1DArray(1 << 20, pnum_cNumber(0.5F), of.line.Cal());
    };
    const auto enlargeImage = [](Operands& of) {
        of.image = darr_c2DArray(1 << 11, 1 << 9, pnum_cNumber(0.5F), of.image.Cal());
    };
    table.Add("chain", enlargeLine,
              [](Operands& of) { return sqrt((of.line + of.line) * of.number); });
    table.Add("align", enlargeLine, [](Operands& of) { return of.line + of.coarseLine; });
    table.Add("transform line", enlargeLine, [](Operands& of) { return four_FFT(of.line); });
    table.Add("transform image", enlargeImage, [](Operands& of) { return four_FFT(of.image); });
    table.Add("convert image", enlargeImage, [](Operands& of) { of.image.Convert(dtyp_Double); });
    return table;
}
