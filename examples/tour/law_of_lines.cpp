#include "law_of_lines.h"

#include <algorithm>
#include <cmath>
#include <span>

namespace tour {

namespace {

constexpr int mostLaws = 5; // one after the other
constexpr double lastTolerance = 5e-15;
// What a line's shape may be other than a Gaussian of the law's width, as a part of the width.
constexpr double shapeError = 0.005;

/// Whether a law differs from that of the lines by more than such a part of the width of one, and
/// by more than half of what it is uncertain by.
bool isOther(const WidthLaw& law, const Description& description, double part) {
    const WidthLaw& own = description.law;
    return std::any_of(description.lines.begin(), description.lines.end(), [&](const Line& line) {
        const double width = own.At(line.position);
        const double error =
            std::hypot(own.squareError, own.slopeError * (line.position - own.reference)) /
            (2 * width * width);
        return std::abs(law.At(line.position) / width - 1) > std::max(part, error / 2);
    });
}

bool holdsFor(const WidthLaw& law, const std::vector<Line>& lines) {
    return law.outliers == 0 && law.reducedChiSquared <= 2 &&
           std::all_of(lines.begin(), lines.end(), [&](const Line& line) {
               return law.square + law.slope * (line.position - law.reference) > 0;
           });
}

/// The law that the last fit has found with all lines.
void takeFitted(Description& description) {
    const std::span<const double> p = description.fit.fit.parameters;
    const std::span<const double> errors = description.fit.fit.standardErrors;
    const std::size_t first = description.ofLaw;
    const double unit = fullWidthPerSigma * fullWidthPerSigma;
    WidthLaw& law = description.law;
    law.square = unit * p[first] * p[first];
    law.squareError = unit * 2 * p[first] * errors[first];
    law.slope = unit * p[first + 1];
    law.slopeError = unit * errors[first + 1];
}

/// What lines that follow a law which does not hold for all change where it is off by its error.
void addErrorsOfLaw(Description& description) {
    const WidthLaw& law = description.law;
    const double misfit = std::sqrt(std::max(1.0, law.reducedChiSquared));
    const double part = std::max(shapeError, misfit * law.squareError / (2 * law.square));
    Description other = description;
    other.law.square *= (1 + part) * (1 + part);
    other.law.slope *= (1 + part) * (1 + part);
    other.Fit(Widths::strongFree, lastTolerance);
    for (std::size_t i = 0; i < description.lines.size(); ++i) {
        Line& line = description.lines[i];
        const Line& changed = other.lines[i];
        if (line.hasOwnWidth)
            continue;
        if (!line.isGiven)
            line.positionError = std::hypot(line.positionError, changed.position - line.position);
        line.heightError = std::hypot(line.heightError, changed.height - line.height);
        line.areaError = std::hypot(line.areaError, changed.area - line.area);
    }
}

} // namespace

void LawOfLines::TakeWidths(const Description& description) {
    widths_.clear();
    for (const Line& line : description.lines)
        if (line.hasOwnWidth && line.widthError > 0)
            widths_.push_back({line.position, line.width,
                               std::hypot(line.widthError * std::sqrt(std::max(1.0, line.misfit)),
                                          shapeError * line.width)});
}

/// How well the widths that lines have by themselves follow a law.
void LawOfLines::Judge(WidthLaw& law) const {
    double sum = 0;
    law.lines = 0;
    for (const Width& width : widths_) {
        const double pull = (width.value - law.At(width.position)) / width.error;
        if (std::abs(pull) > farthestFromLaw)
            continue;
        sum += pull * pull;
        ++law.lines;
    }
    law.outliers = static_cast<int>(widths_.size()) - law.lines;
    law.reducedChiSquared = sum / std::max(1, law.lines);
}

bool LawOfLines::Update(Description& description, double part) {
    const std::vector<Line>& lines = description.lines;
    const bool hasSingle = std::any_of(
        lines.begin(), lines.end(), [&](const Line& line) { return description.IsStrong(line); });
    if (!hasSingle && std::none_of(lines.begin(), lines.end(), isClear))
        return false;
    Description free = description;
    const WidthLaw old = description.law;
    if (hasSingle) {
        free.Fit(Widths::strongFree, roundTolerance);
        TakeWidths(free);
        description.law = lawOf(widths_, old);
    } else {
        // Lines that all overlap have a common law, too.
        free.Fit(Widths::ofLaw, roundTolerance);
        widths_.clear();
        takeFitted(free);
        description.law = free.law;
    }
    return isOther(old, description, part);
}

void LawOfLines::FitAtLast(Description& description, Candidates& candidates) {
    const auto fit = [&](Widths widths) {
        candidates.FitToTheEnd(description, widths, lastTolerance);
    };
    if (!description.lines.empty() && holdsFor(description.law, description.lines)) {
        fit(Widths::ofLaw);
        if (description.lines.empty())
            return;
        takeFitted(description);
        Judge(description.law);
        holds_ = holdsFor(description.law, description.lines);
        if (holds_)
            return;
        fit(Widths::strongFree);
        TakeWidths(description);
        Judge(description.law);
    } else
        for (int i = 0; i < mostLaws; ++i) {
            fit(Widths::strongFree);
            TakeWidths(description);
            const WidthLaw old = description.law;
            description.law = lawOf(widths_, old);
            if (!isOther(old, description, 1e-3))
                break;
        }
    addErrorsOfLaw(description);
}

} // namespace tour
