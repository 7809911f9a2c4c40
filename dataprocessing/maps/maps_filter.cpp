#include "dataprocessing/maps/maps_filter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dataprocessing/filter/smth_line.h"
#include "dataprocessing/maps/maps_band.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_room.h"
#include "dataprocessing/maps/maps_rows.h"

namespace dataprocessing::detail {

void maps_sFilter::Add(std::size_t count, std::size_t channel, std::span<const double> terms) {
    runs.push_back({count, channel, numbers.size(), terms.size()});
    numbers.insert(numbers.end(), terms.begin(), terms.end());
    mostTerms = std::max(mostTerms, terms.size());
}

maps_cFilter maps_sFilter::Made() && {
    double largest = 0;
    for (const double number : numbers)
        largest = std::max(largest, std::fabs(number));
    if (largest > 0 && std::isfinite(largest))
        scale = std::scalbn(1.0, std::ilogb(largest));
    squares.reserve(numbers.size());
    for (const double number : numbers)
        squares.push_back((number / scale) * (number / scale));
    return maps_cFilter(std::make_unique<const maps_sFilter>(std::move(*this)));
}

maps_eStatus maps_Judge(std::span<double> values, std::span<double> errors, double scale) {
    constexpr double nothing = std::numeric_limits<double>::quiet_NaN();
    if (std::all_of(values.begin(), values.end(),
                    [](double value) { return std::isfinite(value); })) {
        for (double& error : errors) {
            error = std::sqrt(error) * scale;
            if (!std::isfinite(error))
                error = nothing;
        }
        return maps_Good;
    }
    std::fill(values.begin(), values.end(), nothing);
    std::fill(errors.begin(), errors.end(), nothing);
    return maps_NotFinite;
}

void maps_Variances(const double* row, std::size_t count, double* variances) {
    for (std::size_t k = 0; k < count; ++k)
        variances[k] = row[k] < 0 ? 0 : row[k];
}

namespace {

/// One spectrum through the filter: `row` times `numbers`.
void combine(const maps_sFilter& filter, const std::vector<double>& numbers, const double* row,
             std::vector<const double*>& rows, double* result) {
    for (const maps_sFilter::sRun& run : filter.runs) {
        const double* const from = row + run.channel;
        const double* const times = numbers.data() + run.first;
        if (run.count > 1 && run.terms > 0) {
            for (std::size_t k = 0; k < run.terms; ++k)
                rows[k] = from + k;
            smth_SumRows(rows.data(), times, run.terms, result, run.count);
        } else {
            double sum = 0;
            for (std::size_t k = 0; k < run.terms; ++k)
                sum += times[k] * from[k];
            std::fill_n(result, run.count, sum);
        }
        result += run.count;
    }
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

maps_cFilter::maps_cFilter(std::unique_ptr<const maps_sFilter> filter)
    : filter_(std::move(filter)) {}
maps_cFilter::~maps_cFilter() = default;
maps_cFilter::maps_cFilter(maps_cFilter&&) noexcept = default;
maps_cFilter& maps_cFilter::operator=(maps_cFilter&&) noexcept = default;

std::size_t maps_cFilter::Channels() const noexcept { return filter_->results; }
const cal_c1DArrayCal& maps_cFilter::Cal() const noexcept { return filter_->resultCal; }

void maps_cFilter::Run(const maps_cStack& stack, const maps_sSpectra& spectra,
                       maps_cWorkspace& workspace) const {
    const maps_sFilter& filter = *filter_;
    const std::size_t results = filter.results;
    const std::size_t channels = filter.channels;
    maps_CheckSpectra(spectra, results, stack.Spectra());
    maps_RefuseChannels(stack.Channels() != channels || !(stack.Cal() == filter.cal));
    maps_sRoom& room = workspace.Room();
    double* const row = room.Get(maps_sRoom::Row, maps_WholeVectors(channels));
    double* const variances = room.Get(maps_sRoom::Weights, channels);
    double* const unwanted = room.Get(maps_sRoom::Curve, results);
    std::vector<const double*> rows(filter.mostTerms);

    for (std::size_t q = 0; q < stack.Spectra(); ++q) {
        maps_Fetch(stack, q, 0, channels, row);
        const std::span values(
            spectra.values.empty() ? unwanted : spectra.values.data() + q * results, results);
        combine(filter, filter.numbers, row, rows, values.data());
        std::span<double> errors;
        if (!spectra.standardErrors.empty()) {
            errors = spectra.standardErrors.subspan(q * results, results);
            maps_Variances(row, channels, variances);
            combine(filter, filter.squares, variances, rows, errors.data());
        }
        const maps_eStatus status = maps_Judge(values, errors, filter.scale);
        if (!spectra.status.empty())
            spectra.status[q] = status;
    }
}
