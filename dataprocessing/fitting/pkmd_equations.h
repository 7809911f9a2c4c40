#pragma once

/// @file
/// The normal equations of a fit of peaks to one spectrum.

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "dataprocessing/algebra/nlsq_parameters.h"
#include "dataprocessing/algebra/nlsq_steps.h"
#include "dataprocessing/fitting/pkmd.h"
#include "dataprocessing/fitting/pkmd_centre.h"
#include "dataprocessing/fitting/pkmd_kernels.h"
#include "dataprocessing/platform/memory.h"

namespace dataprocessing::detail {

/// The channels of a fit, followed by as many that take no part as make whole vectors of them.
struct pkmd_sChannels {
    std::vector<double> x;
    std::vector<double> y;       ///< 0 where a channel takes no part.
    std::vector<double> weights; ///< 0 there, too; for the likelihood 1 elsewhere.
    std::size_t taking = 0;      ///< How many take part.
    double size = 0;             ///< The norm of the values, times the roots of the weights.
    std::size_t first = 0;       ///< The spectrum's channel that comes first.
    double delta = 1;            ///< From one position to the next.
    bool areCounts = false;      ///< Whether their likelihood is fitted.
};

/// The channels [first, last) that a peak reaches, whole vectors of them.
struct pkmd_sWindow {
    std::size_t first = 0;
    std::size_t last = 0;
    std::size_t Count() const noexcept { return last - first; }
};

/// The window of a peak that ends `reach` widths from its position.
pkmd_sWindow pkmd_WindowOf(pkmd_eShape shape, std::span<const double> peak, double reach,
                           const pkmd_sChannels& channels);

/// How many widths a peak reaches: `windows` where it is no higher than a few hundred times the
/// noise at their ends, and so much further where it is that no more is cut off in terms of it.
double pkmd_ReachOf(pkmd_eShape shape, std::span<const double> peak, double windows,
                    const pkmd_sChannels& channels);

/// The window of a peak: as many widths as are asked for, and as its height over the noise around
/// it calls for, times `slack`.
pkmd_sWindow pkmd_WindowFor(pkmd_eShape shape, std::span<const double> peak, double windows,
                            double slack, const pkmd_sChannels& channels);

/// The window of each peak of a model at the parameters `p`.
std::vector<pkmd_sWindow> pkmd_WindowsOf(const pkmd_cModel& model, std::span<const double> p,
                                         double windows, double slack,
                                         const pkmd_sChannels& channels);

/// The law of widths at a position: the width, and its derivatives with respect to the position and
/// the two parameters of the law. The width is 0 where the law has none.
struct pkmd_sWidth {
    double width;
    double byPosition;
    double byWidth;
    double bySlope;
};
pkmd_sWidth pkmd_WidthAt(double position, double width, double slope, double reference);

/// Sets the widths in `p` that follow a law. Answers false where the law has no width.
bool pkmd_ApplyWidthLaw(const pkmd_cModel& model, std::span<double> p);

/// What a fit to channels `delta` apart may do with the parameters: what the model says, extra
/// parameters within what their shapes allow. A width keeps a fifth of a channel, below which the
/// data tell nothing of it, or its start. A tail stays on its side, and a hundredth of the width
/// long, where its derivatives can still be told from those of the position and the width. The
/// Gaussian in a Voigt keeps a thousandth of both its widths, where the shape is that of the
/// Lorentzian, and the width of a law that of itself. Throws expt_cProgramException ("pkmd", 3)
/// where bounds leave nothing of that, and what nlsq_cParameters refuses.
std::vector<nlsq_sParameter> pkmd_KindsOf(const pkmd_cModel& model, double delta);

/// pkmd_Fit from other starts, with other kinds of parameters than the model's.
pkmd_sResult pkmd_FitFrom(const pkmd_cModel& model, std::span<const double> starts,
                          std::span<const nlsq_sParameter> kinds, const darr_c1DArray& spectrum,
                          const pkmd_sOptions& options);

/// Chi-squared, gradient and curvature of a model over channels. What does not depend on the
/// parameters is computed once; what is computed for a spectrum depends on nothing else.
class pkmd_cEquations : public nlsq_cEquations {
public:
    /// The model, channels and parameters have to outlive the equations. Peaks end `reach` widths
    /// from their positions, further out only where they are high. Polynomials are those in the
    /// given `axes`, one for each background.
    pkmd_cEquations(const pkmd_cModel& model, const pkmd_sChannels& channels,
                    const nlsq_cParameters& parameters, double reach,
                    const std::vector<pkmd_sAxis>& axes);

