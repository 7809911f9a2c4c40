#include <bit>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/fourier/ccs.h"
#include "dataprocessing/fourier/fft_kernels.h"
#include "dataprocessing/fourier/four.h"
#include "dataprocessing/fourier/spectrum.h"
#include "dataprocessing/reduce/stat.h"
#include "dataprocessing/valuemodel/conv.h"

using namespace dataprocessing::detail;

namespace {

/// What an array is filled up with.
template<class Array>
pnum_cNumber paddingOf(const Array& array) {
    return conv_Convert(stat_Mean(array), array.DataType());
}

double spectrumDelta(int size, const cal_cArrayCal& cal) { return 1.0 / (size * cal.Delta()); }

/// An axis of `a` and the same axis of `b`, brought to one delta and one power-of-two size.
void match(view_cAxis& a, view_cAxis& b) {
    const double delta = view_FinerDelta(a, b);
    if (delta < 0)
        throw expt_cProgramException("resc", 1,
                                     "Arrays that run downward are not matched in size.");
    a.Rescale(delta);
    b.Rescale(delta);
    const int size = std::max(four_FitToPowerOfTwo(a.Count()), four_FitToPowerOfTwo(b.Count()));
    a.Select(0, size);
    b.Select(0, size);
}

template<class Array>
void matchAndFit(Array& a, Array& b) {
    view_cAxis xOfA = view_X(a);
    view_cAxis xOfB = view_X(b);
    match(xOfA, xOfB);
    view_cAxis yOfA = view_Y(a);
    view_cAxis yOfB = view_Y(b);
    if constexpr (std::is_same_v<Array, darr_c2DArray>)
        match(yOfA, yOfB);
    Array matchedA = view_Made(a, xOfA, yOfA);
    b = view_Made(b, xOfB, yOfB);
    a = std::move(matchedA);
}

/// Row 0 of the centred spectrum of a real image, v = -H/2, is conjugate symmetric.
bool isOfRealImage(const Complex* row, int width) {
    for (int i = 1; i < width / 2; ++i)
        if (!(row[i].re == row[width - i].re && row[i].im == -row[width - i].im))
            return false;
    return true;
}

ipl_sImage header(const darr_c2DArray& image) {
    return ipl_Header(1, 0, IPL_DEPTH_32F, "GRAY", "GRAY", IPL_DATA_ORDER_PIXEL, IPL_ORIGIN_BL,
                      IPL_ALIGN_QWORD, image.SizeX(), image.SizeY(), nullptr, nullptr, nullptr,
                      nullptr);
}

int iplFlags(eDirection direction) {
    return IPL_FFT_UseFloat | (direction == Forward ? IPL_FFT_Forw : IPL_FFT_Inv);
}

/// What both transforms of the image library are scaled by. The forward one is scaled by the
/// squared sizes.
float imageScale(int width, int height, eDirection direction) {
    const double count = static_cast<double>(width) * height;
    return static_cast<float>(direction == Forward ? 2.0 / (count * count) : count);
}

darr_c2DArray transformReal(const darr_c2DArray& image, eDirection direction) {
    // First what outlives the packed image, so that it can take the storage of a result before it.
    darr_c2DArray spectrum(image.SizeX(), image.SizeY(), dtyp_ComplexFloat,
                           cal_c2DArrayCal::Default);
    darr_c2DArray packed(image.SizeX(), image.SizeY(), dtyp_Float, cal_c2DArrayCal::Default);
    ipl_sImage source = header(image);
    ipl_sImage target = header(packed);
    source.data = const_cast<void*>(image.Data());
    target.data = packed.Data();
    ipl_RealFft2D(source, target, iplFlags(direction),
                  imageScale(image.SizeX(), image.SizeY(), direction));
    four_UnpackCcs(packed.Elements<float>().data(), image.SizeX(), image.SizeY(),
                   spectrum.Elements<Complex>().data());
    return spectrum;
}

darr_c2DArray transformPacked(const darr_c2DArray& spectrum, eDirection direction) {
    darr_c2DArray packed(spectrum.SizeX(), spectrum.SizeY(), dtyp_Float, cal_c2DArrayCal::Default);
    four_PackCcs(spectrum.Elements<Complex>().data(), spectrum.SizeX(), spectrum.SizeY(),
                 packed.Elements<float>().data());
    darr_c2DArray image(spectrum.SizeX(), spectrum.SizeY(), dtyp_Float, cal_c2DArrayCal::Default);
    ipl_sImage source = header(packed);
    ipl_sImage target = header(image);
    source.data = packed.Data();
    target.data = image.Data();
    ipl_CcsFft2D(source, target, iplFlags(direction),
                 imageScale(image.SizeX(), image.SizeY(), direction));
    return image;
}

darr_c2DArray transformComplex(const darr_c2DArray& array, eDirection direction) {
    if (isOfRealImage(array.Elements<Complex>().data(), array.SizeX()))
        return transformPacked(array, direction);
    darr_c2DArray result = array;
    // The order of the sizes is the convention of this transform. For images that are not square
    // its lines are not the rows.
    four_RadixTwoFFTnD(result.Elements<Complex>().data(), std::array{array.SizeX(), array.SizeY()},
                       direction);
    return result;
}

/// The core of the image transforms, for sizes that are powers of two.
darr_c2DArray transformFitting(const darr_c2DArray& array, eDirection direction) {
    if (array.DataType() == dtyp_Float)
        return transformReal(array, direction);
    if (array.DataType() == dtyp_ComplexFloat)
        return transformComplex(array, direction);
    if (array.DataType().IsComplex())
        return transformComplex(conv_Convert(array, dtyp_ComplexFloat), direction);
    return transformReal(conv_Convert(array, dtyp_Float), direction);
}

bool isFitting(const darr_c1DArray& array) {
    return four_FitToPowerOfTwo(array.Size()) == array.Size();
bool isFitting(const darr_c2DArray& array) {
    return four_FitToPowerOfTwo(array.SizeX()) == array.SizeX() &&
           four_FitToPowerOfTwo(array.SizeY()) == array.SizeY();
}

double spectrumDelta(int size, const cal_cArrayCal& cal) { return 1.0 / (size * cal.Delta()); }

/// The array expanded on the way into the type that it is transformed in. The mean of a line is
/// that of the converted elements, the mean of an image that of its own.
darr_c1DArray expanded(const darr_c1DArray& array) {
    return four_ExpandToPowerOfTwo(conv_Convert(array, dtyp_ComplexFloat));
}
darr_c2DArray expanded(const darr_c2DArray& array) {
    const int sizeX = four_FitToPowerOfTwo(array.SizeX());
    const int sizeY = four_FitToPowerOfTwo(array.SizeY());
    arr_CheckedSize(sizeX, sizeY); // before every element is looked at for the mean
    const dtyp_cDataType type = array.DataType().IsComplex() ? dtyp_ComplexFloat : dtyp_Float;
    darr_c2DArray result(sizeX, sizeY, conv_Convert(paddingOf(array), type),
                         cal_c2DArrayCal::Default);
    result.SetSelection(array, 0, 0);
    return result;
}

template<class Array>
Array transformed(const Array& array, four_eDirection direction) {
    if (isFitting(array))
        return four_Transform(four_sOperand<Array>(array), direction);
    return four_TransformTaken(expanded(array), direction);
}

} // namespace

int four_FitToPowerOfTwo(int n) {
    const unsigned power = n <= 2 ? 2U : std::bit_ceil(static_cast<unsigned>(n));
    if (power > 1U << 30)
        arr_SizeError(power);
    return static_cast<int>(power);
}

darr_c1DArray four_ExpandToPowerOfTwo(const darr_c1DArray& array) {
    const int size = four_FitToPowerOfTwo(array.Size());
    if (size == array.Size())
        return array;
    darr_c1DArray expanded(size, paddingOf(array), cal_c1DArrayCal::Default);
    expanded.SetSelection(array, 0);
    return expanded;
}

darr_c2DArray four_ExpandToPowerOfTwo(const darr_c2DArray& array) {
    const int sizeX = four_FitToPowerOfTwo(array.SizeX());
    const int sizeY = four_FitToPowerOfTwo(array.SizeY());
    if (isFitting(array))
        return array;
    arr_CheckedSize(sizeX, sizeY); // before every element is looked at for the mean
    darr_c2DArray expanded(sizeX, sizeY, paddingOf(array), cal_c2DArrayCal::Default);
    expanded.SetSelection(array, 0, 0);
    return expanded;
}

darr_c1DArray four_Center(const darr_c1DArray& array) {
    const int size = array.Size();
    const int half = size / 2;
    darr_c1DArray centred(size, pnum_cNumber(array.DataType()), cal_c1DArrayCal::Default);
    centred.SetSelection(array.Selection(0, half), half);
    centred.SetSelection(array.Selection(half, size), 0);
    return centred;
}

darr_c2DArray four_Center(const darr_c2DArray& array) {
    const int sizeX = array.SizeX();
    const int sizeY = array.SizeY();
    const int halfX = sizeX / 2;
    const int halfY = sizeY / 2;
    darr_c2DArray centred = array;
    centred.SetSelection(array.Selection(0, 0, halfX, halfY), halfX, halfY);
    centred.SetSelection(array.Selection(halfX, 0, sizeX, halfY), 0, halfY);
    centred.SetSelection(array.Selection(0, halfY, halfX, sizeY), halfX, 0);
    centred.SetSelection(array.Selection(halfX, halfY, sizeX, sizeY), 0, 0);
    return centred;
}

darr_c1DArray four_FFT(const darr_c1DArray& array) {
    darr_c1DArray result = transformed(array, four_Forward);
    const int size = result.Size();
    result.SetCal(cal_c1DArrayCal(0, spectrumDelta(size, array.Cal()), size / 2));
    return result;
}

darr_c1DArray four_IFFT(const darr_c1DArray& array) {
    darr_c1DArray result = transformed(array, four_Inverse);
    result.SetCal(cal_c1DArrayCal(0, spectrumDelta(result.Size(), array.Cal()), 0));
    return result;
}

darr_c2DArray four_FFT(const darr_c2DArray& array) {
    darr_c2DArray result = transformed(array, four_Forward);
    const cal_c2DArrayCal& cal = array.Cal();
    result.SetCal({{0, spectrumDelta(result.SizeX(), cal.X()), result.SizeX() / 2},
                   {0, spectrumDelta(result.SizeY(), cal.Y()), result.SizeY() / 2}});
    return result;
}

darr_c2DArray four_IFFT(const darr_c2DArray& array) {
    darr_c2DArray result = transformed(array, four_Inverse);
    const cal_c2DArrayCal& cal = array.Cal();
    result.SetCal({{0, spectrumDelta(array.SizeX(), cal.X()), 0},
                   {0, spectrumDelta(array.SizeY(), cal.Y()), 0}});
    return result;
}
