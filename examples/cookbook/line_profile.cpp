// A profile between two points of an image, averaged over a width of 2 um.
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
    const darr_c1DArray profile = proj_LineScan(image, 5, 4, 25, 18, 2);
    std::printf("%d elements over %.1f um\n", profile.Size(),
                profile.Size() * profile.Cal().Delta());
    double position = 0;
    const double highest = extr_Max(profile, position).As<double>();
    std::printf("highest %.1f at %.1f um, mean %.2f\n", highest, position,
                stat_Mean(profile).As<double>());
}