    double Try(std::span<const double> q) override;
    void Accept() noexcept override { std::swap(here_, there_); }
    bool Covers(std::span<const double> q) const override;
    void Cover(std::span<const double> from, std::span<const double> to) override;
    void Uncover() override;
    double PositivePart(std::span<const double> from, std::span<const double> to) override;
    bool IsBelow(double part) const noexcept override;
    void SetBarrier(double part) override;
    double BarrierSize() const noexcept override { return barrierSize_; }
    bool BringsOutMore() override;
    double Rounding(double chiSquared) const noexcept override;
    std::span<const double> Gradient() const noexcept override { return here_.gradient; }
    std::span<const double> Norms() const noexcept override { return here_.norms; }
    bool Solve(double damping, std::span<const double> scale, std::span<const char> isHeld,
               std::span<double> step) override;
    bool SolveWhole(std::span<const char> isHeld, std::span<double> step) override;
    double Curvature(std::span<const double> step) const noexcept override;
    nlsq_sCovariance Covariance(std::span<const char> isHeld) override;

private:
    struct sPlace {
        std::vector<double> curvature; // by rows
        std::vector<double> gradient;
        std::vector<double> norms;
    };
    /// The derivative of the model with respect to a parameter, over a window.
    struct sColumn {
        double* data = nullptr; // of the window's first channel
        pkmd_sWindow window;
    };
    /// Columns over the same window that follow each other, up to pkmd_mostColumns of them.
    struct sGroup {
        std::size_t first;
        std::size_t count;
        bool isBackground;
    };
    /// What a parameter is made of, to first order.
    struct sTerms {
        std::size_t count = 0;
        std::array<std::size_t, 3> variables{};
        std::array<double, 3> factors{};
        void Add(const nlsq_cParameters::sLink& link, double factor) {
            if (link.variable == nlsq_cParameters::none)
                return;
            variables[count] = link.variable;
            factors[count++] = factor * link.factor;
        }
    };

    bool Solve(double damping, std::span<const double> scale, double leastPivot,
               std::span<const char> isHeld, std::span<double> step);
    void LayBackgrounds(const std::vector<pkmd_sAxis>& axes);
    void LayWindows(std::vector<pkmd_sWindow> windows);
    std::vector<pkmd_sWindow> WindowsAt(std::span<const double> q, double slack);
    bool HasValue();
    void FillCurve();
    void LimitWeights();
    void Multiply();
    void MultiplyGroups(const sGroup& one, const sGroup& other);
    void Collect();
    double& Product(std::size_t i, std::size_t j) { return products_[i * columns_.size() + j]; }
    const double* WeightsNow() const {
        return isLikelihood_ ? expectedWeights_ : channels_.weights.data();
    }

    const pkmd_cModel& model_;
    const pkmd_sChannels& channels_;
    const nlsq_cParameters& parameters_;
    bool isLikelihood_;
    bool areWeightsLimited_ = false;
    bool isBackgroundLinear_ = true;
    bool hasBackgroundProducts_ = false;

    std::vector<double> p_;
    std::vector<sTerms> terms_;
    std::vector<sColumn> columns_;
    std::vector<sGroup> groups_;
    std::vector<std::size_t> linearParameters_; // of the backgrounds
    std::vector<const double*> linear_;         // their columns
    std::vector<double> linearFactors_;
    double reach_; // of peaks, in widths
    std::vector<pkmd_sWindow> windows_;
    std::vector<pkmd_sWindow> windowsBefore_;
    mem_cBlock storage_;   // of the backgrounds' columns and of what the channels have
    mem_cBlock peaks_;     // of the peaks' columns
    std::size_t room_ = 0; // how many numbers that holds
    std::vector<std::vector<double>> arguments_; // of the exponentials
    double mean_ = 1;                            // of the counts
    std::vector<double> counts_; // with a barrier where there are none; empty without one
    double barrierSize_ = 0;
    double* curve_ = nullptr; // of the last Try
    double* residuals_ = nullptr;
    double* expectedWeights_ = nullptr;
    std::vector<double> products_; // of the columns, by rows; the lower half
    std::vector<double> slopes_;   // of chi-squared along the columns
    sPlace here_;
    sPlace there_;
    std::vector<double> triangle_;
    std::vector<std::size_t> firsts_; // where its rows begin
};

} // namespace dataprocessing::detail
