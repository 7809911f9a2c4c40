#include "dataprocessing/maps/maps_stack.h"

#include <cstdint>

#include "dataprocessing/maps/maps_refuse.h"

using namespace dataprocessing::detail;

namespace {

/// The lowest and the highest element that a layout reaches, as far as it stays in the block.
class cReach {
public:
    cReach(std::ptrdiff_t first, std::size_t elements)
        : most_(static_cast<std::ptrdiff_t>(elements)), low_(first), high_(first) {
        isInside_ = first >= 0 && first < most_;
    }

    void Extend(std::size_t count, std::ptrdiff_t stride) {
        if (count < 2 || stride == 0 || !isInside_)
            return;
        const std::size_t steps = count - 1;
        const std::size_t step = stride < 0 ? std::size_t{0} - static_cast<std::size_t>(stride)
                                            : static_cast<std::size_t>(stride);
        const std::ptrdiff_t room = stride < 0 ? low_ : most_ - 1 - high_;
        isInside_ = steps <= static_cast<std::size_t>(room) / step;
        if (!isInside_)
            return;
        (stride < 0 ? low_ : high_) += static_cast<std::ptrdiff_t>(steps) * stride;
    }

    bool IsInside() const { return isInside_; }

private:
    std::ptrdiff_t most_;
    std::ptrdiff_t low_;
    std::ptrdiff_t high_;
    bool isInside_;
};

} // namespace

maps_cStack::maps_cStack(std::span<const std::byte> block, dtyp_cDataType type,
                         const maps_sLayout& layout, const cal_c1DArrayCal& cal)
    : first_(block.data()), type_(type), layout_(layout), cal_(cal) {
    maps_RefuseType(!type.IsReal() ||
                    reinterpret_cast<std::uintptr_t>(block.data()) % type.SizeOf() != 0);
    // Strides of 0 let few elements be many spectra.
    maps_RefuseOutside(layout.columns != 0 && layout.rows > SIZE_MAX / layout.columns);
    if (Spectra() == 0 || layout.channels == 0) {
        layout_.rowStride = layout_.columnStride = layout_.first = 0;
        return;
    }
    cReach reach(layout.first, block.size() / type.SizeOf());
    reach.Extend(layout.rows, layout.rowStride);
    reach.Extend(layout.columns, layout.columnStride);
    reach.Extend(layout.channels, layout.channelStride);
    maps_RefuseOutside(!reach.IsInside());
}

const std::byte* maps_cStack::At(std::size_t spectrum) const noexcept {
    const auto row = static_cast<std::ptrdiff_t>(spectrum / layout_.columns);
    const auto column = static_cast<std::ptrdiff_t>(spectrum % layout_.columns);
    const std::ptrdiff_t element =
        layout_.first + row * layout_.rowStride + column * layout_.columnStride;
    return first_ + element * static_cast<std::ptrdiff_t>(type_.SizeOf());
}
