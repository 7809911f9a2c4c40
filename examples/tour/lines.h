#pragma once

#include <string>
#include <vector>

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// A line found in a spectrum; positions and widths in units of its axis.
struct Line {
    double position;
    double height; ///< counts per channel above the background
    double width;  ///< full width at half maximum
};

/// The strongest lines of a net spectrum, at most 20, in order of position. A line is a maximum
/// from which the values fall, on either side, by five times the noise of counting and by a
/// sixth of its height. It is at most a 64th of the spectrum wide, which humps are not, and
/// between a half of and twice as wide as the strongest.
std::vector<Line> findLines(const darr_c1DArray& net, const darr_c1DArray& counts);

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

} // namespace tour
