#include "dataprocessing/valuemodel/conv.h"

#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/parr.h"
#include "dataprocessing/valuemodel/pnum.h"

namespace dataprocessing::detail {

void conv_CheckDifferent(dtyp_cDataType from, dtyp_cDataType to, conv_eComplexConversion mode) {
    if (!from.IsKnown() || !to.IsKnown())
        throw expt_cProgramException("conv", 1, "Unknown element type.");
    if (from.IsComplex() && to.IsReal() && (mode < conv_RealPart || mode > conv_Phase))
        throw expt_cProgramException("conv", 2, "Unknown complex conversion.");
}

namespace {

/// Fills `result`, which has the sizes of `value` and the type wanted, and returns it.
template<class Value>
Value converted(const Value& value, Value result, conv_eComplexConversion mode) {
    conv_Elements(value.Data(), value.DataType(), result.Data(), result.DataType(),
                  static_cast<std::size_t>(value.Count()), mode);
    return result;
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

pnum_cNumber conv_Convert(const pnum_cNumber& value, dtyp_cDataType type,
                          conv_eComplexConversion mode) {
    if (value.DataType() == type)
        return value;
    conv_Check(value.DataType(), type, mode);
    pnum_cNumber result(type);
    conv_Elements(value.Data(), value.DataType(), result.Data(), type, 1, mode);
    return result;
}

parr_c1DNumberArray conv_Convert(const parr_c1DNumberArray& value, dtyp_cDataType type,
                                 conv_eComplexConversion mode) {
    conv_Check(value.DataType(), type, mode);
    return converted(value, parr_c1DNumberArray(value.Size(), type), mode);
}

parr_c2DNumberArray conv_Convert(const parr_c2DNumberArray& value, dtyp_cDataType type,
                                 conv_eComplexConversion mode) {
    conv_Check(value.DataType(), type, mode);
    return converted(value, parr_c2DNumberArray(value.SizeX(), value.SizeY(), type), mode);
}

darr_c1DArray conv_Convert(const darr_c1DArray& value, dtyp_cDataType type,
                           conv_eComplexConversion mode) {
    conv_Check(value.DataType(), type, mode);
    return converted(value, darr_c1DArray(value.Size(), type, value.Cal()), mode);
}

darr_c2DArray conv_Convert(const darr_c2DArray& value, dtyp_cDataType type,
                           conv_eComplexConversion mode) {
    conv_Check(value.DataType(), type, mode);
    return converted(value, darr_c2DArray(value.SizeX(), value.SizeY(), type, value.Cal()), mode);
}
