// An image turned by 30 degrees round its centre, and the middle cut out.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "dataprocessing/dataprocessing.h"

std::vector<double> numbersOf(const char* name) {
    std::ifstream file(name);
    file.ignore(1000, '\n'); // the heading
    return {std::istream_iterator<double>(file), {}};
}

int main() {
    constexpr int columns = 64, rows = 48;
    const darr_c2DArray image(columns, rows, numbersOf("image.txt"),
                              cal_c2DArrayCal(-0.25 * columns, 0.5, -0.25 * rows, 0.5, 0, 0));
    const darr_c2DArray turned = warp_RotateTo(image, type_Pi / 6);
    const darr_c2DArray part = turned.Selection(rnge_c2DRange(-6, -4, 6, 4), rnge_IndexNearest);
    std::printf("%d x %d of %d x %d elements, mean %.2f\n", part.SizeX(), part.SizeY(), columns,
                rows, stat_Mean(part).As<double>());
    double x = 0, y = 0;
    const double highest = extr_Max(part, x, y).As<double>();
    std::printf("highest %.0f at %.2f, %.2f um\n", highest, x, y);
}
