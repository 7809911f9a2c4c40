#include <utility>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/fourier/four.h"
#include "dataprocessing/unary/unry.h"

namespace {

darr_c1DArray cut(const darr_c1DArray& array, int size) {
    darr_c1DArray result = array.Selection(0, size);
    result.SetCalIndexX(result.Size() / 2);
    return result;
}

/// Both indices follow the size of X.
darr_c2DArray withIndices(darr_c2DArray array) {
    array.SetCalIndexX(array.SizeX() / 2);
    array.SetCalIndexY(array.SizeX() / 2);
    return array;
}

} // namespace

darr_c1DArray four_AutoCorrelate(const darr_c1DArray& a) {
    return cut(four_IFFT(norm(four_FFT(a))), a.Size());
}

darr_c1DArray four_CrossCorrelate(const darr_c1DArray& a, const darr_c1DArray& b) {
    darr_c1DArray first = a;
    darr_c1DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    return cut(four_IFFT(four_FFT(first) * conj(four_FFT(second))), first.Size());
}

darr_c1DArray four_Convolute(const darr_c1DArray& a, const darr_c1DArray& b) {
    darr_c1DArray first = a;
    darr_c1DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    return cut(four_IFFT(four_FFT(first) * four_FFT(second)), first.Size());
}

darr_c2DArray four_AutoCorrelate(const darr_c2DArray& a) {
    darr_c2DArray result = four_IFFT(norm(four_FFT(a))).Selection(0, 0, a.SizeX(), a.SizeY());
    result.SetCalIndexX(result.SizeX() / 2);
    result.SetCalIndexY(result.SizeY() / 2);
    return result;
}

darr_c2DArray four_CrossCorrelate(const darr_c2DArray& a, const darr_c2DArray& b) {
    darr_c2DArray first = a;
    darr_c2DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    return withIndices(four_Center(four_IFFT(four_FFT(first) * conj(four_FFT(second)))));
}

darr_c2DArray four_Convolute(const darr_c2DArray& a, const darr_c2DArray& b) {
    darr_c2DArray first = a;
    darr_c2DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    return withIndices(four_IFFT(four_FFT(first) * four_FFT(second)));
}
