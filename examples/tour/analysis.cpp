#include "analysis.h"

#include <algorithm>
#include <cmath>

#include "search.h"
#include "significance.h"

namespace tour {

namespace {

/// The largest magnitude of values: in units of it all can be squared.
double largestOf(const darr_c1DArray& values) {
    double largest = 0;
    for (const double value : values.Elements<double>())
        largest = std::max(largest, std::abs(value));
    return largest;
}

void multiply(Analysis& analysis, double unit) {
    for (Line& line : analysis.lines)
        for (double* value : {&line.height, &line.heightError, &line.area, &line.areaError})
            *value *= unit;
    analysis.background *= unit;
    analysis.model *= unit;
    analysis.noise *= unit;
}

} // namespace

Analysis analysed(const darr_c1DArray& spectrum, const AnalysisOptions& options) {
    darr_c1DArray values = conv_Convert(spectrum, dtyp_Double);
    const bool isOfCounts = noiseOf(values).isOfCounts;
    // What scatters n times as much as counts is as good as counts in units of n squared.
    const double excess = isOfCounts ? excessOfNoise(values) : 1;
    const double unit = isOfCounts ? excess * excess : largestOf(values);
    for (double& value : values.Elements<double>())
        value /= unit;
    Analysis analysis = Search(values, isOfCounts ? Noise{} : noiseOf(values), options).Run();
    multiply(analysis, unit);
    analysis.excessOfNoise = excess;
    return analysis;
}

} // namespace tour
