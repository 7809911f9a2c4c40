// A profile between two points of an image, averaged over a width of 2 um.
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
    darr_c1DArray profile = proj_LineScan(image, 5, 4, 25, 18, 2); // of equal deltas only
    profile.SetCal(cal_c1DArrayCal(0, profile.Cal().Delta(), 0));  // from the first point on
    std::printf("%d elements over %.1f um\n", profile.Size(),
                profile.Size() * profile.Cal().Delta());
    double position = 0;
    const double highest = extr_Max(profile, position).As<double>();
    std::printf("highest %.1f at %.1f um, mean %.2f\n", highest, position,
                stat_Mean(profile).As<double>());

    // Interpolated, of any deltas: turned about the first point onto a grid along the line.
    constexpr double step = 0.25;
    const int length = static_cast<int>(std::hypot(25 - 5, 18 - 4) / step), width = 8;
    const grid_s2DGrid along{cal_c2DArrayCal(5, step, 4 - step * (width - 1) / 2, step, 0, 0),
                             length, width};
    const darr_c2DArray band =
        warp_RotateTo(image, -std::atan2(18 - 4, 25 - 5), pos_c2DPosition(5, 4), along);
    darr_c1DArray finer = proj_Project(band, rnge_c2DRange::Null); // the mean of the rows
    finer.SetCal(cal_c1DArrayCal(0, step, 0));
    const double top = extr_Max(finer, position).As<double>();
    std::printf("interpolated: highest %.1f at %.1f um, mean %.2f\n", top, position,
                stat_Mean(finer).As<double>());
}
