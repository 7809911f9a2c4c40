#include "dataprocessing/fourier/match.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/fourier/four.h"
#include "dataprocessing/kernels/convert.h"

namespace dataprocessing::detail {

namespace {

/// An axis of `a` and the same axis of `b`, brought to one delta and one power-of-two size.
void match(view_cAxis& a, view_cAxis& b) {
    const double delta = view_FinerDelta(a, b);
    if (delta < 0)
        throw expt_cProgramException("resc", 1,
                                     "Arrays that run downward are not matched in size.");
    a.Rescale(delta);
    b.Rescale(delta);
    const int size = std::max(four_FitToPowerOfTwo(a.Count()), four_FitToPowerOfTwo(b.Count()));
    a.Select(0, size);
    b.Select(0, size);
}

template<class Array>
void matchAndFit(Array& a, Array& b) {
    const four_sMatched<Array> matched(a, b);
    Array matchedA = view_Made(a, matched.a.x, matched.a.y);
    b = view_Made(b, matched.b.x, matched.b.y);
    a = std::move(matchedA);
}

} // namespace

template<class Array>
void four_sOperand<Array>::Fetch(dtyp_cDataType type, void* target) const {
    const dtyp_cDataType own = array.DataType();
    if (x.IsWhole() && y.IsWhole())
        return conv_Elements(array.Data(), own, target, type,
                             static_cast<std::size_t>(array.Count()), conv_RealPart);
    const view_cView view(array.Data(), own, own, x, y);
    if (own == type)
        return view.Fetch(0, view.Count(), target);
    // Resampled elements are rounded to their own type first, as resc_Rescale does.
    constexpr std::size_t block = 1024;
    alignas(64) unsigned char elements[block * 16];
    std::byte* to = static_cast<std::byte*>(target);
    for (std::size_t first = 0; first < view.Count(); first += block) {
        const std::size_t count = std::min(block, view.Count() - first);
        view.Fetch(first, count, elements);
        conv_Elements(elements, own, to, type, count, conv_RealPart);
        to += count * type.SizeOf();
    }
}

template<class Array>
four_sMatched<Array>::four_sMatched(const Array& first, const Array& second) : a(first), b(second) {
    match(a.x, b.x);
    if constexpr (std::is_same_v<Array, darr_c2DArray>)
        match(a.y, b.y);
}

template struct four_sOperand<darr_c1DArray>;
template struct four_sOperand<darr_c2DArray>;
template struct four_sMatched<darr_c1DArray>;
template struct four_sMatched<darr_c2DArray>;

} // namespace dataprocessing::detail

void four_MatchAndFitToPowerOfTwo(darr_c1DArray& a, darr_c1DArray& b) {
    dataprocessing::detail::matchAndFit(a, b);
}
void four_MatchAndFitToPowerOfTwo(darr_c2DArray& a, darr_c2DArray& b) {
    dataprocessing::detail::matchAndFit(a, b);
}
