#pragma once

/// @file
/// Power laws through every spectrum of a stack.

#include <cstddef>
#include <memory>
#include <vector>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_workspace.h"

namespace dataprocessing::detail {
struct maps_sPowerLaw;
}

/// Positions from `from` to `to`, both included: the channels that lie there.
struct maps_sRange {
    double from; ///< The first position.
    double to;   ///< The last.
};

/// y = p[0] (x / reference)^p[1] by the largest Poisson likelihood over some ranges, spectrum by
/// spectrum. The likelihood asks a spectrum for two sums alone, its counts and their mean ln x; the
/// exponent is the one whose law has that mean, found by Newton's method.
///
/// Values need not be whole. Errors are those of counts.
class DATAPROCESSING_EXPORT maps_cPowerLaw {
public:
    /// The law over all channels that lie in one of `ranges`, two at least. Throws
    /// expt_cProgramException: ("maps", 5) for fewer, or positions that are not positive; ("maps",
    /// 7) for a reference that is not; std::bad_alloc.
    maps_cPowerLaw(std::size_t channels, const cal_c1DArrayCal& cal,
                   const std::vector<maps_sRange>& ranges, double reference);
    ~maps_cPowerLaw();
    maps_cPowerLaw(maps_cPowerLaw&&) noexcept;            ///< Takes over.
    maps_cPowerLaw& operator=(maps_cPowerLaw&&) noexcept; ///< Takes over.

    /// Fits every spectrum; the planes receive amplitude and exponent, their standard errors,
    /// Pearson's chi-squared (the sum of (y - f)^2 / f) and the steps taken. A sum of the values
    /// that is not positive is maps_Empty. Throws expt_cProgramException: ("maps", 3) for planes of
    /// another size, ("maps", 4) for other channels or another calibration; std::bad_alloc.
    void Run(const maps_cStack& stack, const maps_sPlanes& planes,
             maps_cWorkspace& workspace) const;

private:
    std::unique_ptr<const dataprocessing::detail::maps_sPowerLaw> law_;
};
