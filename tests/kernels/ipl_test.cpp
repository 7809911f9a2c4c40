#include "dataprocessing/kernels/ipl.h"

#include <array>
#include <limits>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

using namespace dataprocessing::detail;

namespace {

/// A header that is freed, and never its storage.
class cHeader {
public:
    cHeader(int depth, int width, int height, void* data)
        : image_(iplCreateImageHeader(1, 0, depth, "GRAY", "GRAY", 0, 1, 8, width, height, nullptr,
                                      nullptr, nullptr, nullptr)) {
        image_->data = data;
    }
    cHeader(const cHeader&) = delete;
    cHeader& operator=(const cHeader&) = delete;
    ~cHeader() { iplDeallocate(image_, IPL_IMAGE_HEADER); }

    ipl_sImage* get() const { return image_; }

private:
    ipl_sImage* image_;
};

constexpr int minInt = std::numeric_limits<int>::min();
constexpr int maxInt = std::numeric_limits<int>::max();

} // namespace

TEST(ImageHeader, HoldsWhatItWasCreatedWith) {
    ipl_sImage mask;
    int id = 0;
    ipl_sImage* image = iplCreateImageHeader(1, 0, IPL_DEPTH_16S, "GRAY", "GREY", 0, 1, 8, 12, 3,
                                             nullptr, &mask, &id, nullptr);
    EXPECT_EQ(image->channels, 1);
    EXPECT_EQ(image->alphaChannel, 0);
    EXPECT_EQ(image->depth, IPL_DEPTH_16S);
    EXPECT_EQ(std::string_view(image->colourModel, 4), "GRAY");
    EXPECT_EQ(std::string_view(image->channelSequence, 4), "GREY");
    EXPECT_EQ(image->dataOrder, 0);
    EXPECT_EQ(image->origin, 1);
    EXPECT_EQ(image->align, 8);
    EXPECT_EQ(image->width, 12);
    EXPECT_EQ(image->height, 3);
    EXPECT_EQ(image->roi, nullptr);
    EXPECT_EQ(image->mask, &mask);
    EXPECT_EQ(image->id, &id);
    EXPECT_EQ(image->tileInfo, nullptr);
    EXPECT_EQ(image->data, nullptr);
    iplDeallocate(image, IPL_IMAGE_HEADER);
}

TEST(ImageHeader, NamesShorterThanFourLettersArePadded) {
    const ipl_sImage image = ipl_Header(1, 0, IPL_DEPTH_32F, "G", "GR", 0, 1, 8, 1, 1, nullptr,
                                        nullptr, nullptr, nullptr);
    EXPECT_EQ(std::string_view(image.colourModel, 4), std::string_view("G\0\0\0", 4));
    EXPECT_EQ(std::string_view(image.channelSequence, 4), std::string_view("GR\0\0", 4));
}

TEST(ImageHeader, DepthCodesAreFixed) {
    EXPECT_EQ(static_cast<unsigned>(IPL_DEPTH_16S), 0x80000010u);
    EXPECT_EQ(static_cast<unsigned>(IPL_DEPTH_32S), 0x80000020u);
    EXPECT_EQ(IPL_DEPTH_32F, 32);
    EXPECT_EQ(IPL_IMAGE_HEADER, 1);
}

TEST(ImageHeader, RowsAreAlignedToEightBytes) {
    const struct {
        int depth, width;
        std::size_t bytes;
    } rows[] = {{IPL_DEPTH_16S, 3, 8},  {IPL_DEPTH_16S, 4, 8},  {IPL_DEPTH_16S, 5, 16},
                {IPL_DEPTH_32S, 3, 16}, {IPL_DEPTH_32F, 4, 16}, {IPL_DEPTH_32F, 5, 24}};
    for (const auto& row : rows)
        EXPECT_EQ(cHeader(row.depth, row.width, 1, nullptr).get()->rowBytes, row.bytes)
            << row.depth << ' ' << row.width;
}

TEST(ImageHeader, DeallocationLeavesTheStorageAlone) {
    std::vector<float> storage = {1, 2};
    { const cHeader header(IPL_DEPTH_32F, 2, 1, storage.data()); }
    EXPECT_EQ(storage, (std::vector<float>{1, 2}));
}

TEST(ImageHeader, DeallocationWithoutTheFlagKeepsTheHeader) {
    ipl_sImage* image = iplCreateImageHeader(1, 0, IPL_DEPTH_32F, "GRAY", "GRAY", 0, 1, 8, 2, 1,
                                             nullptr, nullptr, nullptr, nullptr);
    iplDeallocate(image, 0);
    EXPECT_EQ(image->width, 2);
    iplDeallocate(image, IPL_IMAGE_HEADER);
}
