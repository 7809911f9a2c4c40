#pragma once

/// @file
/// Fourier transforms of calibrated arrays, and the correlations and convolutions made of them.
///
/// What follows holds for all transforms.
///
/// **Precision.** Transforms compute in single precision: those of lines and of general complex
/// images with twiddle factors and products in double, those of real images and of their spectra
/// with twiddle factors rounded to single precision. Every element type is taken; complex ones
/// become complex float, real ones float in 2D and complex float in 1D, by the rules of
/// conv_Convert.
///
/// **Sizes.** Transforms have power-of-two sizes of at least 2. Other arrays are expanded first, by
/// four_ExpandToPowerOfTwo.
///
/// **Centred spectra.** In a centred spectrum of N elements, the coefficient of frequency index f,
/// from -N/2 to N/2 - 1, is element f + N/2; likewise along both axes of an image. The calibration
/// index is N/2, so that frequency 0 lies at position 0, and delta is 1 / (N x delta of the input).
///
/// **Conventions**, where x is the expanded input of N, or W by H, elements:
///
/// | function | of | result |
/// |---|---|---|
/// | four_FFT | 1D | centred, (1/N) sum x[k] e^(+2 pi i f k / N) |
/// | four_IFFT | 1D | sum x[k] e^(-2 pi i f k / N), element f from 0 on |
/// | four_FFT | real 2D | centred, 2/(W W H H) sum x[k, l] e^(-2 pi i (u k / W + v l / H)) |
/// | four_IFFT | real 2D | centred, sum x[k, l] e^(+2 pi i (u k / W + v l / H)) |
/// | four_FFT | centred spectrum of a real image | real, 2/(W W H H) sum with e^(-2 pi i ...) |
/// | four_IFFT | centred spectrum of a real image | real, sum with e^(+2 pi i ...) |
/// | both | any other complex 2D | see four_FFT of an image; neither scaled nor centred |
///
/// **So the inverse does not undo the forward transform**: four_IFFT takes element 0 for frequency
/// 0 and does not un-centre a 1D spectrum, so that the elements come back with alternating signs.
/// For images, four_IFFT(four_FFT(image)) is the image times 2 / (W H).
///
/// **Errors.** An array without elements: the error of stat_Mean. A type outside the ten: that of
/// conv_Convert. More elements than 2^31-1 after the expansion: the size error. NaN and infinities
/// propagate into every element that they take part in.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/darr.h"

/// The smallest power of two that is at least `n`, and never less than 2: of 0, 1, 2 and negative
/// numbers it is 2. Throws the size error for more than 2^30, whose power is no int.
DATAPROCESSING_EXPORT int four_FitToPowerOfTwo(int n);

/// @name Expansion
/// The array with its size, or both sizes, raised to four_FitToPowerOfTwo of them. The new elements
/// follow the old ones and hold the mean of the array (stat_Mean), so that they add no step; the
/// mean is converted to the array's type, which stays. The result lies on the **default
/// calibration**. An array whose sizes are powers of two already is copied, with its calibration.
///
///     four_ExpandToPowerOfTwo(spectrum);  // 1, 2, 3, 4, 5 -> 1, 2, 3, 4, 5, 3, 3, 3
///
/// Throws expt_cUserException ("statist", 166 for 1D, 178 for 2D) for an array without elements,
/// and the size error for more than 2^31-1 elements.
/// @{
DATAPROCESSING_EXPORT darr_c1DArray four_ExpandToPowerOfTwo(const darr_c1DArray& array);
DATAPROCESSING_EXPORT darr_c2DArray four_ExpandToPowerOfTwo(const darr_c2DArray& array);
/// @}

/// @name Matching
/// Replaces both arrays by ones of the same delta and the same power-of-two size: both are
/// resampled to the smaller delta (resc_Rescale), then cut, or extended with zeros, to the larger
/// of their fitted sizes (four_FitToPowerOfTwo) from their first elements on. Images are matched so
/// along each axis. The arrays keep their own starts and element types.
///
/// Throws the errors of resc_Rescale and of four_FitToPowerOfTwo; then both arrays are unchanged.
/// @{
DATAPROCESSING_EXPORT void four_MatchAndFitToPowerOfTwo(darr_c1DArray& a, darr_c1DArray& b);
DATAPROCESSING_EXPORT void four_MatchAndFitToPowerOfTwo(darr_c2DArray& a, darr_c2DArray& b);
/// @}

