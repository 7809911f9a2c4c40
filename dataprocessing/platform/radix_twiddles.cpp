#include "dataprocessing/platform/radix_twiddles.h"

#include <bit>
#include <cmath>
#include <iterator>

#include "dataprocessing/platform/memory.h"

namespace dataprocessing::detail {

namespace {

constexpr std::size_t keptPasses = 20;

/// Real parts, then imaginary parts. Making them costs as much as the pass itself, step upon step.
thread_local mem_cBlock tables[31];

double* begin(const mem_cBlock& table) noexcept {
    return static_cast<double*>(const_cast<void*>(table.Data()));
}

mem_cBlock make(std::size_t half) {
    mem_cBlock table(2 * half * sizeof(double));
    const double theta = 6.28318530717959 / static_cast<double>(2 * half);
    const double s = std::sin(0.5 * theta);
    const double stepRe = -2.0 * s * s;
    const double stepIm = std::sin(theta);
    double* w = begin(table);
    double re = 1;
    double im = 0;
    for (std::size_t k = 0; k < half; ++k) {
        w[k] = re;
        w[half + k] = im;
        const double last = re;
        re = last * stepRe - im * stepIm + last;
        im = im * stepRe + last * stepIm + im;
    }
    return table;
}

} // namespace

// Made from the default one so that its destructor frees the tables even when memory runs out here.
radix_cTwiddles::radix_cTwiddles(std::size_t n) : radix_cTwiddles() {
    const std::size_t count = static_cast<std::size_t>(std::countr_zero(n));
    for (std::size_t p = 0; p < count; ++p) {
        const std::size_t half = std::size_t{1} << p;
        if (tables[p].Size() == 0)
            tables[p] = make(half);
        passes_.pass[p] = {begin(tables[p]), begin(tables[p]) + half};
    }
}

radix_cTwiddles::~radix_cTwiddles() {
    for (std::size_t p = keptPasses; p < std::size(tables) && tables[p].Size() != 0; ++p)
        tables[p] = mem_cBlock();
}

} // namespace dataprocessing::detail
