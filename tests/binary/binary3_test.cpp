#include "dataprocessing/binary/bnry_bool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <random>
#include <type_traits>

#include "dataprocessing/binary/bnry_comp.h"
#include "tests/binary/compare_values.h"
#include "tests/failing_new.h"
#include "tests/support/refusal.h"
#include "tests/support/refusal_expected.h"

namespace {

using namespace compare;

const cal_c1DArrayCal lineCal(2, 0.5, 1);
const cal_c2DArrayCal imageCal(2, 0.5, -1, 0.25, 1, 3);

template<class A, class B>
concept Combinable = requires(const A& a, const B& b) {
    a& b;
    a || b;
    a&& b;
    a | b;
    a ^ b;
};
static_assert(Combinable<barr_c1DBoolArray, barr_c1DBoolArray>);
static_assert(Combinable<barr_c2DBoolArray, barr_c2DBoolArray>);
static_assert(!Combinable<barr_c1DBoolArray, barr_c2DBoolArray>);

template<class Mask>
void expectSameByAssignment(const Mask& a, const Mask& b) {
    Mask result = a;
    EXPECT_EQ(&(result &= b), &result);
    EXPECT_EQ(bytesOf(result), bytesOf(a & b));
    EXPECT_EQ(result.Cal(), a.Cal());
    EXPECT_EQ(&((result = a) |= b), &result);
    EXPECT_EQ(bytesOf(result), bytesOf(a | b));
    EXPECT_EQ(&((result = a) ^= b), &result);
    EXPECT_EQ(bytesOf(result), bytesOf(a ^ b));
    result ^= result;
    EXPECT_FALSE(result.Any());
}

TEST(Logic, TakesEveryByteButZeroAsTrue) {
    for (int a = 0; a < 256; ++a)
        for (int b = 0; b < 256; ++b) {
            const barr_c1DBoolArray first = maskOf({a}), second = maskOf({b});
            ASSERT_EQ(bytesOf(first & second), Bytes{a != 0 && b != 0 ? 1 : 0}) << a << " " << b;
            ASSERT_EQ(bytesOf(first || second), Bytes{a != 0 || b != 0 ? 1 : 0}) << a << " " << b;
            ASSERT_EQ(bytesOf(first && second), Bytes{a != 0 && b != 0 ? 1 : 0}) << a << " " << b;
            ASSERT_EQ(bytesOf(first | second), Bytes{a != 0 || b != 0 ? 1 : 0}) << a << " " << b;
            ASSERT_EQ(bytesOf(first ^ second), Bytes{(a != 0) != (b != 0) ? 1 : 0}) << a << b;
            ASSERT_EQ(bytesOf(!first), Bytes{a == 0 ? 1 : 0}) << a;
        }
}

TEST(Logic, CombinesEveryElement) {
    std::mt19937 random(7);
    constexpr int bytes[] = {0, 0, 1, 2, 128, 255};
    for (const int size : tellingSizes) {
        Bytes a, b, both, either, oneOf, neither;
        for (int i = 0; i < size; ++i) {
            a.push_back(bytes[random() % 6]);
            b.push_back(bytes[random() % 6]);
            both.push_back(a.back() != 0 && b.back() != 0 ? 1 : 0);
            either.push_back(a.back() != 0 || b.back() != 0 ? 1 : 0);
            oneOf.push_back((a.back() != 0) != (b.back() != 0) ? 1 : 0);
            neither.push_back(a.back() == 0 ? 1 : 0);
        }
        const barr_c1DBoolArray lineA = maskOf(a, lineCal), lineB = maskOf(b, lineCal);
        ASSERT_EQ(bytesOf(lineA & lineB), both) << size;
        ASSERT_EQ(bytesOf(lineA || lineB), either) << size;
        ASSERT_EQ(bytesOf(!lineA), neither) << size;
        expectSameByAssignment(lineA, lineB);
        ASSERT_EQ(bytesOf(lineA && lineB), both) << size;
        ASSERT_EQ(bytesOf(lineA | lineB), either) << size;
        ASSERT_EQ(bytesOf(lineA ^ lineB), oneOf) << size;
        for (const int sizeX : {1, 3, 5, size}) {
            if (size % sizeX != 0)
                continue;
            const barr_c2DBoolArray imageA = maskOf(sizeX, size / sizeX, a, imageCal);
            const barr_c2DBoolArray imageB = maskOf(sizeX, size / sizeX, b, imageCal);
            ASSERT_EQ(bytesOf(imageA & imageB), both) << size << " " << sizeX;
            ASSERT_EQ(bytesOf(imageA || imageB), either) << size << " " << sizeX;
            ASSERT_EQ(bytesOf(!imageA), neither) << size << " " << sizeX;
            expectSameByAssignment(imageA, imageB);
            ASSERT_EQ(bytesOf(imageA && imageB), both) << size << " " << sizeX;
            ASSERT_EQ(bytesOf(imageA | imageB), either) << size << " " << sizeX;
            ASSERT_EQ(bytesOf(imageA ^ imageB), oneOf) << size << " " << sizeX;
            ASSERT_EQ((imageA & imageB).SizeX(), sizeX);
            ASSERT_EQ((imageA || imageB).SizeY(), size / sizeX);
            ASSERT_EQ((!imageA).SizeX(), sizeX);
            ASSERT_EQ((!imageA).SizeY(), size / sizeX);
        }
    }
}

TEST(Logic, KeepsTheCalibrationOfTheFirstOperand) {
    // The same elements, described from another one.
    const cal_c1DArrayCal same(2.5, 0.5, 2);
    const barr_c1DBoolArray a = maskOf({1, 0, 1}, lineCal), b = maskOf({1, 1, 0}, same);
    EXPECT_EQ((a & b).Cal(), lineCal);
    EXPECT_EQ((b & a).Cal(), same);
    EXPECT_EQ((b || a).Cal(), same);
    EXPECT_EQ((!b).Cal(), same);
    EXPECT_EQ(bytesOf(a & b), (Bytes{1, 0, 0}));
    const barr_c2DBoolArray image = maskOf(2, 1, {1, 0}, imageCal);
    EXPECT_EQ((image & image).Cal(), imageCal);
    EXPECT_EQ((image || image).Cal(), imageCal);
    EXPECT_EQ((!image).Cal(), imageCal);
}

TEST(Logic, LeavesItsOperands) {
    const barr_c1DBoolArray a = maskOf({7, 0}), b = maskOf({0, 9});
    a& b;
    a || b;
    !a;
    EXPECT_EQ(bytesOf(a), (Bytes{7, 0}));
    EXPECT_EQ(bytesOf(b), (Bytes{0, 9}));
}

TEST(Logic, CombinesAMaskWithItself) {
    const barr_c1DBoolArray a = maskOf({7, 0});
    EXPECT_EQ(bytesOf(a & a), (Bytes{1, 0}));
    EXPECT_EQ(bytesOf(a || a), (Bytes{1, 0}));
    EXPECT_EQ(bytesOf(!!a), (Bytes{1, 0}));
}

TEST(Logic, RefusesLinesOfDifferentRangeOrDelta) {
    const barr_c1DBoolArray mask = maskOf({1, 1}, {0, 1, 0});
    const barr_c1DBoolArray others[] = {maskOf({1, 1}, {0, 2, 0}), maskOf({1, 1}, {1, 1, 0}),
                                        maskOf({1, 1, 1}, {0, 1, 0}), maskOf({1}, {0, 2, 0}),
                                        maskOf({}, {0, 1, 0})};
    for (const barr_c1DBoolArray& other : others) {
        EXPECT_EQ(refusalOf([&] { return mask & other; }), "binary3:58");
        EXPECT_EQ(refusalOf([&] { return other & mask; }), "binary3:58");
        EXPECT_EQ(refusalOf([&] { return mask || other; }), "binary3:58");
        EXPECT_EQ(refusalOf([&] { return mask && other; }), "binary3:58");
        EXPECT_EQ(refusalOf([&] { return mask | other; }), "binary3:58");
        EXPECT_EQ(refusalOf([&] { return mask ^ other; }), "binary3:58");
        barr_c1DBoolArray changed = mask;
        EXPECT_EQ(refusalOf([&] { changed &= other; }), "binary3:58");
        EXPECT_EQ(refusalOf([&] { changed |= other; }), "binary3:58");
        EXPECT_EQ(refusalOf([&] { changed ^= other; }), "binary3:58");
        EXPECT_EQ(bytesOf(changed), bytesOf(mask));
    }
}

TEST(Logic, RefusesImagesOfDifferentRangeOrDelta) {
    const barr_c2DBoolArray mask = maskOf(2, 2, Bytes(4, 1));
    const barr_c2DBoolArray others[] = {maskOf(2, 2, Bytes(4, 1), {0, 2, 0, 1, 0, 0}),
                                        maskOf(2, 2, Bytes(4, 1), {0, 1, 0, 2, 0, 0}),
                                        maskOf(2, 2, Bytes(4, 1), {0, 1, 0, 1, 0, 1}),
                                        maskOf(1, 4, Bytes(4, 1)), maskOf(2, 1, Bytes(2, 1))};
    for (const barr_c2DBoolArray& other : others) {
        EXPECT_EQ(refusalOf([&] { return mask & other; }), "binary3:83");
        EXPECT_EQ(refusalOf([&] { return mask || other; }), "binary3:83");
        EXPECT_EQ(refusalOf([&] { return mask && other; }), "binary3:83");
        EXPECT_EQ(refusalOf([&] { return mask ^ other; }), "binary3:83");
        barr_c2DBoolArray changed = mask;
        EXPECT_EQ(refusalOf([&] { changed |= other; }), "binary3:83");
        EXPECT_EQ(bytesOf(changed), bytesOf(mask));
    }
}

TEST(Logic, OfDifferentMasksSaysWhatIsRefused) {
    const auto refusal = caught<expt_cProgramException>([&] { maskOf({1}) & maskOf({1, 1}); });
    EXPECT_STREQ(refusal.what(),
                 "binary3:58: The masks differ in range or delta, and are never aligned.");
}

TEST(Logic, RefusesMasksWithoutElements) {
    const barr_c1DBoolArray line;
    EXPECT_EQ(refusalOf([&] { return line & line; }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { return line || line; }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { return !line; }), indexRefusal);
    for (const barr_c2DBoolArray& image :
         {barr_c2DBoolArray(), barr_c2DBoolArray(0, 2), barr_c2DBoolArray(2, 0)}) {
        EXPECT_EQ(refusalOf([&] { return image & image; }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { return image || image; }), indexRefusal);
        EXPECT_EQ(refusalOf([&] { return !image; }), indexRefusal);
    }
}

TEST(Logic, RefusesMasksWhoseCalibrationsHideTheirSizes) {
    const barr_c1DBoolArray one = maskOf({1}, {0, 0, 0}), two = maskOf({1, 1}, {0, 0, 0});
    EXPECT_EQ(refusalOf([&] { return one & two; }), sizeRefusal);
    EXPECT_EQ(refusalOf([&] { return two || one; }), sizeRefusal);
    const cal_c2DArrayCal point(0, 0, 0, 0, 0, 0);
    EXPECT_EQ(refusalOf([&] {
                  return maskOf(1, 4, Bytes(4, 1), point) & maskOf(2, 2, Bytes(4, 1), point);
              }),
              sizeRefusal);
    EXPECT_EQ(refusalOf([&] {
                  return maskOf(2, 1, Bytes(2, 1), point) & maskOf(2, 2, Bytes(4, 1), point);
              }),
              sizeRefusal);
    barr_c1DBoolArray none;
    none.SetCal({0, 0, 0});
    EXPECT_EQ(refusalOf([&] { return one & none; }), indexRefusal);
}

TEST(Logic, WithoutMemoryThrows) {
    const barr_c1DBoolArray line = maskOf({1, 0});
    const barr_c2DBoolArray image = maskOf(1, 2, {1, 0});
    const FailingNew noMemory(0);
    EXPECT_THROW(line & line, std::bad_alloc);
    EXPECT_THROW(line || line, std::bad_alloc);
    EXPECT_THROW(!line, std::bad_alloc);
    EXPECT_THROW(image & image, std::bad_alloc);
    EXPECT_THROW(image || image, std::bad_alloc);
    EXPECT_THROW(!image, std::bad_alloc);
}

TEST(Logic, JoinsComparisons) {
    const darr_c1DArray line = lineOf(7, {1, 5, 9, notANumber});
    EXPECT_EQ(bytesOf((line > 2) & (line < 8)), (Bytes{0, 1, 0, 0}));
    EXPECT_EQ(bytesOf((line < 2) || (line > 8)), (Bytes{1, 0, 1, 0}));
    // Not less is not the same as at least: a NaN is neither.
    EXPECT_EQ(bytesOf(!(line < 5)), (Bytes{0, 1, 1, 1}));
    EXPECT_EQ(bytesOf(line >= 5), (Bytes{0, 1, 1, 0}));
}

} // namespace
