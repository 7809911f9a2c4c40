#include <cmath>
#include <cstddef>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/algebra/nlsq.h"
#include "tests/fitting/certified.h"

namespace {

using Parameters = std::span<const double>;
using Derivatives = std::span<double>;

struct Problem {
    const char* name;
    std::size_t terms; // of a polynomial; 0 where the columns are given
    double leastParameterDigits;
    double leastDeviationDigits;
};

void PrintTo(const Problem& problem, std::ostream* out) { *out << problem.name; }

nlsq_cFunctionModel polynomial() {
    return nlsq_cFunctionModel(
        [](double x, Parameters p) {
            double sum = 0;
            for (std::size_t k = p.size(); k-- > 0;)
                sum = sum * x + p[k];
            return sum;
        },
        [](double x, Parameters, Derivatives d) {
            d[0] = 1;
            for (std::size_t k = 1; k < d.size(); ++k)
                d[k] = d[k - 1] * x;
        });
}

/// The sum of the columns; positions are numbers of rows, which have to outlive it.
nlsq_cFunctionModel sumOf(const std::vector<std::vector<double>>& rows) {
    return nlsq_cFunctionModel(
        [&rows](double i, Parameters p) {
            double sum = 0;
            for (std::size_t k = 0; k < p.size(); ++k)
                sum += p[k] * rows[static_cast<std::size_t>(i)][k];
            return sum;
        },
        [&rows](double i, Parameters, Derivatives d) {
            for (std::size_t k = 0; k < d.size(); ++k)
                d[k] = rows[static_cast<std::size_t>(i)][k];
        });
}

nlsq_sResult fitOf(const Problem& problem, const Regression& regression) {
    std::vector<double> x, y;
    for (std::size_t i = 0; i < regression.rows.size(); ++i) {
        x.push_back(problem.terms == 0 ? static_cast<double>(i) : regression.rows[i][0]);
        y.push_back(regression.rows[i].back());
    }
    return nlsq_FitLinear(problem.terms == 0 ? sumOf(regression.rows) : polynomial(), x, y,
                          static_cast<int>(regression.coefficients.size()));
}

class CertifiedLinear : public testing::TestWithParam<Problem> {};

TEST_P(CertifiedLinear, HasTheDigitsOfTheTable) {
    const Problem& problem = GetParam();
    const Regression regression = certified(problem.name);
    const nlsq_sResult fit = fitOf(problem, regression);
    const double deviation = std::sqrt(fit.ReducedChiSquared());

    const double parameters = digits(fit.parameters, regression.coefficients);
    EXPECT_GE(parameters, problem.leastParameterDigits);
    if (regression.residualDeviation > 0) {
        const double deviations = digits(fit.standardErrors, regression.deviations);
        const double residual = digits({deviation}, {regression.residualDeviation});
        std::cout << "[  digits  ] " << problem.name << ": parameters " << parameters
                  << ", deviations " << deviations << ", of the residuals " << residual << '\n';
        EXPECT_GE(deviations, problem.leastDeviationDigits);
        EXPECT_GE(residual, problem.leastDeviationDigits);
    } else {
        // What lies on the curve has no deviations but those of rounding.
        std::cout << "[  digits  ] " << problem.name << ": parameters " << parameters
                  << ", of the residuals " << deviation << '\n';
        EXPECT_LT(deviation, 1e-9);
        for (std::size_t j = 0; j < fit.parameters.size(); ++j)
            EXPECT_LT(fit.standardErrors[j], 1e-9) << j;
    }
    EXPECT_EQ(fit.end, nlsq_Solved);
    EXPECT_EQ(fit.rank, static_cast<int>(regression.coefficients.size()));
    EXPECT_EQ(fit.degreesOfFreedom,
              static_cast<int>(regression.rows.size() - regression.coefficients.size()));
    EXPECT_TRUE(fit.undetermined.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Regressions, CertifiedLinear,
    testing::Values(Problem{"Norris", 2, 12, 12}, //
                    Problem{"Pontius", 3, 11, 12}, Problem{"NoInt1", 0, 14, 14},
                    Problem{"NoInt2", 0, 14, 14}, Problem{"Filip", 11, 7.4, 7.8},
                    Problem{"Longley", 0, 9, 9}, Problem{"Wampler1", 6, 9, 0},
                    Problem{"Wampler2", 6, 12, 0}, Problem{"Wampler3", 6, 9, 12},
                    Problem{"Wampler4", 6, 9, 12}, Problem{"Wampler5", 6, 9, 12}),
    [](const auto& problem) { return std::string(problem.param.name); });

} // namespace
