#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_work.h"

// A decomposition gives the bits of plain loops that make every sum from its first term to its
// last, at every instruction-set level: other bits would move the last digits of every fit.

namespace {

using Matrix = std::vector<std::vector<double>>;

/// The method in plain loops, counted from 0, element by element.
struct Plain {
    int m, n;
    Matrix a, v;
    std::vector<double> w, above, columnHead, rowHead;
    double norm = 0;

    explicit Plain(const Matrix& given)
        : m(static_cast<int>(given.size())), n(static_cast<int>(given[0].size())), a(given),
          v(given[0].size(), std::vector<double>(given[0].size())), w(given[0].size()), above(w),
          columnHead(w), rowHead(w) {
        const int exponent = safeExponent();
        scaleBy(-exponent);
        for (int i = 0; i < n; ++i) {
            if (i < m)
                reflectColumn(i);
            norm = std::max(norm, std::fabs(w[at(i)]) + std::fabs(above[at(i)]));
            if (i < m && i + 1 < n)
                reflectRow(i);
        }
        accumulateRight();
        accumulateLeft();
        for (int k = n - 1; k >= 0; --k)
            diagonalise(k);
        for (double& value : w)
            value = std::ldexp(value, exponent);
    }

    static std::size_t at(int i) { return static_cast<std::size_t>(i); }
    double& A(int i, int j) { return a[at(i)][at(j)]; }
    double& V(int i, int j) { return v[at(i)][at(j)]; }

    int safeExponent() {
        double largest = 0;
        for (const std::vector<double>& row : a)
            for (const double x : row)
                largest = std::max(largest, std::fabs(x));
        if (largest == 0)
            return 0;
        const int exponent = std::ilogb(largest);
        return exponent < -900 ? exponent
                               : std::max(0, exponent + std::ilogb(m) + std::ilogb(n) + 4 - 1024);
    }
    void scaleBy(int exponent) {
        for (std::vector<double>& row : a)
            for (double& x : row)
                x = std::ldexp(x, exponent);
    }
    static double unitOf(double x) {
        return std::ldexp(1.0, -std::clamp(std::ilogb(x), -1000, 1000));
    }

    void reflectColumn(int i) {
        double scale = 0, squares = 0;
        for (int k = i; k < m; ++k)
            scale += std::fabs(A(k, i));
        if (scale < std::numeric_limits<double>::min())
            return;
        for (int k = i; k < m; ++k) {
            A(k, i) /= scale;
            squares += A(k, i) * A(k, i);
        }
        const double head = A(i, i);
        const double reflected = -std::copysign(std::sqrt(squares), head);
        A(i, i) = head - reflected;
        for (int j = i + 1; j < n; ++j) {
            double sum = 0;
            for (int k = i; k < m; ++k)
                sum += A(k, i) * A(k, j);
            sum /= head * reflected - squares;
            for (int k = i; k < m; ++k)
                A(k, j) += sum * A(k, i);
        }
        for (int k = i; k < m; ++k)
            A(k, i) *= scale * unitOf(scale);
        columnHead[at(i)] = scale * unitOf(scale) * reflected;
        w[at(i)] = scale * reflected;
    }

    void reflectRow(int i) {
        double scale = 0, squares = 0;
        for (int k = i + 1; k < n; ++k)
            scale += std::fabs(A(i, k));
        if (scale < std::numeric_limits<double>::min())
            return;
        for (int k = i + 1; k < n; ++k) {
            A(i, k) /= scale;
            squares += A(i, k) * A(i, k);
        }
        const double head = A(i, i + 1);
        const double reflected = -std::copysign(std::sqrt(squares), head);
        A(i, i + 1) = head - reflected;
        for (int j = i + 1; j < m; ++j) {
            double sum = 0;
            for (int k = i + 1; k < n; ++k)
                sum += A(j, k) * A(i, k);
            for (int k = i + 1; k < n; ++k)
                A(j, k) += sum * (A(i, k) / (head * reflected - squares));
        }
        for (int k = i + 1; k < n; ++k)
            A(i, k) *= scale * unitOf(scale);
        rowHead[at(i + 1)] = scale * unitOf(scale) * reflected;
        above[at(i + 1)] = scale * reflected;
    }

