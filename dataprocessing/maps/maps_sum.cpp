#include "dataprocessing/maps/maps_sum.h"

#include <algorithm>
#include <array>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/maps/maps_refuse.h"
#include "dataprocessing/maps/maps_room.h"
#include "dataprocessing/maps/maps_rows.h"
#include "dataprocessing/maps/maps_rows_small.h"

using namespace dataprocessing::detail;

namespace {

constexpr std::size_t rowsAtOnce = 4;

/// Any elements, by rows of doubles.
void addDoubles(const maps_cStack& stack, double* spectrum, double* image, maps_sRoom& room) {
    const std::size_t channels = stack.Channels();
    const std::size_t length = maps_WholeVectors(channels);
    double* const block = room.Get(maps_sRoom::Row, rowsAtOnce * length);
    double* const sum = room.Get(maps_sRoom::Sums, length);
    std::copy_n(spectrum, channels, sum);
    std::fill(sum + channels, sum + length, 0.0);
    for (std::size_t q = 0; q < stack.Spectra(); q += rowsAtOnce) {
        const std::size_t many = std::min(rowsAtOnce, stack.Spectra() - q);
        std::array<const double*, rowsAtOnce> rows{};
        for (std::size_t r = 0; r < many; ++r) {
            maps_Fetch(stack, q + r, 0, channels, block + r * length);
            rows[r] = block + r * length;
        }
        maps_AddRows(rows.data(), many, length, sum, image + q);
    }
    std::copy_n(sum, channels, spectrum);
}

/// Integers of 8 or 16 bits, channel beside channel.
template<class T>
void addSmall(const maps_cStack& stack, double* spectrum, double* image, maps_sRoom& room) {
    using Sum = maps_SmallSum<T>;
    const std::size_t channels = stack.Channels();
    std::fill_n(image, stack.Spectra(), 0.0);
    // The room is of doubles; half of it is used.
    Sum* const sum =
        reinterpret_cast<Sum*>(room.Get(maps_sRoom::Sums, std::min(channels, maps_mostSmall)));
    for (std::size_t first = 0; first < channels; first += maps_mostSmall) {
        const std::size_t count = std::min(maps_mostSmall, channels - first);
        std::fill_n(sum, count, Sum{0});
        std::size_t added = 0;
        const auto flush = [&] {
            for (std::size_t k = 0; k < count; ++k)
                spectrum[first + k] += static_cast<double>(sum[k]);
            std::fill_n(sum, count, Sum{0});
            added = 0;
        };
        for (std::size_t q = 0; q < stack.Spectra(); q += rowsAtOnce) {
            const std::size_t many = std::min(rowsAtOnce, stack.Spectra() - q);
            std::array<const T*, rowsAtOnce> rows{};
            std::array<Sum, rowsAtOnce> totals{};
            for (std::size_t r = 0; r < many; ++r)
                rows[r] = reinterpret_cast<const T*>(stack.At(q + r)) + first;
            if (added + many > maps_mostSmall)
                flush();
            maps_AddSmallRows<T>(rows.data(), many, count, sum, totals.data());
            added += many;
            for (std::size_t r = 0; r < many; ++r)
                image[q + r] += static_cast<double>(totals[r]);
        }
        flush();
    }
}

} // namespace

void maps_Sum(const maps_cStack& stack, std::span<double> spectrum, std::span<double> image,
              maps_cWorkspace& workspace) {
    maps_CheckPlane(spectrum, stack.Channels());
    maps_CheckPlane(image, stack.Spectra());
    if (stack.Spectra() == 0)
        return;
    maps_sRoom& room = workspace.Room();
    // What is not wanted goes to the room.
    double* ofChannels = spectrum.data();
    if (spectrum.empty()) {
        ofChannels = room.Get(maps_sRoom::Curve, stack.Channels());
        std::fill_n(ofChannels, stack.Channels(), 0.0);
    }
    double* const ofSpectra =
        image.empty() ? room.Get(maps_sRoom::Lanes, stack.Spectra()) : image.data();
    const bool isSmall = stack.Layout().channelStride == 1 &&
                         dtyp_VisitOf<unsigned char, unsigned short, signed char, short>(
                             stack.DataType(), [&]<class T>(dtyp_Tag<T>) {
                                 if constexpr (sizeof(T) <= 2)
                                     addSmall<T>(stack, ofChannels, ofSpectra, room);
                             });
    if (!isSmall)
        addDoubles(stack, ofChannels, ofSpectra, room);
}