/// The array with its halves exchanged, on the **default calibration**: the first n / 2 elements go
/// to n / 2, then the others to 0. For an even size it is its own inverse. For an odd size n > 1
/// the first of the first half is overwritten, and the last element of the result is zero.
DATAPROCESSING_EXPORT darr_c1DArray four_Center(const darr_c1DArray& array);
/// The image with its quadrants exchanged across the centre; **the calibration is kept**, unlike in
/// 1D. For even sizes it is its own inverse. For odd sizes quadrants overlap: they are written in
/// the order (left, lower row numbers), right, (left, higher), right, the later over the earlier,
/// and elements that none reaches keep their values.
DATAPROCESSING_EXPORT darr_c2DArray four_Center(const darr_c2DArray& array);

/// The forward transform, normalised and centred, as complex float: see the table above.
///
/// Its calibration has offset 0, delta 1 / (N x the input's delta) and index N/2, N being the
/// expanded size.
///
///     darr_c1DArray power = norm(four_FFT(profile));
DATAPROCESSING_EXPORT darr_c1DArray four_FFT(const darr_c1DArray& array);
/// The inverse transform, as complex float: neither normalised nor centred, and the input is not
/// un-centred before.
///
/// Its calibration has offset 0, delta 1 / (N x the input's delta) and index 0, N being the
/// expanded size.
DATAPROCESSING_EXPORT darr_c1DArray four_IFFT(const darr_c1DArray& array);

/// The forward transform of an image.
///
/// - A **real** image gives its centred spectrum, as complex float.
/// - A **complex** image whose row 0 is conjugate symmetric (element i and element W - i have equal
///   real and opposite imaginary parts, for all i from 1 to W/2 - 1, exactly) is taken for the
///   centred spectrum of a real image, of which only the half with frequencies u >= 0, and u =
///   -W/2, is read. It gives that real image, as float. A W of 2 always counts as symmetric.
/// - **Any other complex** image gives a complex float array, neither scaled nor centred: the
///   transform with e^(+2 pi i ...) of the elements read, in storage order, as W lines of H
///   elements. For a square image that is its plain transform along both axes.
///
/// The calibration of every result: offsets 0, deltas 1 / (size x the input's delta), indices half
/// the sizes, the sizes being those of the result.
DATAPROCESSING_EXPORT darr_c2DArray four_FFT(const darr_c2DArray& array);
/// The inverse transform of an image: the same three cases with the signs of all exponents
/// reversed, and scaled as the table above says.
///
/// The calibration of every result: offsets 0, indices 0, deltas 1 / (size x the input's delta),
/// **the sizes being those of the input** before it is expanded.
DATAPROCESSING_EXPORT darr_c2DArray four_IFFT(const darr_c2DArray& array);

/// @name Auto-correlation
/// four_IFFT(norm(four_FFT(a))), cut to the sizes of `a` from element 0 on; the calibration indices
/// are half the sizes. No other shift or scale is applied.
///
/// In 1D the spectrum that is transformed back is centred, so element k is the circular
/// auto-correlation at shift k, divided by N, times (-1)^k; shift 0 is element 0, whatever the
/// calibration index says. In 2D, where the norm is a real image, the result is complex float and
/// centred.
///
/// Throws the errors of four_FFT.
/// @{
DATAPROCESSING_EXPORT darr_c1DArray four_AutoCorrelate(const darr_c1DArray& a);
DATAPROCESSING_EXPORT darr_c2DArray four_AutoCorrelate(const darr_c2DArray& a);
/// @}

/// @name Cross-correlation
/// Both arrays are matched (four_MatchAndFitToPowerOfTwo, on copies); the result is
/// four_IFFT(four_FFT(a) * conj(four_FFT(b))), **in 2D centred** by four_Center.
///
/// In 1D it is complex float and has the signs of the auto-correlation; the calibration index is
/// half the size. In 2D it is float for real images, the calibration index of X **and that of Y**
/// are half the size of X, and where `b` shifted by (dx, dy) elements is `a`, the peak is at
/// (W/2 + dx, H/2 + dy).
///
///     darr_c2DArray c = four_CrossCorrelate(moved, reference);
///     int x, y;
///     extr_Max(c, x, y, conv_RealPart);   // moved by (x - c.SizeX() / 2, y - c.SizeY() / 2)
///
/// Throws the errors of four_MatchAndFitToPowerOfTwo and of four_FFT.
/// @{
DATAPROCESSING_EXPORT darr_c1DArray four_CrossCorrelate(const darr_c1DArray& a,
                                                        const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray four_CrossCorrelate(const darr_c2DArray& a,
                                                        const darr_c2DArray& b);
/// @}

/// @name Convolution
/// As the cross-correlation, of four_IFFT(four_FFT(a) * four_FFT(b)), and **not centred** in 2D
/// either. The calibration indices are those of the cross-correlation.
/// @{
DATAPROCESSING_EXPORT darr_c1DArray four_Convolute(const darr_c1DArray& a, const darr_c1DArray& b);
DATAPROCESSING_EXPORT darr_c2DArray four_Convolute(const darr_c2DArray& a, const darr_c2DArray& b);
/// @}
