#include "dataprocessing/operand/algn.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/valuemodel/view_make.h"
#include "tests/binary/arith_oracle.h"
#include "tests/binary/arith_values.h"

namespace {

using namespace dataprocessing::detail;
using oracle::Axis;
using oracle::difference;
using oracle::Value;

darr_c1DArray line(const std::vector<double>& elements, const cal_c1DArrayCal& cal = {}) {
    return darr_c1DArray(std::span<const double>(elements), cal);
}

darr_c2DArray image(int sizeX, int sizeY, const cal_c2DArrayCal& cal) {
    darr_c2DArray result(sizeX, sizeY, dtyp_Double, cal);
    double next = 1;
    for (double& element : result.Elements<double>())
        element = next++;
    return result;
}

std::vector<double> elementsOf(const darr_c1DArray& array) {
    const auto span = array.Elements<double>();
    return {span.begin(), span.end()};
}

template<class Array>
std::string difference(const Array& expected, const Array& actual) {
    return oracle::difference({"", oracle::valueOf(expected)}, {"", oracle::valueOf(actual)});
}

// --- what the steps make of arrays --------------------------------------------------------------

template<class Array>
int matchDelta(Array& a, Array& b) {
    algn_sAxes ofA = algn_Axes(a);
    algn_sAxes ofB = algn_Axes(b);
    const int rescaled = algn_MatchDelta(ofA, ofB);
    a = view_Made(a, ofA.x, ofA.y);
    b = view_Made(b, ofB.x, ofB.y);
    return rescaled;
}

template<class Array>
bool matchRange(Array& a, Array& b) {
    algn_sAxes ofA = algn_Axes(a);
    algn_sAxes ofB = algn_Axes(b);
    const bool isChanged = algn_MatchRange(ofA, ofB);
    a = view_Made(a, ofA.x, ofA.y);
    b = view_Made(b, ofB.x, ofB.y);
    return isChanged;
}

/// Of the data, by one of the two steps.
template<class Mask, class Array>
bool matchToMask(bool step(const algn_sAxes&, algn_sAxes&), const Mask& mask, Array& data) {
    algn_sAxes axes = algn_Axes(data);
    const bool isChanged = step(algn_Axes(mask), axes);
    data = view_Made(data, axes.x, axes.y);
    return isChanged;
}

// --- one type -----------------------------------------------------------------------------------

struct TypeCase {
    int first;
    int second;
    int wanted;
    int common;
};
constexpr TypeCase typeCases[] = {
    {5, 5, 5, 5}, {4, 5, 5, 5}, {5, 4, 5, 5},   {4, 4, 5, 5},   {1, 8, 7, 8}, // larger than wanted
    {8, 1, 7, 8}, {7, 7, 8, 8}, {9, 8, 10, 10}, {9, 10, 1, 10}, {3, 3, 3, 3},
};

TEST(CommonType, IsTheLargestOfTheWantedOneAndTheOperands) {
    for (const TypeCase& c : typeCases)
        EXPECT_EQ(algn_CommonType(dtyp_cDataType(c.first), dtyp_cDataType(c.second),
                                  dtyp_cDataType(c.wanted))
                      .Code(),
                  c.common);
}

// --- one delta, lines ---------------------------------------------------------------------------

TEST(MatchDelta, OfLinesResamplesTheCoarserOne) {
    const darr_c1DArray fine = line({1, 2, 3, 4}, {0, 0.5, 0});
    const darr_c1DArray coarse = line({10, 20}, {0, 1, 0});
    {
        darr_c1DArray a = fine, b = coarse;
        EXPECT_EQ(matchDelta(a, b), 2);
        EXPECT_EQ(difference(fine, a), "");
        EXPECT_EQ(b.Cal(), cal_c1DArrayCal(0, 0.5, 0));
        EXPECT_EQ(elementsOf(b), (std::vector<double>{10, 15, 20, 20}));
    }
    {
        darr_c1DArray a = coarse, b = fine;
        EXPECT_EQ(matchDelta(a, b), 1);
        EXPECT_EQ(difference(fine, b), "");
        EXPECT_EQ(elementsOf(a), (std::vector<double>{10, 15, 20, 20}));
    }
}

TEST(MatchDelta, OfEqualDeltasDoesNothing) {
    darr_c1DArray a = line({1, 2}, {0, 0.5, 0});
    darr_c1DArray b = line({3, 4, 5}, {7, 0.5, 2});
    const darr_c1DArray before[] = {a, b};
    EXPECT_EQ(matchDelta(a, b), 0);
    EXPECT_EQ(difference(before[0], a), "");
    EXPECT_EQ(difference(before[1], b), "");
}

TEST(MatchDelta, ComparesExactly) {
    darr_c1DArray a = line({1, 2}, {0, 1, 0});
    darr_c1DArray b = line({1, 2}, {0, std::nextafter(1.0, 2.0), 0});
    EXPECT_EQ(matchDelta(a, b), 2);
    EXPECT_EQ(b.Cal().Delta(), 1);
    a.SetDeltaX(std::nextafter(1.0, 2.0));
    EXPECT_EQ(matchDelta(a, b), 1);
    EXPECT_EQ(a.Cal().Delta(), 1);
}

TEST(MatchDelta, PassesOnWhatResamplingRefuses) {
    for (const double delta : {0.0, -1.0, -std::numeric_limits<double>::infinity()}) {
        darr_c1DArray a = line({1, 2});
        darr_c1DArray b = line({1, 2}, {0, delta, 0});
        EXPECT_EQ(refusalWithKindOf([&] { matchDelta(a, b); }), "program resc:1") << delta;
        EXPECT_EQ(elementsOf(a), (std::vector<double>{1, 2}));
    }
    darr_c1DArray a = line({1, 2});
    darr_c1DArray b = line({1, 2}, {0, 1e-10, 0});
    EXPECT_EQ(refusalWithKindOf([&] { matchDelta(a, b); }), "size arr:2");
    darr_c1DArray none = line({1, 2}, {0, std::numeric_limits<double>::quiet_NaN(), 0});
    EXPECT_EQ(refusalWithKindOf([&] { matchDelta(a, none); }), "program resc:1");
    EXPECT_EQ(refusalWithKindOf([&] { matchDelta(none, a); }), "size arr:2");
}

// --- one delta, images --------------------------------------------------------------------------

struct ImageDeltaCase {
    double first[2];
    double second[2];
    int code;
    double firstAfter[2];
    double secondAfter[2];
};
constexpr ImageDeltaCase imageDeltaCases[] = {
    {{1, 1}, {1, 1}, 0, {1, 1}, {1, 1}}, {{2, 1}, {1, 1}, 1, {1, 1}, {1, 1}},
    {{1, 2}, {1, 1}, 1, {1, 1}, {1, 1}}, {{2, 2}, {1, 1}, 1, {1, 1}, {1, 1}},
    {{1, 1}, {2, 1}, 2, {1, 1}, {1, 1}}, {{1, 1}, {1, 2}, 2, {1, 1}, {1, 1}},
    {{1, 1}, {2, 2}, 2, {1, 1}, {1, 1}}, {{1, 2}, {2, 1}, 1, {1, 1}, {2, 1}}, // one-sided
    {{2, 1}, {1, 2}, 1, {1, 1}, {1, 2}},
};

TEST(MatchDelta, OfImagesResamplesAtMostOne) {
    for (const ImageDeltaCase& c : imageDeltaCases) {
        const darr_c2DArray first = image(4, 4, {1, c.first[0], 2, c.first[1], 0, 0});
        const darr_c2DArray second = image(4, 4, {3, c.second[0], 4, c.second[1], 0, 0});
        darr_c2DArray a = first, b = second;
        EXPECT_EQ(matchDelta(a, b), c.code);
        EXPECT_EQ(a.Cal(), cal_c2DArrayCal(1, c.firstAfter[0], 2, c.firstAfter[1], 0, 0));
        EXPECT_EQ(b.Cal(), cal_c2DArrayCal(3, c.secondAfter[0], 4, c.secondAfter[1], 0, 0));
        EXPECT_EQ(a.Range(), first.Range());
        EXPECT_EQ(b.Range(), second.Range());
        EXPECT_EQ(difference(first, a).empty(), c.code != 1);
        EXPECT_EQ(difference(second, b).empty(), c.code != 2);
    }
}

// --- one range ----------------------------------------------------------------------------------

TEST(MatchRange, OfEqualRangesDoesNothing) {
    // Equal ranges, written differently.
    darr_c1DArray a = line({1, 2}, {0, 1, 0});
    darr_c1DArray b = line({3, 4}, {1, 1, 1});
    EXPECT_FALSE(matchRange(a, b));
    EXPECT_EQ(elementsOf(a), (std::vector<double>{1, 2}));
    EXPECT_EQ(elementsOf(b), (std::vector<double>{3, 4}));
    EXPECT_EQ(b.Cal(), cal_c1DArrayCal(1, 1, 1));

    darr_c2DArray c = image(2, 3, {});
    darr_c2DArray d = image(2, 3, {1, 1, 2, 1, 1, 2});
    EXPECT_FALSE(matchRange(c, d));
    EXPECT_EQ(d.Cal(), cal_c2DArrayCal(1, 1, 2, 1, 1, 2));
}

struct RangeCase {
    const char* what;
    double startA;
    std::vector<double> a;
    double startB;
    std::vector<double> b;
    double start;
    std::vector<double> aAfter;
    std::vector<double> bAfter;
};

TEST(MatchRange, OfLinesExtendsBothWithZerosToTheUnion) {
    const RangeCase cases[] = {
        {"overlapping", 0, {1, 2, 3}, 2, {4, 5}, 0, {1, 2, 3, 0}, {0, 0, 4, 5}},
        {"overlapping the other way", 2, {4, 5}, 0, {1, 2, 3}, 0, {0, 0, 4, 5}, {1, 2, 3, 0}},
        {"nested", 0, {1, 2, 3, 4}, 1, {5, 6}, 0, {1, 2, 3, 4}, {0, 5, 6, 0}},
        {"nested the other way", 1, {5, 6}, 0, {1, 2, 3, 4}, 0, {0, 5, 6, 0}, {1, 2, 3, 4}},
        {"same start", 3, {1}, 3, {5, 6}, 3, {1, 0}, {5, 6}},
        {"same end", 3, {1, 2}, 4, {6}, 3, {1, 2}, {0, 6}},
        {"touching", 0, {1, 2}, 2, {3}, 0, {1, 2, 0}, {0, 0, 3}},
        {"disjoint", -3, {1}, 1, {2}, -3, {1, 0, 0, 0, 0}, {0, 0, 0, 0, 2}},
        {"the first empty", 2, {}, 4, {1, 2}, 4, {0, 0}, {1, 2}},
        {"the second empty", 4, {1, 2}, 2, {}, 4, {1, 2}, {0, 0}},
    };
    for (const RangeCase& c : cases) {
        darr_c1DArray a = line(c.a, {c.startA, 1, 0});
        darr_c1DArray b = line(c.b, {c.startB, 1, 0});
        EXPECT_TRUE(matchRange(a, b)) << c.what;
        EXPECT_EQ(elementsOf(a), c.aAfter) << c.what;
        EXPECT_EQ(elementsOf(b), c.bAfter) << c.what;
        EXPECT_EQ(a.Range().Start(), c.start) << c.what;
        EXPECT_EQ(b.Range().Start(), c.start) << c.what;
        // Positions stay: it is the index that moves.
        EXPECT_EQ(a.Cal().Offset(), c.startA) << c.what;
        EXPECT_EQ(b.Cal().Offset(), c.startB) << c.what;
    }
}

TEST(MatchRange, TakesTheNearestElements) {
    // The second lies a quarter of a step further: it is not moved, and counts as if it did.
    darr_c1DArray a = line({1, 2, 3}, {0, 1, 0});
    darr_c1DArray b = line({4, 5, 6}, {0.25, 1, 0});
    EXPECT_TRUE(matchRange(a, b));
    EXPECT_EQ(elementsOf(a), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(elementsOf(b), (std::vector<double>{4, 5, 6}));
    EXPECT_EQ(a.Cal(), cal_c1DArrayCal(0, 1, 0));
    EXPECT_EQ(b.Cal(), cal_c1DArrayCal(0.25, 1, 0));

    // Half a step too, in either order; more than that is the next element.
    b.SetOffsetX(0.5);
    EXPECT_TRUE(matchRange(a, b));
    EXPECT_EQ(elementsOf(a), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(elementsOf(b), (std::vector<double>{4, 5, 6}));
    EXPECT_TRUE(matchRange(b, a));
    EXPECT_EQ(elementsOf(a), (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(elementsOf(b), (std::vector<double>{4, 5, 6}));
    b.SetOffsetX(0.5001);
    EXPECT_TRUE(matchRange(a, b));
    EXPECT_EQ(elementsOf(a), (std::vector<double>{1, 2, 3, 0}));
    EXPECT_EQ(elementsOf(b), (std::vector<double>{0, 4, 5, 6}));
}

TEST(MatchRange, OfLinesThatBothRunBackwardsKeepsTheirDirection) {
    darr_c1DArray a = line({1, 2, 3}, {0, -1, 0});
    darr_c1DArray b = line({4, 5}, {-2, -1, 0});
    EXPECT_TRUE(matchRange(a, b));
    EXPECT_EQ(elementsOf(a), (std::vector<double>{1, 2, 3, 0}));
    EXPECT_EQ(elementsOf(b), (std::vector<double>{0, 0, 4, 5}));
}

TEST(MatchRange, OfImagesExtendsBothAlongBothAxes) {
    darr_c2DArray a = image(2, 2, {0, 1, 0, 1, 0, 0});
    darr_c2DArray b = image(2, 1, {1, 1, 2, 1, 0, 0});
    EXPECT_TRUE(matchRange(a, b));
    const auto expect = [](const darr_c2DArray& array, const std::vector<double>& elements) {
        EXPECT_EQ(array.SizeX(), 3);
        EXPECT_EQ(array.SizeY(), 3);
        EXPECT_EQ(array.Range(), rnge_c2DRange(0, 0, 3, 3));
        const auto span = array.Elements<double>();
        EXPECT_EQ(std::vector<double>(span.begin(), span.end()), elements);
    };
    expect(a, {1, 2, 0, 3, 4, 0, 0, 0, 0});
    expect(b, {0, 0, 0, 0, 0, 0, 0, 1, 2});
    EXPECT_EQ(b.Cal(), cal_c2DArrayCal(1, 1, 2, 1, 1, 2));
}

TEST(MatchRange, OfImagesThatDifferAlongOneAxisOnlyExtendsThatOne) {
    darr_c2DArray a = image(2, 2, {});
    darr_c2DArray b = image(2, 3, {});
    EXPECT_TRUE(matchRange(a, b));
    EXPECT_EQ(a.SizeX(), 2);
    EXPECT_EQ(a.SizeY(), 3);
    darr_c2DArray c = image(3, 2, {});
    darr_c2DArray d = image(2, 2, {});
    EXPECT_TRUE(matchRange(c, d));
    EXPECT_EQ(d.SizeX(), 3);
    EXPECT_EQ(d.SizeY(), 2);
}

TEST(MatchRange, PassesOnWhatTheSelectionRefuses) {
    darr_c1DArray far = line({1, 2}, {2e9, 1, 0});
    darr_c1DArray near = line({1, 2}, {-2e9, 1, 0});
    EXPECT_EQ(refusalWithKindOf([&] { matchRange(near, far); }), "size arr:2");
    EXPECT_EQ(elementsOf(near), (std::vector<double>{1, 2}));
    darr_c1DArray nowhere = line({1, 2}, {std::numeric_limits<double>::quiet_NaN(), 1, 0});
    EXPECT_EQ(refusalWithKindOf([&] { matchRange(nowhere, near); }), "index arr:1");
}

// --- aligned already ----------------------------------------------------------------------------

TEST(IsAligned, MeansEqualDeltasRangesAndCountsAlongBothAxes) {
    const auto areAligned = [](const auto& a, const auto& b) {
        const bool answer = algn_IsAligned(algn_Axes(a), algn_Axes(b));
        EXPECT_EQ(algn_IsAligned(algn_Axes(b), algn_Axes(a)), answer);
        return answer;
    };
    const darr_c1DArray a = line({1, 2});
    EXPECT_TRUE(areAligned(a, line({3, 4})));
    EXPECT_TRUE(areAligned(a, line({3, 4}, {1, 1, 1})));
    EXPECT_FALSE(areAligned(a, line({3, 4, 5})));
    EXPECT_FALSE(areAligned(a, line({3, 4}, {0.5, 1, 0})));
    EXPECT_FALSE(areAligned(a, line({3, 4, 5, 6}, {0, 0.5, 0})));
    EXPECT_FALSE(areAligned(line({1, 2}, {5, 0, 0}), line({1, 2, 3}, {5, 0, 0})));

    const darr_c2DArray b = image(2, 2, {});
    EXPECT_TRUE(areAligned(b, image(2, 2, {1, 1, 0, 1, 1, 0})));
    EXPECT_FALSE(areAligned(b, image(2, 1, {})));
    EXPECT_FALSE(areAligned(b, image(1, 2, {})));
    EXPECT_FALSE(areAligned(b, image(2, 2, {0, 1, 0, 2, 0, 0})));
    EXPECT_FALSE(areAligned(b, image(2, 2, {0, 1, 1, 1, 0, 0})));
    EXPECT_FALSE(areAligned(b, image(2, 2, {1, 1, 0, 1, 0, 0})));
}

// --- masks --------------------------------------------------------------------------------------

TEST(MatchDeltaToMask, OfALineResamplesTheDataOnly) {
    barr_c1DBoolArray mask(4);
    mask.SetCal({7, 0.5, 0});
    darr_c1DArray data = line({10, 20});
    EXPECT_TRUE(matchToMask(algn_MatchDeltaToMask, mask, data));
    EXPECT_EQ(elementsOf(data), (std::vector<double>{10, 15, 20, 20}));
    EXPECT_EQ(data.Cal(), cal_c1DArrayCal(0, 0.5, 0));
    EXPECT_EQ(mask.Cal(), cal_c1DArrayCal(7, 0.5, 0));

    EXPECT_FALSE(matchToMask(algn_MatchDeltaToMask, mask, data));
    EXPECT_EQ(elementsOf(data), (std::vector<double>{10, 15, 20, 20}));
}

TEST(MatchDeltaToMask, ResamplesTheDataToACoarserMaskToo) {
    barr_c1DBoolArray mask(2);
    mask.SetCal({0, 2, 0});
    darr_c1DArray data = line({1, 2, 3, 4});
    EXPECT_TRUE(matchToMask(algn_MatchDeltaToMask, mask, data));
    EXPECT_EQ(elementsOf(data), (std::vector<double>{1, 3}));
}

TEST(MatchDeltaToMask, OfAnImageComparesBothDeltas) {
    barr_c2DBoolArray mask(4, 4);
    for (const auto& [deltaX, deltaY] :
         {std::pair(1.0, 1.0), std::pair(2.0, 1.0), std::pair(1.0, 0.5), std::pair(0.5, 2.0)}) {
        mask.SetCal({0, deltaX, 0, deltaY, 0, 0});
        darr_c2DArray data = image(4, 4, {3, 1, 4, 1, 0, 0});
        const Value resampled = oracle::rescaled(oracle::valueOf(data), deltaX, deltaY);
        const bool differs = deltaX != 1 || deltaY != 1;
        EXPECT_EQ(matchToMask(algn_MatchDeltaToMask, mask, data), differs);
        EXPECT_EQ(data.Cal().X().Delta(), deltaX);
        EXPECT_EQ(data.Cal().Y().Delta(), deltaY);
        EXPECT_EQ(difference({"", resampled}, {"", oracle::valueOf(data)}), "");
    }
}

TEST(MatchRangeToMask, OfALineSelectsTheRangeOfTheMask) {
    barr_c1DBoolArray mask(3);
    mask.SetCal({1, 1, 0});
    darr_c1DArray data = line({1, 2, 3});
    EXPECT_TRUE(matchToMask(algn_MatchRangeToMask, mask, data));
    EXPECT_EQ(elementsOf(data), (std::vector<double>{2, 3, 0}));
    EXPECT_EQ(data.Range(), mask.Range());

    EXPECT_FALSE(matchToMask(algn_MatchRangeToMask, mask, data));
    EXPECT_EQ(elementsOf(data), (std::vector<double>{2, 3, 0}));
}

TEST(MatchRangeToMask, TakesTheNearestElements) {
    barr_c1DBoolArray mask(2);
    mask.SetCal({0.5, 1, 0});
    darr_c1DArray data = line({1, 2, 3});
    matchToMask(algn_MatchRangeToMask, mask, data);
    EXPECT_EQ(elementsOf(data), (std::vector<double>{2, 3}));
}

TEST(MatchRangeToMask, OfAnImageSelectsTheRangeOfTheMask) {
    barr_c2DBoolArray mask(2, 1);
    mask.SetCal({1, 1, -1, 1, 0, 0});
    darr_c2DArray data = image(3, 3, {});
    EXPECT_TRUE(matchToMask(algn_MatchRangeToMask, mask, data));
    EXPECT_EQ(data.Range(), mask.Range());
    EXPECT_EQ(data.Number(0, 0).As<double>(), 0);

    mask.SetCal({1, 1, 2, 1, 0, 0});
    data = image(3, 3, {});
    matchToMask(algn_MatchRangeToMask, mask, data);
    EXPECT_EQ(data.Number(0, 0).As<double>(), 8);
    EXPECT_EQ(data.Number(1, 0).As<double>(), 9);
}

// --- operations on operands that lie anywhere ---------------------------------------------------

/// Random axes whose fractions are those of a power of two, so that positions are exact.
class RandomAxes {
public:
    explicit RandomAxes(unsigned seed) : random_(seed) {}

    int upTo(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

    Axis axis(double delta, double phase) {
        return {phase + delta * (upTo(40) - 20), delta, upTo(30) - 15, 1 + upTo(12)};
    }
    /// Where `other` lies by how the two relate.
    Axis related(const Axis& other, double delta, double phase) {
        Axis axis{0, delta, upTo(30) - 15, 1 + upTo(12)};
        switch (upTo(5)) {
        case 0: // touching at its end
            axis.offset = other.end();
            break;
        case 1: // touching at its start
            axis.offset = other.start() - axis.count * delta;
            break;
        case 2: // nested or around
            axis.offset = other.start() + delta * (upTo(5) - 2);
            break;
        case 3: // disjoint
            axis.offset = other.end() + delta * (1 + upTo(9));
            break;
        default:
            axis.offset = other.start() + delta * (upTo(21) - 10);
        }
        axis.offset += phase + axis.index * delta; // the offset is that of the index
        return axis;
    }
    double delta() { return std::ldexp(1, upTo(4) - 2); }
    std::mt19937& random() { return random_; }

private:
    std::mt19937 random_;
};

/// The value of an array at a position: that of the element that begins there, interpolated where
/// the array was resampled, zero outside. Positions are exact.
double valueAt(const Value& value, double x, double y) {
    const auto along = [](const Axis& axis, double position, int& left, double& part) {
        const double p = (position - axis.start()) / axis.delta;
        if (!(p >= 0 && p < axis.count))
            return false;
        left = static_cast<int>(p);
        part = left == axis.count - 1 ? 0 : p - left;
        return true;
    };
    int column = 0, row = 0;
    double partX = 0, partY = 0;
    if (!along(value.x, x, column, partX) || !along(value.y, y, row, partY))
        return 0;
    const auto at = [&](int i, int j) {
        return value.elements[static_cast<std::size_t>(j * value.x.count + i)].re;
    };
    const auto inRow = [&](int j) {
        return partX == 0 ? at(column, j) : (1 - partX) * at(column, j) + partX * at(column + 1, j);
    };
    return partY == 0 ? inRow(row) : (1 - partY) * inRow(row) + partY * inRow(row + 1);
}

/// Operands of small integers in double precision, whose interpolated values are exact too.
void fillWithIntegers(Value& value, RandomAxes& axes) {
    value.elements.resize(static_cast<std::size_t>(value.count()));
    for (oracle::Element& element : value.elements)
        element = {axes.upTo(2001) - 1000.0, 0};
}

/// Checks every element of a + b, a - b and a * b against the operands' values at its position.
void expectValuesAtPositions(const Value& a, const Value& b) {
    for (int operation = 0; operation <= 2; ++operation) {
        const oracle::Outcome answer = oracle::operateWithLibrary(operation, a, b);
        ASSERT_EQ(answer.refusal, "");
        const Value& r = answer.value;
        EXPECT_EQ(r.x.start(), std::min(a.x.start(), b.x.start()));
        EXPECT_EQ(r.x.end(), std::max(a.x.end(), b.x.end()));
        EXPECT_EQ(r.x.delta, std::min(a.x.delta, b.x.delta));
        EXPECT_EQ(r.y.delta, std::min(a.y.delta, b.y.delta));
        EXPECT_EQ(r.y.start(), std::min(a.y.start(), b.y.start()));
        EXPECT_EQ(r.y.end(), std::max(a.y.end(), b.y.end()));
        for (int j = 0; j < r.y.count; ++j)
            for (int i = 0; i < r.x.count; ++i) {
                const double x = r.x.position(i), y = r.y.position(j);
                const double p = valueAt(a, x, y), q = valueAt(b, x, y);
                const double expected[] = {p + q, p - q, p * q};
                ASSERT_EQ(r.elements[static_cast<std::size_t>(j * r.x.count + i)].re,
                          expected[operation])
                    << "at " << x << ", " << y << ": " << oracle::describe(a) << " and "
                    << oracle::describe(b);
            }
    }
}

TEST(AlignedArithmetic, OfLinesCombinesWhatLiesAtOnePosition) {
    RandomAxes axes(1);
    for (int round = 0; round < 4000 && !testing::Test::HasFailure(); ++round) {
        Value a{8, 1, axes.axis(axes.delta(), 0.125 * axes.upTo(8)), {}, {}};
        Value b{8, 1, axes.related(a.x, axes.upTo(2) == 0 ? a.x.delta : axes.delta(), 0), {}, {}};
        fillWithIntegers(a, axes);
        fillWithIntegers(b, axes);
        // Elements of both begin at common positions when the finer delta divides the distance.
        const double finer = std::min(a.x.delta, b.x.delta);
        const double steps = (a.x.start() - b.x.start()) / finer;
        if (steps == std::floor(steps))
            expectValuesAtPositions(a, b);
    }
}

TEST(AlignedArithmetic, OfImagesCombinesWhatLiesAtOnePosition) {
    RandomAxes axes(2);
    for (int round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
        Value a{8, 2, axes.axis(axes.delta(), 0.25), axes.axis(axes.delta(), 0.125), {}};
        Value b{8, 2, {}, {}, {}};
        // One of them is the finer one along both axes.
        const double scale = std::ldexp(1, axes.upTo(3) - 1);
        b.x = axes.related(a.x, a.x.delta * scale, 0);
        b.y = axes.related(a.y, a.y.delta * (axes.upTo(2) == 0 ? 1 : scale), 0);
        fillWithIntegers(a, axes);
        fillWithIntegers(b, axes);
        const double stepsX = (a.x.start() - b.x.start()) / std::min(a.x.delta, b.x.delta);
        const double stepsY = (a.y.start() - b.y.start()) / std::min(a.y.delta, b.y.delta);
        if (stepsX == std::floor(stepsX) && stepsY == std::floor(stepsY))
            expectValuesAtPositions(a, b);
    }
}

/// Calibrations as instruments have them: nothing divides anything.
Axis arbitraryAxis(RandomAxes& axes, double delta) {
    std::uniform_real_distribution<double> real(-20, 20);
    return {real(axes.random()), delta, axes.upTo(40) - 20, axes.upTo(15)};
}

TEST(AlignedArithmetic, FollowsTheRulesAtRandomCalibrations) {
    RandomAxes axes(3);
    std::uniform_real_distribution<double> delta(0.2, 3);
    for (int round = 0; round < 6000 && !testing::Test::HasFailure(); ++round) {
        const int dimensions = 1 + round % 2;
        Value a{1 + axes.upTo(10), dimensions, arbitraryAxis(axes, delta(axes.random())), {}, {}};
        Value b{1 + axes.upTo(10), dimensions, {}, {}, {}};
        b.x = arbitraryAxis(axes, axes.upTo(3) == 0 ? a.x.delta : delta(axes.random()));
        if (dimensions == 2) {
            a.y = arbitraryAxis(axes, delta(axes.random()));
            b.y = arbitraryAxis(axes, axes.upTo(3) == 0 ? a.y.delta : delta(axes.random()));
        }
        oracle::fillRandomly(a, true, axes.random());
        oracle::fillRandomly(b, false, axes.random());
        if (a.count() == 0 && b.count() == 0)
            continue;
        for (int operation = 0; operation <= 4; ++operation) {
            const oracle::Outcome direct = oracle::operateWithLibrary(operation, a, b);
            const std::string what = "operation " + std::to_string(operation) + " on " +
                                     oracle::describe(a) + " and " + oracle::describe(b);
            EXPECT_EQ(difference(oracle::operate(operation, a, b), direct), "") << what;
        }
    }
}

/// The steps on arrays agree with the rules too, with the codes they return.
TEST(Alignment, OfArraysFollowsTheRulesAtRandomCalibrations) {
    RandomAxes axes(4);
    std::uniform_real_distribution<double> delta(0.2, 3);
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const int type = 1 + axes.upTo(10);
        const int dimensions = 1 + round % 2;
        Value a{type, dimensions, arbitraryAxis(axes, delta(axes.random())), {}, {}};
        Value b{type, dimensions, arbitraryAxis(axes, delta(axes.random())), {}, {}};
        if (dimensions == 2) {
            a.y = arbitraryAxis(axes, delta(axes.random()));
            b.y = arbitraryAxis(axes, delta(axes.random()));
        }
        oracle::fillRandomly(a, true, axes.random());
        oracle::fillRandomly(b, true, axes.random());
        const auto check = [&](auto first, auto second) {
            EXPECT_EQ(matchDelta(first, second), oracle::matchDelta(a, b));
            EXPECT_EQ(difference({"", a}, {"", oracle::valueOf(first)}), "");
            EXPECT_EQ(difference({"", b}, {"", oracle::valueOf(second)}), "");
            EXPECT_EQ(matchRange(first, second), oracle::matchRange(a, b));
            EXPECT_EQ(difference({"", a}, {"", oracle::valueOf(first)}), "");
            EXPECT_EQ(difference({"", b}, {"", oracle::valueOf(second)}), "");
        };
        if (dimensions == 1)
            check(oracle::array1DOf(a), oracle::array1DOf(b));
        else
            check(oracle::array2DOf(a), oracle::array2DOf(b));
    }
}

} // namespace
