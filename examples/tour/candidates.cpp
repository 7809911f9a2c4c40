#include "candidates.h"

#include <algorithm>
#include <cmath>

#include "further_line.h"

namespace tour {

namespace {

constexpr double closest = 0.25;   // widths between two lines that can be told apart at all
constexpr double hiding = 0.8;     // widths, within which two errors do not tell what one is
constexpr double stepBeside = 0.3; // widths from place to place beside a line
constexpr int stepsBeside = 6;

/// Whether one of the places is as near as that.
bool isNearOne(const std::vector<double>& places, double position, double distance) {
    return std::any_of(places.begin(), places.end(),
                       [&](double place) { return std::abs(place - position) < distance; });
}

} // namespace

/// Whether there is a line here, or lines that were seen or fitted here have gone more than once,
/// or were needless.
bool Candidates::IsKnown(const Description& description, double position) const {
    const auto isHere = [&](double other, double widths) {
        return std::abs(other - position) < widths * description.law.At(position);
    };
    const std::vector<Line>& lines = description.lines;
    return std::any_of(lines.begin(), lines.end(),
                       [&](const Line& line) { return isHere(line.position, closest); }) ||
           std::count_if(gone_.begin(), gone_.end(),
                         [&](double other) { return isHere(other, 0.5); }) > 2 ||
           std::any_of(needless_.begin(), needless_.end(),
                       [&](double other) { return isHere(other, 0.5); });
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

bool Candidates::AddBeside(Description& description, double least) {
    struct Place {
        double position;
        FurtherLine line;
    };
    std::vector<Line>& lines = description.lines;
    std::vector<Place> places;
    for (const Line& line : lines) {
        const double width = description.law.At(line.position);
        // Where the shape of a line is not what it is taken for, more has to be left to be a line.
        const double excess =
            line.significance > 0 ? line.area / line.areaError / line.significance : 1;
        for (int i = -stepsBeside; i <= stepsBeside; ++i) {
            const double position = line.position + i * stepBeside * width;
            const double index = description.IndexOf(position);
            const bool isNearer = std::any_of(lines.begin(), lines.end(), [&](const Line& other) {
                return std::abs(other.position - position) <
                       std::abs(i) * stepBeside * width - 1e-9 * width;
            });
            if (index < 0 || index > description.values.Size() - 1 || isNearer ||
                IsKnown(description, position))
                continue;
            const FurtherLine further = furtherLine(description, position);
            if (further.significance > least * excess)
                places.push_back({position, further});
        }
    }
    std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
        return a.line.significance > b.line.significance;
    });
    std::vector<double> taken;
    for (const auto& [position, line] : places) {
        if (lines.size() >= mostLines || isNearOne(taken, position, description.law.At(position)))
            continue;
        taken.push_back(position);
        lines.push_back({.position = position, .seenAt = position, .height = line.height});
    }
    return !taken.empty();
}

void Candidates::FitSignificant(Description& description, Widths widths, double tolerance) {
    do
        description.Fit(widths, tolerance);
    while (Prune(description));
}

void Candidates::FitToTheEnd(Description& description, Widths widths, double tolerance) {
    do {
        description.FitFreely(widths, tolerance);
        std::erase_if(description.lines, isAtItsBound); // which has found no place
    } while (description.lines.size() < description.fit.peaks.size() || Prune(description));
}

bool Candidates::RemoveNeedless(Description& description) {
    std::vector<Line> close;
    for (const Line& line : description.lines)
        if (!line.isGiven &&
            std::any_of(description.lines.begin(), description.lines.end(), [&](const Line& other) {
                return &other != &line && other.area >= line.area &&
                       std::abs(other.position - line.position) <
                           hiding * description.law.At(line.position);
            }))
            close.push_back(line);
    bool hasGone = false;
    for (const Line& line : close) {
        if (description.IsExhausted())
            break;
        Description without = description;
        const auto nearest = std::min_element(
            without.lines.begin(), without.lines.end(), [&](const Line& a, const Line& b) {
                return std::abs(a.position - line.position) < std::abs(b.position - line.position);
            });
        without.lines.erase(nearest);
        without.Fit(Widths::fixed, roundTolerance);
        if (without.ChiSquared() > description.ChiSquared() + significance_ * significance_)
            continue;
        description = std::move(without);
        needless_.insert(needless_.end(), {line.position, line.seenAt});
        hasGone = true;
    }
    return hasGone;
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
