#include "dataprocessing/kernels/radix_roots.h"

#include <algorithm>
#include <cmath>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/type.h"

namespace dataprocessing::detail {

namespace {

constexpr std::size_t bytesOf(std::size_t n) noexcept { return 2 * n * sizeof(float); }

/// The table of the pass with m = 2 `half`: it begins 2 `half` floats from the beginning, so that
/// all but the shortest begin on a cache line.
struct sTable {
    float* re;
    float* im;

    sTable(mem_cBlock& all, std::size_t half)
        : re(static_cast<float*>(all.Data()) + 2 * half), im(re + half) {}
};

comp_cComplex<double> root(std::size_t k, std::size_t m) noexcept {
    const double angle = 2 * type_Pi * static_cast<double>(k) / static_cast<double>(m);
    return {std::cos(angle), std::sin(angle)};
}

/// Every root is the product of one of few, far apart, and one of few, close together. The real
/// part of i itself would not come out as zero.
void fillLongest(const sTable& table, std::size_t half) {
    constexpr std::size_t close = 64;
    comp_cComplex<double> offsets[close];
    for (std::size_t i = 0; i < close; ++i)
        offsets[i] = root(i, 2 * half);
    for (std::size_t k = 0; k < half; k += close) {
        const comp_cComplex<double> first = root(k, 2 * half);
        for (std::size_t i = 0; i < std::min(close, half - k); ++i) {
            const comp_cComplex<double> w = first * offsets[i];
            table.re[k + i] = static_cast<float>(w.re);
            table.im[k + i] = static_cast<float>(w.im);
        }
    }
    table.re[half / 2] = half == 1 ? 1.0F : 0.0F;
}

void fill(mem_cBlock& all, std::size_t n) {
    std::size_t half = n / 2;
    fillLongest(sTable(all, half), half);
    for (half /= 2; half != 0; half /= 2) {
        const sTable longer(all, 2 * half);
        const sTable table(all, half);
        for (std::size_t k = 0; k < half; ++k) {
            table.re[k] = longer.re[2 * k];
            table.im[k] = longer.im[2 * k];
        }
    }
}

} // namespace

radix_cRoots::radix_cRoots(std::size_t n) {
    mem_cBlock& tables = tables_.block;
    if (tables.Size() < bytesOf(n)) {
        tables = mem_cBlock();
        tables = mem_cBlock(bytesOf(n));
        fill(tables, n);
    }
    std::size_t half = 1;
    for (radix_sPass<float>* pass = passes_.pass; half < n; half *= 2, ++pass) {
        const sTable table(tables, half);
        *pass = {table.re, table.im};
    }
}

} // namespace dataprocessing::detail
