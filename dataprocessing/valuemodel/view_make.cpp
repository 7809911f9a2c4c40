#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

darr_c1DArray view_Shaped(const darr_c1DArray&, dtyp_cDataType type, const view_cAxis& x,
                          const view_cAxis&) {
    return {x.Count(), type, cal_c1DArrayCal(x.Cal())};
}

darr_c2DArray view_Shaped(const darr_c2DArray&, dtyp_cDataType type, const view_cAxis& x,
                          const view_cAxis& y) {
    return {x.Count(), y.Count(), type, cal_c2DArrayCal(x.Cal(), y.Cal())};
}

namespace {

template<class Array>
Array made(const Array& array, const view_cAxis& x, const view_cAxis& y) {
    Array result = view_Shaped(array, array.DataType(), x, y);
    const view_cView view(array.Data(), array.DataType(), array.DataType(), x, y);
    view.Fetch(0, view.Count(), result.Data());
    return result;
}

} // namespace

darr_c1DArray view_Made(const darr_c1DArray& array, const view_cAxis& x, const view_cAxis& y) {
    return made(array, x, y);
}
darr_c2DArray view_Made(const darr_c2DArray& array, const view_cAxis& x, const view_cAxis& y) {
    return made(array, x, y);
}

} // namespace dataprocessing::detail
