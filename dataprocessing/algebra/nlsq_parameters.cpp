#include "dataprocessing/algebra/nlsq_parameters.h"

#include <algorithm>
#include <cmath>

namespace dataprocessing::detail {

namespace {

void refuseIf(bool isRefused, int line, const char* text) {
    if (isRefused)
        throw expt_cProgramException("nlsq", line, text);
}

} // namespace

nlsq_cParameters::nlsq_cParameters(std::span<const double> start,
                                   std::span<const nlsq_sParameter> kinds)
    : links_(start.size()) {
    refuseIf(!kinds.empty() && kinds.size() != start.size(), 9,
             "There are not as many kinds as parameters.");
    const auto kindOf = [&](std::size_t i) {
        return kinds.empty() ? nlsq_sParameter::Free() : kinds[i];
    };

    for (std::size_t i = 0; i < start.size(); ++i) {
        const nlsq_sParameter kind = kindOf(i);
        refuseIf(kind.kind < nlsq_sParameter::Moving || kind.kind > nlsq_sParameter::Following, 15,
                 "There is no such objective, kind of errors or kind of parameter.");
        if (kind.kind == nlsq_sParameter::Following)
            continue;
        refuseIf(!std::isfinite(start[i]), 4, "A position, value or start is not finite.");
        if (kind.kind == nlsq_sParameter::Staying) {
            links_[i].offset = start[i];
            continue;
        }
        refuseIf(!(kind.lower <= kind.upper), 10, "The bounds of a parameter are out of order.");
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
            refuseIf(!isThere || ways == start.size(), 11,
                     "A parameter is tied to one that is not there, or in a circle.");
            refuseIf(!std::isfinite(kind.factor) || !std::isfinite(kind.offset), 4,
                     "A position, value or start is not finite.");
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
