#include <utility>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/binary/bnry_bool.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/fourier/four.h"
#include "dataprocessing/fourier/prut.h"
#include "dataprocessing/fourier/spectrum.h"
#include "dataprocessing/geometry/ramp.h"
#include "dataprocessing/unary/ternary.h"

using namespace dataprocessing::detail;

namespace {

/// 1 where the ramp lies within the band, 0 elsewhere, at the ramp's own positions.
template<class Array>
Array maskOf(Array ramp, double low, double high) {
    const auto cal = ramp.Cal();
    const auto inside = (ramp > pnum_cNumber(low)) & (ramp < pnum_cNumber(high));
    ramp = Array(); // its storage becomes that of the mask
    Array mask = tnry_Ternary(inside, pnum_cNumber(1.0F), pnum_cNumber(0.0F));
    mask.SetCal(cal);
    return mask;
}

darr_c1DArray filterOf(const darr_c1DArray& spectrum, double low, double high) {
    return prut_BandPassFilter(spectrum.Size(), low, high);
}
darr_c2DArray filterOf(const darr_c2DArray& spectrum, double low, double high) {
    return prut_BandPassFilter(spectrum.SizeX(), spectrum.SizeY(), low, high);
}

template<class Array>
Array filtered(Array spectrum, double low, double high) {
    Array filter = filterOf(spectrum, low, high);
    filter.SetCal(spectrum.Cal());
    return four_Filtered(std::move(spectrum), filter);
}

/// The calibration indices; of an image both follow the size of X.
void setIndices(darr_c1DArray& array) { array.SetCalIndexX(array.Size() / 2); }
void setIndices(darr_c2DArray& array) {
    array.SetCalIndexX(array.SizeX() / 2);
    array.SetCalIndexY(array.SizeX() / 2);
}

template<class Array>
Array correlate(const Array& a, const Array& b, double low, double high) {
    const four_sMatched<Array> matched(a, b);
    Array result = four_Center(four_TransformTaken(
        filtered(four_Product(matched, four_Conjugated), low, high), four_Inverse));
    setIndices(result);
    return result;
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
    return correlate(a, b, low, high);
}

darr_c2DArray prut_CrossCorrelate(const darr_c2DArray& a, const darr_c2DArray& b, double low,
                                  double high) {
    return correlate(a, b, low, high);
}
