#include "structures.h"

#include <algorithm>
#include <cmath>

namespace tour {

namespace {

/// Lines that may be none, and whether there is more than one.
struct Chain {
    rnge_c1DRange range;
    bool isOfMany;
};

/// Whether the background is steep around a place: by more than a factor, and clearly so where
/// there are few counts.
bool isSteepAt(const Description& description, double x) {
    constexpr double steep = 3;
    constexpr double clearly = 5; // deviations
    const double width = description.law.At(x);
    const double below = description.LevelAt(x - 1.5 * width);
    const double above = description.LevelAt(x + 1.5 * width);
    const double channels = std::max(1.0, width / description.delta);
    const double variance =
        description.noise.isOfCounts ? below + above : 2 * std::pow(description.noise.deviation, 2);
    return std::max(below, above) > steep * std::min(below, above) &&
           std::abs(below - above) * std::sqrt(channels) > clearly * std::sqrt(variance);
}

/// Where lines may be what something wider is made of: where many lie close to each other, and
/// where the background is steep.
std::vector<Chain> chainsOf(const Description& description) {
    constexpr std::size_t many = 4;
    constexpr double near = 1.4; // widths
    constexpr double clear = 30; // deviations, which no slope imitates
    const WidthLaw& law = description.law;
    const std::vector<Line>& lines = description.lines;
    std::vector<double> positions;
    for (const Line& line : lines)
        if (!line.isGiven)
            positions.push_back(line.position);
    std::sort(positions.begin(), positions.end());
    std::vector<Chain> chains;
    for (std::size_t first = 0, last = 0; first < positions.size(); first = last) {
        for (last = first + 1; last < positions.size() && positions[last] - positions[last - 1] <
                                                              near * law.At(positions[last]);
             ++last) {
        }
        const double from = positions[first];
        const double to = positions[last - 1];
        const bool hasClear = std::any_of(lines.begin(), lines.end(), [&](const Line& line) {
            return line.position >= from && line.position <= to && line.significance > clear;
        });
        const bool isSteep =
            !hasClear && (isSteepAt(description, from) || isSteepAt(description, to));
        if (last - first >= many || isSteep)
            chains.push_back({{from - law.At(from), to + law.At(to)}, last - first > 1});
    }
    return chains;
}

/// What a background may cost more than many lines: half of what chance makes of each channel, and
/// a hundredth of the counts.
double slackOver(const Description& description, const rnge_c1DRange& range) {
    double slack = 0;
    for (int i = 0; i < description.values.Size(); ++i)
        if (const double x = description.cal.Position(i); x > range.Start() && x < range.End()) {
            const double value = description.model.Number(i).As<double>();
            const double deviation =
                description.noise.isOfCounts ? std::sqrt(value) : description.noise.deviation;
            slack += 0.5 + std::pow(0.01 * value / deviation, 2);
        }
    return slack;
}

} // namespace

bool Structures::Take(Description& description, Candidates& candidates) {
    bool hasTaken = false;
    for (const auto& [range, isOfMany] : chainsOf(description)) {
        const rnge_c1DRange& chain = range; // what clang lets a lambda take
        const bool isTried = std::any_of(tried_.begin(), tried_.end(), [&](const auto& tried) {
            return (tried & chain).Length() > std::max(tried.Length(), chain.Length()) / 2;
        });
        if (isTried)
            continue;
        tried_.push_back(chain);
        const Description before = description;
        const Candidates had = candidates;
        const auto isInside = [&](const Line& line) {
            return !line.isGiven && line.position > chain.Start() && line.position < chain.End();
        };
        std::vector<Line>& lines = description.lines;
        const auto linesBefore = std::erase_if(lines, isInside);
        description.structures.push_back(chain);
        candidates.Forget();
        description.LayContinuum();
        description.Fit(Widths::fixed, roundTolerance);
        for (int i = 0; i < 3 && candidates.Add(description, candidate, 0); ++i)
            candidates.FitSignificant(description, Widths::fixed, roundTolerance);
        // Lines have to be clearly better than a background: one on a slope, which no background
        // follows to within its noise, by twice what makes it significant.
        const double slack =
            isOfMany ? slackOver(before, chain) : 2 * std::pow(candidates.Significance(), 2);
        const auto linesNow =
            static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), isInside));
        const bool isSimpler = 2 * linesNow < linesBefore + 1;
        if (isSimpler && description.Cost() < before.Cost() + slack) {
            hasTaken = true;
            continue;
        }
        description = before;
        candidates = had;
    }
    return hasTaken;
}

} // namespace tour
