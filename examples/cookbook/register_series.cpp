// Images of one field that drifts: the drift is measured, taken back, and the images are added up.
#include <cmath>
#include <cstdio>

#include "dataprocessing/dataprocessing.h"

darr_c2DArray frame(double driftX, double driftY) {
    const double spots[][3] = {{8, 9, 900}, {20, 14, 500}, {12, 23, 700}};
    darr_c2DArray image(64, 64, dtyp_Double, cal_c2DArrayCal(0, 0.5, 0, 0.5, 0, 0));
    image.Fill([&](double x, double y) {
        double value = 10.5;
        for (const auto& [a, b, height] : spots)
            value +=
                height * std::exp(-(std::pow(x - a - driftX, 2) + std::pow(y - b - driftY, 2)) / 6);
        return std::floor(value);
    });
    return image;
}

int main() {
    const darr_c2DArray first = frame(0, 0);
    darr_c2DArray total = first;
    rnge_c2DRange common = first.Range(); // where every image has something
    for (int k = 1; k < 4; ++k) {
        const darr_c2DArray image = frame(1.4 * k, -0.9 * k);
        const regs_s2DShift shift = regs_Register(first, image);
        std::printf("moved by %.2f, %.2f um\n", shift.x, shift.y);
        total = total + warp_MapTo(image, {.shiftX = -shift.x, .shiftY = -shift.y}, {},
                                   warp_CubicInterpolation);
        darr_c2DArray placed = image;
        placed.SetOffsetX(image.Cal().X().Offset() - shift.x);
        placed.SetOffsetY(image.Cal().Y().Offset() - shift.y);
        common = common & placed.Range();
    }
    total = total.Selection(common, rnge_IndexNearest);
    const darr_c2DArray alike = 4 * first.Selection(common, rnge_IndexNearest);
    std::printf("%d x %d elements in common\n", total.SizeX(), total.SizeY());
    std::printf("highest %.0f; 4 times the first is met within %.0f\n",
                extr_Max(total).As<double>(), extr_Max(abs(total - alike)).As<double>());
}