    void accumulateRight() {
        for (int i = n - 1; i >= 0; --i) {
            V(i, i) = 1;
            if (i + 1 == n || rowHead[at(i + 1)] == 0)
                continue;
            for (int j = i + 1; j < n; ++j)
                V(j, i) = A(i, j) / A(i, i + 1) / rowHead[at(i + 1)];
            for (int j = i + 1; j < n; ++j) {
                double sum = 0;
                for (int k = i + 1; k < n; ++k)
                    sum += A(i, k) * V(k, j);
                for (int k = i + 1; k < n; ++k)
                    V(k, j) += sum * V(k, i);
            }
            for (int j = i + 1; j < n; ++j)
                V(j, i) = 0;
        }
    }

    void accumulateLeft() {
        for (int i = std::min(m, n) - 1; i >= 0; --i) {
            const double head = columnHead[at(i)];
            for (int j = i + 1; j < n; ++j) {
                A(i, j) = 0;
                double sum = 0;
                for (int k = i + 1; k < m; ++k)
                    sum += A(k, i) * A(k, j);
                for (int k = i; k < m && head != 0; ++k)
                    A(k, j) += sum / A(i, i) / head * A(k, i);
            }
            for (int k = i; k < m; ++k)
                A(k, i) = head != 0 ? A(k, i) / head : 0;
            A(i, i) += 1;
        }
    }

    static void rotate(Matrix& matrix, int p, int q, double cosine, double sine) {
        for (std::vector<double>& row : matrix) {
            const double x = row[at(p)], z = row[at(q)];
            row[at(p)] = x * cosine + z * sine;
            row[at(q)] = z * cosine - x * sine;
        }
    }
    bool isNegligible(double x) const { return std::fabs(x) + norm == norm; }

    void diagonalise(int k) {
        for (int sweep = 1; sweep <= 30; ++sweep) {
            int l = k;
            for (; l > 0 && !isNegligible(above[at(l)]); --l)
                if (isNegligible(w[at(l - 1)])) {
                    cancel(l, k);
                    break;
                }
            if (l == k) {
                for (int j = 0; j < n && w[at(k)] < 0; ++j)
                    V(j, k) = -V(j, k);
                w[at(k)] = w[at(k)] < 0 ? -w[at(k)] : w[at(k)];
                return;
            }
            turn(l, k);
        }
    }

    void cancel(int l, int k) {
        double cosine = 0, sine = 1;
        for (int i = l; i <= k; ++i) {
            const double f = sine * above[at(i)];
            above[at(i)] *= cosine;
            if (isNegligible(f))
                return;
            const double g = w[at(i)];
            const double h = w[at(i)] = rcps::pythag(f, g);
            cosine = g / h;
            sine = -f / h;
            rotate(a, l - 1, i, cosine, sine);
        }
    }

