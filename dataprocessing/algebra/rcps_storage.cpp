#include "dataprocessing/algebra/rcps_storage.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

namespace rcps {

void nrerror(const char*) noexcept {}

namespace {

/// The number of indices from lo to hi; 0 when there are none. All of them are counted as one less:
/// too many either way.
std::size_t countOf(long lo, long hi) noexcept {
    if (hi < lo)
        return 0;
    const std::size_t steps = static_cast<std::size_t>(hi) - static_cast<std::size_t>(lo);
    return std::max(steps, steps + 1);
}

/// A block of elements, with one to spare; null when that cannot be had.
template<class T>
std::unique_ptr<T[]> block(std::size_t count) noexcept {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(T) / 2)
        return nullptr;
    return std::unique_ptr<T[]>(new (std::nothrow) T[count + 1]);
}

/// The pointer that addresses its block with indices from lo on, and back. The sums are made on
/// integers: a pointer outside of its block must not be formed by pointer arithmetic.
template<class T>
T* shifted(T* pointer, long lo) noexcept {
    return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(pointer) -
                                static_cast<std::uintptr_t>(lo) * sizeof(T));
}
template<class T>
T* unshifted(T* pointer, long lo) noexcept {
    return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(pointer) +
                                static_cast<std::uintptr_t>(lo) * sizeof(T));
}

template<class T>
T* makeVector(long lo, long hi, const char* failure) noexcept {
    std::unique_ptr<T[]> elements = block<T>(countOf(lo, hi));
    if (elements == nullptr) {
        nrerror(failure);
        return nullptr;
    }
    return shifted(elements.release(), lo);
}

template<class T>
void freeVector(T* v, long lo) noexcept {
    if (v != nullptr)
        std::unique_ptr<T[]>(unshifted(v, lo)).reset();
}

/// Points every row at its elements, `columns` apart from `first` on.
template<class T>
void setRows(T** rows, std::size_t count, T* first, std::size_t columns, long clo) noexcept {
    for (std::size_t r = 0; r < count; ++r)
        rows[r] = shifted(first + r * columns, clo);
}

template<class T>
T** makeMatrix(long rlo, long rhi, long clo, long chi) noexcept {
    const std::size_t rowCount = countOf(rlo, rhi);
    const std::size_t columnCount = countOf(clo, chi);
    std::unique_ptr<T*[]> rows = block<T*>(rowCount);
    if (rows == nullptr) {
        nrerror("allocation failure 1 in matrix()");
        return nullptr;
    }
    const bool fits =
        columnCount == 0 || rowCount <= std::numeric_limits<std::size_t>::max() / columnCount;
    std::unique_ptr<T[]> elements = fits ? block<T>(rowCount * columnCount) : nullptr;
    if (elements == nullptr) {
        nrerror("allocation failure 2 in matrix()");
        return nullptr;
    }
    // The spare row pointer holds the block, so that a matrix without rows can be freed too.
    rows[rowCount] = elements.get();
    setRows(rows.get(), rowCount, elements.release(), columnCount, clo);
    return shifted(rows.release(), rlo);
}

template<class T>
void freeMatrix(T** m, long rlo, long rhi) noexcept {
    if (m == nullptr)
        return;
    const std::unique_ptr<T*[]> rows(unshifted(m, rlo));
    std::unique_ptr<T[]>(rows[countOf(rlo, rhi)]).reset();
}

template<class T>
void freeRows(T** m, long rlo) noexcept {
    if (m != nullptr)
        std::unique_ptr<T*[]>(unshifted(m, rlo)).reset();
}

} // namespace

// clang-format off
double*        vector (long lo, long hi) noexcept { return makeVector<double>(lo, hi, "allocation failure in vector()"); }
int*           ivector(long lo, long hi) noexcept { return makeVector<int>(lo, hi, "allocation failure in ivector()"); }
unsigned char* cvector(long lo, long hi) noexcept { return makeVector<unsigned char>(lo, hi, "allocation failure in cvector()"); }
long*          lvector(long lo, long hi) noexcept { return makeVector<long>(lo, hi, "allocation failure in lvector()"); }
double*        dvector(long lo, long hi) noexcept { return makeVector<double>(lo, hi, "allocation failure in dvector()"); }

