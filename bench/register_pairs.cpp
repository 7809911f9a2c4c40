/// @file
/// How near the shifts of many pairs of images come to what their noise allows: sizes from 64 to
/// 700 that are no powers of two, 10 dB of noise in both, shifts between elements. Takes a minute;
/// not run by bench/run.
///
/// usage: bench_register_pairs [PAIRS]

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
#include <vector>

#include "dataprocessing/fourier/regs.h"

namespace {

/// Round spots, bright and dark, whose widths (standard deviations, in elements) are spread evenly
/// over the logarithms between two.
struct Content {
    const char* name;
    double narrowest;
    double widest;
};

struct Spot {
    double x, y, width, height;
};

class Random {
public:
    explicit Random(unsigned seed) : bits_(seed) {}
    double Between(double a, double b) {
        return a + (b - a) * (static_cast<double>(bits_()) / 4294967296.0);
    }
    int Size() {
        int size = 64;
        while ((size & (size - 1)) == 0)
            size = 64 + static_cast<int>(bits_() % 637);
        return size;
    }
    double Normal() { return normal_(bits_); }

private:
    std::mt19937 bits_;
    std::normal_distribution<double> normal_;
};

struct Image {
    int sizeX, sizeY;
    std::vector<double> values;

    double At(int x, int y) const {
        return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(sizeX) +
                      static_cast<std::size_t>(x)];
    }
};

Image seen(const std::vector<Spot>& spots, int sizeX, int sizeY, double fromX, double fromY) {
    Image image{
        sizeX, sizeY,
        std::vector<double>(static_cast<std::size_t>(sizeX) * static_cast<std::size_t>(sizeY))};
    std::vector<double> alongX(static_cast<std::size_t>(sizeX));
    for (const Spot& spot : spots) {
        const auto bell = [&](double distance) {
            return std::exp(-0.5 * distance * distance / (spot.width * spot.width));
        };
        const double reach = 6 * spot.width;
        const double x = spot.x - fromX;
        const double y = spot.y - fromY;
        const int firstX = std::max(0, static_cast<int>(std::ceil(x - reach)));
        const int firstY = std::max(0, static_cast<int>(std::ceil(y - reach)));
        const int lastX = std::min(sizeX - 1, static_cast<int>(std::floor(x + reach)));
        const int lastY = std::min(sizeY - 1, static_cast<int>(std::floor(y + reach)));
        for (int i = firstX; i <= lastX; ++i)
            alongX[static_cast<std::size_t>(i)] = bell(i - x);
        for (int j = firstY; j <= lastY; ++j) {
            const double height = spot.height * bell(j - y);
            double* const row =
                image.values.data() + static_cast<std::size_t>(j) * static_cast<std::size_t>(sizeX);
            for (int i = firstX; i <= lastX; ++i)
                row[i] += height * alongX[static_cast<std::size_t>(i)];
        }
    }
    return image;
}

double variance(const Image& image) {
    double sum = 0;
    double squares = 0;
    for (const double value : image.values) {
        sum += value;
        squares += value * value;
    }
    const double n = static_cast<double>(image.values.size());
    return squares / n - sum * sum / n / n;
}

struct Pair {
    darr_c2DArray fixed, moved;
    double x, y;
    double boundX, boundY;
};

