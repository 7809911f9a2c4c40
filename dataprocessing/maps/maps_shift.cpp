#include <algorithm>
#include <cmath>
#include <limits>

#include "dataprocessing/filter/smth_line.h"
#include "dataprocessing/maps/maps_align.h"
#include "dataprocessing/maps/maps_band.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_room.h"
#include "dataprocessing/maps/maps_rows.h"

using namespace dataprocessing::detail;

namespace {

/// Results of a shift: of `count` channels from `first` on, the second channels of which are
/// `whole` channels away.
void share(const double* padded, std::size_t count, double shift, bool squared, double* result) {
    const double whole = std::floor(shift);
    const double part = shift - whole;
    const double most = static_cast<double>(count);
    if (!(whole >= -most - 1 && whole <= most)) {
        std::fill_n(result, count, 0.0);
        return;
    }
    const double* const from = padded + static_cast<std::ptrdiff_t>(whole);
    const double* const rows[2] = {from, from + 1};
    const double parts[2] = {1 - part, part};
    const double squares[2] = {parts[0] * parts[0], parts[1] * parts[1]};
    const std::size_t terms = part > 0 ? 2 : 1; // what is not needed may be no number
    smth_SumRows(rows, squared ? squares : parts, terms, result, count);
}

} // namespace

void maps_Shift(const maps_cStack& stack, std::span<const double> shifts,
                const maps_sSpectra& spectra, maps_cWorkspace& workspace) {
    const std::size_t channels = stack.Channels();
    const double delta = stack.Cal().Delta();
    maps_CheckSpectra(spectra, channels, stack.Spectra());
    maps_RefusePlane(shifts.size() != stack.Spectra());
    maps_RefuseOptions(delta == 0 || !std::isfinite(delta));
    // Nothing lies on both sides of a spectrum, as far as it may be shifted.
    const std::size_t margin = channels + 1;
    const std::size_t length = margin + maps_WholeVectors(channels) + margin;
    maps_sRoom& room = workspace.Room();
    double* const row = room.Get(maps_sRoom::Row, length);
    std::fill_n(row, length, 0.0);
    double* const variances = room.Get(maps_sRoom::Weights, length);
    std::fill_n(variances, length, 0.0);
    double* const unwanted = room.Get(maps_sRoom::Curve, channels);

    for (std::size_t q = 0; q < stack.Spectra(); ++q) {
        const double shift = shifts[q] / delta;
        maps_Fetch(stack, q, 0, channels, row + margin);
        const std::span values(
            spectra.values.empty() ? unwanted : spectra.values.data() + q * channels, channels);
        share(row + margin, channels, shift, false, values.data());
        std::span<double> errors;
        if (!spectra.standardErrors.empty()) {
            errors = spectra.standardErrors.subspan(q * channels, channels);
            maps_Variances(row + margin, channels, variances + margin);
            share(variances + margin, channels, shift, true, errors.data());
        }
        if (!std::isfinite(shifts[q]))
            std::fill(values.begin(), values.end(), std::numeric_limits<double>::quiet_NaN());
        const maps_eStatus status = maps_Judge(values, errors, 1);
        if (!spectra.status.empty())
            spectra.status[q] = status;
    }
}
