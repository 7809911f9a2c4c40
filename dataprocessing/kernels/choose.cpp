#include "dataprocessing/kernels/choose.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/platform/prefetch.h"

namespace dataprocessing::detail {

namespace {

/// The bits of the widest element.
struct choose_sWide {
    std::uint64_t low;
    std::uint64_t high;
};

template<std::size_t size>
using choose_Bits = std::conditional_t<
    size == 1, std::uint8_t,
    std::conditional_t<
        size == 2, std::uint16_t,
        std::conditional_t<size == 4, std::uint32_t,
                           std::conditional_t<size == 8, std::uint64_t, choose_sWide>>>>;

} // namespace

} // namespace dataprocessing::detail

#define LEVEL_KERNELS "dataprocessing/kernels/choose.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

choose_Loop choose_LoopFor(dtyp_cDataType type, bool firstIsArray, bool secondIsArray) noexcept {
    choose_Loop loop = nullptr;
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        loop = LEVEL_SELECT(choose_LoopOf<choose_Bits<sizeof(T)>>)(firstIsArray, secondIsArray);
    });
    return loop;
}

} // namespace dataprocessing::detail
