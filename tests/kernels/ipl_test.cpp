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

TEST(ImageArithmetic, CombinesTwoImages) {
    std::array<float, 2> a = {5, 7}, b = {2, 3}, r{};
    const cHeader x(IPL_DEPTH_32F, 2, 1, a.data()), y(IPL_DEPTH_32F, 2, 1, b.data()),
        z(IPL_DEPTH_32F, 2, 1, r.data());
    iplAdd(x.get(), y.get(), z.get());
    EXPECT_EQ(r, (std::array<float, 2>{7, 10}));
    iplSubtract(x.get(), y.get(), z.get());
    EXPECT_EQ(r, (std::array<float, 2>{3, 4}));
    iplMultiply(x.get(), y.get(), z.get());
    EXPECT_EQ(r, (std::array<float, 2>{10, 21}));
}

TEST(ImageArithmetic, IntegersWrap) {
    std::array<short, 2> a = {32767, -32768}, b = {1, -1}, r{};
    const cHeader x(IPL_DEPTH_16S, 2, 1, a.data()), y(IPL_DEPTH_16S, 2, 1, b.data()),
        z(IPL_DEPTH_16S, 2, 1, r.data());
    iplAdd(x.get(), y.get(), z.get());
    EXPECT_EQ(r, (std::array<short, 2>{-32768, 32767}));
    iplMultiply(x.get(), x.get(), z.get());
    EXPECT_EQ(r, (std::array<short, 2>{1, 0}));

    std::array<int, 2> c = {maxInt, minInt}, s{};
    const cHeader u(IPL_DEPTH_32S, 2, 1, c.data()), w(IPL_DEPTH_32S, 2, 1, s.data());
    iplAddS(u.get(), w.get(), 1);
    EXPECT_EQ(s, (std::array<int, 2>{minInt, minInt + 1}));
    iplSubtract(u.get(), u.get(), w.get());
    EXPECT_EQ(s, (std::array<int, 2>{0, 0}));
    iplMultiply(u.get(), u.get(), w.get());
    EXPECT_EQ(s, (std::array<int, 2>{1, 0}));
}

TEST(ImageArithmetic, ScalarCallsOfEveryKind) {
    std::array<short, 2> a = {5, 7}, r{};
    const cHeader x(IPL_DEPTH_16S, 2, 1, a.data()), z(IPL_DEPTH_16S, 2, 1, r.data());
    iplAddS(x.get(), z.get(), 2);
    EXPECT_EQ(r, (std::array<short, 2>{7, 9}));
    iplSubtractS(x.get(), z.get(), 2, false);
    EXPECT_EQ(r, (std::array<short, 2>{3, 5}));
    iplSubtractS(x.get(), z.get(), 2, true);
    EXPECT_EQ(r, (std::array<short, 2>{-3, -5}));
    iplMultiplyS(x.get(), z.get(), 2);
    EXPECT_EQ(r, (std::array<short, 2>{10, 14}));
    iplAddSFP(x.get(), z.get(), -2.9F);
    EXPECT_EQ(r, (std::array<short, 2>{3, 5}));

    std::array<float, 2> b = {5, 7}, s{};
    const cHeader y(IPL_DEPTH_32F, 2, 1, b.data()), w(IPL_DEPTH_32F, 2, 1, s.data());
    iplAddSFP(y.get(), w.get(), 0.5F);
    EXPECT_EQ(s, (std::array<float, 2>{5.5F, 7.5F}));
    iplSubtractSFP(y.get(), w.get(), 0.5F, false);
    EXPECT_EQ(s, (std::array<float, 2>{4.5F, 6.5F}));
    iplSubtractSFP(y.get(), w.get(), 0.5F, true);
    EXPECT_EQ(s, (std::array<float, 2>{-4.5F, -6.5F}));
    iplMultiplySFP(y.get(), w.get(), 0.5F);
    EXPECT_EQ(s, (std::array<float, 2>{2.5F, 3.5F}));
    iplSubtractS(y.get(), w.get(), 3, false);
    EXPECT_EQ(s, (std::array<float, 2>{2, 4}));
}

TEST(ImageArithmetic, FloatScalarsBecomeIntegersByTruncationKeepingLowBits) {
    const struct {
        float scalar;
        int integer;
    } cases[] = {{0, 0},
                 {2.9F, 2},
                 {-2.9F, -2},
                 {16777216.0F, 16777216},
                 {2147483520.0F, 2147483520},
                 {2147483648.0F, minInt},
                 {-2147483648.0F, minInt},
                 {4294967296.0F, 0},
                 {0x1.8p32F, minInt},
                 {0x1p63F, 0},
                 {-0x1p63F, 0},
                 {1e38F, 0},
                 {std::numeric_limits<float>::infinity(), 0},
                 {std::numeric_limits<float>::quiet_NaN(), 0}};
    for (const auto& c : cases) {
        int element = 0, result = -1;
        const cHeader x(IPL_DEPTH_32S, 1, 1, &element), z(IPL_DEPTH_32S, 1, 1, &result);
        iplAddSFP(x.get(), z.get(), c.scalar);
        EXPECT_EQ(result, c.integer) << c.scalar;
        EXPECT_EQ(ipl_IntegerOf(c.scalar), c.integer) << c.scalar;
    }
}

TEST(ImageArithmetic, RowsFollowTheirAlignmentAndPaddingIsNotWritten) {
    std::array<short, 8> a = {1, 2, 3, 99, 4, 5, 6, 99}, r;
    r.fill(-1);
    const cHeader x(IPL_DEPTH_16S, 3, 2, a.data()), z(IPL_DEPTH_16S, 3, 2, r.data());
    iplAddS(x.get(), z.get(), 10);
    EXPECT_EQ(r, (std::array<short, 8>{11, 12, 13, -1, 14, 15, 16, -1}));
    iplAdd(x.get(), x.get(), z.get());
    EXPECT_EQ(r, (std::array<short, 8>{2, 4, 6, -1, 8, 10, 12, -1}));
}

TEST(ImageArithmetic, ImagesThatDisagreeOrHaveNoArithmeticLeaveTheResultAlone) {
    std::array<float, 4> a = {1, 2, 3, 4}, r = {9, 9, 9, 9};
    const cHeader wide(IPL_DEPTH_32F, 4, 1, a.data()), narrow(IPL_DEPTH_32F, 2, 1, a.data()),
        tall(IPL_DEPTH_32F, 4, 2, a.data()), integer(IPL_DEPTH_32S, 4, 1, a.data()),
        other(8, 4, 1, a.data()), result(IPL_DEPTH_32F, 4, 1, r.data()),
        otherResult(8, 4, 1, r.data());
    iplAdd(wide.get(), narrow.get(), result.get());
    iplAdd(narrow.get(), narrow.get(), result.get());
    iplAdd(wide.get(), tall.get(), result.get());
    iplAdd(wide.get(), integer.get(), result.get());
    iplAddSFP(narrow.get(), result.get(), 1);
    iplAddSFP(integer.get(), result.get(), 1);
    iplAdd(other.get(), other.get(), otherResult.get());
    iplAddS(other.get(), otherResult.get(), 1);
    EXPECT_EQ(r, (std::array<float, 4>{9, 9, 9, 9}));
}
