// The fit of bench_gaussfit by Ceres: the same model, start and tolerance, analytic derivatives,
// dense normal equations, one thread.
//
// usage: bench_gaussfit_ceres DIRECTORY   (where bench_gaussfit left its solution)

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <ceres/ceres.h>

#include "bench/bench.h"
#include "bench/gaussfit_problem.h"

namespace {

/// All residuals at once, over offset, scale and the amplitudes.
class Residuals final : public ceres::CostFunction {
public:
    explicit Residuals(const std::vector<double>& y) : y_(y) {
        for (const double value : y)
            weights_.push_back(1 / std::sqrt(value));
        for (const double center : bench::centers)
            widths_.push_back(bench::widthAt(center));
        set_num_residuals(static_cast<int>(y.size()));
        mutable_parameter_block_sizes()->push_back(static_cast<int>(2 + widths_.size()));
    }

    bool Evaluate(const double* const* blocks, double* residuals,
                  double** jacobians) const override {
        const double* const a = blocks[0];
        double* const jacobian = jacobians ? jacobians[0] : nullptr;
        const std::size_t columns = 2 + widths_.size();
        for (std::size_t i = 0; i < y_.size(); ++i) {
            const double x = static_cast<double>(i);
            const double u = a[0] + a[1] * x;
            double* const row = jacobian ? jacobian + i * columns : nullptr;
            double model = 0;
            double byPosition = 0;
            for (std::size_t k = 0; k < widths_.size(); ++k) {
                const double t = (u - bench::centers[k]) / widths_[k];
                const double e = std::fabs(t) < 3 ? std::exp(-t * t) : 0.0;
                model += a[2 + k] * e;
                byPosition -= 2 * e * t * a[2 + k] / widths_[k];
                if (row)
                    row[2 + k] = -weights_[i] * e;
            }
            residuals[i] = weights_[i] * (y_[i] - model);
            if (row) {
                row[0] = -weights_[i] * byPosition;
                row[1] = row[0] * x;
            }
        }
        return true;
    }

private:
    const std::vector<double>& y_;
    std::vector<double> weights_;
    std::vector<double> widths_;
};

std::vector<double> fit(const std::vector<double>& y) {
    std::vector<double> a{bench::startOffset, bench::startScale};
    a.resize(2 + bench::centers.size(), bench::startHeight);
    ceres::Problem problem;
    problem.AddResidualBlock(new Residuals(y), nullptr, a.data());
    ceres::Solver::Options options;
    options.linear_solver_type = ceres::DENSE_NORMAL_CHOLESKY;
    options.function_tolerance = 1e-4;
    options.logging_type = ceres::SILENT;
    options.num_threads = 1;
    ceres::Solver::Summary summary;
    ceres::Solve(options, &problem, &summary);
    return a;
}

} // namespace

int main(int argc, char** argv) {
    const std::filesystem::path directory = argc > 1 ? argv[1] : ".";
    std::printf("note peer Ceres %s\n", CERES_VERSION_STRING);
    const std::vector<double> y = bench::counts();
    const std::vector<double> solution = fit(y);
    const std::vector<double> ours = bench::solutionOf(directory, "five_peaks", solution.size());
    const double ourCost = bench::costOf(y, ours);
    const double cost = bench::costOf(y, solution);
    std::printf("check five_peaks %d %s\n", bench::count,
                std::fabs(ourCost - cost) <= 1e-5 * cost ? "agree" : "DIFFER");
    bench::printTime("five_peaks", bench::count, bench::nanoseconds([&] { bench::use(fit(y)); }));
}
