#include "dataprocessing/kernels/ipl.h"

#include <memory>

namespace dataprocessing::detail {

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

} // namespace dataprocessing::detail
