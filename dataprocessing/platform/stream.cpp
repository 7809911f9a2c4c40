#include "dataprocessing/platform/stream.h"

#include <cstdint>
#include <cstring>

#include "dataprocessing/platform/level.h"

#if DATAPROCESSING_LEVELS
    #include <immintrin.h>
#endif

#define LEVEL_KERNELS "dataprocessing/platform/stream.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

void stream_Out(void* target, const void* source, std::size_t bytes) noexcept {
    LEVEL_SELECT(stream_Copy)(target, source, bytes);
}

void stream_End() noexcept {
#if DATAPROCESSING_LEVELS
    _mm_sfence();
#endif
}

} // namespace dataprocessing::detail
