#include "dataprocessing/valuemodel/darr.h"

#include <algorithm>
#include <cmath>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/valuemodel/view_make.h"

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
    const double p = cal_.RealIndex(x);
    if (Size() == 0)
        arr_IndexError(0, 0);
    if (std::isnan(p) || cal_.Delta() == 0)
        arr_IndexError();
    switch (interpolation) {
    case darr_NoInterpolation:
        return Number(static_cast<int>(std::clamp(std::floor(p), 0.0, Size() - 1.0)));
    case darr_LinearInterpolation: {
        const double held = std::clamp(p, 0.0, Size() - 1.0);
        const int left = static_cast<int>(held);
        const double part = held - left;
        const bool isInteger = DataType().Code() < dtyp_Float;
        const dtyp_cDataType type = isInteger ? dtyp_cDataType(dtyp_Double) : DataType();
        if (part == 0)
            return conv_Convert(Number(left), type);
        const auto a = Number(left).As<comp_cComplex<double>>();
        const auto b = Number(left + 1).As<comp_cComplex<double>>();
        const comp_cComplex<double> value(view_Between(a.re, b.re, part),
                                          view_Between(a.im, b.im, part));
        return conv_Convert(value, type);
    }
    }
    throw expt_cProgramException("darr", 1, "Unknown interpolation.");
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
