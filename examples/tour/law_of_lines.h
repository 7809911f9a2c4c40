#pragma once

#include <vector>

#include "candidates.h"
#include "description.h"
#include "width_law.h"

namespace tour {

/// The law that the widths of lines follow, and the widths that tell it.
class LawOfLines {
public:
    /// The widths of strong lines tell the law. Answers whether it has changed by more than such
    /// a part somewhere.
    bool Update(Description& description, double part);
    /// The last fit: all widths by one law, which lines that are strong and single have to follow.
    /// Where they do not, these have their own.
    void FitAtLast(Description& description, Candidates& candidates);

    /// Those of the lines that are strong enough to have one by themselves.
    const std::vector<Width>& WidthsByThemselves() const { return widths_; }
    /// Whether all lines follow the law, after the last fit.
    bool Holds() const { return holds_; }

private:
    void TakeWidths(const Description& description);
    void Judge(WidthLaw& law) const;

    std::vector<Width> widths_;
    bool holds_ = false;
};

} // namespace tour
