#include <cstddef>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/bnry_bool.h"
#include "dataprocessing/kernels/logic.h"
#include "dataprocessing/operand/algn.h"
#include "dataprocessing/valuemodel/barr_make.h"

using namespace dataprocessing::detail;

namespace {

/// The line that refuses masks of different range or delta.
constexpr int refusingLine(const barr_c1DBoolArray&) { return 58; }
constexpr int refusingLine(const barr_c2DBoolArray&) { return 83; }

/// A mask of the size and calibration of `mask`, with elements that are not set.
template<class Mask>
Mask unsetLike(const Mask& mask, const algn_sAxes& axes) {
    Mask result = barr_Unset<Mask>(axes.x.Count(), axes.y.Count());
    result.SetCal(mask.Cal());
    return result;
}

template<class Mask>
Mask combined(const Mask& a, const Mask& b, logic_Loop loop) {
    if (!a.IsRangeAndDelta(b))
        throw expt_cProgramException("binary3", refusingLine(a),
                                     "The masks differ in range or delta, and are never aligned.");
    const unsigned char* first = barr_Elements(a);
    const unsigned char* second = barr_Elements(b);
    const algn_sAxes axes = algn_Axes(a);
    algn_RequireSameSize(axes, algn_Axes(b));
    Mask result = unsetLike(a, axes);
    loop(first, second, barr_Elements(result), algn_Count(axes));
    return result;
}

template<class Mask>
Mask negated(const Mask& mask) {
    const unsigned char* elements = barr_Elements(mask);
    const algn_sAxes axes = algn_Axes(mask);
    Mask result = unsetLike(mask, axes);
    logic_Not(elements, barr_Elements(result), algn_Count(axes));
    return result;
}

} // namespace

// clang-format off

barr_c1DBoolArray operator&(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return combined(a, b, logic_Both()); }
barr_c2DBoolArray operator&(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return combined(a, b, logic_Both()); }
barr_c1DBoolArray operator&&(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return combined(a, b, logic_Both()); }
barr_c2DBoolArray operator&&(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return combined(a, b, logic_Both()); }
barr_c1DBoolArray& operator&=(barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return a = combined(a, b, logic_Both()); }
barr_c2DBoolArray& operator&=(barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return a = combined(a, b, logic_Both()); }

barr_c1DBoolArray operator|(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return combined(a, b, logic_Either()); }
barr_c2DBoolArray operator|(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return combined(a, b, logic_Either()); }
barr_c1DBoolArray operator||(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return combined(a, b, logic_Either()); }
barr_c2DBoolArray operator||(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return combined(a, b, logic_Either()); }
barr_c1DBoolArray& operator|=(barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return a = combined(a, b, logic_Either()); }
barr_c2DBoolArray& operator|=(barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return a = combined(a, b, logic_Either()); }

barr_c1DBoolArray operator^(const barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return combined(a, b, logic_OneOf()); }
barr_c2DBoolArray operator^(const barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return combined(a, b, logic_OneOf()); }
barr_c1DBoolArray& operator^=(barr_c1DBoolArray& a, const barr_c1DBoolArray& b) { return a = combined(a, b, logic_OneOf()); }
barr_c2DBoolArray& operator^=(barr_c2DBoolArray& a, const barr_c2DBoolArray& b) { return a = combined(a, b, logic_OneOf()); }

barr_c1DBoolArray operator!(const barr_c1DBoolArray& mask) { return negated(mask); }
barr_c2DBoolArray operator!(const barr_c2DBoolArray& mask) { return negated(mask); }

// clang-format on
