#pragma once

#include <optional>

#include "dataprocessing/dataprocessing.h"
#include "width_law.h"

namespace tour {

/// What is known of the noise of a spectrum.
struct Noise {
    bool isOfCounts = true;
    double deviation = 0; ///< of a value, where it is not that of counts
};

/// Whole numbers from 0 on are counts; the noise of others is told by the differences of
/// neighbours.
Noise noiseOf(const darr_c1DArray& values);

/// How many times as much whole numbers scatter from one to the next as counts would: 1 where that
/// is not clearly more, or where there are too few to tell.
double excessOfNoise(const darr_c1DArray& values);

/// How far the values are from what is expected, in standard deviations: for counts the signed root
/// of the deviance.
darr_c1DArray residualsOf(const darr_c1DArray& values, const darr_c1DArray& expected,
                          const Noise& noise);

/// The same for what a line at each place would have: the values and the expected ones averaged
/// over the shape of a line, which is as good as so many channels counted together.
darr_c1DArray significanceOf(const darr_c1DArray& values, const darr_c1DArray& expected,
                             const Noise& noise, const WidthLaw& law);

/// The widest that a line may be: what is wider than a part of the spectrum is a hump of its
/// continuum.
double widestOf(const darr_c1DArray& values);

/// The full width at half maximum that most of the lines of a spectrum have, as far as its maxima
/// tell; none where no maximum is clear.
std::optional<Width> typicalWidth(const darr_c1DArray& values, const Noise& noise);

} // namespace tour
