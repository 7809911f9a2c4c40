#include "dataprocessing/algebra/nlsq_parameters.h"
#include <algorithm>
#include <cmath>

#include "dataprocessing/algebra/nlsq_refusal.h"

namespace dataprocessing::detail {

namespace {

constexpr nlsq_cRefusal<expt_cProgramException> refuse("nlsq");

long long numberOf(std::size_t i) { return static_cast<long long>(i); }

} // namespace

nlsq_cParameters::nlsq_cParameters(std::span<const double> start,
                                   std::span<const nlsq_sParameter> kinds)
    : links_(start.size()) {
    if (!kinds.empty())
        refuse.IfOthers(kinds.size(), start.size(), 9, " kinds for ", " parameters.");
    const auto kindOf = [&](std::size_t i) {
        return kinds.empty() ? nlsq_sParameter::Free() : kinds[i];
    };

    for (std::size_t i = 0; i < start.size(); ++i) {
        const nlsq_sParameter kind = kindOf(i);
        refuse.If(kind.kind < nlsq_sParameter::Moving || kind.kind > nlsq_sParameter::Following, 15,
                  "There is no such objective, kind of errors or kind of parameter.");
        if (kind.kind == nlsq_sParameter::Following)
            continue;
        refuse.If(!std::isfinite(start[i]), 4, "Start ", numberOf(i), " is not finite.");
        if (kind.kind == nlsq_sParameter::Staying) {
            links_[i].offset = start[i];
            continue;
        }
        refuse.If(!(kind.lower <= kind.upper), 10, "The bounds of parameter ", numberOf(i),
                  " are out of order.");
        links_[i] = {variables_.size(), 1, 0};
        variables_.push_back(i);
        start_.push_back(std::clamp(start[i], kind.lower, kind.upper));
        lower_.push_back(kind.lower);
        upper_.push_back(kind.upper);
    }

    // A tie may lead to another one. A way that is longer than there are parameters is a circle.
    for (std::size_t i = 0; i < start.size(); ++i) {
        if (kindOf(i).kind != nlsq_sParameter::Following)
            continue;
        double factor = 1;
        double offset = 0;
        std::size_t at = i;
        for (std::size_t ways = 0; kindOf(at).kind == nlsq_sParameter::Following; ++ways) {
            const nlsq_sParameter kind = kindOf(at);
            const bool isThere = kind.to >= 0 && static_cast<std::size_t>(kind.to) < start.size();
            refuse.If(!isThere || ways == start.size(), 11, "Parameter ", numberOf(at),
                      " is tied to one that is not there, or in a circle.");
            refuse.If(!std::isfinite(kind.factor) || !std::isfinite(kind.offset), 4,
                      "The tie of parameter ", numberOf(at), " is not finite.");
            offset += factor * kind.offset;
            factor *= kind.factor;
            at = static_cast<std::size_t>(kind.to);
        }
        const sLink& end = links_[at];
        links_[i] = {end.variable, factor * end.factor, factor * end.offset + offset};
    }
}

void nlsq_cParameters::Expand(std::span<const double> q, std::span<double> p) const noexcept {
    for (std::size_t i = 0; i < links_.size(); ++i) {
        const sLink& link = links_[i];
        if (link.variable == none)
            p[i] = link.offset;
        else
            p[i] = link.factor * q[link.variable] + link.offset;
    }
}

} // namespace dataprocessing::detail
