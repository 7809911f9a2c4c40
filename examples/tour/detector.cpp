#include "detector.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "progress.h"
#include "random.h"

namespace tour {

namespace {

constexpr double exposures = 16;
constexpr double readNoise = 6;

struct Speck {
    double x; // in parts of the frame
    double y;
    double radius;
};

constexpr Speck specks[] = {{0.18, 0.72, 0.030}, {0.70, 0.21, 0.022}, {0.83, 0.66, 0.040},
                            {0.36, 0.30, 0.016}, {0.55, 0.88, 0.024}, {0.09, 0.16, 0.018}};

constexpr double amplifiers[] = {1.04, 0.90, 0.99, 1.10};

/// The gain at a point of the frame, both coordinates from 0 to 1.
double smoothGain(double x, double y) {
    const double toCorner = 2 * ((x - 0.5) * (x - 0.5) + (y - 0.5) * (y - 0.5));
    double gain = amplifiers[std::min(3, static_cast<int>(x * 4))] * (1 - 0.3 * toCorner);
    for (const Speck& speck : specks) {
        const double r = std::hypot(x - speck.x, y - speck.y) / speck.radius;
        gain *= 1 - 0.45 * std::exp(-r * r * r * r);
    }
    return gain;
}

double smoothDark(double x, double y) {
    return 800 + 2400 * std::exp(-7 * std::hypot(1 - x, 1 - y));
}

std::uint16_t counted(double counts) {
    return static_cast<std::uint16_t>(std::clamp(std::floor(counts + 0.5), 0.0, 65535.0));
}

} // namespace

Frames expose(const darr_c2DArray& scene) {
    const std::size_t sizeX = static_cast<std::size_t>(scene.SizeX());
    const std::size_t sizeY = static_cast<std::size_t>(scene.SizeY());
    const darr_c2DArray light = conv_Convert(scene, dtyp_Float);
    const std::span<const float> expected = light.Elements<float>();
    Frames frames;
    for (darr_c2DArray* frame : {&frames.raw, &frames.dark, &frames.flat})
        *frame = darr_c2DArray(scene.SizeX(), scene.SizeY(), dtyp_UInt16, scene.Cal());
    const std::span<std::uint16_t> raw = frames.raw.Elements<std::uint16_t>();
    const std::span<std::uint16_t> dark = frames.dark.Elements<std::uint16_t>();
    const std::span<std::uint16_t> flat = frames.flat.Elements<std::uint16_t>();

    Random random(20260103);
    std::vector<double> columns(sizeX);
    std::generate(columns.begin(), columns.end(), [&] { return 60 * random.Normal(); });
    Progress progress("exposing the detector");
    for (std::size_t i = 0; i < sizeX * sizeY; ++i) {
        const double x = (static_cast<double>(i % sizeX) + 0.5) / static_cast<double>(sizeX);
        const auto row = i / sizeX;
        const double y = (static_cast<double>(row) + 0.5) / static_cast<double>(sizeY);
        const double gain = smoothGain(x, y) * std::max(0.5, 1 + 0.02 * random.Normal());
        const double hot = random.Uniform() < 0.0005 ? 8000 * random.Uniform() : 0;
        const double level = smoothDark(x, y) + columns[i % sizeX] + 12 * random.Normal() + hot;
        const double meanNoise = readNoise / std::sqrt(exposures);
        const double light16 = random.Poisson(fullScale * gain * exposures) / exposures;
        raw[i] = counted(random.Poisson(std::max(0.0F, expected[i]) * gain) + level +
                         readNoise * random.Normal());
        dark[i] = counted(level + meanNoise * random.Normal());
        flat[i] = counted(light16 + level + meanNoise * random.Normal());
        progress.Part(i, sizeX * sizeY);
    }
    return frames;
}

} // namespace tour
