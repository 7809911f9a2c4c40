#include "search.h"

#include <algorithm>
#include <optional>

#include "told.h"

namespace tour {

namespace {

constexpr int mostRounds = 10;
constexpr int exactRounds = 4; // after which a law may go on changing a little
constexpr int roundsBeforeStructures = 3;
constexpr int mostStarts = 5;
constexpr double stepOfWidths = 1.6; // from one that is tried to the next
constexpr double clearlyBetter = 20; // in chi-squared
constexpr double farNarrower = 4;    // in squares of widths, than a detector makes them
constexpr double clearlyAbove = 10; // deviations above a clipped background, which is no fitted one

Width usualWidth(const Description& description) {
    const int size = description.values.Size();
    return {description.cal.Position(size / 2),
            std::clamp(size / 200.0, 4.0, 12.0) * description.delta, 0};
}

} // namespace

Search::Search(const darr_c1DArray& values, const Noise& noise, const AnalysisOptions& options)
    : description_(values, noise), candidates_(options.significance) {
    for (const double position : options.lines)
        description_.lines.push_back({.position = position, .isGiven = true});
    if (options.resolution) {
        StartLaw(options, *options.resolution);
        Start();
    } else
        StartWithBest(options);
}

/// The law for a width somewhere.
void Search::StartLaw(const AnalysisOptions& options, const Width& width) {
    WidthLaw law{.square = width.value * width.value, .reference = width.position};
    // No line of a detector is narrower than its slope alone makes it.
    const double least = 1.1 * options.slope * std::max(width.position, 0.0);
    const bool isByFar = least > (options.resolution ? 1 : farNarrower) * law.square;
    if (!isByFar || !(hasMaxima_ || options.resolution)) {
        law.slope = options.slope;
        law.square = std::max(law.square, least);
    }
    description_.law = law;
}

/// The width of the clearest maxima, or one of those several times as wide, where the spectrum is
/// described better with it: noise makes maxima narrow.
void Search::StartWithBest(const AnalysisOptions& options) {
    const std::optional<Width> byMaxima = typicalWidth(description_.values, description_.noise);
    hasMaxima_ = byMaxima.has_value();
    Width width = byMaxima.value_or(usualWidth(description_));
    const Search none = *this;
    std::optional<Search> best;
    for (; !best || width.value < widestOf(description_.values); width.value *= stepOfWidths) {
        Search search = none;
        search.StartLaw(options, width);
        search.Start();
        if (!best || search.description_.Cost() < best->description_.Cost() - clearlyBetter)
            best = std::move(search);
    }
    *this = *best;
}

/// Finds what is clear, and the law for it.
void Search::Start() {
    description_.StartBackground();
    // One line for each place, at first: how wide they are tells whether there are more.
    candidates_.Add(description_, clearlyAbove, 4);
    for (int i = 0; i < mostStarts; ++i) {
        description_.LayContinuum();
        description_.Fit(Widths::fixed, roundTolerance);
        if (!law_.Update(description_, 0.01))
            break;
    }
    Find(2, false);
}

/// Looks for lines until there are no more, or so many times. Answers whether there are no more.
bool Search::Find(int rounds, bool takesStructures) {
    candidates_.Forget();
    for (int i = 0; i < rounds; ++i) {
        ++rounds_;
        candidates_.FitSignificant(description_, Widths::fixed, roundTolerance);
        if (takesStructures && description_.IsExhausted())
            return false;
        // Lines that fill something wider would come without end.
        const bool isLong = takesStructures && i == roundsBeforeStructures;
        const bool hasTaken = isLong && structures_.Take(description_, candidates_);
        if (!candidates_.Add(description_, candidate, 0) &&
            !candidates_.AddBeside(description_, candidate) && !hasTaken &&
            !(takesStructures && structures_.Take(description_, candidates_)) &&
            !(takesStructures && candidates_.RemoveNeedless(description_)))
            return true;
    }
    return false;
}

Analysis Search::Run() {
    // Lines beside others tell more of the law, and the law more of the lines.
    bool isSettled = false;
    for (int i = 0; i < mostRounds && !isSettled && !description_.IsExhausted(); ++i) {
        const bool isRough = i < 2;
        const bool hasAll = Find(isRough ? 2 : mostRounds, !isRough);
        const bool hasNewLaw = law_.Update(description_, i < exactRounds ? 0.01 : 0.03);
        const bool hasSplit = splits_.Split(description_, law_.WidthsByThemselves());
        isSettled = !isRough && hasAll && !hasNewLaw && !hasSplit;
        if (hasNewLaw)
            description_.LayContinuum();
    }
    law_.FitAtLast(description_, candidates_);
    Analysis analysis = told(description_);
    analysis.widths = law_.WidthsByThemselves();
    std::sort(analysis.widths.begin(), analysis.widths.end(),
              [](const Width& a, const Width& b) { return a.position < b.position; });
    analysis.hasLaw = law_.Holds();
    analysis.hasMaxima = hasMaxima_;
    analysis.rounds = rounds_;
    analysis.isSettled = isSettled;
    return analysis;
}

} // namespace tour
