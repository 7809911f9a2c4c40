#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <new>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/algebra/eqns.h"
#include "tests/failing_new.h"
#include "tests/fitting/certified.h"
#include "tests/support/constants.h"
#include "tests/support/refusal_expected.h"

namespace {

using testing::ElementsAre;

using Matrix = arr_c2DNumberArray<double>;
using Vector = arr_c1DNumberArray<double>;

Matrix matrix(int columns, int rows, const std::vector<double>& elements) {
    return Matrix(columns, rows, std::span<const double>(elements));
}

std::vector<double> solve(const Matrix& a, const Vector& b) {
    const Vector x = eqns_SolveEquations(a, b);
    return {x.begin(), x.end()};
}

std::vector<double> solve(const std::vector<std::vector<double>>& rows) {
    const int columns = static_cast<int>(rows[0].size()) - 1;
    Matrix a(columns, static_cast<int>(rows.size()));
    Vector b(static_cast<int>(rows.size()));
    for (int i = 0; i < a.Rows(); ++i) {
        const std::vector<double>& row = rows[static_cast<std::size_t>(i)];
        for (int j = 0; j < columns; ++j)
            a(i, j) = row[static_cast<std::size_t>(j)];
        b[i] = row.back();
    }
    return solve(a, b);
}

TEST(SolveEquations, SquareSystemHasItsExactSolution) {
    const std::vector<double> x = solve({{2, 1, -1, 8}, {-3, -1, 2, -11}, {-2, 1, 2, -3}});
    EXPECT_NEAR(x[0], 2, 1e-13);
    EXPECT_NEAR(x[1], 3, 1e-13);
    EXPECT_NEAR(x[2], -1, 1e-13);
}

TEST(SolveEquations, OneEquation) { EXPECT_THAT(solve({{4, -12}}), ElementsAre(-3)); }

TEST(SolveEquations, ManyEquationsHaveTheLeastSquaresSolution) {
    // The mean, and a line through three points that lie on none.
    const std::vector<double> mean = solve({{1, 1}, {1, 2}, {1, 6}});
    EXPECT_NEAR(mean[0], 3, 8 * epsilon);
    const std::vector<double> line = solve({{1, 0, 6}, {1, 1, 0}, {1, 2, 0}});
    EXPECT_NEAR(line[0], 5, 40 * epsilon);
    EXPECT_NEAR(line[1], -3, 40 * epsilon);
}

// The residual of a least-squares solution is orthogonal to every column.
TEST(SolveEquations, ResidualIsOrthogonalToTheColumns) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (const int columns : {1, 2, 3, 8})
        for (const int rows : {columns, columns + 1, 40, 1000}) {
            std::vector<std::vector<double>> system(static_cast<std::size_t>(rows));
            for (auto& row : system)
                for (int j = 0; j <= columns; ++j)
                    row.push_back(uniform(random));
            const std::vector<double> x = solve(system);
            for (std::size_t j = 0; j < x.size(); ++j) {
                long double product = 0;
                for (const auto& row : system) {
                    long double residual = row.back();
                    for (std::size_t k = 0; k < x.size(); ++k)
                        residual -= static_cast<long double>(row[k]) * x[k];
                    product += row[j] * residual;
                }
                EXPECT_NEAR(static_cast<double>(product), 0, 2000 * rows * epsilon)
                    << rows << " by " << columns;
            }
        }
}

TEST(SolveEquations, ExactlyZeroSingularValueIsLeftOut) {
    EXPECT_THAT(solve({{2, 0, 8}, {0, 0, 5}}), ElementsAre(4, 0));
    EXPECT_THAT(solve({{0, 0, 8}, {0, 0, 5}}), ElementsAre(0, 0));
    const std::vector<double> x = solve({{0, 3, 0, 6}, {0, 0, 0, 1}, {0, 0, 5, 10}, {0, 4, 0, 8}});
    EXPECT_EQ(x[0], 0);
    EXPECT_NEAR(x[1], 2, 8 * epsilon);
    EXPECT_NEAR(x[2], 2, 8 * epsilon);
}

TEST(SolveEquations, TinySingularValueIsDividedBy) {
    for (const double tiny : {1e-6, 1e-20, 1e-300})
        EXPECT_THAT(solve({{1, 0, 8}, {0, tiny, 5}}), ElementsAre(8, 5 / tiny));
}

TEST(SolveEquations, OperandsAreNotChanged) {
    const Matrix a = matrix(2, 3, {1, 2, 3, 4, 5, 7});
    const Vector b({1.0, 2.0, 3.0});
    solve(a, b);
    EXPECT_THAT(std::vector<double>(a.begin(), a.end()), ElementsAre(1, 2, 3, 4, 5, 7));
    EXPECT_THAT(std::vector<double>(b.begin(), b.end()), ElementsAre(1, 2, 3));
}

