#pragma once

/// @file
/// Windows of every spectrum of a stack, above a background.

#include <cstddef>
#include <memory>
#include <vector>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/maps/maps_power.h"
#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_workspace.h"

namespace dataprocessing::detail {
struct maps_sIntegral;
}

/// What is taken away from the sum over a window.
struct maps_sBackground {
    /// The curves.
    enum eCurve {
        None,       ///< Nothing.
        Polynomial, ///< A polynomial through the ranges, by least squares with equal weights.
        PowerLaw    ///< See maps_cPowerLaw.
    };
    eCurve curve = None;                  ///< Which one.
    std::vector<maps_sRange> ranges = {}; ///< Where it is fitted.
    int degree = 1;                       ///< Of a polynomial.
};

/// The sums over windows of every spectrum, less the background there: what is above it, in the
/// units of the values. Standard errors are those of counts, whose variance is the value itself
/// where that is positive and otherwise 0, and include that of the background. What a window and
/// the ranges have in common is allowed for by a polynomial; a power law should keep away from
/// windows. Channels in none of them may hold anything.
///
/// Without a background, and with a polynomial, a sum is that of the channels times numbers which
/// the positions alone determine.
class DATAPROCESSING_EXPORT maps_cIntegral {
public:
    /// Sums over `windows`. Throws expt_cProgramException: ("maps", 5) when there is none, for a
    /// window without a channel, for ranges with no more channels than the polynomial's degree, and
    /// what maps_cPowerLaw refuses; ("maps", 7) for an unknown curve and a degree outside 0 to 9;
    /// std::bad_alloc.
    maps_cIntegral(std::size_t channels, const cal_c1DArrayCal& cal,
                   const std::vector<maps_sRange>& windows,
                   const maps_sBackground& background = {});
    ~maps_cIntegral();
    maps_cIntegral(maps_cIntegral&&) noexcept;            ///< Takes over.
    maps_cIntegral& operator=(maps_cIntegral&&) noexcept; ///< Takes over.

    /// How many windows there are.
    std::size_t WindowCount() const noexcept;
    /// Sums up every spectrum; the planes receive the sums, window by window, and their standard
    /// errors. Chi-squared is refused; the steps are those of the power law, otherwise 0. A
    /// spectrum of zeros has the sums 0, unless there is a power law to be found. Throws
    /// expt_cProgramException: ("maps", 3) for planes of another size, ("maps", 4) for other
    /// channels or another calibration; std::bad_alloc.
    void Run(const maps_cStack& stack, const maps_sPlanes& planes,
             maps_cWorkspace& workspace) const;

private:
    std::unique_ptr<const dataprocessing::detail::maps_sIntegral> integral_;
};
