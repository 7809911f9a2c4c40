#include "dataprocessing/kernels/radix.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

#include "dataprocessing/kernels/radix_lanes.h"
#include "dataprocessing/kernels/radix_roots.h"
#include "dataprocessing/kernels/radix_twiddles.h"
#include "dataprocessing/platform/keep.h"
#include "dataprocessing/platform/level.h"

#if DATAPROCESSING_LEVELS
    #include <immintrin.h>
#endif

#define LEVEL_KERNELS "dataprocessing/kernels/radix_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

using Complex = comp_cComplex<float>;

/// From here on a single line fills the lanes.
constexpr std::size_t longLine = radix_lanes * radix_lanes;
/// From here on its last passes take their factors from recurrences. Their tables would be longer
/// than the line itself and be read in thirty places at once, all of which share the same few
/// places of a cache.
constexpr std::size_t walkedLine = std::size_t{1} << 17;

/// Room for the lanes of one call.
class cWork {
public:
    explicit cWork(std::size_t lanes) {
        const std::size_t bytes = lanes * sizeof(radix_sLanes);
        if (room_.block.Size() >= bytes)
            return;
        room_.block = mem_cBlock();
        room_.block = mem_cBlock(bytes);
    }
    radix_sLanes* Lanes() noexcept { return static_cast<radix_sLanes*>(room_.block.Data()); }

private:
    keep_cLoan room_{keep_Room};
};

/// Lines too short for the kernels.
void transformPair(Complex& a, Complex& b) {
    const Complex t(b.re - 0.0F * b.im, b.im + 0.0F * b.re);
    b = a - t;
    a = a + t;
}

template<class W>
using Tables = std::conditional_t<std::is_same_v<W, double>, radix_cTwiddles, radix_cRoots>;

/// Long lines of one length.
template<class W>
class cLongLines {
public:
    explicit cLongLines(std::size_t n)
        : n_(n), isWalked_(std::is_same_v<W, double> && n >= walkedLine),
          tables_(isWalked_ ? n / radix_lanes : n), work_(n / radix_lanes) {
        if (isWalked_)
            walk_ = radix_FindWalk(n);
    }
    void Transform(const Complex* source, Complex* target, int sign, radix_eOrder order,
                   const Complex* next) {
        LEVEL_SELECT(radix_RunLine<W>)
        ({source, target, n_, &tables_.Passes(), isWalked_ ? &walk_ : nullptr, next}, sign < 0,
         order, work_.Lanes());
    }

private:
    std::size_t n_;
    bool isWalked_;
    Tables<W> tables_;
    radix_sWalk walk_;
    cWork work_;
};

template<class W>
void transformShortRows(Complex* data, std::size_t step, std::size_t n, std::size_t count,
                        int sign) {
    if (n == 2) {
        for (std::size_t c = 0; c < count; ++c)
            transformPair(data[c * step], data[c * step + 1]);
        return;
    }
    const Tables<W> tables(n);
    cWork work(n);
    const auto run = LEVEL_SELECT(radix_RunApart<W>);
    for (std::size_t c = 0; c < count; c += radix_lanes)
        run(data + c * step, 1, step, std::min(radix_lanes, count - c), n, tables.Passes(),
            sign < 0, work.Lanes());
}

template<class W>
void transformRows(Complex* data, std::size_t step, std::size_t n, std::size_t count, int sign) {
    if (n == 1)
        return;
    if (n < longLine)
        return transformShortRows<W>(data, step, n, count, sign);
    cLongLines<W> lines(n);
    for (std::size_t c = 0; c < count; ++c) {
        Complex* const line = data + c * step;
        lines.Transform(line, line, sign, radix_Natural, c + 1 < count ? line + step : nullptr);
    }
}

template<class W>
void transformColumns(Complex* data, std::size_t step, std::size_t n, std::size_t count, int sign) {
    if (n == 2)
        for (std::size_t c = 0; c < count; ++c)
            transformPair(data[c], data[step + c]);
    if (n <= 2)
        return;
    const Tables<W> tables(n);
    cWork work(n);
    std::size_t c = 0;
    for (const auto run = LEVEL_SELECT(radix_RunSide<W>); c + radix_lanes <= count;
         c += radix_lanes)
        run(data + c, step, n, tables.Passes(), sign < 0, work.Lanes());
    if (c < count)
        LEVEL_SELECT(radix_RunApart<W>)
    (data + c, step, 1, count - c, n, tables.Passes(), sign < 0, work.Lanes());
}

} // namespace

void radix_Line(const Complex* source, Complex* target, std::size_t n, int sign,
                radix_eOrder order) {
    if (n >= longLine)
        return cLongLines<double>(n).Transform(source, target, sign, order, nullptr);
    if (source != target)
        std::copy_n(source, n, target);
    transformShortRows<double>(target, n, n, 1, sign);
    if (order == radix_Natural)
        return;
    std::rotate(target, target + n / 2, target + n);
    const Complex scale(1.0F / static_cast<float>(n));
    for (std::size_t k = 0; k < n; ++k)
        target[k] = target[k] * scale;
}

void radix_Rows(Complex* data, std::size_t step, std::size_t n, std::size_t count, int sign,
                radix_eProducts products) {
    const auto transform =
        products == radix_DoubleProducts ? transformRows<double> : transformRows<float>;
    transform(data, step, n, count, sign);
}

void radix_Columns(Complex* data, std::size_t step, std::size_t n, std::size_t count, int sign,
                   radix_eProducts products) {
    const auto transform =
        products == radix_DoubleProducts ? transformColumns<double> : transformColumns<float>;
    transform(data, step, n, count, sign);
}

} // namespace dataprocessing::detail
