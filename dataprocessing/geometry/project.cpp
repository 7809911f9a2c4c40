#include <cmath>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/geometry/proj.h"
#include "dataprocessing/geometry/warp.h"
#include "dataprocessing/valuemodel/pos.h"

darr_c1DArray proj_Project(const darr_c2DArray& image, const rnge_c2DRange& range) {
    darr_c2DArray turned = warp_Rotate(image, -range.Angle(), range);
    turned.SetOffsetX(0.0);
    darr_c1DArray profile = turned.LineAtY(0);
    // A profile without elements may come of two thousand million rows.
    if (turned.SizeY() > 1 && profile.Size() > 0) {
        for (int y = 1; y < turned.SizeY(); ++y)
            profile = profile + turned.LineAtY(y);
        profile = profile / pnum_cNumber(static_cast<float>(turned.SizeY()));
    }
    return profile;
}

darr_c1DArray proj_LineScan(const darr_c2DArray& image, double x1, double y1, double x2, double y2,
                            double width) {
    const double length = std::sqrt((x2 - x1) * (x2 - x1) + (y2 - y1) * (y2 - y1));
    const double angle = pos_Angle(pos_c2DPosition(x1, y1), pos_c2DPosition(x2, y2));
    return proj_Project(image,
                        rnge_c2DRange((x2 + x1) / 2.0, (y2 + y1) / 2.0, length, width, angle));
}
