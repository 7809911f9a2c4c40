#include <algorithm>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/operand/blocks.h"
#include "dataprocessing/operand/pick.h"
#include "dataprocessing/reduce/extr.h"
#include "dataprocessing/reduce/extrem1_kernels.h"
#include "dataprocessing/unary/ternary.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/darr_value.h"
#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

namespace {

void refuseEmpty(const parr_cNumberArray& array) {
    if (array.Count() == 0)
        throw expt_cUserException("extrem1", 383, "Cannot calculate extremum on empty array.");
}

/// The type that elements are searched in: complex ones as doubles.
dtyp_cDataType searchedType(const parr_cNumberArray& array, conv_eComplexConversion conversion) {
    const dtyp_cDataType stored = array.DataType();
    const dtyp_cDataType type = stored.IsComplex() ? dtyp_Double : stored;
    conv_Check(stored, type, conversion);
    return type;
}

/// Runs all searches over the elements [from, to) in one pass, in blocks that stay in the cache for
/// the next search; each begins with the first element.
template<std::size_t Count>
void search(const parr_cNumberArray& array, int from, int to, conv_eComplexConversion conversion,
            const extr_eKind (&kinds)[Count], extr_sBest (&best)[Count]) {
    const dtyp_cDataType type = searchedType(array, conversion);
    std::size_t first = 0;
    const auto step = [&](void*, std::size_t count, const void* elements) {
        for (std::size_t k = 0; k < Count; ++k) {
            if (first == 0)
                best[k].value = pnum_cNumber(type, elements);
            extr_Continue(kinds[k], elements, first, count, best[k]);
        }
        first += count;
        return true;
    };
    constexpr std::size_t mostBytes = 131072;
    blocks_Run({nullptr, 0, static_cast<std::size_t>(from), static_cast<std::size_t>(to),
                mostBytes / type.SizeOf()},
               step, blocks_cSource(array.Data(), array.DataType(), type, conversion));
}

/// The extremum; `index` is written unless the type is unknown.
pnum_cNumber extremum(extr_eKind kind, const parr_cNumberArray& array, int& index,
                      conv_eComplexConversion conversion) {
    refuseEmpty(array);
    if (!array.DataType().IsKnown())
        return 0.0f;
    extr_sBest best[1];
    search(array, 0, array.Count(), conversion, {kind}, best);
    index = static_cast<int>(best[0].index);
    return best[0].value;
}

/// Sets the place of the element at `index`, unless that is negative.
void setPlace(const parr_cNumberArray&, int) {}
void setPlace(const parr_cNumberArray&, int index, int& place) {
    if (index >= 0)
        place = index;
}
void setPlace(const darr_c1DArray& array, int index, double& position) {
    if (index >= 0)
        position = array.Cal().Position(index);
}
void setPlace(const parr_c2DNumberArray& array, int index, int& x, int& y) {
    if (index >= 0) {
        x = index % array.SizeX();
        y = index / array.SizeX();
    }
}
void setPlace(const darr_c2DArray& array, int index, double& x, double& y) {
    if (index >= 0) {
        x = array.Cal().X().Position(index % array.SizeX());
        y = array.Cal().Y().Position(index / array.SizeX());
    }
}

/// The extremum, and its place unless the type is unknown.
template<class Array, class... Place>
pnum_cNumber extremumAt(extr_eKind kind, const Array& array, conv_eComplexConversion conversion,
                        Place&... place) {
    int index = -1;
    const pnum_cNumber value = extremum(kind, array, index, conversion);
    setPlace(array, index, place...);
    return value;
}

/// The same under a mask.
template<class Array, class Mask, class... Place>
pnum_cNumber extremumWhere(extr_eKind kind, const Array& array, const Mask& mask,
                           conv_eComplexConversion conversion, Place&... place) {
    int taken = -1;
    const pnum_cNumber value = extremum(kind, pick_Where(array, mask), taken, conversion);
    const int index = taken < 0 ? taken : pick_IndexOf(mask.Elements(), taken);
    setPlace(array, index, place...);
    return value;
}

pnum_cNumber extremum(extr_eKind kind, const parr_cNumberArray& array,
                      conv_eComplexConversion conversion) {
    int index = 0;
    return extremum(kind, array, index, conversion);
}

void extrema(const parr_cNumberArray& array, pnum_cNumber& min, pnum_cNumber& max,
             conv_eComplexConversion conversion) {
    refuseEmpty(array);
    extr_sBest best[2] = {{0.0f}, {0.0f}};
    if (array.DataType().IsKnown())
        search(array, 0, array.Count(), conversion, {extr_Minimum, extr_Maximum}, best);
    min = best[0].value;
    max = best[1].value;
}

pnum_cNumber extremum(extr_eKind kind, const darr_c1DArray& array, const rnge_c1DRange& range,
                      darr_eInterpolation interpolation, conv_eComplexConversion conversion) {
    refuseEmpty(array);
    if (!array.DataType().IsKnown())
        return 0.0f;
    const auto better = [&](const pnum_cNumber& a, const pnum_cNumber& b) {
        return kind == extr_Minimum ? trny_min(a, b) : trny_max(a, b);
    };
    const view_cView all(array.Data(), array.DataType(), searchedType(array, conversion),
                         view_X(array), view_Y(array), conversion);
    const pnum_cNumber start = darr_ValueAt(all, array.Cal(), range.Start(), interpolation);
    const pnum_cNumber end = darr_ValueAt(all, array.Cal(), range.End(), interpolation);
    const rnge_c1DIndexRange inside(range, array.Cal(),
                                    interpolation == darr_NoInterpolation ? rnge_IndexFloor
                                                                          : rnge_IndexCeiling);
    const int first = std::max(inside.First(), 0);
    const int last = std::min(inside.Last(), array.Size());
    if (first >= last)
        return better(start, end);
    extr_sBest best[1];
    search(array, first, last, conversion, {kind}, best);
    return better(better(best[0].value, start), end);
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

// clang-format off

pnum_cNumber extr_Min(const parr_c1DNumberArray& array, conv_eComplexConversion conversion) { return extremum(extr_Minimum, array, conversion); }
pnum_cNumber extr_Max(const parr_c1DNumberArray& array, conv_eComplexConversion conversion) { return extremum(extr_Maximum, array, conversion); }
pnum_cNumber extr_Min(const parr_c2DNumberArray& array, conv_eComplexConversion conversion) { return extremum(extr_Minimum, array, conversion); }
pnum_cNumber extr_Max(const parr_c2DNumberArray& array, conv_eComplexConversion conversion) { return extremum(extr_Maximum, array, conversion); }
pnum_cNumber extr_Min(const parr_c1DNumberArray& array, int& index, conv_eComplexConversion conversion) { return extremum(extr_Minimum, array, index, conversion); }
pnum_cNumber extr_Max(const parr_c1DNumberArray& array, int& index, conv_eComplexConversion conversion) { return extremum(extr_Maximum, array, index, conversion); }
pnum_cNumber extr_Min(const parr_c2DNumberArray& array, int& x, int& y, conv_eComplexConversion conversion) { return extremumAt(extr_Minimum, array, conversion, x, y); }
pnum_cNumber extr_Max(const parr_c2DNumberArray& array, int& x, int& y, conv_eComplexConversion conversion) { return extremumAt(extr_Maximum, array, conversion, x, y); }
pnum_cNumber extr_Min(const darr_c1DArray& array, double& position, conv_eComplexConversion conversion) { return extremumAt(extr_Minimum, array, conversion, position); }
pnum_cNumber extr_Max(const darr_c1DArray& array, double& position, conv_eComplexConversion conversion) { return extremumAt(extr_Maximum, array, conversion, position); }
pnum_cNumber extr_Min(const darr_c2DArray& array, double& x, double& y, conv_eComplexConversion conversion) { return extremumAt(extr_Minimum, array, conversion, x, y); }
pnum_cNumber extr_Max(const darr_c2DArray& array, double& x, double& y, conv_eComplexConversion conversion) { return extremumAt(extr_Maximum, array, conversion, x, y); }
void extr_MinMax(const parr_c1DNumberArray& array, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion) { extrema(array, min, max, conversion); }
void extr_MinMax(const parr_c2DNumberArray& array, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion) { extrema(array, min, max, conversion); }
pnum_cNumber extr_Min(const darr_c1DArray& array, const rnge_c1DRange& range, darr_eInterpolation interpolation, conv_eComplexConversion conversion) { return extremum(extr_Minimum, array, range, interpolation, conversion); }
pnum_cNumber extr_Max(const darr_c1DArray& array, const rnge_c1DRange& range, darr_eInterpolation interpolation, conv_eComplexConversion conversion) { return extremum(extr_Maximum, array, range, interpolation, conversion); }

pnum_cNumber extr_Min(const darr_c1DArray& array, const barr_c1DBoolArray& mask, conv_eComplexConversion conversion) { return extremumWhere(extr_Minimum, array, mask, conversion); }
pnum_cNumber extr_Max(const darr_c1DArray& array, const barr_c1DBoolArray& mask, conv_eComplexConversion conversion) { return extremumWhere(extr_Maximum, array, mask, conversion); }
pnum_cNumber extr_Min(const darr_c2DArray& array, const barr_c2DBoolArray& mask, conv_eComplexConversion conversion) { return extremumWhere(extr_Minimum, array, mask, conversion); }
pnum_cNumber extr_Max(const darr_c2DArray& array, const barr_c2DBoolArray& mask, conv_eComplexConversion conversion) { return extremumWhere(extr_Maximum, array, mask, conversion); }
pnum_cNumber extr_Min(const darr_c1DArray& array, const barr_c1DBoolArray& mask, int& index, conv_eComplexConversion conversion) { return extremumWhere(extr_Minimum, array, mask, conversion, index); }
pnum_cNumber extr_Max(const darr_c1DArray& array, const barr_c1DBoolArray& mask, int& index, conv_eComplexConversion conversion) { return extremumWhere(extr_Maximum, array, mask, conversion, index); }
pnum_cNumber extr_Min(const darr_c2DArray& array, const barr_c2DBoolArray& mask, int& x, int& y, conv_eComplexConversion conversion) { return extremumWhere(extr_Minimum, array, mask, conversion, x, y); }
pnum_cNumber extr_Max(const darr_c2DArray& array, const barr_c2DBoolArray& mask, int& x, int& y, conv_eComplexConversion conversion) { return extremumWhere(extr_Maximum, array, mask, conversion, x, y); }
pnum_cNumber extr_Min(const darr_c1DArray& array, const barr_c1DBoolArray& mask, double& position, conv_eComplexConversion conversion) { return extremumWhere(extr_Minimum, array, mask, conversion, position); }
pnum_cNumber extr_Max(const darr_c1DArray& array, const barr_c1DBoolArray& mask, double& position, conv_eComplexConversion conversion) { return extremumWhere(extr_Maximum, array, mask, conversion, position); }
pnum_cNumber extr_Min(const darr_c2DArray& array, const barr_c2DBoolArray& mask, double& x, double& y, conv_eComplexConversion conversion) { return extremumWhere(extr_Minimum, array, mask, conversion, x, y); }
pnum_cNumber extr_Max(const darr_c2DArray& array, const barr_c2DBoolArray& mask, double& x, double& y, conv_eComplexConversion conversion) { return extremumWhere(extr_Maximum, array, mask, conversion, x, y); }
void extr_MinMax(const darr_c1DArray& array, const barr_c1DBoolArray& mask, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion) { extrema(pick_Where(array, mask), min, max, conversion); }
void extr_MinMax(const darr_c2DArray& array, const barr_c2DBoolArray& mask, pnum_cNumber& min, pnum_cNumber& max, conv_eComplexConversion conversion) { extrema(pick_Where(array, mask), min, max, conversion); }

// clang-format on
