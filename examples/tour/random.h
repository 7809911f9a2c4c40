#pragma once

#include <random>

namespace tour {

/// Random numbers that are the same everywhere: the standard fixes what the engine gives, and not
/// what its distributions make of it, so these are our own.
class Random {
public:
    explicit Random(unsigned long long seed) : engine_(seed) {}

    /// Uniform in (0, 1).
    double Uniform();
    /// Normal with mean 0 and standard deviation 1.
    double Normal();
    /// How many events there are where `mean` are expected. From 50 on it is the normal
    /// distribution of that mean and variance, rounded, which no picture tells from it.
    double Poisson(double mean);

private:
    std::mt19937_64 engine_;
    double spare_ = 0;
    bool hasSpare_ = false;
};

} // namespace tour
