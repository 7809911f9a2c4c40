#include <climits>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "dataprocessing/algebra/rcps_storage.h"
#include "tests/failing_new.h"

namespace {

struct sBounds {
    long lo;
    long hi;
};

// One element, several, none, and lower bounds on both sides of zero and far away from it.
const std::vector<sBounds> someBounds = {
    {1, 1}, {1, 9}, {0, 4},     {-3, 4},  {-9, -2},     {5, 4},          {-1, -2},
    {1, 0}, {7, 7}, {100, 163}, {-80, 3}, {2000, 2100}, {-70000, -69990}};

/// Storage writes and reads back every element at its own indices, with one allocation.
template<class T, class Make, class Free>
void checkVector(const Make& make, const Free& free) {
    for (const auto [lo, hi] : someBounds) {
        SCOPED_TRACE(testing::Message() << lo << " to " << hi);
        const long before = allocationCount();
        T* const v = make(lo, hi);
        EXPECT_EQ(allocationCount() - before, 1);
        ASSERT_NE(v, nullptr);
        for (long i = lo; i <= hi; ++i)
            v[i] = static_cast<T>((i - lo) * 3 + 1);
        for (long i = lo; i <= hi; ++i)
            EXPECT_EQ(v[i], static_cast<T>((i - lo) * 3 + 1));
        free(v, lo, hi);
    }
    {
        const FailingNew none(0);
        EXPECT_EQ(make(1, 5), nullptr);
    }
    // Counts whose bytes no size can hold are refused before any allocation.
    const long before = allocationCount();
    EXPECT_EQ(make(LONG_MIN, LONG_MAX), nullptr);
    EXPECT_EQ(make(LONG_MIN, LONG_MAX - 1), nullptr);
    EXPECT_EQ(make(-1, LONG_MAX), nullptr);
    EXPECT_EQ(allocationCount(), before);
    free(nullptr, 1, 5);
}

TEST(Storage, VectorIsAddressedFromItsLowerBound) {
    checkVector<double>(rcps::vector, rcps::free_vector);
}
TEST(Storage, IntegerVectorIsAddressedFromItsLowerBound) {
    checkVector<int>(rcps::ivector, rcps::free_ivector);
}
TEST(Storage, ByteVectorIsAddressedFromItsLowerBound) {
    checkVector<unsigned char>(rcps::cvector, rcps::free_cvector);
}
TEST(Storage, LongVectorIsAddressedFromItsLowerBound) {
    checkVector<long>(rcps::lvector, rcps::free_lvector);
}
TEST(Storage, DoubleVectorIsAddressedFromItsLowerBound) {
    checkVector<double>(rcps::dvector, rcps::free_dvector);
}

const std::vector<std::pair<sBounds, sBounds>> someRectangles = {
    {{1, 3}, {1, 4}}, {{1, 1}, {1, 1}},  {{0, 2}, {-3, 3}},         {{-5, -2}, {10, 12}},
    {{1, 0}, {1, 4}}, {{1, 4}, {1, 0}},  {{3, 2}, {3, 2}},          {{-2, 5}, {0, 0}},
    {{7, 9}, {7, 9}}, {{1, 50}, {1, 7}}, {{900, 905}, {-900, -890}}};

/// A matrix writes and reads back every element, its rows follow each other without gaps, and it
/// takes one allocation for the row pointers and one for the elements.
template<class T, class Make, class Free>
void checkMatrix(const Make& make, const Free& free) {
    for (const auto& [r, c] : someRectangles) {
        SCOPED_TRACE(testing::Message()
                     << r.lo << " to " << r.hi << ", " << c.lo << " to " << c.hi);
        const long before = allocationCount();
        T** const m = make(r.lo, r.hi, c.lo, c.hi);
        EXPECT_EQ(allocationCount() - before, 2);
        ASSERT_NE(m, nullptr);
        T value = 0;
        for (long i = r.lo; i <= r.hi; ++i)
            for (long j = c.lo; j <= c.hi; ++j)
                m[i][j] = ++value;
        value = 0;
        for (long i = r.lo; i <= r.hi; ++i)
            for (long j = c.lo; j <= c.hi; ++j) {
                EXPECT_EQ(m[i][j], ++value);
                EXPECT_EQ(&m[i][j] - &m[r.lo][c.lo], static_cast<std::ptrdiff_t>(value) - 1);
            }
        free(m, r.lo, r.hi, c.lo, c.hi);
    }
    for (const long allowed : {0, 1}) {
        const FailingNew failing(allowed);
        EXPECT_EQ(make(1, 3, 1, 4), nullptr) << allowed;
    }
    // Rows fit, rows times columns do not.
    EXPECT_EQ(make(1, 1000, 1, LONG_MAX), nullptr);
    EXPECT_EQ(make(1, LONG_MAX, 1, 1), nullptr);
    // 4 times 2^62 would wrap to no elements at all.
    EXPECT_EQ(make(1, 4, 1, 1L << 62), nullptr);
    EXPECT_EQ(make(1, 4, LONG_MIN, LONG_MAX), nullptr);
    free(nullptr, 1, 3, 1, 4);
}

TEST(Storage, MatrixIsRowPointersOverOneBlock) {
    checkMatrix<double>(rcps::matrix, rcps::free_matrix);
}
TEST(Storage, DoubleMatrixIsRowPointersOverOneBlock) {
    checkMatrix<double>(rcps::dmatrix, rcps::free_dmatrix);
}
TEST(Storage, IntegerMatrixIsRowPointersOverOneBlock) {
    checkMatrix<int>(rcps::imatrix, rcps::free_imatrix);
}

TEST(Storage, SubmatrixShowsTheElementsOfItsMatrixUnderOtherIndices) {
    double** const a = rcps::matrix(-1, 4, 2, 8);
    for (long i = -1; i <= 4; ++i)
        for (long j = 2; j <= 8; ++j)
            a[i][j] = static_cast<double>(100 * i + j);
    struct sCase {
        long rlo, rhi, clo, chi, newrlo, newclo;
    };
    for (const auto& [rlo, rhi, clo, chi, newrlo, newclo] :
         std::vector<sCase>{{-1, 4, 2, 8, 1, 1},
                            {0, 2, 3, 5, 1, 1},
                            {1, 1, 8, 8, -7, -9},
                            {2, 4, 2, 4, 100, -100},
                            {3, 2, 4, 4, 1, 1}}) {
        const long before = allocationCount();
        double** const s = rcps::submatrix(a, rlo, rhi, clo, chi, newrlo, newclo);
        EXPECT_EQ(allocationCount() - before, 1);
        for (long i = rlo; i <= rhi; ++i)
            for (long j = clo; j <= chi; ++j)
                EXPECT_EQ(&s[newrlo + i - rlo][newclo + j - clo], &a[i][j]);
        rcps::free_submatrix(s, newrlo, newrlo + rhi - rlo, newclo, newclo + chi - clo);
    }
    {
        const FailingNew none(0);
        EXPECT_EQ(rcps::submatrix(a, 0, 2, 3, 5, 1, 1), nullptr);
    }
    rcps::free_submatrix(nullptr, 1, 3, 1, 3);
    EXPECT_EQ(a[-1][2], -98) << "freeing the view left the elements";
    rcps::free_matrix(a, -1, 4, 2, 8);
}

TEST(Storage, ConvertedMatrixShowsAPlainBlockRowAfterRow) {
    std::vector<double> block(12);
    for (const auto& [r, c] : std::vector<std::pair<sBounds, sBounds>>{
             {{1, 3}, {1, 4}}, {{0, 3}, {0, 2}}, {{-2, -1}, {5, 10}}, {{1, 0}, {1, 4}}}) {
        const long before = allocationCount();
        double** const m = rcps::convert_matrix(block.data(), r.lo, r.hi, c.lo, c.hi);
        EXPECT_EQ(allocationCount() - before, 1);
        std::size_t number = 0;
        for (long i = r.lo; i <= r.hi; ++i)
            for (long j = c.lo; j <= c.hi; ++j)
                EXPECT_EQ(&m[i][j], &block[number++]);
        rcps::free_convert_matrix(m, r.lo, r.hi, c.lo, c.hi);
    }
    {
        const FailingNew none(0);
        EXPECT_EQ(rcps::convert_matrix(block.data(), 1, 3, 1, 4), nullptr);
    }
    rcps::free_convert_matrix(nullptr, 1, 3, 1, 4);
}

TEST(Storage, TensorIsThreeLevelsOverOneBlock) {
    struct sCase {
        sBounds r, c, d;
    };
    for (const auto& [r, c, d] : std::vector<sCase>{{{1, 2}, {1, 3}, {1, 4}},
                                                    {{0, 0}, {0, 0}, {0, 0}},
                                                    {{-2, 1}, {5, 7}, {-9, -6}},
                                                    {{1, 0}, {1, 3}, {1, 4}},
                                                    {{1, 2}, {1, 0}, {1, 4}},
                                                    {{1, 2}, {1, 3}, {1, 0}}}) {
        const long before = allocationCount();
        float*** const t = rcps::f3tensor(r.lo, r.hi, c.lo, c.hi, d.lo, d.hi);
        EXPECT_EQ(allocationCount() - before, 3);
        ASSERT_NE(t, nullptr);
        float value = 0;
        for (long i = r.lo; i <= r.hi; ++i)
            for (long j = c.lo; j <= c.hi; ++j)
                for (long k = d.lo; k <= d.hi; ++k)
                    t[i][j][k] = ++value;
        value = 0;
        for (long i = r.lo; i <= r.hi; ++i)
            for (long j = c.lo; j <= c.hi; ++j)
                for (long k = d.lo; k <= d.hi; ++k) {
                    EXPECT_EQ(t[i][j][k], ++value);
                    EXPECT_EQ(&t[i][j][k] - &t[r.lo][c.lo][d.lo],
                              static_cast<std::ptrdiff_t>(value) - 1);
                }
        rcps::free_f3tensor(t, r.lo, r.hi, c.lo, c.hi, d.lo, d.hi);
    }
    for (const long allowed : {0, 1, 2}) {
        const FailingNew failing(allowed);
        EXPECT_EQ(rcps::f3tensor(1, 2, 1, 3, 1, 4), nullptr) << allowed;
    }
    EXPECT_EQ(rcps::f3tensor(1, LONG_MAX, 1, 1, 1, 1), nullptr);
    EXPECT_EQ(rcps::f3tensor(1, 1000, 1, LONG_MAX, 1, 1), nullptr);
    EXPECT_EQ(rcps::f3tensor(1, 10, 1, 10, 1, LONG_MAX), nullptr);
    EXPECT_EQ(rcps::f3tensor(1, 4, 1, 1L << 62, 1, 1), nullptr);
    EXPECT_EQ(rcps::f3tensor(1, 2, 1, 2, 1, 1L << 62), nullptr);
    rcps::free_f3tensor(nullptr, 1, 2, 1, 3, 1, 4);
}

TEST(Storage, ErrorRoutineReturns) { rcps::nrerror("no convergence in 30 svdcmp iterations"); }

} // namespace
