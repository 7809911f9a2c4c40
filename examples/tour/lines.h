#pragma once

#include <string>
#include <vector>

#include "analysis.h"
#include "dataprocessing/dataprocessing.h"

namespace tour {

/// The strongest of the lines, of which there is at least one.
const Line& strongest(const std::vector<Line>& lines);

/// What lies between the lines, within `whole`: so far from each that it adds less than a twentieth
/// to the `background`, and at least half a line wide.
std::vector<rnge_c1DRange> stretchesWithoutLines(const std::vector<Line>& lines,
                                                 const darr_c1DArray& background,
                                                 const rnge_c1DRange& whole);

/// The strongest line and those around it, at most `most`, in order of position: from line to line
/// it is less than six widths.
std::vector<Line> groupOfStrongest(const std::vector<Line>& lines, std::size_t most);

/// Half the width of the window in which a line is summed: 1.25 of its widths, and no more than
/// half way to its neighbours.
double halfWindow(const std::vector<Line>& lines, const Line& line);

/// The stretch below a position from which a background is best continued to it: the widest in
/// proportion to its distance, both on a logarithmic axis. Null where none is wide and near enough.
const rnge_c1DRange* stretchBelow(const std::vector<rnge_c1DRange>& stretches, double position);

/// A number with this many decimals.
std::string fixed(double value, int decimals);

/// A number with its standard error in units of its last digits: "6.4035(12)".
std::string withError(double value, double error);

/// "1 line", "2 lines".
std::string counted(long long count, const std::string& one);

} // namespace tour
