#pragma once

/// @file
/// Peaks of spectra and line profiles: where they are, how high, how wide, how significant.

#include <vector>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// What a peak must have at least to be found. Every 0 asks for nothing.
struct peak_sOptions {
    /// The prominence, in the units of the values.
    double prominence = 0;
    /// The distance to every higher peak that is found, in calibrated units.
    double distance = 0;
    /// The width at half prominence, in calibrated units.
    double width = 0;
    /// The significance over counting noise.
    double significance = 0;
};

/// A peak: a local maximum of a 1D array.
struct peak_sPeak {
    /// The element at the top; of a flat top the middle one, or the left of the two middle ones.
    int index = 0;
    /// Where the top is, in calibrated units, between elements: the vertex of the parabola through
    /// the top and its two neighbours; of a flat top its middle.
    double position = 0;
    /// The value of the element at the top.
    double height = 0;
    /// How far one has to descend from the top, on the better side, to get to something higher or
    /// to the end: the height less the higher of the two lowest values on either side.
    double prominence = 0;
    /// The width at the height less half the prominence, in calibrated units, with the crossings
    /// interpolated linearly between elements.
    double width = 0;
    /// The sum of what the elements within the width have above the foot (the height less the
    /// prominence), over the square root of the sum of those elements, which is taken as 1 where it
    /// is less: the standard deviation of counts.
    double significance = 0;
};

/// The peaks of `array` that have all that `options` asks for, by rising index.
///
/// A peak is an element, or a run of equal ones, higher than its neighbours on both sides; the
/// first and the last element are none. Of peaks closer than the least distance the higher ones
/// are kept, from the highest one down, and of equal ones the later; a distance within 1e-6 of a
/// whole number of elements counts as that. Prominence, width and significance are then asked for
/// in this order, and are measured in the whole array, not among the peaks that were kept.
///
/// **Elements** are compared as they are and computed with as doubles. A NaN is no peak and ends an
/// array as its two ends do: prominences are not looked for beyond. Beside an infinite element some
/// figures are infinite or NaN; a NaN is not refused by an option. The significance means something
/// for counts only. With a calibration of counts, whose element i covers [Position(i), Position(i +
/// 1)), add half a delta for the middle of the channel.
///
/// An array of less than three elements has no peaks. Time grows with the number of elements and
/// with the widths of the peaks.
///
/// Throws expt_cProgramException ("peak", 1) for an option that is negative or NaN, ("peak", 2) for
/// complex elements, and the error of conv_Convert for an unknown element type.
///
/// Prominence and width are those of topography; the distance, and the order of the conditions,
/// are those that scipy.signal.find_peaks has made common.
///
///     for (const peak_sPeak& line : peak_Find(spectrum, {.prominence = 50, .distance = 0.2}))
///         std::cout << line.position << ' ' << line.height << '\n';
DATAPROCESSING_EXPORT std::vector<peak_sPeak> peak_Find(const darr_c1DArray& array,
                                                        const peak_sOptions& options = {});
