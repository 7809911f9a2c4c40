#include <new>
#include <span>
#include <sstream>

#include "tests/faults/operation.h"

namespace {

void addConversions(Table& table) {
    const auto addTypes = [&](const std::string& name, auto call) {
        for (int type = dtyp_UInt8; type <= dtyp_ComplexDouble; ++type)
            table.Add(name + " " + std::to_string(type),
                      [=](Operands& of) { return call(of, dtyp_cDataType(type), conv_Phase); });
    };
    addTypes("convert number", [](Operands& of, auto type, auto mode) {
        return conv_Convert(of.number, type, mode);
    });
    addTypes("convert line", [](Operands& of, auto type, auto mode) {
        return conv_Convert(of.complexLine, type, mode);
    });
    addTypes("convert image", [](Operands& of, auto type, auto mode) {
        return conv_Convert(of.coarseImage, type, mode);
    });
    addTypes("convert bare line", [](Operands& of, auto type, auto mode) {
        return conv_Convert(static_cast<const parr_c1DNumberArray&>(of.line), type, mode);
    });
    addTypes("convert bare image", [](Operands& of, auto type, auto mode) {
        return conv_Convert(static_cast<const parr_c2DNumberArray&>(of.image), type, mode);
    });
    addTypes("convert in place", [](Operands& of, auto type, auto) { of.line.Convert(type); });
    table.AddRefused("convert to an unknown type",
                     [](Operands& of) { return conv_Convert(of.line, dtyp_cDataType(42)); });
    table.Add("as", [](Operands& of) { return of.number.As<int>(); });
}

void addArrays(Table& table) {
    table.Add("number", [](Operands& of) { return pnum_cNumber(dtyp_Float, of.number.Data()); });
    table.Add("bare line", [](Operands& of) { return parr_c1DNumberArray(5, of.number); });
    table.Add("bare line of a type",
              [](Operands&) { return bytesOf(parr_c1DNumberArray(5, dtyp_Float).Count()); });
    table.Add("bare image", [](Operands& of) { return parr_c2DNumberArray(5, 3, of.number); });
    table.Add("bare image of a type",
              [](Operands&) { return bytesOf(parr_c2DNumberArray(5, 3, dtyp_Float).Count()); });
    table.Add("line of a span", [](Operands& of) {
        return darr_c1DArray(std::span<const double>(of.values), of.line.Cal());
    });
    table.Add("line of values",
              [](Operands& of) { return darr_c1DArray(of.values, of.line.Cal()); });
    table.Add("line of a vector", [](Operands&) {
        return darr_c1DArray(std::vector<short>{1, 2, 3});
    });
    table.Add("line of a list", [](Operands&) { return darr_c1DArray{1, 2, 3}; });
    table.Add("image of a list", [](Operands&) { return darr_c2DArray(2, 1, {1, 2}); });
    table.Add("line of several types", [](Operands&) { return darr_c1DArray{1, 2.5}; });
    table.Add("image of several types", [](Operands&) { return darr_c2DArray(2, 1, {1, 2.5}); });
    table.Add("number of a size", [](Operands&) { return pnum_cNumber(std::size_t{7}); });
    table.AddRefused("number of too large a size", [](Operands&) { return pnum_cNumber(~0ULL); });
    table.Add("image of a span", [](Operands& of) {
        return darr_c2DArray(2, 3, std::span<const double>(of.equations), of.image.Cal());
    });
    table.AddRefused("image of too short a span", [](Operands& of) {
        return darr_c2DArray(2, 30, std::span<const double>(of.equations), of.image.Cal());
    });
    table.AddRefused("line of a negative size",
                     [](Operands& of) { return darr_c1DArray(-1, dtyp_Float, of.line.Cal()); });
    table.Add("release what is kept", [](Operands& of) {
        const darr_c1DArray copy(of.line);
        mem_ReleaseKept();
        return copy;
    });
    table.Add("copy line", [](Operands& of) { return darr_c1DArray(of.line); });
    table.Add("copy image", [](Operands& of) { return darr_c2DArray(of.image); });
    table.Add("assign line", [](Operands& of) { of.line = of.coarseLine; });
    table.Add("assign image", [](Operands& of) { of.image = of.coarseImage; });
    table.Add("element", [](Operands& of) { return of.line.Number(3); });
    table.Add("element as a double", [](Operands& of) { return of.line[3]; });
    table.AddRefused("element outside as a double", [](Operands& of) { return of.line[99L]; });
    table.Add("elements as doubles", [](Operands& of) {
        double sum = 0;
        for (const double value : of.image)
            sum += value;
        return sum;
    });
    table.Add("element of an image", [](Operands& of) { return of.image.Number(3, 2); });
    table.Add("set element", [](Operands& of) { of.coarseLine.SetNumber(3, of.number); });
    table.Add("set element of an image", [](Operands& of) { of.image.SetNumber(3, 2, of.count); });
    table.AddRefused("element outside", [](Operands& of) { return of.line.Number(99); });
    table.AddRefused("element outside an image",
                     [](Operands& of) { return of.image.Number(9, 0); });
    table.AddRefused("elements of another type",
                     [](Operands& of) { return of.line.Elements<double>().size(); });
    table.Add("insert", [](Operands& of) { of.line.SetSelection(of.coarseLine, 2); });
    table.Add("insert in an image",
              [](Operands& of) { of.image.SetSelection(of.coarseImage, 2, 1); });
    table.AddRefused("insert outside", [](Operands& of) {
        of.line.SetSelection(of.coarseLine, 20);
        return 0;
    });
    table.Add("range", [](Operands& of) { return of.line.Range(); });
    table.Add("range of an image", [](Operands& of) { return of.image.Range(); });
    table.Add("select", [](Operands& of) { return of.line.Selection(-3, 12); });
    table.Add("select a range",
              [](Operands& of) { return of.line.Selection(of.range, rnge_IndexOuter); });
    table.Add("select in an image", [](Operands& of) { return of.image.Selection(-1, 2, 5, 9); });
    table.Add("select a rectangle",
              [](Operands& of) { return of.image.Selection(of.rectangle, rnge_IndexFloor); });
    table.Add("row", [](Operands& of) { return of.image.LineAtY(2); });
    table.AddRefused("row outside", [](Operands& of) { return of.image.LineAtY(-1); });
    table.Add("column", [](Operands& of) { return of.image.LineAtX(2); });
    table.AddRefused("column outside", [](Operands& of) { return of.image.LineAtX(-1); });
    table.Add("value in an image",
              [](Operands& of) { return of.image.Value(2.2, 1.3, darr_LinearInterpolation); });
    table.Add("fill", [](Operands& of) { of.line.Fill([](double x) { return x * x; }); });
    table.Add("fill an image",
              [](Operands& of) { of.image.Fill([](double x, double y) { return x * y; }); });
    table.Add("grid of two", [](Operands& of) {
        const auto [cal, size] = algn_Calibration(of.line, of.coarseLine);
        return bytesOf(cal, size);
    });
    table.Add("grid of two images", [](Operands& of) {
        const auto [cal, sizeX, sizeY] = algn_Calibration(of.image, of.coarseImage);
        return bytesOf(cal, sizeX, sizeY);
    });
    table.Add("value", [](Operands& of) { return of.line.Value(2.2, darr_LinearInterpolation); });
    table.Add("rescale", [](Operands& of) { return resc_Rescale(of.coarseLine, 0.3); });
    table.Add("rescale image", [](Operands& of) { return resc_Rescale(of.image, 0.3, 1); });
    table.Add("rebin", [](Operands& of) { return resc_Rebin(of.coarseLine, 0.3); });
    table.Add("rebin to a grid",
              [](Operands& of) { return resc_Rebin(of.complexLine, of.coarseLine); });
    table.Add("rebin image", [](Operands& of) { return resc_Rebin(of.image, 0.3, 1.2); });
    table.Add("rebin image to a grid",
              [](Operands& of) { return resc_Rebin(of.coarseImage, of.image); });
    table.AddRefused("rebin to nothing", [](Operands& of) { return resc_Rebin(of.line, 0); });
    table.AddRefused("rescale to nothing", [](Operands& of) { return resc_Rescale(of.line, 0); });
}

void addMasks(Table& table) {
    table.Add("mask", [](Operands&) { return barr_c1DBoolArray(9); });
    table.Add("mask of an image", [](Operands&) { return barr_c2DBoolArray(3, 4); });
    table.AddRefused("mask of a negative size", [](Operands&) { return barr_c1DBoolArray(-9); });
    table.Add("mask of truths", [](Operands&) {
        return barr_c1DBoolArray(std::vector<bool>(9, true), cal_c1DArrayCal(1, 2, 3));
    });
    table.Add("mask of an image of truths", [](Operands&) {
        return barr_c2DBoolArray(3, 1, {true, false, true});
    });
    table.AddRefused("mask of too few truths", [](Operands&) {
        return barr_c2DBoolArray(3, 2, {true, false, true});
    });
    table.Add("what is true in a mask", [](Operands& of) {
        return bytesOf(of.lineMask.CountTrue(), of.lineMask.Any(), of.imageMask.CountTrue(),
                       of.imageMask.All());
    });
    table.Add("copy mask", [](Operands& of) { return barr_c1DBoolArray(of.lineMask); });
    table.Add("copy mask of an image",
              [](Operands& of) { return barr_c2DBoolArray(of.imageMask); });
    table.Add("set mask", [](Operands& of) { of.lineMask.Element(3) = 7; });
    table.Add("set mask of an image", [](Operands& of) { of.imageMask.Element(3, 2) = 7; });
    table.Add("range of a mask", [](Operands& of) {
        return bytesOf(of.lineMask.Range(), of.lineMask.IsRangeAndDelta(of.lineMask));
    });
    table.Add("range of a mask of an image", [](Operands& of) {
        return bytesOf(of.imageMask.Range(), of.imageMask.IsRangeAndDelta(of.imageMask));
    });
}

void addRanges(Table& table) {
    table.Add("index", [](Operands& of) {
        const cal_c1DArrayCal& cal = of.line.Cal();
        return bytesOf(cal.Index(4.4), cal.NearestIndex(4.4), cal.RealIndex(4.4),
                       cal.Tolerance(4.4), cal.Count(4.4));
    });
    table.AddRefused("count of no length", [](Operands& of) { return of.line.Cal().Count(-9); });
    table.Add("defaults", [](Operands&) {
        return bytesOf(cal_c1DArrayCal::Default, cal_c2DArrayCal::Default, str_cString::Null,
                       rnge_c2DRange::Null);
    });
    table.Add("range set", [](Operands& of) { of.range.Set(2, 7); });
    table.Add("range assigned", [](Operands& of) { of.range = of.window; });
    table.Add("ranges meet", [](Operands& of) {
        return bytesOf(of.range.Intersects(of.window), of.range & of.window, of.range | of.window);
    });
    table.Add("rectangles", [](Operands& of) {
        const rnge_c2DRange other(-1, -2, 3, 4);
        return bytesOf(of.rectangle | other, of.rectangle & other, of.rectangle.Intersects(other),
                       of.rectangle.Contains(2, 2));
    });
    table.Add("indices", [](Operands& of) {
        return rnge_c1DIndexRange(of.range, of.line.Cal(), rnge_IndexNearest);
    });
    table.Add("indices of a rectangle", [](Operands& of) {
        return rnge_c2DIndexRange(of.rectangle, of.image.Cal(), rnge_IndexCeiling);
    });
    table.AddRefused("indices by an unknown rule", [](Operands& of) {
        return rnge_c1DIndexRange(of.range, of.line.Cal(), static_cast<rnge_eIndexSelect>(9));
    });
}

void addContainers(Table& table) {
    table.Add("resize", [](Operands& of) { of.values.SetSize(3); });
    table.Add("grow", [](Operands&) {
        arr_cArray<int> array{1, 2, 3};
        array.SetSize(9);
        return array;
    });
    table.AddRefused("resize to a negative size", [](Operands& of) {
        of.values.SetSize(-3);
        return 0;
    });
    table.Add("copy values", [](Operands& of) { return arr_c1DNumberArray<double>(of.values); });
    table.Add("copy matrix", [](Operands& of) { return of.equations; });
    table.Add("assign values", [](Operands& of) { of.values = of.rightSide; });
    table.Add("copies in and out", [](Operands& of) {
        arr_c1DArray<double> array(6, 1.5);
        array.CopyIn(of.values.Data(), 3, 0, 2);
        array.CopyOut(array.Data(), 2, 1, 3);
        array.Fill(7, 1, 0);
        return array;
    });
    table.AddRefused("element outside values", [](Operands& of) { return of.values[5]; });
    table.AddRefused("index exception", [](Operands&) -> int { throw arr_cIndexException(); });
    table.AddRefused("index exception that says which",
                     [](Operands&) -> int { throw arr_cIndexException(2, 1); });
    table.AddRefused("size exception", [](Operands&) -> int { throw arr_cSizeException(); });
    table.AddRefused("size exception that says which",
                     [](Operands&) -> int { throw arr_cSizeException(-1); });
    table.AddRefused("size exception of two",
                     [](Operands&) -> int { throw arr_cSizeException(2, 1); });
    table.AddRefused("index exception that says why",
                     [](Operands&) -> int { throw arr_cIndexException(2, 1, "why"); });
    table.AddRefused("index error", [](Operands&) -> int { arr_IndexError(); });
    table.AddRefused("wide index error", [](Operands&) -> int { arr_WideIndexError(~0ULL, 1); });
    table.AddRefused("size exception that says why",
                     [](Operands&) -> int { throw arr_cSizeException(2, 1, "why"); });
    table.AddRefused("size error", [](Operands&) -> int { arr_SizeError(); });
    table.AddRefused("size error of two", [](Operands&) -> int { arr_SizeError(2, 3); });
    table.Add("bag", [](Operands&) {
        clct_cBag<int> bag;
        for (int i = 0; i < 12; ++i)
            bag.Add(i);
        const clct_cBag<int> copy(bag);
        bag.RemoveAt(2);
        return bytesOf(bag.Count(), bag[2], copy[2]);
    });
    table.Add("set", [](Operands& of) {
        clct_cSet<hndl_cHandle<rnge_c1DRange>> set;
        return bytesOf(set.Add(of.range), set.Add(of.window), set.Add(of.range), set.Count());
    });
    table.Add("list", [](Operands& of) {
        list_cPtrList<gsft_cGaussian> list(of.peaks);
        list.Append(&of.high);
        list.Insert(1, &of.low);
        return bytesOf(list.Size(), list.IndexOf(&of.low));
    });
    table.Add("append", [](Operands& of) { of.peaks.Append(&of.low); });
    table.AddRefused("append nothing", [](Operands& of) {
        of.peaks.Append(nullptr);
        return 0;
    });
    table.AddRefused("empty handle", [](Operands&) { return *hndl_cHandle<int>(); });
    table.Add("texts", [](Operands& of) {
        return bytesOf(str_cString(of.text), str_cString("another text, too long as well"),
                       str_cString(std::string(40, 'x')), str_cString(std::string_view("y")));
    });
    table.AddRefused("program exception",
                     [](Operands& of) -> int { throw expt_cProgramException(of.text, 3); });
    table.AddRefused("program exception that says why",
                     [](Operands& of) -> int { throw expt_cProgramException("unit", 3, of.text); });
    table.AddRefused("user exception",
                     [](Operands& of) -> int { throw expt_cUserException("unit", 3, of.text); });
    table.Add("complex quotients", [](Operands&) {
        return bytesOf(comp_cComplex<float>(1, 2) / comp_cComplex<float>(3, 4),
                       comp_cComplex<double>(1, 2) / comp_cComplex<double>(3, 4));
    });
}

void addPrinting(Table& table) {
    const auto add = [&](const std::string& name, auto valueOf) {
        table.Add("print " + name, [=](Operands& of) {
            std::ostringstream stream;
            stream << valueOf(of);
            if (!stream)
                throw std::bad_alloc();
            return stream.str();
        });
    };
    add("number", [](Operands& of) { return of.number; });
    add(
        "text", [](Operands & of) -> auto& { return of.text; });
    add("complex", [](Operands&) { return comp_cComplex<double>(1, -2); });
    add("single complex", [](Operands&) { return comp_cComplex<float>(1, -2); });
    add(
        "line", [](Operands & of) -> auto& { return of.coarseLine; });
    add(
        "image", [](Operands & of) -> auto& { return of.complexImage; });
    add(
        "mask", [](Operands & of) -> auto& { return of.lineMask; });
    add(
        "mask of an image", [](Operands & of) -> auto& { return of.imageMask; });
    add("calibration", [](Operands& of) { return of.line.Cal(); });
    add("calibrations", [](Operands& of) { return of.image.Cal(); });
    add(
        "range", [](Operands & of) -> auto& { return of.range; });
    add(
        "rectangle", [](Operands & of) -> auto& { return of.rectangle; });
}

} // namespace

Table valueOperations() {
    Table table;
    addConversions(table);
    addArrays(table);
    addMasks(table);
    addRanges(table);
    addContainers(table);
    addPrinting(table);
    return table;
}
