#include "dataprocessing/binary/binary2_kernels.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/operand/algn.h"
#include "dataprocessing/valuemodel/barr_make.h"
#include "dataprocessing/valuemodel/view_source.h"

using namespace dataprocessing::detail;

namespace {

using eComparison = bnry_eCompBinaryOperation;

/// The mask of a comparison whose array operands lie at `axes`.
template<class Mask>
Mask compared(const bnry_sComparison& comparison, const view_cSource& a, const view_cSource& b,
              const algn_sAxes& axes) {
    Mask mask = barr_Unset<Mask>(axes.x.Count(), axes.y.Count());
    unsigned char* elements = barr_Elements(mask);
    bnry_Compare(comparison, a, b, elements, algn_Count(axes));
    return mask;
}

type_cBoolean operate(eComparison comparison, const pnum_cNumber& a, const pnum_cNumber& b) {
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    const pnum_cNumber first = conv_Convert(a, type);
    const pnum_cNumber second = conv_Convert(b, type);
    unsigned char holds = 0;
    bnry_RunComparison(first.Data(), second.Data(), &holds, {comparison, type.Code(), 0, 0, 1});
    return holds != 0;
}

template<class Array>
barr_Mask<Array> operate(eComparison comparison, const pnum_cNumber& a, const Array& b) {
    if (b.Count() == 0)
        return bnry_MaskOfNothing(b);
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    const pnum_cNumber first = conv_Convert(a, type);
    const algn_sAxes axes = algn_Axes(b);
    const view_cView second = algn_View(b, type, axes);
    return compared<barr_Mask<Array>>({comparison, type}, view_cSource(first.Data()),
                                      view_cSource(second), axes);
}

template<class Array>
barr_Mask<Array> operate(eComparison comparison, const Array& a, const pnum_cNumber& b) {
    if (a.Count() == 0)
        return bnry_MaskOfNothing(a);
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    const pnum_cNumber second = conv_Convert(b, type);
    const algn_sAxes axes = algn_Axes(a);
    const view_cView first = algn_View(a, type, axes);
    return compared<barr_Mask<Array>>({comparison, type}, view_cSource(first),
                                      view_cSource(second.Data()), axes);
}

template<class Array>
barr_Mask<Array> operate(eComparison comparison, const Array& a, const Array& b) {
    if (a.Count() == 0 && b.Count() == 0)
        return bnry_MaskOfNothing(a);
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    algn_sAxes axesA = algn_Axes(a);
    algn_sAxes axesB = algn_Axes(b);
    algn_Match(axesA, axesB);
    const view_cView first = algn_View(a, type, axesA);
    const view_cView second = algn_View(b, type, axesB);
    return compared<barr_Mask<Array>>({comparison, type}, view_cSource(first), view_cSource(second),
                                      axesA);
}

} // namespace

// clang-format off

type_cBoolean     bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(comparison, a, b); }
barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(comparison, a, b); }
barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(comparison, a, b); }
barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(comparison, a, b); }
barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const darr_c1DArray& b) { return operate(comparison, a, b); }
barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(comparison, a, b); }
barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const darr_c2DArray& b) { return operate(comparison, a, b); }

type_cBoolean     operator==(const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(bnry_Equal, a, b); }
barr_c1DBoolArray operator==(const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(bnry_Equal, a, b); }
barr_c2DBoolArray operator==(const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(bnry_Equal, a, b); }
barr_c1DBoolArray operator==(const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(bnry_Equal, a, b); }
barr_c1DBoolArray operator==(const darr_c1DArray& a, const darr_c1DArray& b) { return operate(bnry_Equal, a, b); }
barr_c2DBoolArray operator==(const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(bnry_Equal, a, b); }
barr_c2DBoolArray operator==(const darr_c2DArray& a, const darr_c2DArray& b) { return operate(bnry_Equal, a, b); }

type_cBoolean     operator!=(const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(bnry_NotEqual, a, b); }
barr_c1DBoolArray operator!=(const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(bnry_NotEqual, a, b); }
barr_c2DBoolArray operator!=(const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(bnry_NotEqual, a, b); }
barr_c1DBoolArray operator!=(const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(bnry_NotEqual, a, b); }
barr_c1DBoolArray operator!=(const darr_c1DArray& a, const darr_c1DArray& b) { return operate(bnry_NotEqual, a, b); }
barr_c2DBoolArray operator!=(const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(bnry_NotEqual, a, b); }
barr_c2DBoolArray operator!=(const darr_c2DArray& a, const darr_c2DArray& b) { return operate(bnry_NotEqual, a, b); }

type_cBoolean     operator>(const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(bnry_Greater, a, b); }
barr_c1DBoolArray operator>(const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(bnry_Greater, a, b); }
barr_c2DBoolArray operator>(const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(bnry_Greater, a, b); }
barr_c1DBoolArray operator>(const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(bnry_Greater, a, b); }
barr_c1DBoolArray operator>(const darr_c1DArray& a, const darr_c1DArray& b) { return operate(bnry_Greater, a, b); }
barr_c2DBoolArray operator>(const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(bnry_Greater, a, b); }
barr_c2DBoolArray operator>(const darr_c2DArray& a, const darr_c2DArray& b) { return operate(bnry_Greater, a, b); }

type_cBoolean     operator>=(const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(bnry_GreaterEqual, a, b); }
barr_c1DBoolArray operator>=(const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(bnry_GreaterEqual, a, b); }
barr_c2DBoolArray operator>=(const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(bnry_GreaterEqual, a, b); }
barr_c1DBoolArray operator>=(const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(bnry_GreaterEqual, a, b); }
barr_c1DBoolArray operator>=(const darr_c1DArray& a, const darr_c1DArray& b) { return operate(bnry_GreaterEqual, a, b); }
barr_c2DBoolArray operator>=(const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(bnry_GreaterEqual, a, b); }
barr_c2DBoolArray operator>=(const darr_c2DArray& a, const darr_c2DArray& b) { return operate(bnry_GreaterEqual, a, b); }

type_cBoolean     operator<(const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(bnry_Less, a, b); }
barr_c1DBoolArray operator<(const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(bnry_Less, a, b); }
barr_c2DBoolArray operator<(const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(bnry_Less, a, b); }
barr_c1DBoolArray operator<(const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(bnry_Less, a, b); }
barr_c1DBoolArray operator<(const darr_c1DArray& a, const darr_c1DArray& b) { return operate(bnry_Less, a, b); }
barr_c2DBoolArray operator<(const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(bnry_Less, a, b); }
barr_c2DBoolArray operator<(const darr_c2DArray& a, const darr_c2DArray& b) { return operate(bnry_Less, a, b); }

type_cBoolean     operator<=(const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(bnry_LessEqual, a, b); }
barr_c1DBoolArray operator<=(const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(bnry_LessEqual, a, b); }
barr_c2DBoolArray operator<=(const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(bnry_LessEqual, a, b); }
barr_c1DBoolArray operator<=(const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(bnry_LessEqual, a, b); }
barr_c1DBoolArray operator<=(const darr_c1DArray& a, const darr_c1DArray& b) { return operate(bnry_LessEqual, a, b); }
barr_c2DBoolArray operator<=(const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(bnry_LessEqual, a, b); }
barr_c2DBoolArray operator<=(const darr_c2DArray& a, const darr_c2DArray& b) { return operate(bnry_LessEqual, a, b); }

// clang-format on
