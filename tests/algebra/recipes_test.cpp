#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_work.h"
#include "tests/failing_new.h"
#include "tests/fitting/dense.h"
#include "tests/support/bounds.h"
#include "tests/support/constants.h"

namespace {

constexpr double least = std::numeric_limits<double>::denorm_min();

struct Decomposition {
    Dense u;
    std::vector<double> w;
    Dense v;
};

/// Decomposes `a` in blocks that end where the matrix does, so that a sanitizer sees every index
/// outside of it.
Decomposition decompose(const Dense& a) {
    std::vector<double> u = a.elements;
    std::vector<double> v(static_cast<std::size_t>(a.n * a.n), notANumber);
    std::vector<double> w(static_cast<std::size_t>(a.n), notANumber);
    double** const uRows = rcps::convert_matrix(u.data(), 1, a.m, 1, a.n);
    double** const vRows = rcps::convert_matrix(v.data(), 1, a.n, 1, a.n);
    rcps::svdcmp(uRows, a.m, a.n, w.data() - 1, vRows);
    rcps::free_convert_matrix(uRows, 1, a.m, 1, a.n);
    rcps::free_convert_matrix(vRows, 1, a.n, 1, a.n);
    return {{a.m, a.n, u}, w, {a.n, a.n, v}};
}

double largest(const Dense& a) {
    double result = 0;
    for (const double element : a.elements)
        result = std::max(result, std::fabs(element));
    return result;
}

/// How far the columns are from being orthonormal.
double defect(const Dense& q) {
    double worst = 0;
    for (int j = 0; j < q.n; ++j)
        for (int k = 0; k < q.n; ++k) {
            long double sum = j == k ? -1 : 0;
            for (int i = 0; i < q.m; ++i)
                sum += static_cast<long double>(q.at(i, j)) * q.at(i, k);
            worst = std::max(worst, static_cast<double>(std::fabs(sum)));
        }
    return worst;
}

struct NamedMatrix {
    std::string name;
    Dense a;
};

std::vector<NamedMatrix> matrices() {
    std::mt19937 random(1);
    const auto noise = [&](int, int) {
        return std::uniform_real_distribution<double>(-1, 1)(random);
    };
    const auto hilbert = [](int i, int j) { return 1.0 / (i + j + 1); };
    const auto power = [](int i, int j) { return std::pow((i + 1) / 20.0, j); };
    const auto zeroColumn = [&](int zero) {
        Dense a = dense(7, 4, noise);
        for (int i = 0; i < a.m; ++i)
            a.at(i, zero) = 0;
        return a;
    };
    return {
        {"one", dense(1, 1, [](int, int) { return -3.0; })},
        {"one zero", dense(1, 1, [](int, int) { return 0.0; })},
        {"one column", dense(9, 1, noise)},
        {"identity", dense(5, 5, [](int i, int j) { return i == j ? 1.0 : 0.0; })},
        {"negative identity", dense(4, 4, [](int i, int j) { return i == j ? -1.0 : 0.0; })},
        {"zero", dense(5, 3, [](int, int) { return 0.0; })},
        {"Hilbert 3", dense(3, 3, hilbert)},
        {"Hilbert 8", dense(8, 8, hilbert)},
        {"Hilbert 12", dense(12, 12, hilbert)},
        {"Vandermonde", dense(20, 6, power)},
        {"Vandermonde of order 10", dense(82, 11, power)},
        {"all ones", dense(6, 4, [](int, int) { return 1.0; })},
        {"rank 1", dense(6, 5, [](int i, int j) { return (i + 1.0) * (j - 2.0); })},
        {"rank 2", dense(8, 6, [](int i, int j) { return (i + 1.0) * j + (i * i) * (3.0 - j); })},
        {"first column zero", zeroColumn(0)},
        {"middle column zero", zeroColumn(2)},
        {"last column zero", zeroColumn(3)},
        {"first row zero", dense(5, 5, [&](int i, int j) { return i == 0 ? 0 : noise(i, j); })},
        {"nilpotent", dense(6, 6, [](int i, int j) { return j == i + 1 ? 1.0 : 0.0; })},
        {"two diagonals, weakly coupled to a zero",
         dense(3, 3,
               [](int i, int j) { return j == i + 1        ? 1e-10
                                         : i == j && i > 0 ? 1.0
                                                           : 0.0; })},
        {"equal columns", dense(9, 3, [](int i, int j) { return j < 2 ? i + 1.0 : i * i; })},
        {"rows graded by 1e150",
         dense(6, 3, [&](int i, int j) { return noise(i, j) * std::pow(10.0, 60 * i - 150); })},
        {"columns graded by 1e150",
         dense(9, 5, [&](int i, int j) { return noise(i, j) * std::pow(10.0, 75 * j - 150); })},
        {"columns graded downwards",
         dense(9, 5, [&](int i, int j) { return noise(i, j) * std::pow(10.0, 150 - 75 * j); })},
        {"about 1e150", dense(6, 4, [&](int i, int j) { return 1e150 * noise(i, j); })},
        {"about 1e-150", dense(6, 4, [&](int i, int j) { return 1e-150 * noise(i, j); })},
        {"about 1e300", dense(6, 4, [&](int i, int j) { return 1e300 * noise(i, j); })},
        {"about 1e-290", dense(6, 4, [&](int i, int j) { return 1e-290 * noise(i, j); })},
        {"all ones, large", dense(60, 60, [](int, int) { return 1.0; })},
        {"a tenth everywhere", dense(38, 19, [](int, int) { return 0.1; })},
        {"checkerboard", dense(30, 30, [](int i, int j) { return (i + j) % 2 ? 0.0 : 1.0; })},
        {"products by seven", dense(120, 120, [](int i, int j) { return double(i * j % 7); })},
        {"ones of 1e-281", dense(30, 12, [](int, int) { return 1e-281; })},
        {"ones of 1e-300", dense(12, 12, [](int, int) { return 1e-300; })},
        {"ones of 1e296", dense(30, 12, [](int, int) { return 1e296; })},
        {"ones of 3e306", dense(8, 6, [](int, int) { return 3e306; })},
        {"noise whose sums overflow",
         dense(60, 25, [&](int i, int j) { return 1e307 * noise(i, j); })},
        {"the largest", dense(1, 1, [](int, int) { return 1.7976931348623157e308; })},
        {"products by five, below normal",
         dense(9, 6, [](int i, int j) { return 1e-320 * (i * j % 5); })},
        {"noise of 1e-305", dense(9, 6, [&](int i, int j) { return 1e-305 * noise(i, j); })},
        {"one element beside ones of 1e-300",
         dense(9, 6, [](int i, int j) { return i + j == 0 ? 1.0 : 1e-300; })},
        {"square", dense(7, 7, noise)},
        {"long", dense(2000, 3, noise)},
        {"larger", dense(60, 25, noise)},
        {"fewer rows than columns", dense(3, 5, noise)},
        {"one row", dense(1, 4, noise)},
    };
}

/// Of the largest, over the sum of both sizes.
double singularValueBound() { return statedBound("singular values"); }

TEST(SingularValues, DecompositionReproducesTheMatrix) {
    for (const auto& [name, a] : matrices()) {
        const Decomposition d = decompose(a);
        const double tolerance =
            singularValueBound() * (a.m + a.n) * (epsilon * largest(a) + least);
        double worst = 0;
        for (int i = 0; i < a.m; ++i)
            for (int j = 0; j < a.n; ++j) {
                long double sum = -static_cast<long double>(a.at(i, j));
                for (int k = 0; k < a.n; ++k)
                    sum += static_cast<long double>(d.u.at(i, k)) *
                           d.w[static_cast<std::size_t>(k)] * d.v.at(j, k);
                worst = std::max(worst, static_cast<double>(std::fabs(sum)));
            }
        EXPECT_LE(worst, tolerance) << name;
    }
}

TEST(SingularValues, BothSidesAreOrthonormal) {
    for (const auto& [name, a] : matrices()) {
        const Decomposition d = decompose(a);
        const double tolerance = singularValueBound() * (a.m + a.n) * epsilon;
        EXPECT_LE(defect(d.v), tolerance) << name;
        if (a.m >= a.n) {
            EXPECT_LE(defect(d.u), tolerance) << name;
        }
    }
}

TEST(SingularValues, AreThoseOfRotatingColumnsOrthogonal) {
    for (const auto& [name, a] : matrices()) {
        Decomposition d = decompose(a);
        const std::vector<long double> expected = singularValues(a);
        for (const double value : d.w)
            EXPECT_GE(value, 0) << name;
        std::sort(d.w.rbegin(), d.w.rend());
        const double tolerance = singularValueBound() * (a.m + a.n) *
                                 (epsilon * static_cast<double>(expected[0]) + least);
        for (std::size_t j = 0; j < d.w.size(); ++j)
            EXPECT_NEAR(d.w[j], static_cast<double>(expected[j]), tolerance) << name << ' ' << j;
    }
}

TEST(SingularValues, AreTheKnownOnes) {
    struct Known {
        std::string name;
        Dense a;
        std::function<double(int)> value; // of number k, from 1, in rising order
    };
    constexpr int n = 9;
    const double pi = std::acos(-1.0);
    const std::vector<Known> cases = {
        {"second differences",
         dense(n, n,
               [](int i, int j) { return i == j                     ? 2.0
                                         : i - j == 1 || j - i == 1 ? -1.0
                                                                    : 0.0; }),
         [=](int k) { return 2 - 2 * std::cos(k * pi / (n + 1)); }},
        {"first differences",
         dense(n + 1, n, [](int i, int j) { return i == j       ? 1.0
                                                   : i == j + 1 ? -1.0
                                                                : 0.0; }),
         [=](int k) { return 2 * std::sin(k * pi / (2 * (n + 1))); }},
        {"running sums", dense(n, n, [](int i, int j) { return j <= i ? 1.0 : 0.0; }),
         [=](int k) { return 0.5 / std::cos(k * pi / (2 * n + 1)); }},
        {"a diagonal",
         dense(n, n, [](int i, int j) { return i == j ? (i % 2 ? -1.0 : 1) * (i + 1) : 0; }),
         [](int k) { return k; }},
    };
    for (const auto& [name, a, value] : cases) {
        Decomposition d = decompose(a);
        std::sort(d.w.begin(), d.w.end());
        for (int k = 1; k <= n; ++k)
            EXPECT_NEAR(d.w[static_cast<std::size_t>(k - 1)], value(k), 40 * epsilon * value(n))
                << name << ' ' << k;
    }
}

TEST(SingularValues, HilbertMatrixHasItsKnownConditionNumber) {
    const Decomposition d = decompose(dense(5, 5, [](int i, int j) { return 1.0 / (i + j + 1); }));
    const auto [low, high] = std::minmax_element(d.w.begin(), d.w.end());
    EXPECT_NEAR(*high / *low, 476607.2502425855, 476607.0 * 476607.0 * 4 * epsilon);
}

TEST(SingularValues, AreNotSorted) {
    const Decomposition d =
        decompose(dense(3, 3, [](int i, int j) { return i == j ? i + 1.0 : 0.0; }));
    EXPECT_THAT(d.w, testing::ElementsAre(1, 2, 3));
}

TEST(SingularValues, ExactlyZeroColumnGivesExactlyZeroValue) {
    for (int zero = 0; zero < 3; ++zero) {
        const Decomposition d = decompose(
            dense(5, 3, [=](int i, int j) { return j == zero ? 0.0 : 1.0 / (1 + i + 2 * j); }));
        EXPECT_EQ(std::count(d.w.begin(), d.w.end(), 0.0), 1) << zero;
    }
}

// A NaN is never negligible, so that no value converges: only the limit of the sweeps ends this.
TEST(SingularValues, NothingConvergesForNaNAndTheSweepsEndAllTheSame) {
    for (const double bad : {notANumber, infinity, -infinity})
        for (int i = 0; i < 6; ++i)
            for (int j = 0; j < 4; ++j) {
                Dense a = dense(6, 4, [](int p, int q) { return 1.0 / (1 + p + q); });
                a.at(i, j) = bad;
                const Decomposition d = decompose(a);
                EXPECT_TRUE(
                    std::any_of(d.w.begin(), d.w.end(), [](double w) { return std::isnan(w); }))
                    << bad << " at " << i << ' ' << j;
            }
}

TEST(SingularValues, MissingMemoryLeavesTheMatrixAsItWas) {
    rcps::cMatrix a(3, 2);
    rcps::cMatrix v(2, 2);
    rcps::cVector<double> w(2);
    for (int i = 1; i <= 3; ++i)
        a[i][1] = a[i][2] = i;
    {
        const FailingNew failing(0);
        EXPECT_THROW(rcps::svdcmp(a.Data(), 3, 2, w.Data(), v.Data()), std::bad_alloc);
    }
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ(a[i][1], i);
}

// u and v are the identity, so that x = b / w where w is not zero.
TEST(BackSubstitution, LeavesOutExactlyZeroValuesOnly) {
    rcps::cMatrix u(3, 3);
    rcps::cMatrix v(3, 3);
    rcps::cVector<double> w(3);
    rcps::cVector<double> b(3);
    rcps::cVector<double> x(3);
    for (int i = 1; i <= 3; ++i) {
        u[i][i] = v[i][i] = 1;
        b[i] = 6 * i;
    }
    w[1] = 2;
    w[2] = 0;
    w[3] = 1e-300;
    x[2] = 5;
    rcps::svbksb(u.Data(), w.Data(), v.Data(), 3, 3, b.Data(), x.Data());
    EXPECT_EQ(x[1], 3);
    EXPECT_EQ(x[2], 0);
    EXPECT_EQ(x[3], 18 / 1e-300);
}

TEST(BackSubstitution, SolvesWithTheTransposeOfUAndWithV) {
    // u turns by a third, v by a fifth of a quarter turn.
    rcps::cMatrix u(3, 2);
    rcps::cMatrix v(2, 2);
    rcps::cVector<double> w(2);
    const double s = 0.6;
    const double c = 0.8;
    u[1][1] = u[3][2] = c;
    u[1][2] = -s;
    u[3][1] = s;
    v[1][1] = v[2][2] = s;
    v[1][2] = c;
    v[2][1] = -c;
    w[1] = 2;
    w[2] = 4;
    rcps::cVector<double> b(3);
    b[1] = 1;
    b[2] = 100;
    b[3] = 2;
    rcps::cVector<double> x(2);
    rcps::svbksb(u.Data(), w.Data(), v.Data(), 3, 2, b.Data(), x.Data());
    const double p = (c * 1 + s * 2) / 2;
    const double q = (-s * 1 + c * 2) / 4;
    EXPECT_NEAR(x[1], s * p + c * q, 4 * epsilon);
    EXPECT_NEAR(x[2], -c * p + s * q, 4 * epsilon);
}

/// A weighted fit, in storage of its own.
struct Fit {
    int points;
    int unknowns;
    rcps::cMatrix basis{points, unknowns}, u{points, unknowns}, v{unknowns, unknowns};
    rcps::cVector<double> x{points}, y{points}, sig{points}, w{unknowns}, a{unknowns};
    double chisq = -1;

