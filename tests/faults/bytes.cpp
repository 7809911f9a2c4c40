#include "tests/faults/bytes.h"

#include <cstddef>

namespace {

void putElements(std::string& bytes, const parr_cNumberArray& array) {
    putBytes(bytes, array.DataType());
    putBytes(bytes, array.Count());
    bytes.append(static_cast<const char*>(array.Data()),
                 static_cast<std::size_t>(array.Count()) * array.DataType().SizeOf());
}

} // namespace

void putBytes(std::string& bytes, dtyp_cDataType type) { putBytes(bytes, type.Code()); }

void putBytes(std::string& bytes, const pnum_cNumber& number) {
    putBytes(bytes, number.DataType());
    bytes.append(static_cast<const char*>(number.Data()), number.DataType().SizeOf());
}

void putBytes(std::string& bytes, const cal_cArrayCal& cal) {
    putBytes(bytes, cal.Offset());
    putBytes(bytes, cal.Delta());
    putBytes(bytes, cal.CalIndex());
}

void putBytes(std::string& bytes, const cal_c2DArrayCal& cal) {
    putBytes(bytes, cal.X());
    putBytes(bytes, cal.Y());
}

void putBytes(std::string& bytes, const parr_c1DNumberArray& array) { putElements(bytes, array); }

void putBytes(std::string& bytes, const parr_c2DNumberArray& array) {
    putBytes(bytes, array.SizeX());
    putElements(bytes, array);
}

void putBytes(std::string& bytes, const darr_c1DArray& array) {
    putElements(bytes, array);
    putBytes(bytes, array.Cal());
}

void putBytes(std::string& bytes, const darr_c2DArray& array) {
    putBytes(bytes, array.SizeX());
    putElements(bytes, array);
    putBytes(bytes, array.Cal());
}

void putBytes(std::string& bytes, const barr_c1DBoolArray& mask) {
    putBytes(bytes, mask.Cal());
    for (int i = 0; i < mask.Size(); ++i)
        putBytes(bytes, mask.Element(i));
}

void putBytes(std::string& bytes, const barr_c2DBoolArray& mask) {
    putBytes(bytes, mask.Cal());
    putBytes(bytes, mask.SizeX());
    for (int y = 0; y < mask.SizeY(); ++y)
        for (int x = 0; x < mask.SizeX(); ++x)
            putBytes(bytes, mask.Element(x, y));
}

void putBytes(std::string& bytes, const pos_c1DPosition& position) {
    putBytes(bytes, position.X());
}

void putBytes(std::string& bytes, const pos_c2DPosition& position) {
    putBytes(bytes, position.X());
    putBytes(bytes, position.Y());
}

void putBytes(std::string& bytes, const rnge_c1DRange& range) {
    putBytes(bytes, range.Start());
    putBytes(bytes, range.End());
}

void putBytes(std::string& bytes, const rnge_c2DRange& range) {
    for (const double part :
         {range.Left(), range.LeftY(), range.BottomX(), range.Bottom(), range.Right(),
          range.RightY(), range.TopX(), range.Top(), range.CenterX(), range.CenterY(),
          range.Length(), range.Width(), range.Angle()})
        putBytes(bytes, part);
}

void putBytes(std::string& bytes, const rnge_c1DIndexRange& range) {
    putBytes(bytes, range.First());
    putBytes(bytes, range.Last());
}

void putBytes(std::string& bytes, const rnge_c2DIndexRange& range) {
    putBytes(bytes, range.X());
    putBytes(bytes, range.Y());
}

void putBytes(std::string& bytes, const trns_cCoordTransformation& transformation) {
    putBytes(bytes, transformation.Offset());
    putBytes(bytes, transformation.Scale());
}

void putBytes(std::string& bytes, const gsft_cGaussian& peak) {
    putBytes(bytes, peak.Amplitude());
    putBytes(bytes, peak.Center());
    putBytes(bytes, peak.Width());
    putBytes(bytes, peak.HasReference());
}

void putBytes(std::string& bytes, const dasl_c1DDataArraySelection& selection) {
    for (const hndl_cHandle<rnge_c1DRange>& range : selection.RangeList())
        putBytes(bytes, *range);
}

void putBytes(std::string& bytes, const plft_c1DPolyFittingFunction& polynomial) {
    putBytes(bytes, polynomial.Name());
    putBytes(bytes, polynomial.Coefficients());
    putBytes(bytes, polynomial.Covariance());
    putBytes(bytes, polynomial.Rank());
    putBytes(bytes, polynomial.ResidualSum());
}

void putBytes(std::string& bytes, const pwft_cMultiPowerLawFitFunc& background) {
    putBytes(bytes, background.PeakCount());
    for (int peak = 0; peak < background.PeakCount(); ++peak)
        putBytes(bytes, background.PowerLaw(peak));
}

void putBytes(std::string& bytes, const gsft_c1DGaussianFittingFunction& gaussians) {
    putBytes(bytes, gaussians.ChiSquared());
    putBytes(bytes, gaussians.ResidualSum());
    putBytes(bytes, gaussians.Steps());
}

void putBytes(std::string& bytes, const peak_sPeak& peak) {
    putBytes(bytes, peak.index);
    for (const double figure :
         {peak.position, peak.height, peak.prominence, peak.width, peak.significance})
        putBytes(bytes, figure);
}
void putBytes(std::string& bytes, const expt_cProgramException& exception) {
    putBytes(bytes, exception.SourceFile());
    putBytes(bytes, exception.Line());
    putBytes(bytes, std::string_view(exception.what()));
}