/// The least standard errors that any method can have which knows neither what is seen nor how
/// bright it is in either image (Cramer and Rao).
void findBound(const Image& image, double noise, Pair& pair) {
    const int firstX = std::max(1, static_cast<int>(std::ceil(-pair.x)));
    const int firstY = std::max(1, static_cast<int>(std::ceil(-pair.y)));
    const int endX = static_cast<int>(std::min(image.sizeX - 1.0, image.sizeX - pair.x));
    const int endY = static_cast<int>(std::min(image.sizeY - 1.0, image.sizeY - pair.y));
    double products[4][4] = {}; // of the slopes, the content and 1
    for (int y = firstY; y < endY; ++y)
        for (int x = firstX; x < endX; ++x) {
            const double terms[] = {(image.At(x + 1, y) - image.At(x - 1, y)) / 2,
                                    (image.At(x, y + 1) - image.At(x, y - 1)) / 2, image.At(x, y),
                                    1};
            for (int i = 0; i < 4; ++i)
                for (int k = 0; k < 4; ++k)
                    products[i][k] += terms[i] * terms[k];
        }
    for (const int known : {3, 2})
        for (int i = 0; i < known; ++i)
            for (int k = 0; k < known; ++k)
                products[i][k] -= products[i][known] * products[known][k] / products[known][known];
    const double xx = products[0][0];
    const double xy = products[0][1];
    const double yy = products[1][1];
    const double factor = 2 * noise * noise / (xx * yy - xy * xy);
    pair.boundX = std::sqrt(factor * yy);
    pair.boundY = std::sqrt(factor * xx);
}

Pair made(const Content& content, unsigned seed) {
    Random random(seed);
    const int sizeX = random.Size();
    const int sizeY = random.Size();
    Pair pair{{}, {}, random.Between(-0.25, 0.25) * sizeX, random.Between(-0.25, 0.25) * sizeY,
              0,  0};
    const double margin = 6 * content.widest + 0.3 * std::max(sizeX, sizeY);
    const double mean = (content.narrowest + content.widest) / 2;
    const int count =
        static_cast<int>((sizeX + 2 * margin) * (sizeY + 2 * margin) / (25 * mean * mean)) + 3;
    std::vector<Spot> spots;
    for (int i = 0; i < count; ++i) {
        const double x = random.Between(-margin, sizeX + margin);
        const double y = random.Between(-margin, sizeY + margin);
        const double width =
            content.narrowest * std::pow(content.widest / content.narrowest, random.Between(0, 1));
        spots.push_back({x, y, width, random.Between(-1, 1)});
    }
    const Image fixed = seen(spots, sizeX, sizeY, 0, 0);
    const double noise = std::sqrt(variance(fixed) / 10);
    findBound(fixed, noise, pair);
    const auto noisy = [&](Image image) {
        for (double& value : image.values)
            value += noise * random.Normal();
        return darr_c2DArray(sizeX, sizeY, std::span<const double>(image.values));
    };
    pair.fixed = noisy(fixed);
    pair.moved = noisy(seen(spots, sizeX, sizeY, -pair.x, -pair.y));
    return pair;
}

/// The probability that a normal error of that deviation is at most a twentieth.
double within(double deviation) { return std::erf(0.05 / deviation / std::sqrt(2.0)); }

} // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 1000;
    std::printf(
        "widths of spots  within .05  the bound allows  rms error/bound  beyond 2 elements\n");
    for (const Content& content :
         {Content{".8 to 1.2", 0.8, 1.2}, Content{"1.5 to 4", 1.5, 4},
          Content{"1.5 to 16", 1.5, 16}, Content{"6 to 16", 6, 16}, Content{"10 to 30", 10, 30}}) {
        int good = 0;
        int lost = 0;
        double allowed = 0;
        double squares = 0;
        for (int i = 0; i < count; ++i) {
            const Pair pair = made(content, static_cast<unsigned>(i) + 1);
            const regs_s2DShift shift = regs_Register(pair.fixed, pair.moved);
            const double x = shift.elementsX - pair.x;
            const double y = shift.elementsY - pair.y;
            good += std::max(std::fabs(x), std::fabs(y)) <= 0.05;
            allowed += within(pair.boundX) * within(pair.boundY);
            if (std::max(std::fabs(x), std::fabs(y)) > 2)
                ++lost;
            else
                squares +=
                    (x * x / (pair.boundX * pair.boundX) + y * y / (pair.boundY * pair.boundY)) / 2;
        }
        std::printf("%-15s  %9.1f%%  %15.1f%%  %15.2f  %17d\n", content.name, 100.0 * good / count,
                    100 * allowed / count, std::sqrt(squares / (count - lost)), lost);
        std::fflush(stdout);
    }
}
