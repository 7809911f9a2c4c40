#pragma once

/// @file
/// Peaks over a background, fitted to every spectrum of a stack.
///
/// @code
/// pkmd_cModel model;
/// model.AddPeak(pkmd_Gaussian, 6.40, 900, 0.06); // position, height, width
/// model.AddPolynomial({20, 0}, 5, 5);
/// const maps_cPeaks fit(model, stack.Channels(), stack.Cal());
/// fit.Run(stack, planes, workspace);
/// @endcode

#include <cstddef>
#include <limits>
#include <memory>
#include <span>
#include <vector>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/fitting/pkmd.h"
#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_workspace.h"

namespace dataprocessing::detail {
struct maps_sPeaks;
}

/// How peaks are fitted. What has the name of a member of pkmd_sOptions means the same.
struct maps_sPeakOptions {
    /// What is made smallest.
    nlsq_eObjective objective = nlsq_PoissonLikelihood;
    /// The weights of the channels for least squares, of all spectra; empty for 1 / max(y, 1).
    std::vector<double> weights = {};
    /// What the standard errors rest on.
    nlsq_eErrors errors = nlsq_ErrorsAsGiven;
    /// A Gaussian peak ends this many widths from where it starts.
    double windows = 5;
    /// Only channels from here
    double from = -std::numeric_limits<double>::infinity();
    /// to here take part.
    double to = std::numeric_limits<double>::infinity();
    /// Ends with a step that is shorter than this, in standard errors; the step is taken.
    double tolerance = 1e-4;
    /// The most evaluations of the model of one spectrum.
    int mostEvaluations = 200;
};

/// Where the results of a fit of peaks go: maps_sPlanes, with a value for each parameter of the
/// model in the model's order, and those of the peaks.
struct maps_sPeakPlanes : maps_sPlanes {
    std::span<double> areas = {};      ///< The area of each peak.
    std::span<double> areaErrors = {}; ///< Its standard error.
};

/// The nonlinear fit of a pkmd_cModel to spectra one by one: what pkmd_Fit finds, within 1e-4
/// standard errors, and much faster for models of Gaussian peaks over a straight line, a constant
/// or nothing, whose parameters are free, fixed or tied. Those are fitted some spectra at a time,
/// one in each lane of a vector; others, and spectra that this leads nowhere, by pkmd_Fit itself.
///
/// The likelihood asks for a model that is positive in all channels: peaks over nothing need
/// windows as wide as the range, or least squares.
///
/// With the likelihood, steps of least squares have the weights 1 / f of the model that the last
/// one gave (P. J. Green, Journal of the Royal Statistical Society B 46 (1984) 149).
///
/// A spectrum with a value that is not finite is maps_NotFinite, one of zeros maps_Empty; channels
/// whose weight is 0 may hold anything. With the likelihood, a spectrum with a negative value is
/// maps_Negative. Where the data leave some parameters open, the status is maps_Undetermined; the
/// planes have what there is, and NaN for the errors of those.
class DATAPROCESSING_EXPORT maps_cPeaks {
public:
    /// The fit of `model` to spectra of so many channels. Throws expt_cProgramException: ("maps",
    /// 5) when no channel lies between from and to; ("maps", 7) for no parameters, a tolerance,
    /// windows or a number of evaluations that are not positive, and weights as pkmd_Fit refuses
    /// them; what pkmd_Fit refuses in a model; std::bad_alloc.
    maps_cPeaks(const pkmd_cModel& model, std::size_t channels, const cal_c1DArrayCal& cal,
                const maps_sPeakOptions& options = {});
    ~maps_cPeaks();
    maps_cPeaks(maps_cPeaks&&) noexcept;            ///< Takes over.
    maps_cPeaks& operator=(maps_cPeaks&&) noexcept; ///< Takes over.

    /// How many parameters the model has.
    std::size_t ParameterCount() const noexcept;
    /// How many peaks.
    std::size_t PeakCount() const noexcept;
    /// Fits every spectrum from the model's starts or, where `starts` is not empty, from its own:
    /// planes as those of the parameters. Windows stay where the model's starts put them; where a
    /// peak leaves its window, pkmd_Fit goes on. Throws expt_cProgramException: ("maps", 3) for
    /// planes or starts of another size, ("maps", 4) for other channels or another calibration;
    /// std::bad_alloc.
    void Run(const maps_cStack& stack, const maps_sPeakPlanes& planes, maps_cWorkspace& workspace,
             std::span<const double> starts = {}) const;

private:
    std::unique_ptr<const dataprocessing::detail::maps_sPeaks> peaks_;
};
