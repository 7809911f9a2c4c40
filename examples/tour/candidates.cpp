#include "candidates.h"

#include <algorithm>
#include <cmath>

namespace tour {

namespace {

constexpr double closest = 0.25; // widths between two lines that can be told apart at all

/// Whether one of the places is as near as that.
bool isNearOne(const std::vector<double>& places, double position, double distance) {
    return std::any_of(places.begin(), places.end(),
                       [&](double place) { return std::abs(place - position) < distance; });
}

} // namespace

/// Whether there is a line here, or lines that were seen or fitted here have gone more than once.
bool Candidates::IsKnown(const Description& description, double position) const {
    const auto isHere = [&](double other, double widths) {
        return std::abs(other - position) < widths * description.law.At(position);
    };
    const std::vector<Line>& lines = description.lines;
    return std::any_of(lines.begin(), lines.end(),
                       [&](const Line& line) { return isHere(line.position, closest); }) ||
           std::count_if(gone_.begin(), gone_.end(),
                         [&](double other) { return isHere(other, 0.5); }) > 2;
}

bool Candidates::Add(Description& description, double least, double widthsApart) {
    const WidthLaw& law = description.law;
    std::vector<Line>& lines = description.lines;
    const darr_c1DArray significance =
        significanceOf(description.values, description.model, description.noise, law);
    const darr_c1DArray excess = smth_Gauss(description.values - description.model,
                                            0.5 * law.At(law.reference) / fullWidthPerSigma);
    const std::size_t before = lines.size();
    for (const peak_sPeak& peak :
         peak_Find(significance,
                   {.prominence = least / 2, .distance = widthsApart * law.At(law.reference)})) {
        if (peak.height < least || IsKnown(description, peak.position) || lines.size() >= mostLines)
            continue;
        lines.push_back({.position = peak.position,
                         .seenAt = peak.position,
                         .height = std::max(1e-3, excess.Number(peak.index).As<double>())});
    }
    return lines.size() > before;
}

void Candidates::FitSignificant(Description& description, Widths widths, double tolerance) {
    do
        description.Fit(widths, tolerance);
    while (Prune(description));
}

/// Answers whether a line has gone.
bool Candidates::Prune(Description& description) {
    const WidthLaw& law = description.law;
    std::vector<Line>& lines = description.lines;
    const auto isBelow = [&](const Line& line) {
        if (line.isGiven)
            return false;
        if (line.significance < significance_)
            return true;
        return std::any_of(lines.begin(), lines.end(), [&](const Line& other) {
            return &other != &line && other.area >= line.area &&
                   std::abs(other.position - line.position) < closest * law.At(line.position);
        });
    };
    std::vector<const Line*> below;
    for (const Line& line : lines)
        if (isBelow(line))
            below.push_back(&line);
    std::sort(below.begin(), below.end(),
              [](const Line* a, const Line* b) { return a->significance < b->significance; });
    // Those far from each other do not change each other: they can go at once.
    std::vector<double> gone;
    for (const Line* line : below)
        if (!isNearOne(gone, line->position, 4 * law.At(line->position)))
            gone.push_back(line->position);
    std::erase_if(lines, [&](const Line& line) {
        const bool isGone =
            !line.isGiven && std::find(gone.begin(), gone.end(), line.position) != gone.end();
        if (isGone)
            gone_.insert(gone_.end(), {line.position, line.seenAt});
        return isGone;
    });
    return !gone.empty();
}

} // namespace tour