void free_vector (double* v,        long lo, long) noexcept { freeVector(v, lo); }
void free_ivector(int* v,           long lo, long) noexcept { freeVector(v, lo); }
void free_cvector(unsigned char* v, long lo, long) noexcept { freeVector(v, lo); }
void free_lvector(long* v,          long lo, long) noexcept { freeVector(v, lo); }
void free_dvector(double* v,        long lo, long) noexcept { freeVector(v, lo); }

double** matrix (long rlo, long rhi, long clo, long chi) noexcept { return makeMatrix<double>(rlo, rhi, clo, chi); }
double** dmatrix(long rlo, long rhi, long clo, long chi) noexcept { return makeMatrix<double>(rlo, rhi, clo, chi); }
int**    imatrix(long rlo, long rhi, long clo, long chi) noexcept { return makeMatrix<int>(rlo, rhi, clo, chi); }

void free_matrix (double** m, long rlo, long rhi, long, long) noexcept { freeMatrix(m, rlo, rhi); }
void free_dmatrix(double** m, long rlo, long rhi, long, long) noexcept { freeMatrix(m, rlo, rhi); }
void free_imatrix(int** m,    long rlo, long rhi, long, long) noexcept { freeMatrix(m, rlo, rhi); }

void free_submatrix     (double** m, long rlo, long, long, long) noexcept { freeRows(m, rlo); }
void free_convert_matrix(double** m, long rlo, long, long, long) noexcept { freeRows(m, rlo); }
// clang-format on

double** submatrix(double** a, long oldrlo, long oldrhi, long oldclo, long, long newrlo,
                   long newclo) noexcept {
    const std::size_t count = countOf(oldrlo, oldrhi);
    std::unique_ptr<double*[]> rows = block<double*>(count);
    if (rows == nullptr) {
        nrerror("allocation failure in submatrix()");
        return nullptr;
    }
    for (std::size_t r = 0; r < count; ++r)
        rows[r] = shifted(unshifted(a[oldrlo + static_cast<long>(r)], oldclo), newclo);
    return shifted(rows.release(), newrlo);
}

double** convert_matrix(double* elements, long rlo, long rhi, long clo, long chi) noexcept {
    const std::size_t count = countOf(rlo, rhi);
    std::unique_ptr<double*[]> rows = block<double*>(count);
    if (rows == nullptr) {
        nrerror("allocation failure in convert_matrix()");
        return nullptr;
    }
    setRows(rows.get(), count, elements, countOf(clo, chi), clo);
    return shifted(rows.release(), rlo);
}

float*** f3tensor(long rlo, long rhi, long clo, long chi, long dlo, long dhi) noexcept {
    const std::size_t rowCount = countOf(rlo, rhi);
    const std::size_t columnCount = countOf(clo, chi);
    const std::size_t depth = countOf(dlo, dhi);
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    const bool rowsFit = columnCount == 0 || rowCount <= most / columnCount;
    const bool allFit = rowsFit && (depth == 0 || rowCount * columnCount <= most / depth);

    std::unique_ptr<float**[]> planes = block<float**>(rowCount);
    if (planes == nullptr) {
        nrerror("allocation failure 1 in f3tensor()");
        return nullptr;
    }
    std::unique_ptr<float*[]> rows = rowsFit ? block<float*>(rowCount * columnCount) : nullptr;
    if (rows == nullptr) {
        nrerror("allocation failure 2 in f3tensor()");
        return nullptr;
    }
    std::unique_ptr<float[]> elements =
        allFit ? block<float>(rowCount * columnCount * depth) : nullptr;
    if (elements == nullptr) {
        nrerror("allocation failure 3 in f3tensor()");
        return nullptr;
    }
    rows[rowCount * columnCount] = elements.get();
    planes[rowCount] = rows.get();
    setRows(rows.get(), rowCount * columnCount, elements.release(), depth, dlo);
    setRows(planes.get(), rowCount, rows.release(), columnCount, clo);
    return shifted(planes.release(), rlo);
}

void free_f3tensor(float*** t, long rlo, long rhi, long clo, long chi, long, long) noexcept {
    if (t == nullptr)
        return;
    const std::size_t rowCount = countOf(rlo, rhi);
    const std::unique_ptr<float**[]> planes(unshifted(t, rlo));
    const std::unique_ptr<float*[]> rows(planes[rowCount]);
    std::unique_ptr<float[]>(rows[rowCount * countOf(clo, chi)]).reset();
}

} // namespace rcps
