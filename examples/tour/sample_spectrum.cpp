#include "sample_spectrum.h"

#include <cmath>
#include <cstdint>
#include <vector>

#include "random.h"

namespace tour {

namespace {

struct Line {
    const char* name;
    double energy; // keV
    double area;   // counts
};

constexpr Line lines[] = {
    {"Si Ka", 1.740, 2600},  {"Ti Ka", 4.511, 1500},  {"Cr Ka", 5.415, 52000},
    {"Cr Kb", 5.947, 7000},  {"Fe Ka", 6.404, 98000}, {"Fe Kb", 7.058, 13000},
    {"Ni Ka", 7.478, 21000}, {"Cu Ka", 8.046, 9000},  {"Ni Kb", 8.265, 2800},
    {"Cu Kb", 8.905, 1250},
};

constexpr double fullWidthPerSigma = 2.3548200450309493;

double background(double energy) { return 60000 * std::pow(energy, -1.6); }

double sigma(double energy) {
    constexpr double noise = 0.060;
    constexpr double fano = 0.115;
    constexpr double pair = 0.00365;
    const double ofNoise = noise / fullWidthPerSigma;
    return std::sqrt(ofNoise * ofNoise + fano * pair * energy);
}

double ofLines(double energy) {
    double sum = 0;
    for (const Line& line : lines) {
        const double s = sigma(line.energy);
        const double t = (energy - line.energy) / s;
        sum += line.area * std::exp(-t * t / 2) / (s * std::sqrt(2 * type_Pi));
    }
    return sum;
}

} // namespace

std::vector<KnownLine> sampleLines() {
    std::vector<KnownLine> result;
    for (const Line& line : lines)
        result.push_back({line.name, line.energy, line.area});
    return result;
}

Spectrum sampleSpectrum() {
    Random random(20260101);
    const cal_c1DArrayCal cal(0.5, 0.01, 0);
    std::vector<std::uint16_t> counts(1800);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double energy = cal.Position(static_cast<long long>(i));
        const double expected = (background(energy) + ofLines(energy)) * cal.Delta();
        counts[i] = static_cast<std::uint16_t>(random.Poisson(expected));
    }
    return {darr_c1DArray(std::span<const std::uint16_t>(counts), cal), "energy", "keV"};
}

Spectrum sampleBlank() {
    Random random(20260102);
    const cal_c1DArrayCal cal(1.5, 0.04, 0);
    std::vector<std::uint32_t> counts(350);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double energy = cal.Position(static_cast<long long>(i));
        counts[i] = static_cast<std::uint32_t>(
            random.Poisson(background(energy) * cal.Delta() * blankTime));
    }
    return {darr_c1DArray(std::span<const std::uint32_t>(counts), cal), "energy", "keV"};
}

} // namespace tour
