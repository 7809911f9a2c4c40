#include "dataprocessing/binary/binary2_kernels.h"

#include <algorithm>
#include <utility>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/operand/algn.h"
#include "dataprocessing/platform/prefetch.h"
#include "dataprocessing/valuemodel/conv_check.h"

namespace dataprocessing::detail {

namespace {

using bnry_ComparisonLoop = void (*)(const void* a, const void* b, unsigned char* result,
                                     std::size_t count);

} // namespace

} // namespace dataprocessing::detail

#define LEVEL_KERNELS "dataprocessing/binary/binary2_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

// Two blocks of elements and what they come from stay in the first-level cache.
constexpr std::size_t blockBytes = 8192;

bool isKnownComparison(int operation) {
    return operation >= bnry_Equal && operation <= bnry_LessEqual;
}

/// The comparison that holds for (b, a) when this one holds for (a, b).
int mirrored(int operation) {
    switch (operation) {
    case bnry_Greater:
        return bnry_Less;
    case bnry_GreaterEqual:
        return bnry_LessEqual;
    case bnry_Less:
        return bnry_Greater;
    case bnry_LessEqual:
        return bnry_GreaterEqual;
    default:
        return operation;
    }
}

/// Compares elements of which the first operand's are many; the second's are when `arrays`.
template<class T>
void runLoop(const void* a, const void* b, unsigned char* result, std::size_t count, int operation,
             bool arrays, level_eSet level) {
    if (arrays && (operation == bnry_Less || operation == bnry_LessEqual)) {
        std::swap(a, b);
        operation = mirrored(operation);
    }
    LEVEL_SELECT_AT(level, bnry_ComparisonLoopOf<T>)(operation, arrays)(a, b, result, count);
}

template<class T>
const T* magnitudes(const void* elements, std::size_t count, T* target) {
    const auto* z = static_cast<const comp_cComplex<T>*>(elements);
    for (std::size_t i = 0; i < count; ++i)
        target[i] = abs(z[i]);
    return target;
}

/// The same for the order of complex elements, which is that of their magnitudes.
template<class T>
void runMagnitudes(const void* a, const void* b, unsigned char* result, std::size_t count,
                   int operation, bool arrays, level_eSet level) {
    constexpr std::size_t capacity = 512;
    T ofA[capacity];
    T ofB[capacity];
    const auto* first = static_cast<const comp_cComplex<T>*>(a);
    const auto* second = static_cast<const comp_cComplex<T>*>(b);
    magnitudes(second, 1, ofB);
    for (std::size_t done = 0; done < count; done += capacity) {
        const std::size_t n = std::min(capacity, count - done);
        if (arrays)
            magnitudes(second + done, n, ofB);
        runLoop<T>(magnitudes(first + done, n, ofA), ofB, result + done, n, operation, arrays,
                   level);
    }
}

} // namespace

dtyp_cDataType bnry_ComparedType(dtyp_cDataType a, dtyp_cDataType b, int operation) {
    if (!isKnownComparison(operation))
        throw expt_cProgramException("binary2", 1, "Unknown comparison.");
    const dtyp_cDataType type = algn_Target(a, b, dtyp_UInt8);
    conv_Check(a, type, conv_RealPart);
    conv_Check(b, type, conv_RealPart);
    return type;
}

void bnry_RequireComparable(dtyp_cDataType type) {
    if (!type.IsKnown())
        throw expt_cProgramException("binary2", 138);
}

void bnry_RunComparison(const void* a, const void* b, unsigned char* result,
                        const bnry_sAritOperation& operation, level_eSet level) {
    const dtyp_cDataType type(operation.dataType);
    bnry_RequireComparable(type);
    if (!isKnownComparison(operation.operation) || operation.count <= 0)
        return;
    const std::size_t count = static_cast<std::size_t>(operation.count);
    const bool numberFirst = operation.firstIsArray == 0;
    const bool arrays = !numberFirst && operation.secondIsArray != 0;
    const int comparison = numberFirst ? mirrored(operation.operation) : operation.operation;
    if (numberFirst)
        std::swap(a, b);

    const bool isOrder = comparison != bnry_Equal && comparison != bnry_NotEqual;
    if (isOrder && type == dtyp_ComplexFloat)
        return runMagnitudes<float>(a, b, result, count, comparison, arrays, level);
    if (isOrder && type == dtyp_ComplexDouble)
        return runMagnitudes<double>(a, b, result, count, comparison, arrays, level);
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        runLoop<T>(a, b, result, count, comparison, arrays, level);
    });
}

void bnry_Compare(const bnry_sComparison& comparison, const view_cSource& a, const view_cSource& b,
                  unsigned char* result, std::size_t count, level_eSet level) {
    bnry_RequireComparable(comparison.type);
    const bool inPlace = a.InPlace() && b.InPlace();
    const std::size_t step = inPlace ? count : blockBytes / comparison.type.SizeOf();
    alignas(64) std::byte blockA[blockBytes];
    alignas(64) std::byte blockB[blockBytes];
    for (std::size_t first = 0; first < count; first += step) {
        const std::size_t n = std::min(step, count - first);
        bnry_RunComparison(a.Read(first, n, blockA), b.Read(first, n, blockB), result + first,
                           {comparison.operation, comparison.type.Code(), a.IsArray(), b.IsArray(),
                            static_cast<int>(n)},
                           level);
    }
}

} // namespace dataprocessing::detail
