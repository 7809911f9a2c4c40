#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/algebra/rcps_triangle.h"
#include "tests/fitting/dense.h"
#include "tests/support/constants.h"

namespace {

/// Takes in the rows of `a`, the last column of which is the right-hand side, `step` at a time.
rcps::cTriangle triangleOf(const Dense& a, int step) {
    rcps::cTriangle triangle(a.n - 1);
    for (int first = 0; first < a.m; first += step) {
        const int rows = std::min(step, a.m - first);
        for (int j = 0; j < a.n; ++j)
            for (int k = 0; k < rows; ++k)
                triangle.BlockColumn(j)[k] = a.at(first + k, j);
        triangle.Absorb(rows);
    }
    return triangle;
}

Dense randomMatrix(int m, int n) {
    std::mt19937 random(static_cast<unsigned>(m));
    std::uniform_real_distribution<double> uniform(-1, 1);
    return dense(m, n, [&](int, int) { return uniform(random); });
}

// The products of all pairs of columns do not change when rows are transformed orthogonally. Only
// the square of the right-hand side loses the residual.
TEST(Triangle, KeepsTheProductsOfAllColumns) {
    for (const int m : {1, 2, 3, 7, 8, 9, 64, 127, 128, 129, 255, 256, 257, 1000})
        for (const int step : {1, 5, 8, 100, 128}) {
            const Dense a = randomMatrix(m, 4);
            rcps::cTriangle triangle = triangleOf(a, step);
            for (int p = 0; p < 3; ++p)
                for (int q = p; q < 4; ++q) {
                    long double expected = 0;
                    for (int i = 0; i < m; ++i)
                        expected += static_cast<long double>(a.at(i, p)) * a.at(i, q);
                    long double product = 0;
                    for (int i = 0; i < 3; ++i)
                        product +=
                            static_cast<long double>(triangle.Row(i)[p]) * triangle.Row(i)[q];
                    EXPECT_NEAR(static_cast<double>(product), static_cast<double>(expected),
                                20 * m * epsilon)
                        << m << " rows by " << step << ", columns " << p << ' ' << q;
                }
        }
}

TEST(Triangle, HasNothingBelowTheDiagonal) {
    rcps::cTriangle triangle = triangleOf(randomMatrix(300, 5), 128);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < i; ++j)
            EXPECT_EQ(triangle.Row(i)[j], 0);
}

TEST(Triangle, HasTheSingularValuesOfTheLongMatrix) {
    const Dense a = dense(500, 6, [](int i, int j) { return std::pow(i / 500.0, j); });
    rcps::cTriangle triangle = triangleOf(a, 128);
    const Dense left = dense(500, 5, [&](int i, int j) { return a.at(i, j); });
    const Dense square = dense(5, 5, [&](int i, int j) { return triangle.Row(i)[j]; });
    const std::vector<long double> expected = singularValues(left);
    const std::vector<long double> values = singularValues(square);
    for (std::size_t j = 0; j < 5; ++j)
        EXPECT_NEAR(static_cast<double>(values[j]), static_cast<double>(expected[j]),
                    100 * epsilon * static_cast<double>(expected[0]));
}

TEST(Triangle, ZeroColumnsAndRowsStayZero) {
    rcps::cTriangle triangle = triangleOf(
        dense(200, 4, [](int i, int j) { return j == 1 || i % 2 ? 0.0 : i + 1.0; }), 128);
    EXPECT_EQ(triangle.Row(1)[1], 0);
    EXPECT_EQ(triangle.Row(0)[1], 0);
    double squares = 0;
    for (int i = 0; i < 200; i += 2)
        squares += (i + 1.0) * (i + 1.0);
    EXPECT_DOUBLE_EQ(std::fabs(triangle.Row(0)[0]), std::sqrt(squares));
}

TEST(Triangle, NaNIsKept) {
    Dense a = randomMatrix(150, 3);
    a.at(140, 0) = std::numeric_limits<double>::quiet_NaN();
    rcps::cTriangle triangle = triangleOf(a, 128);
    EXPECT_TRUE(std::isnan(triangle.Row(0)[0]));
    EXPECT_TRUE(std::isnan(triangle.Row(0)[2]));
}

/// The products of two columns in eight lanes, which are then added in halves.
double plainDot(const std::vector<double>& a, const std::vector<double>& b) {
    double lane[8] = {};
    for (std::size_t k = 0; k < a.size(); ++k)
        lane[k % 8] += a[k] * b[k];
    return ((lane[0] + lane[4]) + (lane[2] + lane[6])) +
           ((lane[1] + lane[5]) + (lane[3] + lane[7]));
}

// At every instruction-set level: other bits would move the last digits of every fit.
TEST(Triangle, HasTheBitsOfPlainLoops) {
    for (const int n : {1, 2, 3, 4, 5, 6, 9, 12})
        for (const int m : {1, 7, 8, 9, 127, 128, 300}) {
            const Dense a = randomMatrix(m, n + 1);
            Dense plain{n, n + 1};
            double residual = 0;
            for (int first = 0; first < m; first += 128) {
                const int rows = std::min(128, m - first);
                std::vector<std::vector<double>> column(static_cast<std::size_t>(n + 1));
                for (int j = 0; j <= n; ++j)
                    for (int k = 0; k < rows; ++k)
                        column[static_cast<std::size_t>(j)].push_back(a.at(first + k, j));
                for (int i = 0; i < n; ++i) {
                    const std::vector<double>& by = column[static_cast<std::size_t>(i)];
                    const double squares = plainDot(by, by);
                    if (squares < std::numeric_limits<double>::min())
                        continue; // nothing is left to be taken into the triangle
                    const double old = plain.at(i, i);
                    plain.at(i, i) = -std::copysign(std::sqrt(old * old + squares), old);
                    const double head = old - plain.at(i, i);
                    for (int j = i + 1; j <= n; ++j) {
                        std::vector<double>& other = column[static_cast<std::size_t>(j)];
                        const double factor = (head * plain.at(i, j) + plainDot(by, other)) /
                                              (-plain.at(i, i) * head);
                        plain.at(i, j) -= factor * head;
                        for (std::size_t k = 0; k < other.size(); ++k)
                            other[k] -= factor * by[k];
                    }
                }
                residual += plainDot(column.back(), column.back());
            }
            rcps::cTriangle triangle = triangleOf(a, 128);
            for (int i = 0; i < n; ++i)
                for (int j = i; j <= n; ++j)
                    EXPECT_EQ(triangle.Row(i)[j], plain.at(i, j)) << m << " x " << n;
            EXPECT_EQ(triangle.ResidualSum(), residual) << m << " x " << n;
        }
}

} // namespace
