#include "dataprocessing/base/linalg.h"
#include "tests/support/refusal.h"

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

using Matrix = dataprocessing::detail::linalg_c2x2Matrix<double>;

namespace {

constexpr double smallest = std::numeric_limits<double>::min();

std::string refusalOf(const Matrix& matrix) {
    return userRefusalOf([&] { matrix.Inverse(); });
}

const std::string singular = std::string("linalg:157: ") + expt_InvertSingularMatrix;

} // namespace

TEST(Matrix2x2, IsTheIdentityByDefault) {
    EXPECT_EQ(Matrix(), (Matrix{1, 0, 0, 1}));
    EXPECT_EQ(Matrix(), (Matrix{1, -0.0, -0.0, 1}));
}

TEST(Matrix2x2, DiffersInAnyEntry) {
    EXPECT_FALSE(Matrix() == (Matrix{2, 0, 0, 1}));
    EXPECT_FALSE(Matrix() == (Matrix{1, 2, 0, 1}));
    EXPECT_FALSE(Matrix() == (Matrix{1, 0, 2, 1}));
    EXPECT_FALSE(Matrix() == (Matrix{1, 0, 0, 2}));
}

TEST(Matrix2x2, MultipliesRowsByColumns) {
    EXPECT_EQ((Matrix{1, 2, 3, 4} * Matrix{5, 6, 7, 8}), (Matrix{19, 22, 43, 50}));
    EXPECT_EQ((Matrix{5, 6, 7, 8} * Matrix{1, 2, 3, 4}), (Matrix{23, 34, 31, 46}));
}

TEST(Matrix2x2, ActsOnColumnVectors) {
    const Matrix matrix{1, 2, 3, 4};
    EXPECT_EQ(matrix.First(10, 100), 210);
    EXPECT_EQ(matrix.Second(10, 100), 430);
}

TEST(Matrix2x2, InvertsByTheDeterminant) {
    EXPECT_EQ((Matrix{3, 1, 4, 2}).Inverse(), (Matrix{1, -0.5, -2, 1.5}));
    EXPECT_EQ((Matrix{0, -1, 1, 0}).Inverse(), (Matrix{0, 1, -1, 0}));
}

TEST(Matrix2x2, RefusesADeterminantBelowTheSmallestNormalValue) {
    const double below = std::nextafter(smallest, 0);
    EXPECT_EQ(refusalOf({1, 2, 2, 4}), singular);
    EXPECT_EQ(refusalOf({0, 0, 0, 0}), singular);
    EXPECT_EQ(refusalOf({below, 0, 0, 1}), singular);
    EXPECT_EQ(refusalOf({-below, 0, 0, 1}), singular);
    EXPECT_EQ(refusalOf({1e-200, 0, 0, 1e-200}), singular);
    EXPECT_EQ(refusalOf({smallest, 0, 0, 1}), "none");
    EXPECT_EQ(refusalOf({-smallest, 0, 0, 1}), "none");
}

TEST(Matrix2x2, ADeterminantThatIsNoNumberIsNotRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(refusalOf({nan, 0, 0, 1}), "none");
    EXPECT_EQ(refusalOf({std::numeric_limits<double>::infinity(), 0, 0, 1}), "none");
}
