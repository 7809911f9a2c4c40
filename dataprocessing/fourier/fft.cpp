#include <bit>
#include <utility>

#include "dataprocessing/base/arr.h"
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

bool isFitting(const darr_c1DArray& array) {
    return four_FitToPowerOfTwo(array.Size()) == array.Size();
}
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
    Array whole = expanded(array);
    whole.SetCal(array.Cal());
    return four_TransformTaken(std::move(whole), direction);
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

darr_c1DArray four_FFT(const darr_c1DArray& array) { return transformed(array, four_Forward); }

darr_c1DArray four_IFFT(const darr_c1DArray& array) { return transformed(array, four_Inverse); }

darr_c2DArray four_FFT(const darr_c2DArray& array) { return transformed(array, four_Forward); }

darr_c2DArray four_IFFT(const darr_c2DArray& array) {
    darr_c2DArray result = transformed(array, four_Inverse);
    const cal_c2DArrayCal& cal = array.Cal();
    result.SetCal({{0, spectrumDelta(array.SizeX(), cal.X()), 0},
                   {0, spectrumDelta(array.SizeY(), cal.Y()), 0}});
    return result;
}