    void run() {
        rcps::svdfit(x.Data(), y.Data(), sig.Data(), points, a.Data(), unknowns, u.Data(), v.Data(),
                     w.Data(), &chisq, basis.Data());
    }
};

/// A straight line through 6 scattered points of different weight.
Fit weightedLine() {
    Fit fit{6, 2};
    const double y[] = {1.1, 2.9, 5.2, 6.8, 9.3, 10.9};
    for (int i = 1; i <= 6; ++i) {
        fit.basis[i][1] = 1;
        fit.basis[i][2] = i;
        fit.y[i] = y[i - 1];
        fit.sig[i] = 0.1 * i;
    }
    return fit;
}

/// The sums that a weighted line follows from in closed form.
struct LineSums {
    long double s = 0, x = 0, y = 0, xx = 0, xy = 0;

    explicit LineSums(Fit& fit) {
        for (int i = 1; i <= fit.points; ++i) {
            const long double weight = 1 / (static_cast<long double>(fit.sig[i]) * fit.sig[i]);
            s += weight;
            x += weight * i;
            y += weight * fit.y[i];
            xx += weight * i * i;
            xy += weight * i * fit.y[i];
        }
    }
    long double determinant() const { return s * xx - x * x; }
};

TEST(LinearFit, WeightedLineIsTheClosedForm) {
    Fit fit = weightedLine();
    const LineSums sums(fit);
    fit.run();
    const auto c0 = static_cast<double>((sums.y * sums.xx - sums.x * sums.xy) / sums.determinant());
    const auto c1 = static_cast<double>((sums.s * sums.xy - sums.x * sums.y) / sums.determinant());
    EXPECT_NEAR(fit.a[1], c0, 100 * epsilon);
    EXPECT_NEAR(fit.a[2], c1, 100 * epsilon);
    double chisq = 0;
    for (int i = 1; i <= 6; ++i)
        chisq += std::pow((fit.y[i] - c0 - c1 * i) / fit.sig[i], 2);
    EXPECT_NEAR(fit.chisq, chisq, 1000 * epsilon * chisq);
}

TEST(LinearFit, CovarianceOfAWeightedLineIsTheClosedForm) {
    Fit fit = weightedLine();
    const LineSums sums(fit);
    fit.run();
    rcps::cMatrix covariance(2, 2);
    rcps::svdvar(fit.v.Data(), 2, fit.w.Data(), covariance.Data());
    const auto near = [&](double value, long double expected) {
        EXPECT_NEAR(value, static_cast<double>(expected),
                    1e-13 * static_cast<double>(std::fabs(expected)));
    };
    near(covariance[1][1], sums.xx / sums.determinant());
    near(covariance[2][2], sums.s / sums.determinant());
    near(covariance[1][2], -sums.x / sums.determinant());
    EXPECT_EQ(covariance[1][2], covariance[2][1]);
}

TEST(LinearFit, CovarianceLeavesOutValuesOfZero) {
    rcps::cMatrix v(2, 2);
    v[1][1] = v[2][2] = 1;
    rcps::cVector<double> w(2);
    w[1] = 0.5;
    rcps::cMatrix covariance(2, 2);
    rcps::svdvar(v.Data(), 2, w.Data(), covariance.Data());
    EXPECT_EQ(covariance[1][1], 4);
    EXPECT_EQ(covariance[2][2], 0);
    EXPECT_EQ(covariance[1][2], 0);
}

TEST(LinearFit, ReturnsTheDecompositionOfTheWeightedBasis) {
    Fit fit = weightedLine();
    fit.run();
    for (int i = 1; i <= fit.points; ++i)
        for (int j = 1; j <= 2; ++j) {
            const double element =
                fit.u[i][1] * fit.w[1] * fit.v[j][1] + fit.u[i][2] * fit.w[2] * fit.v[j][2];
            EXPECT_NEAR(element, fit.basis[i][j] / fit.sig[i], 100 * epsilon);
        }
}

// A diagonal basis has its elements as singular values.
TEST(LinearFit, ValuesBelowOneHundredThousandthOfTheLargestAreZero) {
    struct sCase {
        double ratio;
        bool isKept;
    };
    for (const auto& [ratio, isKept] : std::vector<sCase>{
             {1.0000001e-5, true}, {1e-5, true}, {0.9999999e-5, false}, {1e-12, false}, {0, false}})
        for (const double largestValue : {1.0, 1e-100, 1e100}) {
            Fit fit{3, 2};
            fit.basis[1][1] = largestValue;
            fit.basis[3][2] = largestValue * ratio;
            for (int i = 1; i <= 3; ++i) {
                fit.y[i] = largestValue;
                fit.sig[i] = 1;
            }
            fit.run();
            EXPECT_EQ(fit.w[1], largestValue);
            EXPECT_EQ(fit.w[2], isKept ? largestValue * ratio : 0) << ratio;
            EXPECT_DOUBLE_EQ(fit.a[2], isKept ? 1 / ratio : 0) << ratio;
            EXPECT_DOUBLE_EQ(fit.a[1], 1);
        }
}

TEST(LinearFit, MissingMemoryRaises) {
    Fit fit = weightedLine();
    for (const long allowed : {0, 1, 2}) {
        const FailingNew failing(allowed);
        EXPECT_THROW(fit.run(), std::bad_alloc) << allowed;
    }
    fit.run();
    EXPECT_NEAR(fit.a[2], 2, 0.1);
}

TEST(Hypotenuse, TakesNoSquareThatOverflowsOrUnderflows) {
    struct sCase {
        double a, b, expected;
    };
    for (const auto& [a, b, expected] : std::vector<sCase>{{3, 4, 5},
                                                           {4, 3, 5},
                                                           {-3, 4, 5},
                                                           {3, -4, 5},
                                                           {0, 0, 0},
                                                           {-0.0, 0, 0},
                                                           {0, -7, 7},
                                                           {-7, 0, 7},
                                                           {3e300, 4e300, 5e300},
                                                           {3e-300, 4e-300, 5e-300},
                                                           {1e300, 1e-300, 1e300},
                                                           {1e-300, 1e300, 1e300},
                                                           {infinity, 1, infinity},
                                                           {1, -infinity, infinity},
                                                           {1, 1, std::sqrt(2.0)}})
        EXPECT_DOUBLE_EQ(rcps::pythag(a, b), expected) << a << ' ' << b;
    for (const double other : {0.0, 1.0, -1e300, notANumber, infinity}) {
        EXPECT_TRUE(std::isnan(rcps::pythag(notANumber, other))) << other;
        EXPECT_TRUE(std::isnan(rcps::pythag(other, notANumber))) << other;
    }
}

} // namespace
