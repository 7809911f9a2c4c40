// tour_truth [REALISATIONS]: whether the tour's analysis finds what there is. Spectra of known
// lines over known continua, each so many times with noise of its own (2 without an argument):
// which lines are found, what is found that is not there, whether positions and areas are right
// within their errors. The spectra are computed here by formulas that the analysis does not share.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "analysis.h"
#include "random.h"

namespace {

struct TrueLine {
    double position;
    double area; // counts
};

/// What docs/tour.md says that is not met of a kind of spectrum.
struct Known {
    double missed = 0;   // of all lines
    double invented = 0; // of a spectrum, beyond one in twenty
    double bias = 0.25;  // of areas in the mean, in errors of one
};

/// A spectrum as it is before it is counted, in units of its axis.
struct Truth {
    std::string name;
    double offset;
    double delta;
    int channels;
    double total;                            // counts of the continuum
    std::function<double(double)> continuum; // up to a factor
    std::function<double(double)> fullWidth;
    std::vector<TrueLine> lines; // areas in parts of `total`
    double slope;                // of squared widths, as a user knows it; 0 as one does not
    Known known = {};
};

double silicon(double keV) { return std::sqrt(0.0049 + 0.00233 * std::max(keV, 0.0)); }

/// What a thick target sends through a window: nothing at low energies and at the tube's voltage.
double bremsstrahlung(double keV, double most) {
    if (keV <= 0.05 || keV >= most)
        return 0;
    return (most / keV - 1) * std::exp(-2.2 * std::pow(keV, -2.2)) + 0.002;
}

std::vector<Truth> truths() {
    const auto flat = [](double) { return 1.0; };
    const auto tube = [](double e) { return bremsstrahlung(e, 20) + 2e-3; };
    const auto power = [](double e) { return std::pow(std::max(e, 0.3), -1.6); };
    const auto parabola = [](double x) { return 1 + 1.5 * std::pow((x - 900) / 1000, 2); };
    // What iron and silicon absorb, smeared by the detector.
    const auto edges = [=](double e) {
        return tube(e) * (1 - 0.14 * (1 + std::erf((e - 7.11) / 0.103))) *
               (1 - 0.05 * (1 + std::erf((e - 1.84) / 0.065)));
    };
    const std::vector<TrueLine> steel = {{1.74, 0.03}, {4.511, 0.015}, {5.415, 0.5}, {5.947, 0.07},
                                         {6.404, 1},   {7.058, 0.13},  {7.478, 0.2}, {8.046, 0.09}};
    return {
        {"steel on a power law, 1e5", 0.5, 0.01, 1800, 1e5, power, silicon, steel, 0.00233},
        {"steel on a power law, 1e7", 0.5, 0.01, 1800, 1e7, power, silicon, steel, 0.00233},
        {"a mineral under a tube at 20 kV, 1e6",
         -0.2,
         0.01,
         2048,
         1e6,
         tube,
         silicon,
         {{0.525, 0.05},
          {1.254, 0.06},
          {1.487, 0.08},
          {1.740, 0.25},
          {3.313, 0.04},
          {3.691, 0.09},
          {4.012, 0.012},
          {6.404, 0.05},
          {7.058, 0.008}},
         0.00233},
        {"few counts under a tube, 1e3",
         -0.2,
         0.02,
         1024,
         1e3,
         tube,
         silicon,
         {{1.740, 0.25}, {3.691, 0.2}, {6.404, 0.15}},
         0.00233},
        {"few counts on nothing, 2e3",
         0,
         0.02,
         1024,
         2e3,
         flat,
         silicon,
         {{2.307, 0.06}, {5.9, 0.5}, {6.49, 0.07}, {12.0, 0.1}},
         0.00233},
        {"pairs 1.2 widths apart, 1e6",
         0,
         0.01,
         1600,
         1e6,
         flat,
         silicon,
         {{2.0, 0.03},
          {4.0, 0.05},
          {4.0 + 1.2 * 0.1191, 0.05},
          {8.0, 0.05},
          {8.0 + 1.2 * 0.1534, 0.025},
          {12.0, 0.02},
          {12.0 + 1.2 * 0.1813, 0.06},
          {14.5, 0.02}},
         0.00233},
        {"lines in channels on a parabola, 1e6",
         0,
         1,
         2000,
         1e6,
         parabola,
         [](double) { return 9.0; },
         {{150, 0.01}, {420, 0.003}, {441, 0.01}, {800, 0.05}, {1203.4, 0.002}, {1700, 0.006}},
         0},
        {"many lines on an exponential, 1e7", 0, 1, 4096, 1e7,
         [](double x) { return std::exp(-x / 900); },
         [](double x) { return std::sqrt(150 + 0.25 * x); },
         [] {
             std::vector<TrueLine> lines;
             for (int i = 0; i < 30; ++i)
                 lines.push_back({200 + 120.0 * i + 7 * (i % 3), 0.004 + 0.0013 * ((i * 7) % 11)});
             return lines;
         }(),
         0},
        {"a continuum without lines, 1e6", -0.2, 0.01, 2048, 1e6, tube, silicon, {}, 0.00233},
        {"offset in eV, a strong line beside weak ones, 3e6",
         -500,
         5,
         4096,
         3e6,
         [](double e) { return bremsstrahlung(e / 1000, 20) + 2e-3; },
         [](double e) { return 1000 * silicon(e / 1000); },
         {{2957, 0.004},
          {4952, 0.01},
          {5412, 1},
          {5947, 0.13},
          {6404, 0.01},
          {8047, 0.004},
          {10540, 0.002}},
         2.33},
        {"pairs of ten errors, 1e5",
         0,
         0.01,
         2000,
         1e5,
         flat,
         silicon,
         {{3, 0.0084},
          {3.131, 0.0084},
          {6, 0.0463},
          {6.166, 0.0063},
          {10, 0.0168},
          {15, 0.0056},
          {15.243, 0.0056}},
         0.00233,
         {.missed = 0.04, .invented = 0.05}},
        {"lines of 60 channels, 1e6",
         0,
         1,
         4096,
         1e6,
         [](double x) { return std::exp(-x / 2000); },
         [](double) { return 60.0; },
         {{500, 0.0066}, {1100, 0.0022}, {1900, 0.0031}, {1975, 0.0031}, {3300, 0.0066}},
         0,
         {.missed = 0.02}},
        {"next to no background, 100",
         0,
         0.01,
         2000,
         100,
         flat,
         silicon,
         {{2, 1.45}, {4, 9}, {6.4, 400}, {7.06, 36}, {9, 0.66}},
         0.00233,
         {.missed = 0.01}},
        {"edges without lines, 1e6",
         -0.48,
         0.01,
         2048,
         1e6,
         edges,
         silicon,
         {},
         0.00233,
         {.invented = 0.1}},
    };
}

std::vector<double> expectedOf(const Truth& truth) {
    std::vector<double> y(static_cast<std::size_t>(truth.channels));
    double sum = 0;
    for (std::size_t i = 0; i < y.size(); ++i)
        sum += y[i] = truth.continuum(truth.offset + truth.delta * static_cast<double>(i));
    for (double& value : y)
        value *= truth.total / sum;
    for (std::size_t i = 0; i < y.size(); ++i)
        for (const TrueLine& line : truth.lines) {
            const double sigma = truth.fullWidth(line.position) / std::sqrt(8 * std::log(2.0));
            const double z =
                (truth.offset + truth.delta * static_cast<double>(i) - line.position) / sigma;
            y[i] += line.area * truth.total * truth.delta /
                    (sigma * std::sqrt(2 * std::acos(-1.0))) * std::exp(-z * z / 2);
        }
    return y;
}

struct Pulls {
    int count = 0;
    double sum = 0;
    double squares = 0;
    void Take(double pull) {
        ++count;
        sum += pull;
        squares += pull * pull;
    }
    double Mean() const { return sum / count; }
    double Width() const { return std::sqrt(squares / count - Mean() * Mean()); }
};

struct Tally {
    int spectra = 0;
    int there = 0;
    int missed = 0;
    int invented = 0;
    int positions = 0;
    int beyond = 0; // three standard errors
    double chiSquared = 0;
    std::vector<Pulls> areas;
    Pulls places;
};

void judge(const Truth& truth, const tour::Analysis& found, Tally& tally, bool isTold) {
    ++tally.spectra;
    tally.chiSquared += found.reducedChiSquared;
    std::vector<bool> isTaken(found.lines.size());
    for (std::size_t k = 0; k < truth.lines.size(); ++k) {
        const TrueLine& line = truth.lines[k];
        const double reach = 0.5 * truth.fullWidth(line.position);
        ++tally.there;
        std::size_t best = found.lines.size();
        for (std::size_t i = 0; i < found.lines.size(); ++i)
            if (!found.lines[i].isOfTails && !isTaken[i] &&
                std::abs(found.lines[i].position - line.position) < reach &&
                (best == found.lines.size() ||
                 std::abs(found.lines[i].position - line.position) <
                     std::abs(found.lines[best].position - line.position)))
                best = i;
        if (best == found.lines.size()) {
            ++tally.missed;
            if (isTold)
                std::printf("    missed: %g\n", line.position);
            continue;
        }
        isTaken[best] = true;
        const tour::Line& seen = found.lines[best];
        const double pull = (seen.position - line.position) / seen.positionError;
        ++tally.positions;
        tally.beyond += std::abs(pull) > 3;
        tally.places.Take(pull);
        tally.areas[k].Take((seen.area - line.area * truth.total) / seen.areaError);
        if (isTold && std::abs(pull) > 3)
            std::printf("    position of %g off by %.1f errors\n", line.position, pull);
    }
    for (std::size_t i = 0; i < found.lines.size(); ++i)
        if (!isTaken[i] && !found.lines[i].isOfTails && !found.lines[i].isLikeAnEdge) {
            ++tally.invented;
            if (isTold)
                std::printf("    invented: %g, %.1f deviations\n", found.lines[i].position,
                            found.lines[i].significance);
        }
}

} // namespace

