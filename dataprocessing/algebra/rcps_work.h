#pragma once

/// @file
/// One-based work storage that frees itself.

#include <cstddef>
#include <vector>

namespace rcps {

/// Elements 1 to n, zero at first. Throws std::bad_alloc.
template<class T>
class cVector {
public:
    explicit cVector(int n) : elements_(static_cast<std::size_t>(n) + 1) {}

    /// The pointer that is addressed from 1.
    T* Data() noexcept { return elements_.data(); }
    T& operator[](int i) noexcept { return elements_[static_cast<std::size_t>(i)]; }

private:
    std::vector<T> elements_; // element 0 is never used
};

/// Rows 1 to m of columns 1 to n, zero at first. Throws std::bad_alloc.
class cMatrix {
public:
    cMatrix(int m, int n)
        : elements_(static_cast<std::size_t>(m) * static_cast<std::size_t>(n) + 1),
          rows_(static_cast<std::size_t>(m) + 1) {
        // Column 0 of a row is the last element of the row before, and of the first the spare one.
        for (int i = 1; i <= m; ++i)
            rows_[static_cast<std::size_t>(i)] =
                elements_.data() + static_cast<std::size_t>(i - 1) * static_cast<std::size_t>(n);
    }

    /// The row pointers, addressed from 1.
    double** Data() noexcept { return rows_.data(); }
    /// Row `i`, addressed from 1.
    double* operator[](int i) noexcept { return rows_[static_cast<std::size_t>(i)]; }

private:
    std::vector<double> elements_;
    std::vector<double*> rows_;
};

} // namespace rcps
