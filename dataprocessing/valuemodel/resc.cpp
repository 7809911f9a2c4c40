#include "dataprocessing/valuemodel/resc.h"

#include "dataprocessing/valuemodel/view_make.h"

using namespace dataprocessing::detail;

darr_c1DArray resc_Rescale(const darr_c1DArray& array, double delta) {
    view_cAxis x = view_X(array);
    x.Rescale(delta);
    return view_Made(array, x, view_Y(array));
}

darr_c2DArray resc_Rescale(const darr_c2DArray& array, double deltaX, double deltaY) {
    view_cAxis x = view_X(array);
    view_cAxis y = view_Y(array);
    x.Rescale(deltaX);
    y.Rescale(deltaY);
    return view_Made(array, x, y);
}
