/// @file
/// Whether standard errors are what they say: fits of many synthetic spectra with Poisson noise,
/// and the mean and width of (found - true) / error over them, the error being that of each fit and
/// then that which the true parameters have. Takes a minute; not run by bench/run.
///
/// usage: bench_pulls [SPECTRA]

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "dataprocessing/fitting/pkmd.h"

namespace {

struct Case {
    std::string name;
    pkmd_cModel truth;
    int channels;
    nlsq_eObjective objective = nlsq_PoissonLikelihood;
};

/// One Gaussian of so many counts, five channels wide, on a background of so many per channel.
pkmd_cModel onePeak(double counts, double background) {
    pkmd_cModel model;
    model.AddPeak(pkmd_Gaussian, 50.3, counts / (5 * 2.5066282746310002), 5);
    model.AddPolynomial({background}, 50, 50);
    return model;
}

/// Two of 10 000 counts each, so many full widths at half maximum apart, of one width or of two.
pkmd_cModel pair(double distance, bool hasOneWidth) {
    pkmd_cModel model;
    const double apart = distance * 5 * 2.3548200450309493;
    model.AddPeak(pkmd_Gaussian, 60 - apart / 2, 800, 5);
    model.AddPeak(pkmd_Gaussian, 60 + apart / 2, 800, 5);
    model.AddPolynomial({20, 5}, 60, 60);
    if (hasOneWidth)
        model.Tie(model.Width(1), model.Width(0), 1);
    return model;
}

std::vector<Case> cases() {
    std::vector<Case> all;
    // Ten counts do not tell where they are from, but how many they are.
    for (const nlsq_eObjective objective : {nlsq_PoissonLikelihood, nlsq_LeastSquares}) {
        Case few{"10 counts at a known place on 1 per channel", onePeak(10, 1), 101, objective};
        if (objective == nlsq_LeastSquares)
            few.name += ", least squares";
        few.truth.Fix(few.truth.Position(0));
        few.truth.Fix(few.truth.Width(0));
        all.push_back(few);
    }
    for (const double counts : {100., 1e3, 1e4, 1e5, 1e6}) {
        const double background = counts / 500;
        const std::string name = std::to_string(static_cast<int>(counts)) + " counts";
        all.push_back({name, onePeak(counts, std::max(background, 0.02)), 101});
        if (counts < 1e6)
            all.push_back({name + ", least squares", onePeak(counts, std::max(background, 0.02)),
                           101, nlsq_LeastSquares});
    }
    for (const double distance : {2.0, 1.5, 1.2}) {
        char name[64];
        std::snprintf(name, sizeof name, "pair %.1f FWHM apart", distance);
        all.push_back({name, pair(distance, false), 121});
    }
    all.push_back({"pair 1.2 FWHM apart, one width", pair(1.2, true), 121});
    Case tied{"heights 2 : 1, splitting known", pair(1.2, true), 121};
    tied.truth.SetStart(tied.truth.Height(1), 400);
    tied.truth.Tie(tied.truth.Height(1), tied.truth.Height(0), 0.5);
    tied.truth.Tie(tied.truth.Position(1), tied.truth.Position(0), 1, 1.2 * 5 * 2.3548200450309493);
    all.push_back(tied);
    Case bounded{"bounds that seldom hold", onePeak(1e4, 20), 101};
    bounded.truth.Bound(bounded.truth.Position(0), 49.8, 50.8);
    bounded.truth.Bound(bounded.truth.Height(0), 0, 1e4);
    bounded.truth.Bound(bounded.truth.Width(0), 4, 6);
    all.push_back(bounded);
    Case law{"three widths by a law", {}, 301};
    for (const double position : {60., 150., 240.})
        law.truth.AddPeak(pkmd_Gaussian, position, 300, 5);
    law.truth.AddPolynomial({10}, 150, 150);
    law.truth.SetWidthLaw(5, 0.05, 150);
    all.push_back(law);
    Case power{"power-law background", {}, 201};
    power.truth.AddPeak(pkmd_Gaussian, 100, 300, 5);
    power.truth.AddPowerLaw(100, -2, 100);
    all.push_back(power);
    Case exponential{"exponential background", {}, 201};
    exponential.truth.AddPeak(pkmd_Gaussian, 100, 300, 5);
    exponential.truth.AddExponential(50, -0.01, 100);
    all.push_back(exponential);
    for (const auto& [shape, name, extra] :
         {std::tuple{pkmd_Lorentzian, "Lorentzian", 0.0},
          std::tuple{pkmd_PseudoVoigt, "pseudo-Voigt", 0.5}, std::tuple{pkmd_Voigt, "Voigt", 4.0},
          std::tuple{pkmd_TailedGaussian, "tail", -8.0}}) {
        Case shaped{name, {}, 201};
        shaped.truth.AddPeak(shape, 100.3, 5000, 5, extra);
        shaped.truth.AddPolynomial({50}, 100, 100);
        all.push_back(shaped);
    }
    return all;
}

class Pulls {
public:
    void Add(double pull) {
        ++count_;
        sum_ += pull;
        squares_ += pull * pull;
    }
    bool AreThere() const { return squares_ > 0; }
    double Mean() const { return sum_ / count_; }
    double Width() const { return std::sqrt(squares_ / count_ - Mean() * Mean()); }

private:
    int count_ = 0;
    double sum_ = 0;
    double squares_ = 0;
};

/// The parameters of a fit, then the areas of its peaks.
struct Figures {
    explicit Figures(const pkmd_sResult& result)
        : values(result.fit.parameters), errors(result.fit.standardErrors) {
        for (const pkmd_sPeak& peak : result.peaks) {
            values.push_back(peak.area);
            errors.push_back(peak.areaError);
        }
    }

