// The fit of bench_peaks by Ceres: the same least-squares problem and start, analytic derivatives,
// dense normal equations, one thread; the covariance by its dense singular values. The small solver
// of the same library, without allocations, too; it gives no covariance.
//
// usage: bench_peaks_ceres DIRECTORY   (where bench_peaks left its solution)

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <ceres/ceres.h>
#include <ceres/tiny_solver.h>

#include "bench/bench.h"
#include "bench/peaks_problem.h"

namespace {

constexpr int many = static_cast<int>(bench::parameters);

/// Weighted residuals and, where asked for, their derivatives by rows.
class Problem {
public:
    /// Beyond `reach` widths a peak is left out.
    Problem(const std::vector<double>& y, double reach) : y_(y), reach_(reach) {
        for (const double value : y)
            weights_.push_back(1 / std::sqrt(std::max(1.0, value)));
    }

    template<class ElementAt>
    void Evaluate(const double* p, double* residuals, bool wantsSlopes, ElementAt elementAt) const {
        for (int i = 0; i < bench::count; ++i) {
            const double w = weights_[static_cast<std::size_t>(i)];
            const double t = bench::slopeAt(i);
            double sum = p[many - 2] + p[many - 1] * t;
            for (int k = 0; k < static_cast<int>(bench::peaks); ++k) {
                const double z = (i - p[3 * k]) / p[3 * k + 2];
                const double e = std::fabs(z) < reach_ ? std::exp(-0.5 * z * z) : 0;
                sum += p[3 * k + 1] * e;
                if (wantsSlopes) {
                    const double slope = w * p[3 * k + 1] * e * z / p[3 * k + 2];
                    elementAt(i, 3 * k) = slope;
                    elementAt(i, 3 * k + 1) = w * e;
                    elementAt(i, 3 * k + 2) = slope * z;
                }
            }
            if (wantsSlopes) {
                elementAt(i, many - 2) = w;
                elementAt(i, many - 1) = w * t;
            }
            residuals[i] = w * (sum - y_[static_cast<std::size_t>(i)]);
        }
    }

private:
    const std::vector<double>& y_;
    double reach_;
    std::vector<double> weights_;
};

class Residuals final : public ceres::CostFunction {
public:
    explicit Residuals(const Problem& problem) : problem_(problem) {
        set_num_residuals(bench::count);
        mutable_parameter_block_sizes()->push_back(many);
    }
    bool Evaluate(const double* const* blocks, double* residuals,
                  double** jacobians) const override {
        double* const rows = jacobians != nullptr ? jacobians[0] : nullptr;
        problem_.Evaluate(blocks[0], residuals, rows != nullptr,
                          [rows](int i, int j) -> double& { return rows[i * many + j]; });
        return true;
    }

private:
    const Problem& problem_;
};

/// Parameters, then standard errors; as far as it goes to compare, as far as ours goes to time.
std::vector<double> fit(const Problem& data, bool toTheEnd = false) {
    std::vector<double> p = bench::start();
    ceres::Problem problem;
    problem.AddResidualBlock(new Residuals(data), nullptr, p.data());
    ceres::Solver::Options options;
    options.linear_solver_type = ceres::DENSE_NORMAL_CHOLESKY;
    // A decrease of 1e-15 is 1e-6 standard errors.
    options.function_tolerance = toTheEnd ? 0 : 1e-15;
    options.gradient_tolerance = toTheEnd ? 0 : 1e-15;
    options.parameter_tolerance = toTheEnd ? 1e-15 : 1e-12;
    options.logging_type = ceres::SILENT;
    options.num_threads = 1;
    ceres::Solver::Summary summary;
    ceres::Solve(options, &problem, &summary);
    ceres::Covariance::Options covarianceOptions;
    covarianceOptions.algorithm_type = ceres::DENSE_SVD;
    ceres::Covariance covariance(covarianceOptions);
    const double* const block = p.data();
    std::vector<double> matrix(bench::parameters * bench::parameters);
    if (covariance.Compute(std::vector<std::pair<const double*, const double*>>{{block, block}},
                           &problem))
        covariance.GetCovarianceBlock(block, block, matrix.data());
    for (std::size_t i = 0; i < bench::parameters; ++i)
        p.push_back(std::sqrt(matrix[i * bench::parameters + i]));
    return p;
}

/// The functor of the small solver: derivatives by columns.
struct Small {
    using Scalar = double;
    enum { NUM_RESIDUALS = Eigen::Dynamic, NUM_PARAMETERS = many };
    int NumResiduals() const { return bench::count; }
    bool operator()(const double* p, double* residuals, double* jacobian) const {
        data.Evaluate(p, residuals, jacobian != nullptr, [jacobian](int i, int j) -> double& {
            return jacobian[j * bench::count + i];
        });
        return true;
    }
    const Problem& data;
};

} // namespace

int main(int argc, char** argv) {
    const std::filesystem::path directory = argc > 1 ? argv[1] : ".";
    std::printf("note peer Ceres %s\n", CERES_VERSION_STRING);
    const std::vector<double> y = bench::counts();
    // Where a fast program cuts peaks off, at six widths, the optimum moves by 1e-6 standard
    // errors.
    const Problem problem(y, 6);
    const std::vector<double> solution = fit(Problem(y, 40), true);
    const std::vector<double> ours =
        bench::solutionOf(directory, "five_free_peaks", solution.size());
    double away = 0;
    double errors = 0;
    for (std::size_t i = 0; i < bench::parameters; ++i) {
        const double error = solution[bench::parameters + i];
        away = std::max(away, std::fabs(ours[i] - solution[i]) / error);
        errors = std::max(errors, std::fabs(ours[bench::parameters + i] / error - 1));
    }
    std::fprintf(stderr,
                 "bench_peaks_ceres: optimum within %.1e standard errors, errors within %.1e\n",
                 away, errors);
    std::printf("check five_free_peaks %d %s\n", bench::count,
                away < 1e-6 && errors < 1e-6 ? "agree" : "DIFFER");
    bench::printTime("five_free_peaks", bench::count,
                     bench::nanoseconds([&] { bench::use(fit(problem)); }));

    const Small small{problem};
    ceres::TinySolver<Small> solver;
    const double nanoseconds = bench::nanoseconds([&] {
        const std::vector<double> start = bench::start();
        ceres::TinySolver<Small>::Parameters p =
            Eigen::Map<const Eigen::VectorXd>(start.data(), many);
        solver.options.gradient_tolerance = 1e-12;
        solver.options.parameter_tolerance = 1e-12;
        solver.Solve(small, &p);
        bench::use(p);
    });
    std::fprintf(stderr, "bench_peaks_ceres: the small solver, without errors: %.1f us\n",
                 nanoseconds / 1000);
}
