#include "dataprocessing/kernels/radix_twiddles.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace dataprocessing::detail {

namespace {

constexpr std::size_t mostPasses = keep_twiddles;

/// A table: real parts, then imaginary parts.
double* begin(void* table) noexcept { return static_cast<double*>(table); }

std::size_t halfOf(std::size_t pass) noexcept { return std::size_t{1} << pass; }

/// The recurrence of one pass.
struct sRecurrence {
    double re = 1;
    double im = 0;
    double stepRe;
    double stepIm;

    explicit sRecurrence(std::size_t half) {
        const double theta = 6.28318530717959 / static_cast<double>(2 * half);
        const double s = std::sin(0.5 * theta);
        stepRe = -2.0 * s * s;
        stepIm = std::sin(theta);
    }
    void Step() noexcept {
        const double last = re;
        re = last * stepRe - im * stepIm + last;
        im = im * stepRe + last * stepIm + im;
    }
};

/// A recurrence on its way through its table.
class cTableWalk {
public:
    cTableWalk(mem_cBlock& table, std::size_t half)
        : w_(half), re_(begin(table.Data())), im_(re_ + half), end_(im_) {}
    bool IsAtEnd() const noexcept { return re_ == end_; }
    void Step() noexcept {
        *re_++ = w_.re;
        *im_++ = w_.im;
        w_.Step();
    }

private:
    sRecurrence w_;
    double* re_;
    double* im_;
    double* end_;
};

/// Takes the walks of passes `first` to `last`, as `begin` begins them, to their ends. Each is
/// about twice as long as the one before. A recurrence waits for itself at each step, so the last
/// takes its steps while the others take theirs.
template<class Begin>
void walk(const Begin& begin, std::size_t first, std::size_t last) {
    auto longest = begin(last);
    for (std::size_t p = first; p < last; ++p)
        for (auto shorter = begin(p); !shorter.IsAtEnd(); longest.Step())
            shorter.Step();
    while (!longest.IsAtEnd())
        longest.Step();
}

/// The factors at every eighth of a table. Without storage of their own they are there as long as
/// the thread runs anything.
struct sEighths {
    double re[8];
    double im[8];
    bool isKnown;
};
thread_local sEighths eighths[mostPasses];

/// A recurrence on its way to the last eighth of its table.
class cEighthsWalk {
public:
    cEighthsWalk(sEighths& to, std::size_t half) : w_(half), to_(&to), eighth_(half / 8) {}
    bool IsAtEnd() const noexcept { return found_ == 8; }
    void Step() noexcept {
        if (ahead_ == 0) {
            to_->re[found_] = w_.re;
            to_->im[found_] = w_.im;
            ++found_;
            ahead_ = eighth_;
            to_->isKnown = found_ == 8;
        }
        --ahead_;
        w_.Step();
    }

private:
    sRecurrence w_;
    sEighths* to_;
    std::size_t eighth_;
    std::size_t ahead_ = 0;
    std::size_t found_ = 0;
};

} // namespace

radix_cTwiddles::radix_cTwiddles(std::size_t n)
    : tables_(static_cast<std::size_t>(std::countr_zero(n))) {
    const std::size_t count = static_cast<std::size_t>(std::countr_zero(n));
    const auto setPass = [&](std::size_t p, const double* table) {
        passes_.pass[p] = {table, table + halfOf(p)};
    };
    std::size_t first = 0; // tables of shorter passes are there when a longer one is
    for (; first < count; ++first) {
        const double* const table = begin(tables_.Data(first));
        if (table == nullptr)
            break;
        setPass(first, table);
    }
    if (first == count)
        return;
    mem_cBlock made[mostPasses];
    for (std::size_t p = first; p < count; ++p)
        made[p] = mem_cBlock(2 * halfOf(p) * sizeof(double));
    walk([&](std::size_t p) { return cTableWalk(made[p], halfOf(p)); }, first, count - 1);
    for (std::size_t p = first; p < count; ++p) {
        setPass(p, begin(made[p].Data()));
        tables_.Set(p, std::move(made[p]));
    }
}

radix_sWalk radix_FindWalk(std::size_t n) noexcept {
    const std::size_t begin = static_cast<std::size_t>(std::countr_zero(n)) - 4;
    std::size_t end = begin + 4;
    while (end > begin && eighths[end - 1].isKnown)
        --end;
    std::size_t first = begin;
    while (first < end && eighths[first].isKnown)
        ++first;
    if (first < end)
        walk([](std::size_t p) { return cEighthsWalk(eighths[p], halfOf(p)); }, first, end - 1);
    radix_sWalk result{};
    std::size_t row = 0;
    for (std::size_t p = 0; p < 4; ++p) {
        const sRecurrence w(halfOf(begin + p));
        for (std::size_t b = 0; b < std::size_t{1} << p; ++b, ++row) {
            result.re[row] = eighths[begin + p].re[b << (3 - p)];
            result.im[row] = eighths[begin + p].im[b << (3 - p)];
            result.stepRe[row] = w.stepRe;
            result.stepIm[row] = w.stepIm;
        }
    }
    return result;
}

} // namespace dataprocessing::detail
