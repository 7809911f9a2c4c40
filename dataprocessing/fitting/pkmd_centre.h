#pragma once

/// @file
/// Polynomials that are counted from far away, about the middle of the channels.

#include <cstddef>
#include <span>
#include <vector>

#include "dataprocessing/fitting/pkmd.h"

namespace dataprocessing::detail {

/// What the positions of a background are counted in: (x - reference) / scale.
struct pkmd_sAxis {
    double reference;
    double scale;
};

/// The axes that backgrounds are fitted in, and the coefficients there. The powers of positions far
/// from 0 are nearly parallel, which normal equations cannot tell apart: polynomials that are
/// counted from far away, and whose coefficients are free up to higher ones that stay, are fitted
/// about the middle, where those stay as well.
class pkmd_cCentre {
public:
    /// Of a fit from `starts` to channels from one position to another. Throws
    /// expt_cProgramException ("pkmd", 12) where coefficients of the model could not hold what is
    /// fitted.
    pkmd_cCentre(const pkmd_cModel& model, std::span<const nlsq_sParameter> kinds,
                 std::span<const double> starts, double from, double to);

    /// The axis of each background.
    const std::vector<pkmd_sAxis>& Axes() const noexcept { return axes_; }
    /// Whether none of them is another than the model's.
    bool IsThere() const noexcept { return moved_.empty(); }
    /// From the model's parameters to those of the fit.
    void ToMiddle(std::span<double> p) const;
    /// From the parameters of the fit to the model's.
    void ToModel(std::span<double> p) const;
    /// So, with all that a result says of them.
    void ToModel(nlsq_sResult& fit) const;

private:
    /// A polynomial in u = a v + b, for one in v.
    struct sMoved {
        std::size_t first;
        std::size_t count;
        double a;
        double b;
    };
    /// A coefficient that stays.
    struct sHeld {
        std::size_t parameter;
        double value;
    };
    void Substitute(std::span<double> p) const;

    std::vector<pkmd_sAxis> axes_;
    std::vector<sMoved> moved_;
    std::vector<sHeld> held_;
};

} // namespace dataprocessing::detail
