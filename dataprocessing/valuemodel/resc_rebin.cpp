#include <algorithm>
#include <cstddef>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/resc.h"
#include "dataprocessing/valuemodel/resc_bins.h"

namespace dataprocessing::detail {

namespace {

/// Writes to each of `count` bins the sum of the shares of the elements between its edges. Complex
/// elements have two sums.
template<class T>
void shareOut(const T* elements, const double* edges, std::size_t count, double* sums) {
    for (std::size_t bin = 0; bin < count; ++bin) {
        double re = 0;
        [[maybe_unused]] double im = 0;
        resc_ForEachShare(edges[bin], edges[bin + 1], [&](std::ptrdiff_t element, double share) {
            if constexpr (isComplex<T>) {
                re += share * static_cast<double>(elements[element].re);
                im += share * static_cast<double>(elements[element].im);
            } else {
                re += share * static_cast<double>(elements[element]);
            }
        });
        *sums++ = re;
        if constexpr (isComplex<T>)
            *sums++ = im;
    }
}

dtyp_cDataType resultType(dtyp_cDataType type) {
    conv_Check(type, dtyp_ComplexDouble, conv_RealPart);
    return type.Code() < dtyp_Float ? dtyp_cDataType(dtyp_Double) : type;
}

/// So many bins of a row are computed at a time: what belongs to them stays in the first cache.
constexpr int stripBins = 256;

/// Fills the bins [first, first + count) of every row of `result`: rows of elements are shared out
/// along X, each once and while it is needed, and then along Y.
template<class T>
void rebinStrip(const T* elements, int sizeX, const resc_cBins& alongX, const resc_cBins& alongY,
                int first, int count, parr_cNumberArray& result) {
    constexpr std::size_t parts = isComplex<T> ? 2 : 1;
    const dtyp_cDataType numbers = parts == 2 ? dtyp_ComplexDouble : dtyp_Double;
    const std::size_t bins = static_cast<std::size_t>(count);
    double edges[stripBins + 1];
    alongX.Edges(first, count + 1, edges);

    double shared[stripBins * parts];
    double sums[stripBins * parts];
    std::ptrdiff_t held = -1;
    double edgesY[2];
    for (int y = 0; y < alongY.Count(); ++y) {
        std::fill_n(sums, bins * parts, 0.0);
        alongY.Edges(y, 2, edgesY);
        resc_ForEachShare(edgesY[0], edgesY[1], [&](std::ptrdiff_t row, double share) {
            if (row != held)
                shareOut(elements + row * sizeX, edges, bins, shared);
            held = row;
            for (std::size_t i = 0; i < bins * parts; ++i)
                sums[i] += share * shared[i];
        });
        const std::size_t place =
            static_cast<std::size_t>(y) * static_cast<std::size_t>(alongX.Count()) +
            static_cast<std::size_t>(first);
        const dtyp_cDataType type = result.DataType();
        conv_Elements(sums, numbers,
                      static_cast<unsigned char*>(result.Data()) + place * type.SizeOf(), type,
                      bins, conv_RealPart);
    }
}

/// Fills `result`, whose rows are those of `alongY`.
void rebin(const parr_cNumberArray& array, int sizeX, const resc_cBins& alongX,
           const resc_cBins& alongY, parr_cNumberArray& result) {
    if (result.Count() == 0)
        return;
    dtyp_Visit(array.DataType(), [&]<class T>(dtyp_Tag<T>) {
        for (int first = 0; first < alongX.Count();) {
            const int count = std::min(stripBins, alongX.Count() - first);
            rebinStrip(static_cast<const T*>(array.Data()), sizeX, alongX, alongY, first, count,
                       result);
            first += count;
        }
    });
}

darr_c1DArray rebinned(const darr_c1DArray& array, const resc_cBins& bins) {
    darr_c1DArray result(bins.Count(), resultType(array.DataType()), cal_c1DArrayCal(bins.Cal()));
    const resc_cBins row(1, {}, 1, {}, 0);
    rebin(array, array.Size(), bins, row, result);
    return result;
}

darr_c2DArray rebinned(const darr_c2DArray& array, const resc_cBins& alongX,
                       const resc_cBins& alongY) {
    darr_c2DArray result(alongX.Count(), alongY.Count(), resultType(array.DataType()),
                         cal_c2DArrayCal(alongX.Cal(), alongY.Cal()));
    rebin(array, array.SizeX(), alongX, alongY, result);
    return result;
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

darr_c1DArray resc_Rebin(const darr_c1DArray& array, double delta) {
    return rebinned(array, resc_BinsOf(array.Size(), array.Cal(), delta));
}

darr_c1DArray resc_Rebin(const darr_c1DArray& array, const darr_c1DArray& grid) {
    return rebinned(array, resc_BinsOf(array.Size(), array.Cal(), grid.Size(), grid.Cal()));
}

darr_c2DArray resc_Rebin(const darr_c2DArray& array, double deltaX, double deltaY) {
    return rebinned(array, resc_BinsOf(array.SizeX(), array.Cal().X(), deltaX),
                    resc_BinsOf(array.SizeY(), array.Cal().Y(), deltaY));
}

darr_c2DArray resc_Rebin(const darr_c2DArray& array, const darr_c2DArray& grid) {
    return rebinned(array,
                    resc_BinsOf(array.SizeX(), array.Cal().X(), grid.SizeX(), grid.Cal().X()),
                    resc_BinsOf(array.SizeY(), array.Cal().Y(), grid.SizeY(), grid.Cal().Y()));
}
