#include "dataprocessing/operand/pick.h"

#include <cstddef>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/operand/algn.h"

namespace dataprocessing::detail {

namespace {

/// Copies `count` elements of T: those where the mask, which has as many true ones, is true. Every
/// element is written, and what is not to be taken is overwritten by the next one.
template<class T>
void copyWhere(const T* from, std::span<const unsigned char> mask, T* to, std::size_t count) {
    std::size_t taken = 0;
    for (std::size_t i = 0; taken < count; ++i) {
        to[taken] = from[i];
        taken += static_cast<std::size_t>(mask[i] != 0);
    }
}

template<class Array, class Mask>
parr_c1DNumberArray where(const Array& array, const Mask& mask) {
    const algn_sAxes axes = algn_Axes(array);
    algn_RequireSameSize(axes, algn_Axes(mask));
    if (mask.Cal() != std::remove_cvref_t<decltype(mask.Cal())>() && mask.Cal() != array.Cal() &&
        !algn_IsAligned(axes, algn_Axes(mask)))
        throw expt_cProgramException(
            "pick", 1,
            "The mask lies on another grid than the array: SetCal gives it the array's.");
    const int count = mask.CountTrue();
    parr_c1DNumberArray taken(count, array.DataType());
    dtyp_Visit(array.DataType(), [&]<class T>(dtyp_Tag<T>) {
        copyWhere(static_cast<const T*>(array.Data()), mask.Elements(),
                  static_cast<T*>(taken.Data()), static_cast<std::size_t>(count));
    });
    return taken;
}

} // namespace

parr_c1DNumberArray pick_Where(const darr_c1DArray& array, const barr_c1DBoolArray& mask) {
    return where(array, mask);
}
parr_c1DNumberArray pick_Where(const darr_c2DArray& array, const barr_c2DBoolArray& mask) {
    return where(array, mask);
}

int pick_IndexOf(std::span<const unsigned char> mask, int before) noexcept {
    std::size_t index = 0;
    for (;; ++index)
        if (mask[index] != 0 && before-- == 0)
            return static_cast<int>(index);
}

} // namespace dataprocessing::detail
