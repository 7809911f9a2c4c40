#pragma once

/// @file
/// How far the spectra of a stack are shifted, and the same spectra without it.
///
/// @code
/// const maps_cAlign align(sumSpectrum, stack.Cal(), 0.2); // shifts up to 0.2 keV
/// align.Run(stack, planes, workspace);
/// maps_Shift(stack, planes.values.first(stack.Spectra()), spectra, workspace);
/// @endcode

#include <cstddef>
#include <limits>
#include <memory>
#include <span>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/maps/maps_filter.h"
#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_workspace.h"

namespace dataprocessing::detail {
struct maps_sAlignment;
}

/// How shifts are found.
struct maps_sAlignOptions {
    /// Only channels from here
    double from = -std::numeric_limits<double>::infinity();
    /// to here take part.
    double to = std::numeric_limits<double>::infinity();
    /// Ends with a step that is shorter than this, in standard errors; the step is taken.
    double tolerance = 1e-4;
    /// The most steps.
    int mostSteps = 50;
};

/// The shift of each spectrum against a reference r, and its factor: y(x) = f r(x - shift), by the
/// largest likelihood of counts. The start is the most likely shift by whole channels; steps of
/// least squares with the weights of the model that the last one gave lead on from there; where the
/// reference is below a hundredth of its largest value, with the weights that that would have. What
/// is below 0 in it is taken as 0.
///
/// Between its channels the reference is interpolated by polynomials of degree 5: lines with a
/// standard deviation of two channels lose nothing by that, those of one are found up to .005
/// channels away. By the same polynomials the noise of the reference is seen: the median of how far
/// its channels are from what their neighbours say. Where slopes that are noise would decide, what
/// is small weighs less, down to equal weights; errors and chi-squared are those of the counts of
/// the spectrum and of that noise, as if it were the same in all channels. That of a reference of
/// counts is so taken to be as small in lines as beside them: where the background is low, the
/// reference should have many more counts than a spectrum. Structure narrower than 1.5 channels in
/// more than half of them is taken for noise: errors are up to three times too large then, or all
/// maps_Undetermined. Where nine tenths of what slopes would tell are noise, all are
/// maps_Undetermined: a sum of spectra may be smoothed. Channels that are dead in all spectra stay
/// where they are: fill them in the reference and in the spectra.
///
/// Channels that the reference does not reach at the largest shift to either side, and three more
/// at each end, take no part; chi-squared has Channels() less 2 degrees of freedom. Channels where
/// the reference is next to nothing count with the variance of a hundredth of its largest value, so
/// that beside an empty background it is far below that. Values need not be whole. A sum of 0 over
/// those channels makes a spectrum maps_Empty, a negative one maps_Negative; a shift beyond the
/// limit, a factor that is not positive and too many steps make it maps_NotConverged: keep the
/// limit well above what is to be found. A reference without structure makes all maps_Undetermined,
/// too.
class DATAPROCESSING_EXPORT maps_cAlign {
public:
    /// Shifts of no more than `mostShift`, in calibrated units, against a reference on the channels
    /// of the stack. Throws expt_cProgramException: ("maps", 5) when fewer than 3 channels take
    /// part;
    /// ("maps", 6) for a reference with values that are not finite or whose sum over the channels
    /// that take part is, at some shift, not positive; ("maps", 7) for a largest shift that is
    /// not positive or not finite, a delta that is 0 or not finite, and a tolerance or a number of
    /// steps that is not positive; std::bad_alloc.
    maps_cAlign(std::span<const double> reference, const cal_c1DArrayCal& cal, double mostShift,
                const maps_sAlignOptions& options = {});
    ~maps_cAlign();
    maps_cAlign(maps_cAlign&&) noexcept;            ///< Takes over.
    maps_cAlign& operator=(maps_cAlign&&) noexcept; ///< Takes over.

    /// How many channels take part.
    std::size_t Channels() const noexcept;
    /// Finds the shift of every spectrum; the planes receive shift (calibrated) and factor, their
    /// standard errors, Pearson's chi-squared and the steps taken. Throws expt_cProgramException:
    /// ("maps", 3) for planes of another size, ("maps", 4) for other channels or another
    /// calibration; std::bad_alloc.
    void Run(const maps_cStack& stack, const maps_sPlanes& planes,
             maps_cWorkspace& workspace) const;

private:
    std::unique_ptr<const dataprocessing::detail::maps_sAlignment> alignment_;
};

/// Shifts every spectrum back: a channel of the result gets the counts between its edges plus the
/// shift of the spectrum, of channels that lie there in part that part, so that counts are
/// conserved; beyond the ends there is nothing. Standard errors are those of counts, see
/// maps_cFilter. A shift that is not finite makes a spectrum maps_NotFinite.
///
/// `shifts` are calibrated, one for each spectrum; results have the channels and the calibration of
/// the stack. Throws expt_cProgramException: ("maps", 3) for spans or shifts of another size,
/// ("maps", 7) for a delta that is 0 or not finite; std::bad_alloc.
DATAPROCESSING_EXPORT void maps_Shift(const maps_cStack& stack, std::span<const double> shifts,
                                      const maps_sSpectra& spectra, maps_cWorkspace& workspace);
