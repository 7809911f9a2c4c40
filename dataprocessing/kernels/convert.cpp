#include "dataprocessing/kernels/convert.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/kernels/elementary/elem.h"
#include "dataprocessing/platform/stream.h"

#define LEVEL_KERNELS "dataprocessing/kernels/convert.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

constexpr std::size_t widest = 16; // bytes of an element

// A function of its own: the others have no use for the room of a block.
[[gnu::noinline]] void streamed(const std::byte* source, dtyp_cDataType from, std::byte* target,
                                dtyp_cDataType to, std::size_t count,
                                conv_eComplexConversion mode) noexcept {
    constexpr std::size_t step = 256;
    alignas(64) std::byte block[step * widest];
    const auto run = LEVEL_SELECT(conv_Run);
    for (std::size_t first = 0; first < count; first += step) {
        const std::size_t n = std::min(step, count - first);
        run(source + first * from.SizeOf(), from, block, to, n, mode);
        stream_Out(target + first * to.SizeOf(), block, n * to.SizeOf());
    }
    stream_End();
}

} // namespace

void conv_Elements(const void* source, dtyp_cDataType from, void* target, dtyp_cDataType to,
                   std::size_t count, conv_eComplexConversion mode) noexcept {
    // Without elements, or of an unknown type, there is no storage.
    if (count == 0 || !from.IsKnown())
        return;
    if (from == to) {
        std::memcpy(target, source, count * from.SizeOf());
        return;
    }
    if (count >= stream_From / widest && count * to.SizeOf() >= stream_From)
        return streamed(static_cast<const std::byte*>(source), from,
                        static_cast<std::byte*>(target), to, count, mode);
    // A single element fills no vector of any level.
    const auto run = count == 1 ? &level_baseline::conv_Run : LEVEL_SELECT(conv_Run);
    run(source, from, target, to, count, mode);
}

} // namespace dataprocessing::detail
