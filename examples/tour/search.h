#pragma once

#include "analysis.h"
#include "candidates.h"
#include "description.h"
#include "law_of_lines.h"
#include "split_lines.h"
#include "structures.h"

namespace tour {

/// Looks for the lines of one spectrum.
class Search {
public:
    Search(const darr_c1DArray& values, const Noise& noise, const AnalysisOptions& options);

    /// Looks until there is nothing more to be found, and tells what was.
    Analysis Run();

private:
    void StartLaw(const AnalysisOptions& options, const Width& width);
    void Start();
    void StartWithBest(const AnalysisOptions& options);
    bool Find(int rounds, bool takesStructures);

    Description description_;
    Candidates candidates_;
    Structures structures_;
    SplitLines splits_;
    LawOfLines law_;
    bool hasMaxima_ = false;
    int rounds_ = 0;
};

} // namespace tour