TEST(SolveEquations, LargestSystemIsOf32767Rows) {
    Matrix a(1, 32767);
    Vector b(32767);
    for (int i = 0; i < 32767; ++i) {
        a[i] = 1;
        b[i] = i;
    }
    EXPECT_NEAR(solve(a, b)[0], 16383, 1e-8);
}

struct Refused {
    std::string why;
    int columns, rows, elements;
};

TEST(SolveEquations, SizesThatCannotBeSolvedAreRefused) {
    for (const auto& [why, columns, rows, elements] :
         std::vector<Refused>{{"no columns, no rows", 0, 0, 0},
                              {"no columns", 0, 3, 3},
                              {"no rows", 3, 0, 0},
                              {"fewer rows than columns", 3, 2, 2},
                              {"too few elements of b", 2, 3, 2},
                              {"too many elements of b", 2, 3, 4},
                              {"no elements of b", 2, 3, 0},
                              {"rows that become negative", 1, 32768, 32768},
                              {"rows that become zero", 1, 65536, 65536},
                              {"rows that become one", 1, 65537, 65537},
                              {"rows and columns that become one", 65537, 1, 1}}) {
        const Matrix a(columns, rows);
        const Vector b(elements);
        EXPECT_THROW(eqns_SolveEquations(a, b), arr_cSizeException) << why;
    }
}

// The counts are fine for an array, so the text that says otherwise would be wrong.
TEST(SolveEquations, TooManyEquationsAreRefusedWithoutFigures) {
    const auto refusal =
        caught<arr_cSizeException>([&] { eqns_SolveEquations(Matrix(1, 32768), Vector(32768)); });
    EXPECT_STREQ(refusal.what(), "arr:2: Size refused.");
}

TEST(SolveEquations, NaNAndInfinityComeOutAsNaN) {
    for (const double bad : {std::nan(""), std::numeric_limits<double>::infinity()}) {
        for (const double x : solve({{1, bad, 1}, {2, 3, 4}, {5, 6, 8}}))
            EXPECT_TRUE(std::isnan(x));
        for (const double x : solve({{1, 2, 1}, {2, 3, std::nan("")}, {5, 6, 8}}))
            EXPECT_TRUE(std::isnan(x));
    }
}

TEST(SolveEquations, MissingMemoryRaises) {
    const Matrix a = matrix(2, 3, {1, 2, 3, 4, 5, 7});
    const Vector b({1.0, 2.0, 3.0});
    bool isDone = false;
    for (long allowed = 0; !isDone; ++allowed) {
        ASSERT_LT(allowed, 50);
        try {
            const FailingNew failing(allowed);
            eqns_SolveEquations(a, b);
            isDone = true;
        } catch (const std::bad_alloc&) {
        }
    }
}

/// The rows of a polynomial fit of this order: powers of x, then y.
std::vector<std::vector<double>> powers(const Regression& regression, int order) {
    std::vector<std::vector<double>> result;
    for (const auto& row : regression.rows) {
        result.emplace_back();
        for (int j = 0; j <= order; ++j)
            result.back().push_back(std::pow(row[0], j));
        result.back().push_back(row[1]);
    }
    return result;
}

struct Certified {
    std::string name;
    int order; // of the polynomial in the first column; negative for rows as they are
    double digits;
};

// Powers are taken as they are here: the condition of Pontius' matrix is 1e13, of Filip's 1e15.
TEST(SolveEquations, CertifiedRegressionsAgreeToTheseDigits) {
    for (const auto& [name, order, bound] : std::vector<Certified>{
             {"Norris", 1, 12.5}, {"Pontius", 2, 4.5}, {"Longley", -1, 8.5}, {"Filip", 10, 1.5}}) {
        const Regression regression = certified(name);
        const double agreed = digits(solve(order < 0 ? regression.rows : powers(regression, order)),
                                     regression.coefficients);
        printDigits("eqns_SolveEquations", name, agreed);
        EXPECT_GE(agreed, bound) << name;
    }
}

TEST(SolveEquations, WamplersProblemsAgreeToTheseDigits) {
    const double bounds[] = {8.5, 9, 6, 4, 2};
    for (int number = 1; number <= 5; ++number) {
        const Regression regression = wampler(number);
        const double agreed = digits(solve(powers(regression, 5)), regression.coefficients);
        printDigits("eqns_SolveEquations", "Wampler" + std::to_string(number), agreed);
        EXPECT_GE(agreed, bounds[number - 1]) << number;
    }
}

