#include <utility>

#include "dataprocessing/fourier/four.h"
#include "dataprocessing/fourier/spectrum.h"
#include "dataprocessing/unary/unry.h"

using namespace dataprocessing::detail;

namespace {

darr_c1DArray cut(darr_c1DArray array, const darr_c1DArray& like) {
    return array.Size() == like.Size() ? std::move(array) : array.Selection(0, like.Size());
}
darr_c2DArray cut(darr_c2DArray array, const darr_c2DArray& like) {
    if (array.SizeX() == like.SizeX() && array.SizeY() == like.SizeY())
        return array;
    return array.Selection(0, 0, like.SizeX(), like.SizeY());
}

/// The calibration indices; of an image both follow the size of X.
darr_c1DArray withIndices(darr_c1DArray array) {
    array.SetCalIndexX(array.Size() / 2);
    return array;
}
darr_c2DArray withIndices(darr_c2DArray array) {
    array.SetCalIndexX(array.SizeX() / 2);
    array.SetCalIndexY(array.SizeX() / 2);
    return array;
}

/// The norm of the spectrum, which has gone when this is done.
template<class Array>
Array power(const Array& a) {
    return norm(four_FFT(a));
}

template<class Array>
Array autoCorrelate(const Array& a) {
    return withIndices(cut(four_TransformTaken(power(a), four_Inverse), a));
}

/// Neither is cut: the transforms have the matched size.
template<class Array>
Array combine(const Array& a, const Array& b, four_eSecond second) {
    const four_sMatched<Array> matched(a, b);
    return withIndices(four_TransformTaken(four_Product(matched, second), four_Inverse));
}

} // namespace

darr_c1DArray four_AutoCorrelate(const darr_c1DArray& a) { return autoCorrelate(a); }

darr_c2DArray four_AutoCorrelate(const darr_c2DArray& a) {
    darr_c2DArray result = autoCorrelate(a);
    result.SetCalIndexY(result.SizeY() / 2);
    return result;
}

darr_c1DArray four_CrossCorrelate(const darr_c1DArray& a, const darr_c1DArray& b) {
    return combine(a, b, four_Conjugated);
}

darr_c2DArray four_CrossCorrelate(const darr_c2DArray& a, const darr_c2DArray& b) {
    return withIndices(four_Center(combine(a, b, four_Conjugated)));
}

darr_c1DArray four_Convolute(const darr_c1DArray& a, const darr_c1DArray& b) {
    return combine(a, b, four_AsItIs);
}

darr_c2DArray four_Convolute(const darr_c2DArray& a, const darr_c2DArray& b) {
    return combine(a, b, four_AsItIs);
}
