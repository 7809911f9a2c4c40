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
    for (int k = 1; k < 4; ++k) {
        darr_c2DArray image = frame(1.5 * k, -k);
        const regs_s2DShift shift = regs_Register(first, image);
        std::printf("moved by %.2f, %.2f um\n", shift.x, shift.y);
        image.SetOffsetX(image.Cal().X().Offset() - shift.x);
        image.SetOffsetY(image.Cal().Y().Offset() - shift.y);
        total = total + image;
    }
    std::printf("the sum is %.2f times as high as one image\n",
                extr_Max(total).As<double>() / extr_Max(first).As<double>());
}
