#include "dataprocessing/valuemodel/darr.h"

#include <algorithm>
#include <cmath>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/valuemodel/darr_value.h"
#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

pnum_cNumber darr_ValueAt(const view_cView& row, const cal_cArrayCal& cal, double x,
                          darr_eInterpolation interpolation) {
    if (row.Count() == 0)
        arr_IndexError(0, 0);
    const double index = cal.RealIndex(x);
    if (std::isnan(index) || cal.Delta() == 0)
        arr_IndexError();
    const double held = std::clamp(index, 0.0, static_cast<double>(row.Count()) - 1);
    const auto left = static_cast<std::size_t>(held);
    const auto element = [&](std::size_t i) {
        pnum_cNumber number(row.Type());
        row.Fetch(i, 1, number.Data());
        return number;
    };
    switch (interpolation) {
    case darr_NoInterpolation:
        return element(left);
    case darr_LinearInterpolation: {
        const double part = held - static_cast<double>(left);
        const bool isInteger = row.Type().Code() < dtyp_Float;
        const dtyp_cDataType type = isInteger ? dtyp_cDataType(dtyp_Double) : row.Type();
        if (part == 0)
            return conv_Convert(element(left), type);
        const auto a = element(left).As<comp_cComplex<double>>();
        const auto b = element(left + 1).As<comp_cComplex<double>>();
        const comp_cComplex<double> value(view_Between(a.re, b.re, part),
                                          view_Between(a.im, b.im, part));
        return conv_Convert(value, type);
    }
    }
    throw expt_cProgramException("darr", 1, "Unknown interpolation.");
}

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

darr_c1DArray::darr_c1DArray(const arr_c1DNumberArray<double>& elements, const cal_c1DArrayCal& cal)
    : parr_c1DNumberArray(elements.Size(), dtyp_Double, elements.Data()), cal_(cal) {}

rnge_c1DRange darr_c1DArray::Range() const { return {cal_.Position(0), cal_.Position(Size())}; }

darr_c1DArray darr_c1DArray::Selection(int first, int last) const {
    view_cAxis x = view_X(*this);
    x.Select(first, last);
    return view_Made(*this, x, view_Y(*this));
}

pnum_cNumber darr_c1DArray::Value(double x, darr_eInterpolation interpolation) const {
    const view_cView elements(Data(), DataType(), DataType(), view_X(*this), view_Y(*this));
    return darr_ValueAt(elements, cal_, x, interpolation);
}

rnge_c2DRange darr_c2DArray::Range() const {
    return {cal_.X().Position(0), cal_.Y().Position(0), cal_.X().Position(SizeX()),
            cal_.Y().Position(SizeY())};
}

darr_c2DArray darr_c2DArray::Selection(int firstX, int firstY, int lastX, int lastY) const {
    view_cAxis x = view_X(*this);
    view_cAxis y = view_Y(*this);
    x.Select(firstX, lastX);
    y.Select(firstY, lastY);
    return view_Made(*this, x, y);
}

darr_c1DArray darr_c2DArray::LineAtY(int y) const {
    arr_CheckedIndex(y, SizeY());
    view_cAxis row = view_Y(*this);
    row.Select(y, y + 1LL);
    const view_cView view(Data(), DataType(), DataType(), view_X(*this), row);
    darr_c1DArray line(SizeX(), DataType(), cal_c1DArrayCal(cal_.X()));
    view.Fetch(0, view.Count(), line.Data());
    return line;
}
