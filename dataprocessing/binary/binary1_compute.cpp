#include "dataprocessing/binary/binary1_compute.h"

#include <limits>

#include "dataprocessing/kernels/arit.h"

namespace dataprocessing::detail {

namespace {

/// How many of `count` elements whole chunks hold.
std::size_t inWholeChunks(dtyp_cDataType type, int operation, std::size_t count) {
    const bool isChunked = type == dtyp_Int16 || type == dtyp_Int32 || type == dtyp_Float;
    if (!isChunked || operation > arit_Multiply)
        return 0;
    return count - count % (type == dtyp_Int16 ? 4 : 2);
}

/// The number of an operation as whole chunks combine it.
pnum_cNumber numberInChunks(const void* element, dtyp_cDataType type) {
    if (type != dtyp_Int32)
        return {type, element};
    const float single = static_cast<float>(*static_cast<const int*>(element));
    return single < 0x1p31F ? static_cast<int>(single) : std::numeric_limits<int>::max();
}

/// Runs the loop that widens what is stored, where there is one, else that over fetched elements.
bool run(int operation, dtyp_cDataType type, const blocks_cSource& a, const blocks_cSource& b,
         const blocks_sRange& range) {
    const form_eOperands form = form_Of(a.IsArray(), b.IsArray());
    const auto runLoop = [&](arit_Loop loop, const blocks_cSource& first,
                             const blocks_cSource& second) {
        const auto step = [loop](void* target, std::size_t count, const void* x, const void* y) {
            return !loop(x, y, target, count);
        };
        return blocks_Run(range, step, first, second);
    };
    const arit_Loop widening = arit_LoopFor(type, a.StoredType(), b.StoredType(), operation, form);
    if (widening != nullptr)
        return runLoop(widening, a.Stored(), b.Stored());
    return runLoop(arit_LoopFor(type, type, type, operation, form), a, b);
}

} // namespace

bool bnry_Compute(int operation, dtyp_cDataType type, const blocks_cSource& a,
                  const blocks_cSource& b, void* result, std::size_t count) {
    if (!type.IsKnown())
        return true;
    const std::size_t chunked =
        a.IsArray() == b.IsArray() ? 0 : inWholeChunks(type, operation, count);
    if (chunked > 0) {
        const pnum_cNumber number = numberInChunks((a.IsArray() ? b : a).Read(0, 1, nullptr), type);
        run(operation, type, a.IsArray() ? a : b, blocks_cSource(number),
            {result, type.SizeOf(), 0, chunked});
        if (chunked == count)
            return true;
    }
    return run(operation, type, a, b, {result, type.SizeOf(), chunked, count});
}

} // namespace dataprocessing::detail
