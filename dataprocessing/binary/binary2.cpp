#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/binary2_compared.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/operand/pair.h"
#include "dataprocessing/valuemodel/barr_make.h"

namespace dataprocessing::detail {

dtyp_cDataType bnry_ComparedType(dtyp_cDataType a, dtyp_cDataType b, int comparison) {
    if (comparison < bnry_Equal || comparison > bnry_LessEqual)
        throw expt_cProgramException("binary2", 1, "Unknown comparison.");
    return pair_Type(a, b, dtyp_UInt8);
}

compare_cLoop bnry_ComparingLoop(int comparison, dtyp_cDataType type, const blocks_cSource& a,
                                 const blocks_cSource& b) {
    if (!type.IsKnown())
        throw expt_cProgramException("binary2", 138,
                                     "Elements of an unknown type are not compared.");
    return compare_LoopFor(type, comparison, form_Of(a.IsArray(), b.IsArray()));
}

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

namespace {

using eComparison = bnry_eCompBinaryOperation;

type_cBoolean unsetMask(const pnum_cNumber&, pair_sNowhere) { return {}; }
template<class Array>
barr_Mask<Array> unsetMask(const Array&, const algn_sAxes& axes) {
    return barr_Unset<barr_Mask<Array>>(axes.x.Count(), axes.y.Count());
}

void setCal(type_cBoolean&, pair_sNowhere) {}
void setCal(barr_c1DBoolArray& mask, const algn_sAxes& axes) {
    mask.SetCal(cal_c1DArrayCal(axes.x.Cal()));
}
void setCal(barr_c2DBoolArray& mask, const algn_sAxes& axes) {
    mask.SetCal({axes.x.Cal(), axes.y.Cal()});
}

template<class A, class B>
auto operate(eComparison comparison, const A& a, const B& b, bnry_eMaskCal cal = bnry_DefaultCal) {
    if (cal != bnry_DefaultCal && cal != bnry_DataCal)
        throw expt_cProgramException("binary2", 2, "Unknown calibration of a mask.");
    const auto& model = pair_Model(a, b);
    if constexpr (!pair_Number<A> || !pair_Number<B>)
        if (pair_IsEmpty(a, b)) {
            auto mask = bnry_MaskOfNothing(model);
            if (cal == bnry_DataCal)
                mask.SetCal(model.Cal());
            return mask;
        }
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    pair_cOperands<A, B> pair(a, b, type);
    pair.Align(pair_NothingIsRefused);
    auto mask = unsetMask(model, pair.Axes());
    const compare_cLoop loop = bnry_ComparingLoop(comparison, type, pair.First(), pair.Second());
    const auto step = [loop](void* target, std::size_t count, const void* x, const void* y) {
        loop(x, y, static_cast<unsigned char*>(target), count);
        return true;
    };
    blocks_Run({barr_Elements(mask), 1, 0, pair.Count()}, step, pair.First(), pair.Second());
    if (cal == bnry_DataCal)
        setCal(mask, pair.Axes());
    return mask;
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

barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c1DArray& b, bnry_eMaskCal cal) { return operate(comparison, a, b, cal); }
barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const pnum_cNumber&  a, const darr_c2DArray& b, bnry_eMaskCal cal) { return operate(comparison, a, b, cal); }
barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const pnum_cNumber&  b, bnry_eMaskCal cal) { return operate(comparison, a, b, cal); }
barr_c1DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c1DArray& a, const darr_c1DArray& b, bnry_eMaskCal cal) { return operate(comparison, a, b, cal); }
barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const pnum_cNumber&  b, bnry_eMaskCal cal) { return operate(comparison, a, b, cal); }
barr_c2DBoolArray bnry_Operate(bnry_eCompBinaryOperation comparison, const darr_c2DArray& a, const darr_c2DArray& b, bnry_eMaskCal cal) { return operate(comparison, a, b, cal); }

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
