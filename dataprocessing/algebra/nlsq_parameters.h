#pragma once

/// @file
/// Which parameters of a fit vary, and what the others are made of.

#include <cstddef>
#include <span>
#include <vector>

#include "dataprocessing/algebra/nlsq.h"

namespace dataprocessing::detail {

/// Every parameter p[i] as factor[i] q[source[i]] + offset[i] of the few that vary, q.
class nlsq_cParameters {
public:
    /// `kinds` is empty, or as long as `start`. Throws as nlsq_Fit says.
    nlsq_cParameters(std::span<const double> start, std::span<const nlsq_sParameter> kinds);

    /// How many vary.
    std::size_t Varying() const noexcept { return variables_.size(); }
    /// How many there are.
    std::size_t All() const noexcept { return links_.size(); }
    /// The parameter behind variable `j`.
    std::size_t ParameterOf(std::size_t j) const noexcept { return variables_[j]; }

    /// The starts of the variables, within their bounds.
    std::span<const double> Start() const noexcept { return start_; }
    /// The least values of the variables.
    std::span<const double> Lower() const noexcept { return lower_; }
    /// The largest ones.
    std::span<const double> Upper() const noexcept { return upper_; }

    /// All parameters `p` at the variables `q`.
    void Expand(std::span<const double> q, std::span<double> p) const noexcept;

    /// Index of no variable: the parameter is fixed, or tied to one that is.
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
    /// What one parameter is made of.
    struct sLink {
        std::size_t variable = none;
        double factor = 0;
        double offset = 0;
    };
    /// What parameter `i` is made of.
    const sLink& LinkOf(std::size_t i) const noexcept { return links_[i]; }

private:
    std::vector<sLink> links_;
    std::vector<std::size_t> variables_;
    std::vector<double> start_;
    std::vector<double> lower_;
    std::vector<double> upper_;
};

} // namespace dataprocessing::detail
