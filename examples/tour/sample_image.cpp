#include "sample_image.h"

#include <cmath>
#include <vector>

namespace tour {

namespace {

struct Ring {
    double radius; // mm
    double height; // counts
};

constexpr Ring rings[] = {{7.2, 12000}, {8.3, 6500},  {11.8, 8000}, {13.8, 7000},
                          {14.4, 2400}, {16.7, 2000}, {18.2, 4200}, {18.7, 3600},
                          {20.4, 2600}, {21.7, 3000}, {25.0, 1500}, {27.4, 1800}};

double expected(double x, double y) {
    constexpr double width = 0.22;
    const double r = std::hypot(x, y);
    double counts = 900 + 9000 * std::exp(-r / 6);
    for (const Ring& ring : rings) {
        const double t = (r - ring.radius) / width;
        counts += ring.height * std::exp(-t * t / 2);
    }
    const bool isStopped = r < 3 || (x > 0 && std::abs(y) < 0.6);
    return isStopped ? 0.04 * counts : counts;
}

} // namespace

Image sampleImage() {
    constexpr int sizeX = 480;
    constexpr int sizeY = 400;
    const cal_c2DArrayCal cal(0, 0.1, 0, 0.1, 0, 0);
    std::vector<float> scene;
    for (int y = 0; y < sizeY; ++y)
        for (int x = 0; x < sizeX; ++x)
            scene.push_back(static_cast<float>(
                expected(cal.X().Position(x) - 21.5, cal.Y().Position(y) - 19.0)));
    return {darr_c2DArray(sizeX, sizeY, std::span<const float>(scene), cal), "mm", "counts"};
}

} // namespace tour
