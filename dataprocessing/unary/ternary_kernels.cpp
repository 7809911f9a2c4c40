#include "dataprocessing/unary/ternary_kernels.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/platform/prefetch.h"

namespace dataprocessing::detail {

namespace {

/// The bits of the widest element.
struct tnry_sWide {
    std::uint64_t low;
    std::uint64_t high;
};

using tnry_Loop = void (*)(const unsigned char* condition, const void* first, const void* second,
                           void* result, std::size_t count);

} // namespace

} // namespace dataprocessing::detail

#define LEVEL_KERNELS "dataprocessing/unary/ternary_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

void tnry_RequireKnown(dtyp_cDataType type) {
    if (!type.IsKnown())
        throw expt_cProgramException("ternary", 114);
}

void tnry_RunSelection(const unsigned char* condition, const void* first, const void* second,
                       void* result, const tnry_sRequest& request, level_eSet level) {
    const dtyp_cDataType type(request.dataType);
    tnry_RequireKnown(type);
    if (request.count <= 0)
        return;
    const tnry_Loop loop = LEVEL_SELECT_AT(level, tnry_LoopFor)(
        type.SizeOf(), request.firstIsArray != 0, request.secondIsArray != 0);
    loop(condition, first, second, result, static_cast<std::size_t>(request.count));
}

} // namespace dataprocessing::detail
