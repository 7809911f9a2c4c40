#pragma once

/// @file
/// Band-pass filters of centred spectra, and cross-correlation within a band.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// The mask of a band for a centred spectrum of `n` elements: float elements, 1 where low < x <
/// high, strictly, and 0 elsewhere. Positions x are fractions of the Nyquist frequency: they run in
/// steps of 2/n from -1 at element 0 (of an odd n from 1/n - 1), and are 0 at element n/2; the
/// result lies on that calibration (0, 2/n, n/2). **x has a sign**: with 0 <= low, no negative
/// frequency passes.
///
/// x is that of a ramp_c1DRamp, which adds up its steps: where n is no power of two, an x may miss
/// a limit that it would equal, and element n/2 may miss 0, by a rounding error (of n = 100,
/// element 50 passes a `low` of 0).
///
///     prut_BandPassFilter(8, 0.0, 0.6);   // 0 0 0 0 0 1 1 0
///
/// A band with low >= high, or a NaN, passes nothing. Throws the size error for a negative `n`.
/// For an `n` of 0 the result has two zeros, as every comparison with an array without elements
/// has.
DATAPROCESSING_EXPORT darr_c1DArray prut_BandPassFilter(int n, double low, double high);
/// The same for a centred spectrum of `nx` by `ny` elements, where x is the distance from the
/// centre, sqrt(x^2 + y^2) in fractions of the Nyquist frequency of each axis. The centre itself
/// passes only when low is negative (or, where a size is no power of two, by a rounding error). The
/// result lies on the calibration (0, 2/nx, nx/2; 0, 2/ny, ny/2). Where a size is 0 it has 2 by 2
/// zeros.
DATAPROCESSING_EXPORT darr_c2DArray prut_BandPassFilter(int nx, int ny, double low, double high);

/// The cross-correlation within a band: both arrays are matched (four_MatchAndFitToPowerOfTwo, on
/// copies), the product four_FFT(a) * conj(four_FFT(b)) is multiplied by the band's mask, and
/// four_IFFT of that is centred (four_Center).
///
/// In 1D the result is complex float, has delta 1 and calibration index half its size; the band is
/// one-sided, as prut_BandPassFilter is. In 2D it is float for real images, and the calibration
/// index of X **and that of Y** are half the size of X.
///
/// Throws the errors of four_CrossCorrelate.
DATAPROCESSING_EXPORT darr_c1DArray prut_CrossCorrelate(const darr_c1DArray& a,
                                                        const darr_c1DArray& b, double low,
                                                        double high);
/// The same for images.
DATAPROCESSING_EXPORT darr_c2DArray prut_CrossCorrelate(const darr_c2DArray& a,
                                                        const darr_c2DArray& b, double low,
                                                        double high);
