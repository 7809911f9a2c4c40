// A fit of peaks through the public functions: five Gaussians with the calibration, on 2,048
// points. The peer is gaussfit_ceres.cpp.
//
// usage: bench_gaussfit DIRECTORY   (where the solution goes)

#include <deque>
#include <span>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/gaussfit_problem.h"
#include "dataprocessing/dataprocessing.h"

namespace {

/// What a fit needs beside the data, ready to start.
struct Fit {
    explicit Fit(std::span<const double> y) : data(y, cal) {
        for (const double center : bench::centers) {
            peaks.emplace_back(bench::startHeight, center, bench::widthAt(center));
            list.Append(&peaks.back());
        }
        selection.AddLocalRange(data.Range());
    }
    Fit(const Fit&) = delete;

    void run() {
        cal = cal_c1DArrayCal(bench::startOffset, bench::startScale, 0);
        for (gsft_cGaussian& peak : peaks)
            peak.SetAmplitude(bench::startHeight);
        function.Refit(data);
    }
    std::vector<double> solution() const {
        std::vector<double> all{cal.Offset(), cal.Delta()};
        for (const gsft_cGaussian& peak : peaks)
            all.push_back(peak.Amplitude());
        return all;
    }

    cal_c1DArrayCal cal{bench::startOffset, bench::startScale, 0};
    darr_c1DArray data;
    std::deque<gsft_cGaussian> peaks;
    list_cPtrList<gsft_cGaussian> list;
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
    gsft_cResolution resolution = bench::law;
    type_cBoolean fitCalibration = true;
    type_cBoolean fitResolution = false;
    gsft_c1DGaussianFittingFunction function{selection,      list,       cal,
                                             fitCalibration, resolution, fitResolution};
};

} // namespace

int main(int argc, char** argv) {
    bench::printSelf();
    const std::vector<double> y = bench::counts();
    Fit fit(y);
    fit.run();
    bench::sample<double>(argc > 1 ? argv[1] : ".", "five_peaks", fit.solution());
    bench::printTime("five_peaks", bench::count, bench::nanoseconds([&] { fit.run(); }));
}
