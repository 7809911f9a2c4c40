// Fits of one spectrum with their errors, by least squares with the weights of counts and by the
// likelihood.
//
// usage: bench_peaks DIRECTORY   (where the solutions are left: parameters, then errors)

#include <cstdio>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "bench/peaks_problem.h"

int main(int argc, char** argv) {
    bench::printSelf();
    const std::string directory = argc > 1 ? argv[1] : ".";
    const std::vector<double> y = bench::counts();
    const darr_c1DArray spectrum{std::span(y), cal_c1DArrayCal(0, 1, 0)};
    bench::sample<double>(directory, "counts", std::span(y));
    pkmd_cModel model;
    const std::vector<double> start = bench::start();
    for (std::size_t k = 0; k < bench::peaks; ++k)
        model.AddPeak(pkmd_Gaussian, start[3 * k], start[3 * k + 1], start[3 * k + 2]);
    model.AddPolynomial({start[15], start[16]}, 1023.5, 1024);

    for (const nlsq_eObjective objective : {nlsq_LeastSquares, nlsq_PoissonLikelihood}) {
        const char* const name =
            objective == nlsq_LeastSquares ? "five_free_peaks" : "five_free_peaks_likelihood";
        pkmd_sOptions options;
        options.objective = objective;
        const pkmd_sResult result = pkmd_Fit(model, spectrum, options);
        std::vector<double> solution = result.fit.parameters;
        solution.insert(solution.end(), result.fit.standardErrors.begin(),
                        result.fit.standardErrors.end());
        bench::sample<double>(directory, name, std::span(solution));
        bench::printTime(name, bench::count, bench::nanoseconds([&] {
                             bench::use(pkmd_Fit(model, spectrum, options));
                         }));
    }
}
