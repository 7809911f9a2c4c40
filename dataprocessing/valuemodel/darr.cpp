#include "dataprocessing/valuemodel/darr.h"

#include <algorithm>
#include <cmath>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/valuemodel/darr_value.h"
#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

namespace {

/// The element before a position, and the part of the way to the next one.
struct sPlace {
    std::size_t left;
    double part;
};

/// Where position `x` lies among `count` elements; outside, at the end element.
sPlace placeOf(int count, const cal_cArrayCal& cal, double x) {
    if (count == 0)
        arr_IndexError(0, 0);
    const double index = cal.RealIndex(x);
    if (std::isnan(index) || cal.Delta() == 0)
        arr_IndexError();
    const double held = std::clamp(index, 0.0, static_cast<double>(count) - 1);
    const auto left = static_cast<std::size_t>(held);
    return {left, held - static_cast<double>(left)};
}

comp_cComplex<double> between(const comp_cComplex<double>& a, const comp_cComplex<double>& b,
                              double part) {
    return {view_Between(a.re, b.re, part), view_Between(a.im, b.im, part)};
}

pnum_cNumber valueAt(const view_cView& view, const sPlace& x, const sPlace& y,
                     darr_eInterpolation interpolation) {
    const auto element = [&](std::size_t column, std::size_t row) {
        pnum_cNumber number(view.Type());
        view.Fetch(row * static_cast<std::size_t>(view.X().Count()) + column, 1, number.Data());
        return number;
    };
    const auto alongX = [&](std::size_t row) {
        const auto a = element(x.left, row).As<comp_cComplex<double>>();
        if (x.part == 0)
            return a;
        return between(a, element(x.left + 1, row).As<comp_cComplex<double>>(), x.part);
    };
    switch (interpolation) {
    case darr_NoInterpolation:
        return element(x.left, y.left);
    case darr_LinearInterpolation: {
        const bool isInteger = view.Type().Code() < dtyp_Float;
        const dtyp_cDataType type = isInteger ? dtyp_cDataType(dtyp_Double) : view.Type();
        if (x.part == 0 && y.part == 0)
            return conv_Convert(element(x.left, y.left), type);
        const comp_cComplex<double> below = alongX(y.left);
        return conv_Convert(y.part == 0 ? below : between(below, alongX(y.left + 1), y.part), type);
    }
    }
    throw expt_cProgramException("darr", 1, "Unknown interpolation.");
}

} // namespace

pnum_cNumber darr_ValueAt(const view_cView& row, const cal_cArrayCal& cal, double x,
                          darr_eInterpolation interpolation) {
    return valueAt(row, placeOf(row.X().Count(), cal, x), {0, 0}, interpolation);
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

darr_c1DArray darr_c2DArray::LineAtX(int x) const {
    arr_CheckedIndex(x, SizeX());
    view_cAxis column = view_X(*this);
    column.Select(x, x + 1LL);
    const view_cView view(Data(), DataType(), DataType(), column, view_Y(*this));
    darr_c1DArray line(SizeY(), DataType(), cal_c1DArrayCal(cal_.Y()));
    view.Fetch(0, view.Count(), line.Data());
    return line;
}

pnum_cNumber darr_c2DArray::Value(double x, double y, darr_eInterpolation interpolation) const {
    const view_cView elements(Data(), DataType(), DataType(), view_X(*this), view_Y(*this));
    return valueAt(elements, placeOf(SizeX(), cal_.X(), x), placeOf(SizeY(), cal_.Y(), y),
                   interpolation);
}