eqns_sSolution solveScaled(const std::vector<std::vector<double>>& rows, eqns_eColumns columns) {
    Matrix a(static_cast<int>(rows[0].size()) - 1, static_cast<int>(rows.size()));
    Vector b(a.Rows());
    for (int i = 0; i < a.Rows(); ++i) {
        for (int j = 0; j < a.Columns(); ++j)
            a(i, j) = rows[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
        b[i] = rows[static_cast<std::size_t>(i)].back();
    }
    return eqns_SolveEquations(a, b, columns);
}

/// The inverse of the matrix of the normal equations, in extended precision, by columns of norm 1.
std::vector<std::vector<long double>>
inverseOfProducts(const std::vector<std::vector<double>>& rows) {
    const std::size_t n = rows[0].size() - 1;
    std::vector<std::vector<long double>> m(n, std::vector<long double>(2 * n));
    std::vector<long double> norm(n);
    for (std::size_t j = 0; j < n; ++j) {
        for (const auto& row : rows)
            norm[j] += static_cast<long double>(row[j]) * row[j];
        norm[j] = std::sqrt(norm[j]);
        m[j][n + j] = 1;
    }
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            for (const auto& row : rows)
                m[i][j] += row[i] / norm[i] * (row[j] / norm[j]);
    for (std::size_t p = 0; p < n; ++p)
        for (std::size_t r = 0; r < n; ++r) {
            const long double by = m[r][p] / m[p][p];
            for (std::size_t c = 0; r != p && c < 2 * n; ++c)
                m[r][c] -= by * m[p][c];
        }
    std::vector<std::vector<long double>> inverse(n, std::vector<long double>(n));
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j)
            inverse[i][j] = m[i][n + j] / m[i][i] / norm[i] / norm[j];
    return inverse;
}

TEST(SolveEquations, ErrorsAreThoseOfTheNormalEquations) {
    std::mt19937 random(8);
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (const eqns_eColumns columns : {eqns_ColumnsAsGiven, eqns_ColumnsScaled})
        for (const std::size_t n : {1U, 2U, 5U})
            for (const double spread : {1.0, 1e-30, 1e25}) {
                std::vector<std::vector<double>> rows(12);
                for (auto& row : rows) {
                    double size = 1;
                    for (std::size_t j = 0; j <= n; ++j) {
                        row.push_back(uniform(random) * (j == n ? 1 : size));
                        if (columns == eqns_ColumnsScaled)
                            size *= spread;
                    }
                }
                const eqns_sSolution found = solveScaled(rows, columns);
                const auto inverse = inverseOfProducts(rows);
                long double sum = 0;
                for (const auto& row : rows) {
                    long double residual = row.back();
                    for (std::size_t j = 0; j < n; ++j)
                        residual -= static_cast<long double>(row[j]) * found.x[static_cast<int>(j)];
                    sum += residual * residual;
                }
                EXPECT_NEAR(found.residualSum, static_cast<double>(sum), 100 * epsilon);
                EXPECT_EQ(found.rank, static_cast<int>(n));
                EXPECT_EQ(found.degreesOfFreedom, 12 - static_cast<int>(n));
                const long double variance = sum / (12 - static_cast<long double>(n));
                for (std::size_t i = 0; i < n; ++i)
                    for (std::size_t j = 0; j < n; ++j) {
                        const auto expected = static_cast<double>(inverse[i][j] * variance);
                        const auto size = static_cast<double>(
                            std::sqrt(inverse[i][i] * inverse[j][j]) * variance);
                        const auto row = static_cast<int>(i);
                        EXPECT_NEAR(found.covariance(row, static_cast<int>(j)) / size,
                                    expected / size, 1e-12);
                        if (i == j) {
                            EXPECT_NEAR(found.standardErrors[row] / std::sqrt(size), 1, 1e-12);
                        }
                    }
            }
}

TEST(SolveEquations, BothOverloadsAnswerTheSameForColumnsAsTheyAre) {
    const std::vector<std::vector<double>> rows{{1, 2, 3}, {4, 5, 7}, {-1, 0.3, 2}, {8, 8, 1}};
    const Vector x = solveScaled(rows, eqns_ColumnsAsGiven).x;
    EXPECT_EQ(std::vector<double>(x.begin(), x.end()), solve(rows));
}