int main(int count, char** arguments) {
    const int realisations = count > 1 ? std::atoi(arguments[1]) : 2;
    const bool isLong = realisations >= 50;
    int failures = 0;
    const auto failed = [&](bool has, const char* what) {
        failures += has;
        if (has)
            std::printf("  FAILED: %s\n", what);
    };
    int spectra = 0;
    int there = 0;
    int missed = 0;
    int invented = 0;
    int positions = 0;
    int beyond = 0;
    unsigned seed = 20261122;
    const std::string only = count > 2 ? arguments[2] : "";
    for (const Truth& truth : truths()) {
        seed += 1000;
        if (truth.name.find(only) == std::string::npos)
            continue;
        const std::vector<double> expected = expectedOf(truth);
        const cal_c1DArrayCal cal(truth.offset, truth.delta, 0);
        Tally tally;
        tally.areas.resize(truth.lines.size());
        std::printf("%s\n", truth.name.c_str());
        for (int i = 0; i < realisations; ++i) {
            tour::Random random(seed + static_cast<unsigned>(i));
            std::vector<double> counts(expected.size());
            std::transform(expected.begin(), expected.end(), counts.begin(),
                           [&](double mean) { return static_cast<double>(random.Poisson(mean)); });
            const darr_c1DArray spectrum(std::span<const double>(counts), cal);
            judge(truth, tour::analysed(spectrum, {.slope = truth.slope}), tally, true);
        }
        std::printf(
            "  %d lines, %d missed, %d invented; %d of %d positions beyond 3 errors, width of "
            "pulls %.3f; chi-squared %.3f\n",
            tally.there, tally.missed, tally.invented, tally.beyond, tally.positions,
            tally.positions > 1 ? tally.places.Width() : 0, tally.chiSquared / tally.spectra);
        const Known& known = truth.known;
        for (std::size_t k = 0; k < tally.areas.size(); ++k)
            if (isLong && tally.areas[k].count > 1) {
                const Pulls& area = tally.areas[k];
                std::printf("    %8g: area %+.3f errors off in the mean, width of pulls %.3f\n",
                            truth.lines[k].position, area.Mean(), area.Width());
                // Three errors of the mean, beyond what is known.
                const double bound = known.bias + 3 / std::sqrt(static_cast<double>(area.count));
                failed(std::abs(area.Mean()) > bound, "an area is off");
            }
        // Of a few spectra a few more are chance.
        const double chance = isLong ? 0 : 2;
        failed(tally.missed > known.missed * tally.there + chance, "lines are missed");
        failed(tally.invented > (0.05 + known.invented) * tally.spectra + chance,
               "lines are invented");
        failed(tally.beyond > 0.01 * tally.positions + chance, "positions are off");
        spectra += tally.spectra;
        there += tally.there;
        missed += tally.missed;
        invented += tally.invented;
        positions += tally.positions;
        beyond += tally.beyond;
    }
    std::printf(
        "%d spectra, %d lines: %d missed, %d invented, %d of %d positions beyond 3 errors\n",
        spectra, there, missed, invented, beyond, positions);
    std::printf("%d failures\n", failures);
    return failures > 0 ? 1 : 0;
}
