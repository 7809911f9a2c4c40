#pragma once

/// @file
/// The background under the peaks of a spectrum.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// In which order the half widths of a clipping come.
enum bgnd_eOrder : int {
    bgnd_Decreasing = 0, ///< from the widest to 1, which gives the smoother background
    bgnd_Increasing = 1  ///< from 1 to the widest
};

/// On which scale a background is clipped.
enum bgnd_eScale : int {
    bgnd_Counts = 0, ///< ln(ln(sqrt(y + 1) + 1) + 1), on which counts of all sizes vary alike
    bgnd_Values = 1  ///< the values themselves
};

/// How bgnd_Snip clips.
struct bgnd_sOptions {
    bgnd_eOrder order = bgnd_Decreasing; ///< the order of the half widths
    bgnd_eScale scale = bgnd_Counts;     ///< the scale that is clipped
};

/// The background of a spectrum, by statistics-sensitive clipping of peaks: on a scale v of the
/// values, for each half width p from `iterations` to 1 (or the other way round), all elements at
/// once become min(v[i], (v[i - p] + v[i + p]) / 2). Elements nearer than p to an end stay as they
/// are in that step. What is narrower than 2 `iterations` elements at its foot goes, so choose
/// somewhat more than the full width of a line's foot, halved. The background is nowhere above the
/// spectrum, and where no step clips it is the spectrum exactly.
///
/// The result has the size and the calibration of the spectrum; float elements give floats, all
/// others doubles. Scaled is the magnitude, less the scale's value at 0, with the sign of the
/// element, so that a net spectrum with negative elements can be clipped, too. A NaN
/// stays where it is and clips nothing. An empty array, and no iterations, give the values as they
/// are.
///
/// Throws expt_cProgramException ("bgnd", 1) for a negative number of iterations, ("bgnd", 2) for
/// an option that is none of those above, ("bgnd", 3) for complex elements, and the error of
/// conv_Convert for an unknown element type.
///
/// C. G. Ryan et al., Nucl. Instrum. Methods B 34 (1988) 396; the order of the half widths and the
/// scale, M. Morhac et al., Nucl. Instrum. Methods A 401 (1997) 113.
///
///     const darr_c1DArray background = bgnd_Snip(spectrum, 12);
///     const darr_c1DArray lines = spectrum - background;
DATAPROCESSING_EXPORT darr_c1DArray bgnd_Snip(const darr_c1DArray& array, int iterations,
                                              const bgnd_sOptions& options = {});
