#include "dataprocessing/valuemodel/pnum.h"

#include <cstring>
#include <ostream>
#include <type_traits>

#include "dataprocessing/base/dtyp_print.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"

using namespace dataprocessing::detail;

pnum_cNumber::pnum_cNumber(dtyp_cDataType type, const void* element) noexcept : type_(type) {
    if (const std::size_t size = type.SizeOf())
        std::memcpy(element_, element, size);
}

void pnum_cNumber::RefuseWide() {
    throw expt_cProgramException("pnum", 1,
                                 "The integer does not fit in 32 bits: convert it to double.");
}

void pnum_cNumber::ConvertTo(dtyp_cDataType type, void* target,
                             conv_eComplexConversion mode) const {
    conv_Check(type_, type, mode);
    conv_Elements(element_, type_, target, type, 1, mode);
}

std::ostream& operator<<(std::ostream& stream, const pnum_cNumber& number) {
    dtyp_PrintElement(stream, number.DataType(), number.Data());
    return stream;
}
