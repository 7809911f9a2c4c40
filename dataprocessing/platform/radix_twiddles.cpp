#include "dataprocessing/platform/radix_twiddles.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "dataprocessing/platform/memory.h"

namespace dataprocessing::detail {

namespace {

constexpr std::size_t mostPasses = 31;
constexpr std::size_t keptPasses = 20;

/// Real parts, then imaginary parts. Tables of shorter passes are always there too.
thread_local mem_cBlock tables[mostPasses];

double* begin(const mem_cBlock& table) noexcept {
    return static_cast<double*>(const_cast<void*>(table.Data()));
}

std::size_t halfOf(std::size_t pass) noexcept { return std::size_t{1} << pass; }

/// The recurrence of one pass on its way through the table.
struct sChain {
    double* re;
    double* im;
    double stepRe;
    double stepIm;
    double wRe = 1;
    double wIm = 0;

    sChain(mem_cBlock& table, std::size_t half) : re(begin(table)), im(re + half) {
        const double theta = 6.28318530717959 / static_cast<double>(2 * half);
        const double s = std::sin(0.5 * theta);
        stepRe = -2.0 * s * s;
        stepIm = std::sin(theta);
    }
    void Step() noexcept {
        *re++ = wRe;
        *im++ = wIm;
        const double last = wRe;
        wRe = last * stepRe - wIm * stepIm + last;
        wIm = wIm * stepRe + last * stepIm + wIm;
    }
};

/// Fills the tables of passes `first` to `last`. A chain waits for itself at each step, so the last
/// one, which is longer than all the others together, takes its steps while they take theirs.
void fill(mem_cBlock* made, std::size_t first, std::size_t last) {
    sChain longest(made[last], halfOf(last));
    for (std::size_t p = first; p < last; ++p) {
        sChain chain(made[p], halfOf(p));
        for (std::size_t k = 0; k < halfOf(p); ++k) {
            chain.Step();
            longest.Step();
        }
    }
    while (longest.re != begin(made[last]) + halfOf(last))
        longest.Step();
}

} // namespace

radix_cTwiddles::radix_cTwiddles(std::size_t n) {
    const std::size_t count = static_cast<std::size_t>(std::countr_zero(n));
    std::size_t first = 0;
    while (first < count && tables[first].Size() != 0)
        ++first;
    if (first < count) {
        mem_cBlock made[mostPasses];
        for (std::size_t p = first; p < count; ++p)
            made[p] = mem_cBlock(2 * halfOf(p) * sizeof(double));
        fill(made, first, count - 1);
        std::move(made + first, made + count, tables + first);
    }
    for (std::size_t p = 0; p < count; ++p)
        passes_.pass[p] = {begin(tables[p]), begin(tables[p]) + halfOf(p)};
}

radix_cTwiddles::~radix_cTwiddles() {
    for (std::size_t p = keptPasses; p < mostPasses && tables[p].Size() != 0; ++p)
        tables[p] = mem_cBlock();
}

} // namespace dataprocessing::detail