    std::vector<double> values;
    std::vector<double> errors;
};

void run(const Case& one, int spectra) {
    const cal_c1DArrayCal channels(1, 1, 0);
    std::vector<double> x, mean(static_cast<std::size_t>(one.channels)), counts(mean.size());
    for (int i = 0; i < one.channels; ++i)
        x.push_back(channels.Position(i));
    one.truth.Values(one.truth.Starts(), x, mean);
    pkmd_sOptions options;
    options.objective = one.objective;
    options.windows = 6;
    // What an exact spectrum gives is the truth, areas and widths by a law included.
    const pkmd_sResult exact =
        pkmd_Fit(one.truth, darr_c1DArray{std::span(mean), channels}, options);
    const std::size_t parameters = exact.names.size();
    const Figures truth(exact);
    std::vector<Pulls> pulls(truth.values.size()), pullsOfTruth(pulls.size());
    int used = 0;
    std::mt19937_64 random(20260101);
    for (int s = 0; s < spectra; ++s) {
        for (std::size_t i = 0; i < mean.size(); ++i)
            counts[i] = static_cast<double>(std::poisson_distribution<long long>(mean[i])(random));
        const pkmd_sResult result =
            pkmd_Fit(one.truth, darr_c1DArray{std::span(counts), channels}, options);
        if (!result.fit.Converged() || result.fit.rank < exact.fit.rank)
            continue;
        ++used;
        const Figures found(result);
        for (std::size_t i = 0; i < pulls.size(); ++i)
            if (found.errors[i] > 0) {
                pulls[i].Add((found.values[i] - truth.values[i]) / found.errors[i]);
                pullsOfTruth[i].Add((found.values[i] - truth.values[i]) / truth.errors[i]);
            }
    }
    std::printf("%s: %d of %d spectra\n", one.name.c_str(), used, spectra);
    for (std::size_t i = 0; i < pulls.size(); ++i) {
        if (!pulls[i].AreThere())
            continue;
        const std::string name =
            i < parameters ? exact.names[i] : "area of peak " + std::to_string(i - parameters);
        std::printf("    %-32s mean %+.3f width %.3f; over the true error mean %+.3f width %.3f\n",
                    name.c_str(), pulls[i].Mean(), pulls[i].Width(), pullsOfTruth[i].Mean(),
                    pullsOfTruth[i].Width());
    }
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    const int spectra = argc > 1 ? std::atoi(argv[1]) : 10000;
    for (const Case& one : cases())
        run(one, spectra);
}
