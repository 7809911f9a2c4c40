#include "dataprocessing/maps/maps_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/maps/maps_rows_small.h"
#include "dataprocessing/platform/prefetch.h"
#include "dataprocessing/valuemodel/cal_section.h"

#define LEVEL_KERNELS "dataprocessing/maps/maps_rows_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

using Cross = void(const double*, const double* const*, std::size_t, double*, double*);

template<std::size_t many>
Cross* crossOf(maps_eWeighing weighing) {
    switch (weighing) {
    case maps_WeighCounts:
        return LEVEL_SELECT(maps_Cross<many, maps_WeighCounts>);
    case maps_WeighCurve:
        return LEVEL_SELECT(maps_Cross<many, maps_WeighCurve>);
    default:
        return LEVEL_SELECT(maps_Cross<many, maps_WeightsGiven>);
    }
}

} // namespace

void maps_CrossRow(const double* y, std::span<const double* const> shapes, maps_eWeighing weighing,
                   std::size_t count, double* weights, std::span<double> sums) {
    static constexpr std::array<Cross* (*)(maps_eWeighing), maps_mostCore + 1> crosses{
        crossOf<0>, crossOf<1>, crossOf<2>, crossOf<3>, crossOf<4>};
    crosses[shapes.size()](weighing)(y, shapes.data(), count, weights, sums.data());
}

void maps_Fetch(const maps_cStack& stack, std::size_t spectrum, std::size_t first,
                std::size_t count, double* row) {
    const std::ptrdiff_t stride = stack.Layout().channelStride;
    dtyp_Visit(stack.DataType(), [&]<class T>(dtyp_Tag<T>) {
        if constexpr (!isComplex<T>) {
            const T* const from = reinterpret_cast<const T*>(stack.At(spectrum)) +
                                  static_cast<std::ptrdiff_t>(first) * stride;
            if (spectrum + 1 < stack.Spectra() && stride == 1) {
                // A processor looks no further ahead than a page, which a spectrum may be.
                prefetch_Range(stack.At(spectrum + 1) + first * sizeof(T), count * sizeof(T));
            }
            LEVEL_SELECT(maps_Widen<T>)(from, stride, count, row);
        }
    });
    std::fill(row + count, row + maps_WholeVectors(count), 0.0);
}

bool maps_MayBeNegative(const maps_cStack& stack) { return stack.DataType().Code() >= dtyp_Int8; }

bool maps_IsZero(const double* row, std::size_t count) {
    return std::all_of(row, row + count, [](double value) { return value == 0; });
}

void maps_LeaveOut(const double* part, std::size_t count, double* row) {
    for (std::size_t k = 0; k < count; ++k)
        if (part[k] == 0)
            row[k] = 0;
}

void maps_AddRows(const double* const* rows, std::size_t many, std::size_t count, double* sum,
                  double* totals) {
    LEVEL_SELECT(maps_AddAll)(rows, many, count, sum, totals);
}

template<class T>
void maps_AddSmallRows(const T* const* rows, std::size_t many, std::size_t count,
                       maps_SmallSum<T>* sum, maps_SmallSum<T>* totals) {
    LEVEL_SELECT(maps_AddSmall<T, maps_SmallSum<T>>)(rows, many, count, sum, totals);
}
template void maps_AddSmallRows(const unsigned char* const*, std::size_t, std::size_t, unsigned*,
                                unsigned*);
template void maps_AddSmallRows(const unsigned short* const*, std::size_t, std::size_t, unsigned*,
                                unsigned*);
template void maps_AddSmallRows(const signed char* const*, std::size_t, std::size_t, int*, int*);
template void maps_AddSmallRows(const short* const*, std::size_t, std::size_t, int*, int*);

maps_sChannelRange maps_ChannelsIn(const cal_c1DArrayCal& cal, std::size_t channels, double low,
                                   double high) {
    const cal_cSection section(cal, low, high);
    maps_sChannelRange range{0, channels};
    while (range.first < range.last && !section.Has(range.first))
        ++range.first;
    while (range.last > range.first && !section.Has(range.last - 1))
        --range.last;
    return range;
}

} // namespace dataprocessing::detail
