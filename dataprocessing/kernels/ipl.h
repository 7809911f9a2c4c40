#pragma once

/// @file
/// Image headers over storage that belongs to somebody else.

#include <cstddef>

#include "dataprocessing/base/dtyp.h"

namespace dataprocessing::detail {

constexpr int IPL_DEPTH_16S = static_cast<int>(0x80000010u); ///< 16-bit signed integers
constexpr int IPL_DEPTH_32S = static_cast<int>(0x80000020u); ///< 32-bit signed integers
constexpr int IPL_DEPTH_32F = 32;                            ///< single precision
constexpr int IPL_DATA_ORDER_PIXEL = 0;                      ///< channels interleaved
constexpr int IPL_ORIGIN_BL = 1;                             ///< first row at the bottom
constexpr int IPL_ALIGN_QWORD = 8;                           ///< rows begin on multiples of 8 bytes
constexpr int IPL_IMAGE_HEADER = 1; ///< what iplDeallocate frees: the header alone

/// The part of an image that routines work on.
struct ipl_sRoi;
/// The description of a tiled image.
struct ipl_sTileInfo;

/// An image header. The storage it points to is never its own.
struct ipl_sImage {
    int channels = 0;
    int alphaChannel = 0;
    int depth = 0;
    char colourModel[4] = {};
    char channelSequence[4] = {};
    int dataOrder = 0;
    int origin = 0;
    int align = 0;
    int width = 0;
    int height = 0;
    const ipl_sRoi* roi = nullptr;
    ipl_sImage* mask = nullptr;
    void* id = nullptr;
    ipl_sTileInfo* tileInfo = nullptr;
    std::size_t rowBytes = 0; ///< from one row to the next, a multiple of `align`
    void* data = nullptr;
};

/// The element type of a depth; of code 0 for a depth that has no arithmetic.
constexpr dtyp_cDataType ipl_ElementType(int depth) noexcept {
    switch (depth) {
    case IPL_DEPTH_16S:
        return dtyp_Int16;
    case IPL_DEPTH_32S:
        return dtyp_Int32;
    case IPL_DEPTH_32F:
        return dtyp_Float;
    default:
        return dtyp_cDataType(0);
    }
}

/// The header with these properties and no storage yet, by value: for a caller who needs it for one
/// call only. Names are taken up to four characters.
constexpr ipl_sImage ipl_Header(int channels, int alphaChannel, int depth, const char* colourModel,
                                const char* channelSequence, int dataOrder, int origin, int align,
                                int width, int height, const ipl_sRoi* roi, ipl_sImage* mask,
                                void* id, ipl_sTileInfo* tileInfo) noexcept {
    ipl_sImage image;
    image.channels = channels;
    image.alphaChannel = alphaChannel;
    image.depth = depth;
    for (int i = 0; i < 4 && colourModel[i] != '\0'; ++i)
        image.colourModel[i] = colourModel[i];
    for (int i = 0; i < 4 && channelSequence[i] != '\0'; ++i)
        image.channelSequence[i] = channelSequence[i];
    image.dataOrder = dataOrder;
    image.origin = origin;
    image.align = align;
    image.width = width;
    image.height = height;
    image.roi = roi;
    image.mask = mask;
    image.id = id;
    image.tileInfo = tileInfo;
    const std::size_t step = align > 0 ? static_cast<std::size_t>(align) : 1;
    const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(channels) *
                              ipl_ElementType(depth).SizeOf();
    image.rowBytes = (bytes + step - 1) / step * step;
    return image;
}

/// The same header in storage of its own; the caller sets its `data` and frees it through
/// iplDeallocate. Throws std::bad_alloc.
ipl_sImage* iplCreateImageHeader(int channels, int alphaChannel, int depth, const char* colourModel,
                                 const char* channelSequence, int dataOrder, int origin, int align,
                                 int width, int height, const ipl_sRoi* roi, ipl_sImage* mask,
                                 void* id, ipl_sTileInfo* tileInfo);
/// Frees a header when `flag` holds IPL_IMAGE_HEADER, and never the storage it points to.
void iplDeallocate(ipl_sImage* image, int flag) noexcept;

} // namespace dataprocessing::detail
