#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/binary/bnry_bool.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/fourier/four.h"
#include "dataprocessing/fourier/prut.h"
#include "dataprocessing/geometry/ramp.h"
#include "dataprocessing/unary/ternary.h"
#include "dataprocessing/unary/unry.h"

namespace {

/// 1 where the ramp lies within the band, 0 elsewhere, at the ramp's own positions.
template<class Array>
Array maskOf(const Array& ramp, double low, double high) {
    const auto inside = (ramp > pnum_cNumber(low)) & (ramp < pnum_cNumber(high));
    Array mask = tnry_Ternary(inside, pnum_cNumber(1.0F), pnum_cNumber(0.0F));
    mask.SetCal(ramp.Cal());
    return mask;
}

} // namespace

darr_c1DArray prut_BandPassFilter(int n, double low, double high) {
    return maskOf<darr_c1DArray>(ramp_c1DRamp(n, cal_c1DArrayCal(0.0, 2.0 / n, n / 2)), low, high);
}

darr_c2DArray prut_BandPassFilter(int nx, int ny, double low, double high) {
    const cal_c2DArrayCal cal(0.0, 2.0 / nx, 0.0, 2.0 / ny, nx / 2, ny / 2);
    return maskOf<darr_c2DArray>(ramp_c2DRamp(ramp_Radius, nx, ny, cal), low, high);
}

darr_c1DArray prut_CrossCorrelate(const darr_c1DArray& a, const darr_c1DArray& b, double low,
                                  double high) {
    darr_c1DArray first = a;
    darr_c1DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    const darr_c1DArray product = four_FFT(first) * conj(four_FFT(second));
    darr_c1DArray filter = prut_BandPassFilter(product.Size(), low, high);
    filter.SetCal(product.Cal());
    darr_c1DArray result = four_Center(four_IFFT(product * filter));
    result.SetCalIndexX(result.Size() / 2);
    return result;
}

darr_c2DArray prut_CrossCorrelate(const darr_c2DArray& a, const darr_c2DArray& b, double low,
                                  double high) {
    darr_c2DArray first = a;
    darr_c2DArray second = b;
    four_MatchAndFitToPowerOfTwo(first, second);
    const darr_c2DArray product = four_FFT(first) * conj(four_FFT(second));
    darr_c2DArray filter = prut_BandPassFilter(product.SizeX(), product.SizeY(), low, high);
    filter.SetCal(product.Cal());
    darr_c2DArray result = four_Center(four_IFFT(product * filter));
    result.SetCalIndexX(result.SizeX() / 2);
    result.SetCalIndexY(result.SizeX() / 2);
    return result;
}
