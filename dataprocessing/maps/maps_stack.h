#pragma once

/// @file
/// Many spectra at once: where they lie, and where what comes out of them goes.
///
/// @code
/// const maps_cStack stack(std::span<const unsigned short>(counts), // rows x columns x channels
///                         maps_sLayout::Dense(rows, columns, channels), energies);
/// @endcode

#include <cstddef>
#include <span>
#include <type_traits>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/cal.h"

/// Where the spectra of a map lie in a block, counted in elements. Channel k of the spectrum in
/// column x of row y is element first + y rowStride + x columnStride + k channelStride. Strides may
/// be negative or 0.
struct maps_sLayout {
    std::size_t rows = 0;             ///< Rows of the map.
    std::size_t columns = 0;          ///< Spectra in a row.
    std::size_t channels = 0;         ///< Channels of a spectrum.
    std::ptrdiff_t rowStride = 0;     ///< From one row to the next.
    std::ptrdiff_t columnStride = 0;  ///< From one spectrum to the next in its row.
    std::ptrdiff_t channelStride = 1; ///< From one channel to the next.
    std::ptrdiff_t first = 0;         ///< The first channel of the first spectrum.

    /// Spectrum after spectrum, row after row, without gaps.
    static constexpr maps_sLayout Dense(std::size_t rows, std::size_t columns,
                                        std::size_t channels) noexcept {
        const auto step = static_cast<std::ptrdiff_t>(channels);
        return {rows, columns, channels, static_cast<std::ptrdiff_t>(columns) * step, step, 1, 0};
    }
};

/// A view of spectra of one length, one real element type and one calibration. Nothing is copied:
/// the block has to outlive the view. Spectra are numbered row by row.
///
/// Everything that takes a stack gives each spectrum the same bits, wherever the stack begins and
/// ends, whatever lies beside it, at every instruction-set level.
class DATAPROCESSING_EXPORT maps_cStack {
public:
    /// The spectra of type `type` that lie in `block`. Throws expt_cProgramException: ("maps", 1)
    /// when one of them would lie outside the block, ("maps", 2) for a type that is not real or
    /// unknown, and for a block that does not begin where an element may.
    maps_cStack(std::span<const std::byte> block, dtyp_cDataType type, const maps_sLayout& layout,
                const cal_c1DArrayCal& cal = {});
    /// The same, of the elements' type.
    template<dtyp_Element T>
    explicit maps_cStack(std::span<const T> elements, const maps_sLayout& layout,
                         const cal_c1DArrayCal& cal = {})
        : maps_cStack(std::as_bytes(elements), dtyp_Of<T>(), layout, cal) {}

    /// How many spectra there are.
    std::size_t Spectra() const noexcept { return layout_.rows * layout_.columns; }
    /// How many channels each has.
    std::size_t Channels() const noexcept { return layout_.channels; }
    /// The type of the elements.
    dtyp_cDataType DataType() const noexcept { return type_; }
    /// Where the channels lie.
    const cal_c1DArrayCal& Cal() const noexcept { return cal_; }
    /// Where the spectra lie.
    const maps_sLayout& Layout() const noexcept { return layout_; }

    /// @cond
    /// Channel 0 of a spectrum, of type DataType().
    DATAPROCESSING_NO_EXPORT const std::byte* At(std::size_t spectrum) const noexcept;
    /// @endcond

private:
    const std::byte* first_;
    dtyp_cDataType type_;
    maps_sLayout layout_;
    cal_c1DArrayCal cal_;
};

/// What became of a spectrum.
enum maps_eStatus : unsigned char {
    maps_Good,         ///< There is a result.
    maps_NotFinite,    ///< A value that was needed is not finite, or too large or small to square.
    maps_Empty,        ///< All values that were needed are 0.
    maps_Negative,     ///< A value is negative where only counts will do.
    maps_NotConverged, ///< The steps led nowhere, or there were too many of them.
    maps_Undetermined  ///< The data do not tell all parameters.
};

/// Where results go: planes with an element for each spectrum, those of parameter j being elements
/// j n to (j + 1) n - 1 of n spectra. A span that is empty is not wanted. Spectra whose status is
/// not maps_Good have NaN in all other planes but the iterations; a fit of peaks says what it knows
/// of undetermined ones.
struct maps_sPlanes {
    std::span<double> values = {};         ///< The parameters.
    std::span<double> standardErrors = {}; ///< Their standard errors.
    std::span<double> chiSquared = {};     ///< What was made smallest.
    std::span<int> iterations = {};        ///< Steps taken.
    std::span<maps_eStatus> status = {};   ///< What became of it.
};
