#pragma once

/// @file
/// Fits of fixed shapes to every spectrum of a stack.

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_workspace.h"

namespace dataprocessing::detail {
struct maps_sShapes;
}

/// How channels are weighted.
enum maps_eWeights {
    /// 1 / max(y, 1), those of counts: errors come from the curvature. A channel that is low by
    /// chance weighs more, which pulls factors down by about as much as chi-squared is large.
    maps_WeightsOfCounts,
    /// 1 for all. Errors are those of counts, whose variance is the value itself where that is
    /// positive and otherwise 0.
    maps_EqualWeights,
    /// 1 / f, from the model itself, in steps: the maximum of the Poisson likelihood, which is
    /// unbiased. Where f is below .1 in a channel, or ten steps do not settle, Newton's take over,
    /// each as far as the likelihood grows; 50 steps in all. A spectrum whose model is negative
    /// somewhere has not converged, nor has one with a value other than 0 where the model is
    /// nothing. Errors come from the curvature of the likelihood: what is expected, 1 / f, and
    /// where f is below 1 what was observed, y / f^2; none is smaller there than one count makes
    /// it, 1 / sum of |shape|.
    maps_WeightsOfModel
};

/// How shapes are fitted.
struct maps_sLinearOptions {
    maps_eWeights weights = maps_WeightsOfCounts; ///< How channels are weighted.
    /// The numbers of the shapes whose factors do not fall below 0. One that is held there has the
    /// error 0, and the errors of the others are those without it.
    std::vector<int> nonNegative = {};
};

/// y = sum over j of p[j] shape[j], fitted to spectra one by one. What the shapes alone tell is
/// computed once; the object can be used by many threads, each with a workspace of its own.
///
/// The normal equations are solved by Cholesky's method: shapes count as made of each other when
/// that costs more than 14 digits. Channels where a shape is 0 at either end cost nothing:
/// Gaussians that are 0 below a millionth of their height take a third of the time of those with
/// all tails.
class DATAPROCESSING_EXPORT maps_cLinear {
public:
    /// The shapes, channel by channel and one after the other; there are shapes.size() / channels
    /// of them. Throws expt_cProgramException: ("maps", 6) when there is none, or not a whole
    /// number of them, or one that is not finite, or one that others add up to; ("maps", 7) for a
    /// number in `nonNegative` that is not a shape's; std::bad_alloc.
    maps_cLinear(std::span<const double> shapes, std::size_t channels,
                 const maps_sLinearOptions& options = {});
    ~maps_cLinear();
    maps_cLinear(maps_cLinear&&) noexcept;            ///< Takes over.
    maps_cLinear& operator=(maps_cLinear&&) noexcept; ///< Takes over.

    /// How many factors there are.
    std::size_t ParameterCount() const noexcept;
    /// Fits every spectrum; the planes receive the factors, their standard errors, chi-squared
    /// and the steps taken. With the weights of the model chi-squared is the deviance, to which a
    /// value below 0 adds twice what the model is above it, and channels that no shape reaches have
    /// no part in it and may hold anything. Throws expt_cProgramException: ("maps", 3) for planes
    /// of another size, ("maps", 4) for other channels; std::bad_alloc.
    void Run(const maps_cStack& stack, const maps_sPlanes& planes,
             maps_cWorkspace& workspace) const;

private:
    std::unique_ptr<const dataprocessing::detail::maps_sShapes> shapes_;
};

/// The fit of p[0] + p[1] t + ... + p[degree] t^degree with t = (x - reference) / scale. A
/// reference in the middle, and half of the length as the scale, keep the coefficients apart.
/// Throws as maps_cLinear; ("maps", 7) for a negative degree, or a reference or scale that means
/// nothing.
DATAPROCESSING_EXPORT maps_cLinear maps_Polynomial(std::size_t channels, const cal_c1DArrayCal& cal,
                                                   int degree, double reference, double scale,
                                                   const maps_sLinearOptions& options = {});
