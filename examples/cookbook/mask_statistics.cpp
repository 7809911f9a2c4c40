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
    barr_c2DBoolArray bright = image > 40;
    bright.SetCal(image.Cal()); // masks start at 0 in steps of 1
    const double sum = stat_Sum(image, bright).As<double>(),
                 mean = stat_Mean(image, bright).As<double>();
    const int inside = static_cast<int>(std::lround(sum / mean));
    std::printf("%d of %d elements, %.2f um^2\n", inside, image.SizeX() * image.SizeY(),
                0.25 * inside);
    std::printf("mean %.2f, deviation %.2f, sum %.0f\n", mean,
                std::sqrt(stat_Variance(image, bright).As<double>()), sum);
    std::printf("the others: mean %.2f\n", stat_Mean(image, !bright).As<double>());
}
