#include "tests/faults/operands.h"

#include <cmath>

#include "tests/faults/bytes.h"

namespace {

/// In [-1, 1], and never 0.
double Wave(int i) { return std::sin(0.7 * i + 0.1); }

darr_c1DArray Line(int size, dtyp_cDataType type, double scale, const cal_c1DArrayCal& cal) {
    darr_c1DArray line(size, dtyp_ComplexDouble, cal);
    for (int i = 0; i < size; ++i)
        line.SetNumber(i,
                       comp_cComplex<double>(scale * Wave(i) + (scale > 1 ? scale + 1 : 0), 0.25));
    return conv_Convert(line, type);
}

darr_c2DArray Image(int sizeX, int sizeY, dtyp_cDataType type, double scale,
                    const cal_c2DArrayCal& cal) {
    const darr_c1DArray elements = Line(sizeX * sizeY, type, scale, {});
    return darr_c2DArray(parr_c2DNumberArray(sizeX, sizeY, type, elements.Data()), cal);
}

darr_c1DArray Spectrum() {
    darr_c1DArray spectrum(160, dtyp_Double, cal_c1DArrayCal(5000, 10, 0));
    const gsft_cGaussian peaks[] = {{800, 5905, 84}, {150, 6405, 90}};
    for (int i = 0; i < spectrum.Size(); ++i) {
        const double x = spectrum.Cal().Position(i);
        spectrum.SetNumber(i, 2e6 / x + peaks[0].Value(x) + peaks[1].Value(x));
    }
    return spectrum;
}

} // namespace

Operands::Operands()
    : line(Line(23, dtyp_Float, 1, {2, 0.5, 3})),
      coarseLine(Line(17, dtyp_Int16, 300, {1, 0.75, 0})),
      complexLine(Line(16, dtyp_ComplexFloat, 1, {})),
      image(Image(9, 7, dtyp_Float, 1, {1, 0.5, 2, 0.5, 1, 0})),
      coarseImage(Image(6, 5, dtyp_UInt16, 300, {0, 0.75, 2, 0.75, 0, 0})),
      complexImage(Image(8, 4, dtyp_ComplexDouble, 1, {})), spectrum(Spectrum()) {
    lineMask.SetCal(line.Cal());
    imageMask.SetCal(image.Cal());
    for (int i = 0; i < lineMask.Size(); i += 3)
        lineMask.Element(i) = 1;
    for (int y = 0; y < imageMask.SizeY(); ++y)
        imageMask.Element(y, y) = 1;
    selection.AddRange(window);
    selection.AddLocalRange({5000, 5080});
    background.AddPeak(5900, 150, 300, -200, 400);
    for (int i = 0; i < equations.Size(); ++i)
        equations[i] = Wave(3 * i);
}

std::string Operands::Bytes() const {
    return bytesOf(number, count, line, coarseLine, complexLine, image, coarseImage, complexImage,
                   lineMask, imageMask, transformation, otherTransformation, range, rectangle,
                   position, point, spectrum, window, freeRange, selection, polynomial, powerLaw,
                   background, high, low, peaks.Size(), calibration, fitCalibration,
                   resolution.ReferenceFWHM(), fitResolution, gaussians, values, equations,
                   rightSide, text);
}