TEST(SolveEquations, ExactSystemsAndZeroValuesHaveNoErrors) {
    const eqns_sSolution exact = solveScaled({{2, 0, 8}, {0, 1e-300, 3e-300}}, eqns_ColumnsScaled);
    EXPECT_EQ(exact.x[0], 4);
    EXPECT_EQ(exact.x[1], 3);
    EXPECT_EQ(exact.degreesOfFreedom, 0);
    EXPECT_EQ(exact.rank, 2);
    EXPECT_TRUE(std::isnan(exact.standardErrors[0]));
    const eqns_sSolution left = solveScaled({{2, 0, 8}, {0, 0, 5}}, eqns_ColumnsScaled);
    EXPECT_EQ(left.rank, 1);
    EXPECT_EQ(left.degreesOfFreedom, 1);
    EXPECT_EQ(left.residualSum, 25);
    EXPECT_EQ(left.x[1], 0);
    EXPECT_EQ(left.standardErrors[0], 2.5);
    EXPECT_EQ(left.standardErrors[1], 0);
}

TEST(SolveEquations, ErrorsHaveTheSizeOfTheResidualsHoweverLargeTheyAre) {
    arr_c2DNumberArray<double> a(2, 5); // columns, rows
    arr_c1DNumberArray<double> b(5);
    const double right[] = {1, 3, 2, 5, 4};
    for (const double size : {1.0, 0x1p-560, 0x1p560}) {
        for (int i = 0; i < 5; ++i) {
            a(i, 0) = 1;
            a(i, 1) = i;
            b[i] = size * right[i];
        }
        const eqns_sSolution found = eqns_SolveEquations(a, b, eqns_ColumnsScaled);
        // The residuals' sum of squares is 3.6, the inverse {{.6, -.2}, {-.2, .1}}.
        EXPECT_NEAR(found.standardErrors[0] / size, std::sqrt(1.2 * 0.6), 1e-14) << size;
        EXPECT_NEAR(found.standardErrors[1] / size, std::sqrt(1.2 * 0.1), 1e-14) << size;
        EXPECT_DOUBLE_EQ(found.residualSum, size == 1 ? 3.6 : size < 1 ? 0 : HUGE_VAL) << size;
    }
}

TEST(SolveEquations, OverloadWithErrorsRefusesTheSame) {
    for (const auto& [columns, rows, elements] :
         std::vector<std::array<int, 3>>{{0, 3, 3}, {3, 2, 2}, {2, 3, 4}, {1, 32768, 32768}}) {
        const Matrix a(columns, rows);
        const Vector b(elements);
        EXPECT_THROW(eqns_SolveEquations(a, b, eqns_ColumnsScaled), arr_cSizeException);
    }
    EXPECT_TRUE(std::isnan(solveScaled({{1, std::nan("")}, {2, 3}}, eqns_ColumnsScaled).x[0]));
    EXPECT_TRUE(std::isnan(solveScaled({{std::nan(""), 1}, {2, 3}}, eqns_ColumnsScaled).x[0]));
    EXPECT_TRUE(std::isnan(
        solveScaled({{std::numeric_limits<double>::infinity(), 1}, {2, 3}}, eqns_ColumnsScaled)
            .x[0]));
}

TEST(SolveEquations, ScaledColumnsKeepMoreDigits) {
    const double bounds[] = {9, 11, 9, 8, 6};
    for (int number = 1; number <= 5; ++number) {
        const Regression regression = wampler(number);
        const eqns_sSolution found = solveScaled(powers(regression, 5), eqns_ColumnsScaled);
        const double agreed = digits({found.x.begin(), found.x.end()}, regression.coefficients);
        printDigits("scaled columns", "Wampler" + std::to_string(number), agreed);
        EXPECT_GE(agreed, bounds[number - 1]) << number;
        // The published deviation of the residuals is that of the pattern.
        if (number > 2) {
            double sum = 0;
            const Regression exact = wampler(1);
            for (std::size_t i = 0; i < regression.rows.size(); ++i)
                sum += std::pow(regression.rows[i][1] - exact.rows[i][1], 2);
            EXPECT_NEAR(found.residualSum / sum, 1, 1e-9) << number;
            EXPECT_EQ(found.degreesOfFreedom, 15);
        }
    }
    for (const auto& [name, order, bound] : std::vector<Certified>{
             {"Norris", 1, 12.5}, {"Pontius", 2, 11}, {"Longley", -1, 8.5}, {"Filip", 10, 5}}) {
        const Regression regression = certified(name);
        const eqns_sSolution found = solveScaled(
            order < 0 ? regression.rows : powers(regression, order), eqns_ColumnsScaled);
        const double agreed = digits({found.x.begin(), found.x.end()}, regression.coefficients);
        printDigits("scaled columns", name, agreed);
        EXPECT_GE(agreed, bound) << name;
    }
}

} // namespace
