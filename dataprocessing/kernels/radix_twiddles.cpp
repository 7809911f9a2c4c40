#include "dataprocessing/kernels/radix_twiddles.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace dataprocessing::detail {

namespace {

constexpr std::size_t mostPasses = 31;

std::size_t halfOf(std::size_t pass) noexcept { return std::size_t{1} << pass; }
/// The number of passes of a transform of `n` values.
std::size_t passesOf(std::size_t n) noexcept {
    return static_cast<std::size_t>(std::countr_zero(n));
}

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

/// A recurrence on its way through its table: real parts, then imaginary parts.
class cTableWalk {
public:
    cTableWalk(double* table, std::size_t half)
        : w_(half), re_(table), im_(table + half), end_(im_) {}
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

template<>
void radix_cTwiddles::Fill(std::size_t n) {
    const std::size_t last = passesOf(n) - 1;
    walk([&](std::size_t p) { return cTableWalk(Re(halfOf(p)), halfOf(p)); }, 0, last);
}

radix_sWalk radix_FindWalk(std::size_t n) noexcept {
    const std::size_t begin = passesOf(n) - 4;
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
