#include <bit>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/operand/pick.h"
#include "dataprocessing/reduce/stat.h"
#include "dataprocessing/valuemodel/conv_check.h"

#define LEVEL_KERNELS "dataprocessing/reduce/statist_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

pnum_cNumber sumOf(const parr_cNumberArray& array) {
    pnum_cNumber sum(0.0f);
    LEVEL_SELECT(stat_RunSum)
    (array.DataType(), array.Data(), static_cast<std::size_t>(array.Count()), sum);
    return sum;
}

pnum_cNumber meanOf(const parr_cNumberArray& array, int emptyLine) {
    if (array.Count() == 0)
        throw expt_cUserException("statist", emptyLine, "Cannot calculate mean on empty array.");
    return sumOf(array) * pnum_cNumber(1.0 / array.Count());
}

/// The deviations and their squares are never stored: each is a double (or a pair of them), which
/// is what an array of them would hold.
pnum_cNumber varianceOf(const parr_cNumberArray& array, const pnum_cNumber& mean, int denominator) {
    conv_Check(array.DataType(), mean.DataType(), conv_RealPart);
    pnum_cNumber total(0.0);
    LEVEL_SELECT(stat_RunSquares)
    (array.DataType(), array.Data(), static_cast<std::size_t>(array.Count()), mean, total);
    return total * pnum_cNumber(1.0 / denominator);
}

constexpr int meanLine1D = 166;
constexpr int meanLine2D = 178;

constexpr int varianceLine1D = 190;
constexpr int varianceLine2D = 203;

[[noreturn]] void refuseVariance(int line) {
    throw expt_cUserException("statist", line, "Cannot calculate variance on array.");
}

/// The variance of elements without rows; `refusingLine` refuses less than two.
pnum_cNumber varianceOfLine(const parr_c1DNumberArray& array, int refusingLine) {
    if (array.Size() < 2)
        refuseVariance(refusingLine);
    return varianceOf(array, meanOf(array, meanLine1D), array.Size() - 1);
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

pnum_cNumber stat_Sum(const parr_c1DNumberArray& array) { return sumOf(array); }
pnum_cNumber stat_Sum(const parr_c2DNumberArray& array) { return sumOf(array); }

pnum_cNumber stat_Mean(const parr_c1DNumberArray& array) { return meanOf(array, meanLine1D); }
pnum_cNumber stat_Mean(const parr_c2DNumberArray& array) { return meanOf(array, meanLine2D); }

pnum_cNumber stat_Variance(const parr_c1DNumberArray& array) {
    return varianceOfLine(array, varianceLine1D);
}

pnum_cNumber stat_Variance(const parr_c2DNumberArray& array) {
    if (array.Count() < 2 || array.SizeY() < 2)
        refuseVariance(varianceLine2D);
    return varianceOf(array, meanOf(array, meanLine2D), (array.SizeX() - 1) * (array.SizeY() - 1));
}

pnum_cNumber stat_Sum(const darr_c1DArray& array, const barr_c1DBoolArray& mask) {
    return sumOf(pick_Where(array, mask));
}
pnum_cNumber stat_Sum(const darr_c2DArray& array, const barr_c2DBoolArray& mask) {
    return sumOf(pick_Where(array, mask));
}

pnum_cNumber stat_Mean(const darr_c1DArray& array, const barr_c1DBoolArray& mask) {
    return meanOf(pick_Where(array, mask), meanLine1D);
}
pnum_cNumber stat_Mean(const darr_c2DArray& array, const barr_c2DBoolArray& mask) {
    return meanOf(pick_Where(array, mask), meanLine2D);
}

pnum_cNumber stat_Variance(const darr_c1DArray& array, const barr_c1DBoolArray& mask) {
    return varianceOfLine(pick_Where(array, mask), varianceLine1D);
}
pnum_cNumber stat_Variance(const darr_c2DArray& array, const barr_c2DBoolArray& mask) {
    return varianceOfLine(pick_Where(array, mask), varianceLine2D);
}
