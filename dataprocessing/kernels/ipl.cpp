#include "dataprocessing/kernels/ipl.h"

#include <cmath>
#include <memory>

namespace dataprocessing::detail {

namespace {

bool agree(const ipl_sImage& a, const ipl_sImage& b) noexcept {
    return a.depth == b.depth && a.channels == b.channels && a.width == b.width &&
           a.height == b.height;
}

const std::byte* rowOf(const ipl_sImage& image, int y) noexcept {
    return static_cast<const std::byte*>(image.data) + static_cast<std::size_t>(y) * image.rowBytes;
}

std::byte* rowOf(ipl_sImage& image, int y) noexcept {
    return static_cast<std::byte*>(image.data) + static_cast<std::size_t>(y) * image.rowBytes;
}

std::size_t rowElements(const ipl_sImage& image) noexcept {
    return static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.channels);
}

/// `scalar` is an element of the source's type.
void combineElement(arit_eOperation operation, const ipl_sImage& source, ipl_sImage& result,
                    const void* scalar, bool flip, level_eSet level) noexcept {
    const arit_Loop loop = arit_PlainLoop(ipl_ElementType(source.depth), operation,
                                          flip ? arit_NumberFirst : arit_NumberSecond, level);
    if (loop == nullptr || !agree(source, result))
        return;
    for (int y = 0; y < result.height; ++y) {
        const std::byte* row = rowOf(source, y);
        loop(flip ? scalar : row, flip ? row : scalar, rowOf(result, y), rowElements(result));
    }
}

} // namespace

ipl_sImage* iplCreateImageHeader(int channels, int alphaChannel, int depth, const char* colourModel,
                                 const char* channelSequence, int dataOrder, int origin, int align,
                                 int width, int height, const ipl_sRoi* roi, ipl_sImage* mask,
                                 void* id, ipl_sTileInfo* tileInfo) {
    return std::make_unique<ipl_sImage>(ipl_Header(channels, alphaChannel, depth, colourModel,
                                                   channelSequence, dataOrder, origin, align, width,
                                                   height, roi, mask, id, tileInfo))
        .release();
}

void iplDeallocate(ipl_sImage* image, int flag) noexcept {
    if ((flag & IPL_IMAGE_HEADER) != 0)
        const std::unique_ptr<ipl_sImage> freed(image);
}

int ipl_IntegerOf(float scalar) noexcept {
    return std::fabs(scalar) < 0x1p63F ? static_cast<int>(static_cast<long long>(scalar)) : 0;
}

void ipl_Combine(arit_eOperation operation, const ipl_sImage* a, const ipl_sImage* b,
                 ipl_sImage* result, level_eSet level) noexcept {
    const arit_Loop loop = arit_PlainLoop(ipl_ElementType(a->depth), operation, arit_Arrays, level);
    if (loop == nullptr || !agree(*a, *result) || !agree(*b, *result))
        return;
    for (int y = 0; y < result->height; ++y)
        loop(rowOf(*a, y), rowOf(*b, y), rowOf(*result, y), rowElements(*result));
}

void ipl_CombineScalar(arit_eOperation operation, const ipl_sImage* source, ipl_sImage* result,
                       int scalar, bool flip, level_eSet level) noexcept {
    const short low = static_cast<short>(scalar);
    const float real = static_cast<float>(scalar);
    const void* element = source->depth == IPL_DEPTH_16S   ? static_cast<const void*>(&low)
                          : source->depth == IPL_DEPTH_32F ? static_cast<const void*>(&real)
                                                           : &scalar;
    combineElement(operation, *source, *result, element, flip, level);
}

void ipl_CombineScalar(arit_eOperation operation, const ipl_sImage* source, ipl_sImage* result,
                       float scalar, bool flip, level_eSet level) noexcept {
    if (source->depth == IPL_DEPTH_32F)
        combineElement(operation, *source, *result, &scalar, flip, level);
    else
        ipl_CombineScalar(operation, source, result, ipl_IntegerOf(scalar), flip, level);
}

void iplAdd(const ipl_sImage* a, const ipl_sImage* b, ipl_sImage* result) noexcept {
    ipl_Combine(arit_Add, a, b, result, level_Current());
}
void iplSubtract(const ipl_sImage* a, const ipl_sImage* b, ipl_sImage* result) noexcept {
    ipl_Combine(arit_Subtract, a, b, result, level_Current());
}
void iplMultiply(const ipl_sImage* a, const ipl_sImage* b, ipl_sImage* result) noexcept {
    ipl_Combine(arit_Multiply, a, b, result, level_Current());
}
void iplAddS(const ipl_sImage* source, ipl_sImage* result, int scalar) noexcept {
    ipl_CombineScalar(arit_Add, source, result, scalar, false, level_Current());
}
void iplSubtractS(const ipl_sImage* source, ipl_sImage* result, int scalar, bool flip) noexcept {
    ipl_CombineScalar(arit_Subtract, source, result, scalar, flip, level_Current());
}
void iplMultiplyS(const ipl_sImage* source, ipl_sImage* result, int scalar) noexcept {
    ipl_CombineScalar(arit_Multiply, source, result, scalar, false, level_Current());
}
void iplAddSFP(const ipl_sImage* source, ipl_sImage* result, float scalar) noexcept {
    ipl_CombineScalar(arit_Add, source, result, scalar, false, level_Current());
}
void iplSubtractSFP(const ipl_sImage* source, ipl_sImage* result, float scalar,
                    bool flip) noexcept {
    ipl_CombineScalar(arit_Subtract, source, result, scalar, flip, level_Current());
}
void iplMultiplySFP(const ipl_sImage* source, ipl_sImage* result, float scalar) noexcept {
    ipl_CombineScalar(arit_Multiply, source, result, scalar, false, level_Current());
}

} // namespace dataprocessing::detail
