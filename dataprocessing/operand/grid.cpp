#include "dataprocessing/operand/grid.h"

#include "dataprocessing/operand/algn.h"
#include "dataprocessing/operand/pair.h"

using namespace dataprocessing::detail;

namespace {

/// The axes of the result that two arrays are combined to.
template<class Array>
algn_sAxes aligned(const Array& a, const Array& b) {
    algn_sAxes ofA = algn_Axes(a);
    algn_sAxes ofB = algn_Axes(b);
    if (!pair_IsEmpty(a, b) && !algn_IsAligned(ofA, ofB))
        algn_Align(ofA, ofB);
    return ofA;
}

} // namespace

grid_s1DGrid algn_Calibration(const darr_c1DArray& a, const darr_c1DArray& b) {
    const algn_sAxes axes = aligned(a, b);
    return {cal_c1DArrayCal(axes.x.Cal()), axes.x.Count()};
}

grid_s2DGrid algn_Calibration(const darr_c2DArray& a, const darr_c2DArray& b) {
    const algn_sAxes axes = aligned(a, b);
    return {{axes.x.Cal(), axes.y.Cal()}, axes.x.Count(), axes.y.Count()};
}
