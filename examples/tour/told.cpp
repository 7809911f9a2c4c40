#include "told.h"

#include <algorithm>
#include <cmath>

#include "candidates.h"
#include "further_line.h"

namespace tour {

namespace {

// What is told apart from the tails of a line that is so many times as strong, and so near.
constexpr double nearTails = 0.6; // widths
constexpr double partInNearTails = 0.05;
constexpr double farTails = 2;
constexpr double partInFarTails = 0.01;
constexpr double clearOfEdges = 40; // deviations, of which a step leaves nothing
constexpr double besideLines = 1.5; // widths

bool isOfTails(const Line& line, const Description& description) {
    const std::vector<Line>& lines = description.lines;
    return !line.isGiven && std::any_of(lines.begin(), lines.end(), [&](const Line& other) {
        const double widths =
            std::abs(other.position - line.position) / description.law.At(other.position);
        const double part = other.area > 0 ? line.area / other.area : 1;
        return (widths < nearTails && part < partInNearTails) ||
               (widths < farTails && part < partInFarTails);
    });
}

/// What the channels between the lines say of the background.
void tellBetween(const Description& description, Analysis& analysis) {
    double sum = 0;
    double excess = 0; // of the squares of Pearson, which are 1 in the mean however few counts are
    double variance = 0;
    double last = description.cal.Position(0);
    const auto takeGap = [&](double to) {
        if (to - last > analysis.widestGap.Length())
            analysis.widestGap = rnge_c1DRange(last, to);
        last = to;
    };
    const int size = description.values.Size();
    for (int i = 0; i < size; ++i) {
        const double x = description.cal.Position(i);
        const bool isBetween =
            std::all_of(analysis.lines.begin(), analysis.lines.end(), [&](const Line& line) {
                return std::abs(x - line.position) > besideLines * line.width;
            });
        if (!isBetween)
            continue;
        takeGap(x);
        const double residual = analysis.residuals.Number(i).As<double>();
        const double mean = std::max(analysis.model.Number(i).As<double>(), leastBackground);
        sum += residual * residual;
        excess += std::pow(description.values.Number(i).As<double>() - mean, 2) / mean - 1;
        variance += 2 + 1 / mean;
        ++analysis.channelsBetween;
    }
    takeGap(description.cal.Position(size - 1));
    analysis.chiSquaredBetween = sum / std::max(1, analysis.channelsBetween);
    analysis.excessScatter = variance > 0 ? excess / std::sqrt(variance) : 0;
}

} // namespace

Analysis told(const Description& description) {
    Analysis analysis;
    for (const Line& line : description.lines) {
        Line& shown = analysis.lines.emplace_back(line);
        shown.isOfTails = isOfTails(line, description);
        shown.isLikeAnEdge =
            !line.isGiven && line.significance < clearOfEdges && isLikeAnEdge(description, line);
    }
    std::sort(analysis.lines.begin(), analysis.lines.end(),
              [](const Line& a, const Line& b) { return a.position < b.position; });
    analysis.structures = description.structures;
    analysis.background = description.background;
    analysis.model = description.model;
    analysis.residuals = residualsOf(description.values, description.model, description.noise);
    analysis.law = description.law;
    analysis.isOfCounts = description.noise.isOfCounts;
    analysis.noise = description.noise.deviation;
    analysis.reducedChiSquared = description.fit.fit.ReducedChiSquared();
    analysis.degreesOfFreedom = description.fit.fit.degreesOfFreedom;
    analysis.isConverged = description.fit.fit.Converged();
    analysis.splines = description.splines;
    analysis.isFull = description.lines.size() >= mostLines;
    tellBetween(description, analysis);
    return analysis;
}

} // namespace tour
