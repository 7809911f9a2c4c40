#pragma once

#include <vector>

#include "description.h"

namespace tour {

/// Of any spectrum; more is no spectrum of lines.
inline constexpr std::size_t mostLines = 300;

/// How many deviations above the fit make a candidate.
inline constexpr double candidate = 4;

/// Lets lines come and go, and remembers which have gone.
class Candidates {
public:
    /// `significance` is what a line has at least.
    explicit Candidates(double significance) : significance_(significance) {}

    /// What stands out of the model by so many deviations becomes a line, at most one within so
    /// many widths. Answers whether there is one.
    bool Add(Description& description, double least, double widthsApart);
    /// What hides beside lines becomes one, the clearest within a width. Answers whether there is
    /// one.
    bool AddBeside(Description& description, double least);
    /// Fits; takes out what is not significant, the least of those that lie together first, and of
    /// two that cannot be told apart the smaller; and fits again until nothing goes.
    void FitSignificant(Description& description, Widths widths, double tolerance);
    /// So, until every line has found its place.
    void FitToTheEnd(Description& description, Widths widths, double tolerance);
    /// Takes out lines close to a stronger one without which chi-squared is no worse than chance
    /// makes it. Answers whether one has gone.
    bool RemoveNeedless(Description& description);
    /// What has gone may come again.
    void Forget() { gone_.clear(); }
    double Significance() const { return significance_; }

private:
    bool Prune(Description& description);
    bool IsKnown(const Description& description, double position) const;

    double significance_;
    std::vector<double> gone_; // where those were seen and where they were fitted
    std::vector<double> needless_;
};

} // namespace tour
