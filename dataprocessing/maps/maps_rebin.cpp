#include <limits>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/maps/maps_band.h"
#include "dataprocessing/valuemodel/resc_bins.h"

namespace dataprocessing::detail {

namespace {

int countOf(std::size_t channels) {
    if (channels > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        arr_SizeError();
    return static_cast<int>(channels);
}

maps_cFilter filterOf(std::size_t channels, const cal_c1DArrayCal& cal, const resc_cBins& bins) {
    maps_sFilter filter{.channels = channels,
                        .cal = cal,
                        .results = static_cast<std::size_t>(bins.Count()),
                        .resultCal = cal_c1DArrayCal(bins.Cal())};
    std::vector<double> shares;
    double edges[2];
    for (int bin = 0; bin < bins.Count(); ++bin) {
        bins.Edges(bin, 2, edges);
        shares.clear();
        resc_ForEachShare(edges[0], edges[1],
                          [&](std::ptrdiff_t, double share) { shares.push_back(share); });
        filter.Add(1, static_cast<std::size_t>(edges[0]), shares);
    }
    return std::move(filter).Made();
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cFilter maps_Rebin(std::size_t channels, const cal_c1DArrayCal& cal, double delta) {
    return filterOf(channels, cal, resc_BinsOf(countOf(channels), cal, delta));
}

maps_cFilter maps_Rebin(std::size_t channels, const cal_c1DArrayCal& cal, std::size_t gridChannels,
                        const cal_c1DArrayCal& grid) {
    return filterOf(channels, cal,
                    resc_BinsOf(countOf(channels), cal, countOf(gridChannels), grid));
}
