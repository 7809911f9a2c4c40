#include "dataprocessing/kernels/logic.h"

#define LEVEL_KERNELS "dataprocessing/kernels/logic.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

logic_Loop logic_Both() noexcept { return LEVEL_SELECT(logic_BothLoop); }
logic_Loop logic_Either() noexcept { return LEVEL_SELECT(logic_EitherLoop); }
logic_Loop logic_OneOf() noexcept { return LEVEL_SELECT(logic_OneOfLoop); }
void logic_Not(const unsigned char* a, unsigned char* result, std::size_t count) noexcept {
    LEVEL_SELECT(logic_NotLoop)(a, result, count);
}

} // namespace dataprocessing::detail
