#pragma once

/// @file
/// Registration: how far the content of one array lies from that of another.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// How a shift is found between whole elements. With a band, regs_LeastSquares is regs_Fourier.
enum regs_eSubElement : int {
    regs_Fourier = 0,     ///< the maximum of the correlation as its transform has it at any shift
    regs_Parabola = 1,    ///< the vertex of a paraboloid through the correlations at its neighbours
    regs_Whole = 2,       ///< not at all: the nearest whole element
    regs_LeastSquares = 3 ///< where what overlaps differs least
};

/// How regs_Register registers.
struct regs_sOptions {
    /// What is used of the spatial frequencies, as parts of the Nyquist frequency: those from `low`
    /// up to `high`, both included. Zero frequency is never used. Arrays extended to N elements
    /// have the multiples of 2 / N.
    double low = 0;
    /// See `low`. An image has frequencies up to sqrt(2).
    double high = 2;
    /// The part of the smaller array, along each axis, that must overlap the other at least, to the
    /// nearest whole element of the shift.
    double overlap = 0.25;
    /// How the shift is found between whole elements.
    regs_eSubElement subElement = regs_LeastSquares;
};

/// A shift between two 1D arrays.
struct regs_s1DShift {
    /// In calibrated units: what lies at p in the fixed array lies at p + x in the moved one.
    double x = 0;
    /// In elements: what lies at element i of the fixed array lies at i + elementsX of the moved
    /// one. Where the calibrations are equal this is x / delta.
    double elementsX = 0;
    /// The correlation coefficient of the parts that overlap, at the nearest whole element: 1 for
    /// equal ones. Noise makes it smaller, and so does what differs.
    double height = 0;
    /// That at the next best peak, by the same elements; 0 where there is none. What lies on the
    /// slopes of the peak found is no other. A height that is hardly above it tells that there is
    /// nothing to register by, or that what there is repeats itself; so does one that is below it,
    /// which a height between whole elements may be. By a tenth it is only where little overlaps at
    /// the other peak, or with a band.
    double second = 0;
};

/// A shift between two images; along Y as along X.
struct regs_s2DShift {
    double x = 0;         ///< see regs_s1DShift
    double y = 0;         ///< the same along Y
    double elementsX = 0; ///< see regs_s1DShift
    double elementsY = 0; ///< the same along Y
    double height = 0;    ///< see regs_s1DShift
    double second = 0;    ///< see regs_s1DShift
};

/// @name Registration
/// The shift of `moved` against `fixed`, by the maximum of their correlation.
///
/// 1. The means are subtracted, and both are extended with zeros so far that nothing meets what has
///    gone out at the other end. Arrays of more than some sixty elements along an axis are averaged
///    first, two and two or more; where that finds nothing, with less.
/// 2. The correlation coefficient h of what overlaps, n elements, is found for every shift at which
///    enough does, and how likely it is that both are the same but for noise, -n log(1.02 - h h).
///    The dozen highest peaks of either, of h times the root of n for one, are ranked by the
///    latter. With a band it is the correlation itself, over that root, and edges are faded out
///    before.
/// 3. From the best peak on, least squares go where what overlaps differs least, among the averages
///    and then among the elements: both smoothed a little, the moved array to where it lies between
///    elements, and as bright and as strong as the other. What overlaps is not faded out, and its
///    edges do not hold it back, so that with white noise the errors are within some percent of the
///    least that any method can have, for fine and for broad content. Slopes that are lost in noise
///    are smoothed more. Along a direction that has no slopes but those of noise, as stripes have
///    one, the shift is that of the peak. Where fewer than 16 elements overlap along an axis, the
///    shift is climbed to before, from whole element to whole element, by that likelihood among the
///    elements, and what overlaps there is cut out of both.
/// 4. Otherwise, for the other ways between elements and with a band: what overlaps is cut out of
///    both (of large overlaps the middle), the mean subtracted, faded out over an eighth towards
///    each edge, and correlated again, with the more weight on frequencies the more they stand out
///    of most others; the maximum of that, found as `subElement` says, is the rest of the shift.
///    Fading draws the rest, of half an element at most, towards 0: by some percent of it where the
///    content is much finer than the faded edges are wide, by up to a half where it is not. Where
///    least squares lead nowhere, which is told by nothing but a small height, this is the shift,
///    or that at a neighbour where both are more likely the same. A correlation without a maximum
///    between elements is taken as a paraboloid.
/// 5. What is found is compared with the other peaks, and with those near it among the elements,
///    which may be finer than the averages. Where both are clearly more alike at one of them, by a
///    tenth, and more likely the same, that is the shift.
///
/// The arrays may have any sizes and calibrations, each its own, of equal deltas (to 1e-6 of them);
/// take the shift from the offset of `moved` to move it into place. All real types are served; less
/// their mean, elements are rounded to single precision.
///
/// Throws expt_cProgramException ("regs", 1) for options that are not as told above (a band that is
/// empty, not a number or holds no frequency, an overlap outside (0, 1], an unknown way between
/// elements), ("regs", 2) for deltas that differ or are zero or not finite and for an element 0
/// that lies nowhere, ("regs", 3) for complex elements, the error of conv_Convert for an unknown
/// element type, and the size error where the extended arrays would have more than 2^31-1 elements;
/// expt_cUserException ("regs", 4) for an array without elements, with elements whose sum is not
/// finite, or with all elements equal.
///
/// B. D. Lucas and T. Kanade, Proc. 7th Int. Joint Conf. Artificial Intelligence (1981) 674, for
/// the least squares; M. Guizar-Sicairos et al., Opt. Lett. 33 (2008) 156, for the maximum.
///
///     const regs_s2DShift shift = regs_Register(fixed, moved);
///     std::cout << shift.x << ", " << shift.y << '\n';
/// @{
DATAPROCESSING_EXPORT regs_s1DShift regs_Register(const darr_c1DArray& fixed,
                                                  const darr_c1DArray& moved,
                                                  const regs_sOptions& options = {});
DATAPROCESSING_EXPORT regs_s2DShift regs_Register(const darr_c2DArray& fixed,
                                                  const darr_c2DArray& moved,
                                                  const regs_sOptions& options = {});
/// @}