    void turn(int l, int k) {
        const double unit = unitOf(norm);
        const double first = unit * w[at(l)];
        const double y = unit * w[at(k - 1)], z = unit * w[at(k)];
        const double g = unit * above[at(k - 1)], h = unit * above[at(k)];
        const double shift = ((y - z) * (y + z) + (g - h) * (g + h)) / (2 * h * y);
        double f = ((first - z) * (first + z) +
                    h * (y / (shift + std::copysign(rcps::pythag(shift, 1), shift)) - h)) /
                   first;
        double x = w[at(l)], cosine = 1, sine = 1;
        for (int j = l; j < k; ++j) {
            const double right = cosine * above[at(j + 1)];
            const double bulge = (j == l ? unit : 1) * (sine * above[at(j + 1)]);
            above[at(j)] = rcps::pythag(f, bulge);
            cosine = f / above[at(j)];
            sine = bulge / above[at(j)];
            const double next = x * cosine + right * sine;
            const double side = right * cosine - x * sine;
            const double below = w[at(j + 1)] * sine;
            const double diagonal = w[at(j + 1)] * cosine;
            rotate(v, j, j + 1, cosine, sine);
            w[at(j)] = rcps::pythag(next, below);
            if (w[at(j)] != 0) {
                cosine = next / w[at(j)];
                sine = below / w[at(j)];
            }
            f = cosine * side + sine * diagonal;
            x = cosine * diagonal - sine * side;
            rotate(a, j, j + 1, cosine, sine);
        }
        above[at(l)] = 0;
        above[at(k)] = f;
        w[at(k)] = x;
    }
};

void put(rcps::cMatrix& to, const Matrix& from) {
    for (std::size_t i = 0; i < from.size(); ++i)
        std::copy(from[i].begin(), from[i].end(), to[static_cast<int>(i) + 1] + 1);
}

bool hasBits(rcps::cMatrix& matrix, const Matrix& expected) {
    bool has = true;
    for (std::size_t i = 0; i < expected.size(); ++i)
        has = has && std::memcmp(matrix[static_cast<int>(i) + 1] + 1, expected[i].data(),
                                 expected[i].size() * sizeof(double)) == 0;
    return has;
}

/// Decomposes, and compares with the plain loops.
void compare(const Matrix& given, const std::string& name) {
    const Plain expected(given);
    rcps::cMatrix u(expected.m, expected.n);
    rcps::cMatrix v(expected.n, expected.n);
    rcps::cVector<double> w(expected.n);
    put(u, given);
    rcps::svdcmp(u.Data(), expected.m, expected.n, w.Data(), v.Data());
    EXPECT_TRUE(hasBits(u, expected.a)) << name << ", U";
    EXPECT_TRUE(hasBits(v, expected.v)) << name << ", V";
    EXPECT_EQ(std::memcmp(w.Data() + 1, expected.w.data(), expected.w.size() * sizeof(double)), 0)
        << name << ", w";
}

template<class Element>
void compareSizes(const std::string& name, const Element& element) {
    const int sizes[] = {1, 2, 3, 7, 8, 9, 16, 17, 25, 34};
    for (const int m : sizes)
        for (const int n : sizes) {
            Matrix a(static_cast<std::size_t>(m), std::vector<double>(static_cast<std::size_t>(n)));
            for (int i = 0; i < m; ++i)
                for (int j = 0; j < n; ++j)
                    a[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)] = element(i, j);
            compare(a, name + ' ' + std::to_string(m) + " x " + std::to_string(n));
        }
}

TEST(SingularValueBits, OfNoise) {
    std::mt19937 random(5);
    const auto noise = [&] { return std::uniform_real_distribution<double>(-1, 1)(random); };
    compareSizes("noise", [&](int, int) { return noise(); });
    compareSizes("sparse noise", [&](int, int) { return random() % 3 == 0 ? noise() : 0.0; });
    compareSizes("columns of zeros", [&](int, int j) { return j % 3 == 1 ? 0.0 : noise(); });
    compareSizes("rows of negative zeros", [&](int i, int) { return i % 3 == 0 ? -0.0 : noise(); });
    compareSizes("graded", [&](int i, int j) { return noise() * std::pow(10.0, 5 * (i - j)); });
}

TEST(SingularValueBits, OfMatricesThatLackRank) {
    compareSizes("ones", [](int, int) { return 1.0; });
    compareSizes("products by seven", [](int i, int j) { return double(i * j % 7); });
    compareSizes("above the diagonal", [](int i, int j) { return j == i + 1 ? 1.0 : 0.0; });
    compareSizes("the identity", [](int i, int j) { return i == j ? 1.0 : 0.0; });
    compareSizes("zeros", [](int, int) { return 0.0; });
}

TEST(SingularValueBits, OfTheSmallestAndTheLargest) {
    std::mt19937 random(6);
    const auto noise = [&] { return std::uniform_real_distribution<double>(-1, 1)(random); };
    compareSizes("1e-300", [&](int, int) { return 1e-300 * noise(); });
    compareSizes("1e-318", [&](int, int) { return 1e-318 * noise(); });
    compareSizes("1e307", [&](int, int) { return 1e307 * noise(); });
    compareSizes("far apart", [&](int i, int j) { return i + j == 0 ? 1.0 : 1e-300 * noise(); });
}

TEST(SingularValueBits, OfLongMatrices) {
    std::mt19937 random(7);
    for (const int n : {5, 20, 33}) {
        Matrix a(517, std::vector<double>(static_cast<std::size_t>(n)));
        for (std::vector<double>& row : a)
            for (double& x : row)
                x = std::uniform_real_distribution<double>(-1, 1)(random);
        compare(a, "long, " + std::to_string(n));
    }
}

} // namespace
