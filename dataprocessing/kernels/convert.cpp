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

void conv_Elements(const void* source, dtyp_cDataType from, void* target, dtyp_cDataType to,
                   std::size_t count, conv_eComplexConversion mode) noexcept {
    // Without elements, or of an unknown type, there is no storage.
    if (count == 0 || from.SizeOf() == 0)
        return;
    if (from == to) {
        std::memcpy(target, source, count * from.SizeOf());
        return;
    }
    const auto run = LEVEL_SELECT(conv_Run);
    if (count * to.SizeOf() < stream_From)
        return run(source, from, target, to, count, mode);
    constexpr std::size_t step = 256;
    alignas(64) std::byte block[step * 16];
    for (std::size_t first = 0; first < count; first += step) {
        const std::size_t n = std::min(step, count - first);
        run(static_cast<const std::byte*>(source) + first * from.SizeOf(), from, block, to, n,
            mode);
        stream_Out(static_cast<std::byte*>(target) + first * to.SizeOf(), block, n * to.SizeOf());
    }
    stream_End();
}

} // namespace dataprocessing::detail
