#include "random.h"

#include <algorithm>
#include <cmath>

namespace tour {

double Random::Uniform() { return (static_cast<double>(engine_() >> 11) + 0.5) * 0x1p-53; }

// The polar method: a point in the unit disc gives two independent normal numbers.
double Random::Normal() {
    if (hasSpare_) {
        hasSpare_ = false;
        return spare_;
    }
    double u = 0;
    double v = 0;
    double square = 0;
    do {
        u = 2 * Uniform() - 1;
        v = 2 * Uniform() - 1;
        square = u * u + v * v;
    } while (square >= 1 || square == 0);
    const double factor = std::sqrt(-2 * std::log(square) / square);
    spare_ = v * factor;
    hasSpare_ = true;
    return u * factor;
}

double Random::Poisson(double mean) {
    constexpr double large = 50;
    if (mean >= large)
        return std::max(0.0, std::floor(mean + std::sqrt(mean) * Normal() + 0.5));
    // Events follow each other after exponential times: count those within one unit.
    const double limit = std::exp(-mean);
    double events = 0;
    for (double product = Uniform(); product > limit; product *= Uniform())
        ++events;
    return events;
}

} // namespace tour
