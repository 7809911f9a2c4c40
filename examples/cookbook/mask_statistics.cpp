// A mask from a threshold, what lies under it, and an image with the rest taken out.
#include <cmath>
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
    const darr_c2DArray image(64, 48, numbersOf("image.txt"),
                              cal_c2DArrayCal(0, 0.5, 0, 0.5, 0, 0));
    const barr_c2DBoolArray bright = bnry_Operate(bnry_Greater, image, 40, bnry_DataCal);
    const int inside = bright.CountTrue();
    std::printf("%d of %d elements, %.2f um^2\n", inside, image.SizeX() * image.SizeY(),
                0.25 * inside);
    std::printf("mean %.2f, deviation %.2f, sum %.0f\n", stat_Mean(image, bright).As<double>(),
                std::sqrt(stat_Variance(image, bright).As<double>()),
                stat_Sum(image, bright).As<double>());
    std::printf("the others: mean %.2f\n", stat_Mean(image, !bright).As<double>());
    const darr_c2DArray kept = tnry_Ternary(bright, image, 0); // needs the mask where the data are
    std::printf("without them: mean %.2f\n", stat_Mean(kept).As<double>());
}
