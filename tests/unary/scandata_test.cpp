#include "dataprocessing/unary/scandata.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "dataprocessing/operand/scan_source.h"
#include "tests/support/constants.h"
#include "tests/support/refusal.h"

namespace {

using dataprocessing::detail::blocks_cSource;
using dataprocessing::detail::scan_eKind;
using dataprocessing::detail::scan_LoopFor;
using dataprocessing::detail::scan_Source;
using dataprocessing::detail::scan_Zero;
using dataprocessing::detail::view_cAxis;
using dataprocessing::detail::view_cView;

template<class Operand>
bool scanned(int kind, const Operand& operand) {
    switch (kind) {
    case 0:
        return scan_IsZero(operand);
    case 1:
        return scan_IsZeroOrNegative(operand);
    case 2:
        return scan_IsNegative(operand);
    default:
        return scan_IsAbsLargerThanUnity(operand);
    }
}

struct RealCase {
    double value;
    bool zero;
    bool zeroOrNegative;
    bool negative;
    bool largerThanUnity;
};

template<class T>
std::vector<RealCase> realCases() {
    const double smallest = std::numeric_limits<T>::min();
    const double below = static_cast<double>(std::nextafter(std::numeric_limits<T>::min(), T(0)));
    const double least = std::numeric_limits<T>::denorm_min();
    const double aboveOne = static_cast<double>(std::nextafter(T(1), T(2)));
    const double belowOne = static_cast<double>(std::nextafter(T(1), T(0)));
    return {{0.0, true, true, false, false},        {-0.0, true, true, false, false},
            {smallest, false, false, false, false}, {-smallest, false, true, true, false},
            {below, true, false, false, false},     {-below, true, true, true, false},
            {least, true, false, false, false},     {-least, true, true, true, false},
            {0.5, false, false, false, false},      {-0.5, false, true, true, false},
            {belowOne, false, false, false, false}, {-belowOne, false, true, true, false},
            {1, false, false, false, false},        {-1, false, true, true, false},
            {aboveOne, false, false, false, true},  {-aboveOne, false, true, true, true},
            {infinity, false, false, false, true},  {-infinity, false, true, true, true},
            {notANumber, true, true, true, true}};
}

template<class T>
class RealScan : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(RealScan, Reals);

TYPED_TEST(RealScan, OfANumberFollowsTheTable) {
    for (const RealCase& c : realCases<TypeParam>()) {
        const pnum_cNumber number(static_cast<TypeParam>(c.value));
        EXPECT_EQ(scan_IsZero(number), c.zero) << c.value;
        EXPECT_EQ(scan_IsZeroOrNegative(number), c.zeroOrNegative) << c.value;
        EXPECT_EQ(scan_IsNegative(number), c.negative) << c.value;
        EXPECT_EQ(scan_IsAbsLargerThanUnity(number), c.largerThanUnity) << c.value;
    }
}

constexpr int counts[] = {1, 2, 3, 4, 7, 8, 255, 256, 257, 511, 512, 513, 1000};

/// The positions in an array of `count` elements at which a scan could go wrong.
std::vector<int> positionsIn(int count) {
    std::vector<int> positions;
    for (const int at : {0, 1, 127, 254, 255, 256, 257, 511, 512, count - 2, count - 1})
        if (at >= 0 && at < count)
            positions.push_back(at);
    return positions;
}

// Every value of the table, alone among elements that have no property, wherever it stands.
TYPED_TEST(RealScan, OfAnArrayFindsTheElementWhereverItStands) {
    for (const int count : counts)
        for (const int at : positionsIn(count))
            for (const RealCase& c : realCases<TypeParam>()) {
                std::vector<TypeParam> elements(static_cast<std::size_t>(count), TypeParam(0.5));
                elements[static_cast<std::size_t>(at)] = static_cast<TypeParam>(c.value);
                const std::span<const TypeParam> span(elements);
                const darr_c1DArray line(span, cal_c1DArrayCal(5, 0.5, 1));
                const darr_c2DArray row(count, 1, span);
                const darr_c2DArray column(1, count, span);
                const bool expected[] = {c.zero, c.zeroOrNegative, c.negative, c.largerThanUnity};
                for (int kind = 0; kind < 4; ++kind) {
                    const bool wanted = expected[kind];
                    ASSERT_EQ(scanned(kind, line), wanted) << c.value << " at " << at;
                    ASSERT_EQ(scanned(kind, row), wanted) << c.value << " at " << at;
                    ASSERT_EQ(scanned(kind, column), wanted) << c.value << " at " << at;
                }
            }
}

TYPED_TEST(RealScan, OfAnImageDoesNotDependOnItsShape) {
    std::vector<TypeParam> elements(600, TypeParam(0.5));
    elements[599] = TypeParam(-2);
    const std::span<const TypeParam> span(elements);
    for (const int sizeX : {1, 2, 3, 25, 300, 600}) {
        const darr_c2DArray image(sizeX, 600 / sizeX, span);
        EXPECT_FALSE(scan_IsZero(image));
        EXPECT_TRUE(scan_IsZeroOrNegative(image));
        EXPECT_TRUE(scan_IsNegative(image));
        EXPECT_TRUE(scan_IsAbsLargerThanUnity(image));
    }
}

TYPED_TEST(RealScan, LooksNoFurtherThanItsElements) {
    // What lies right behind the scanned elements has every property.
    std::vector<TypeParam> elements(600, TypeParam(notANumber));
    for (const int count : counts) {
        if (count >= 600)
            continue;
        for (int i = 0; i < count; ++i)
            elements[static_cast<std::size_t>(i)] = TypeParam(0.5);
        for (int kind = 0; kind < 4; ++kind)
            EXPECT_FALSE(scan_LoopFor(dtyp_Of<TypeParam>(), kind)(elements.data(),
                                                                  static_cast<std::size_t>(count)));
    }
}

TYPED_TEST(RealScan, OfAnUnknownKindIsRefused) {
    for (const int kind : {-1, 4, 1000})
        EXPECT_EQ(refusalOf([&] { scan_LoopFor(dtyp_Of<TypeParam>(), kind); }), "scandata:143");
}

template<class T>
class ComplexScan : public testing::Test {};
using Complexes = testing::Types<float, double>;
TYPED_TEST_SUITE(ComplexScan, Complexes);

template<class T>
pnum_cNumber complexNumber(double re, double im) {
    const comp_cComplex<T> element(static_cast<T>(re), static_cast<T>(im));
    return {dtyp_Of<comp_cComplex<T>>(), &element};
}

// A complex number is zero when both parts are, each as a real number would be.
TYPED_TEST(ComplexScan, NumberIsZeroWhenBothPartsAre) {
    for (const RealCase& re : realCases<TypeParam>())
        for (const RealCase& im : realCases<TypeParam>())
            EXPECT_EQ(scan_IsZero(complexNumber<TypeParam>(re.value, im.value)), re.zero && im.zero)
                << re.value << ", " << im.value;
}

TYPED_TEST(ComplexScan, OfAnArrayFindsTheZeroWhereverItStands) {
    using Complex = comp_cComplex<TypeParam>;
    for (const int count : counts)
        for (const int at : positionsIn(count)) {
            std::vector<Complex> elements(static_cast<std::size_t>(count), Complex(0, 1));
            const auto isZero = [&] {
                const std::span<const Complex> span(elements);
                const bool line = scan_IsZero(darr_c1DArray(span));
                EXPECT_EQ(scan_IsZero(darr_c2DArray(1, count, span)), line);
                return line;
            };
            ASSERT_FALSE(isZero());
            elements[static_cast<std::size_t>(at)] = Complex(0, 0);
            ASSERT_TRUE(isZero()) << at << " of " << count;
            elements[static_cast<std::size_t>(at)] = Complex(static_cast<TypeParam>(notANumber), 0);
            ASSERT_TRUE(isZero()) << at << " of " << count;
            elements[static_cast<std::size_t>(at)] = Complex(static_cast<TypeParam>(notANumber), 1);
            ASSERT_FALSE(isZero()) << at << " of " << count;
        }
}

TYPED_TEST(ComplexScan, OfSignOrSizeIsRefused) {
    using Complex = comp_cComplex<TypeParam>;
    const dtyp_cDataType type = dtyp_Of<Complex>();
    for (int kind = 1; kind < 4; ++kind) {
        EXPECT_EQ(refusalOf([&] { scanned(kind, complexNumber<TypeParam>(1, 1)); }),
                  "scandata:119");
        EXPECT_EQ(refusalOf([&] { scanned(kind, darr_c1DArray(3, type, {})); }), "scandata:119");
        EXPECT_EQ(refusalOf([&] { scanned(kind, darr_c2DArray(3, 2, type, {})); }), "scandata:119");
        // Before any element is read: there is none.
        EXPECT_EQ(refusalOf([&] { scanned(kind, darr_c1DArray(0, type, {})); }), "scandata:119");
    }
    for (const int kind : {-1, 4})
        EXPECT_EQ(refusalOf([&] { scan_LoopFor(type, kind); }), "scandata:119");
}

TEST(Scan, OfNamedValues) {
    EXPECT_TRUE(scan_IsZero(1e-310));
    EXPECT_FALSE(scan_IsZeroOrNegative(1e-310));
    EXPECT_FALSE(scan_IsNegative(-0.0));
    EXPECT_TRUE(scan_IsZeroOrNegative(-0.0));
    EXPECT_FALSE(scan_IsAbsLargerThanUnity(1.0));
    EXPECT_FALSE(scan_IsAbsLargerThanUnity(-1.0));
    EXPECT_TRUE(scan_IsAbsLargerThanUnity(1.0000001f));
    EXPECT_FALSE(scan_IsZero(complexNumber<double>(0, 1)));
    EXPECT_TRUE(scan_IsZero(complexNumber<double>(1e-320, -0.0)));
    EXPECT_FALSE(scan_IsZero(1e-40)); // subnormal only in single precision
    EXPECT_TRUE(scan_IsZero(1e-40f));
}

TEST(Scan, OfNoElementsAnswersFalse) {
    for (const int code : {7, 8, 9, 10}) {
        const dtyp_cDataType type(code);
        for (int kind = 0; kind < (code < 9 ? 4 : 1); ++kind) {
            EXPECT_FALSE(scanned(kind, darr_c1DArray(0, type, {})));
            EXPECT_FALSE(scanned(kind, darr_c2DArray(0, 3, type, {})));
            EXPECT_FALSE(scanned(kind, darr_c2DArray(3, 0, type, {})));
        }
    }
}

TEST(Scan, OfOtherTypesIsRefused) {
    for (const int code : {-1, 0, 1, 2, 3, 4, 5, 6, 11, 42}) {
        const dtyp_cDataType type(code);
        for (int kind = 0; kind < 4; ++kind) {
            EXPECT_EQ(refusalOf([&] { scanned(kind, pnum_cNumber(type)); }), "scandata:166");
            EXPECT_EQ(refusalOf([&] { scanned(kind, darr_c1DArray(2, type, {})); }),
                      "scandata:166");
            EXPECT_EQ(refusalOf([&] { scanned(kind, darr_c1DArray(0, type, {})); }),
                      "scandata:166");
            EXPECT_EQ(refusalOf([&] { scanned(kind, darr_c2DArray(2, 2, type, {})); }),
                      "scandata:166");
        }
        EXPECT_EQ(refusalOf([&] { scan_LoopFor(type, 9); }), "scandata:166");
    }
}

// --- views ------------------------------------------------------------------------------------

bool scanView(const view_cView& view, dataprocessing::detail::scan_eKind kind) {
    return scan_Source(blocks_cSource(view), view.Type(), kind, view.Count());
}

view_cView rowOf(const void* data, dtyp_cDataType stored, dtyp_cDataType seen, view_cAxis axis) {
    return {data, stored, seen, axis, view_cAxis(1, cal_cArrayCal())};
}

TEST(ViewScan, SeesElementsInTheTypeOfTheView) {
    const float tiny = 1e-40f;
    EXPECT_TRUE(scanView(rowOf(&tiny, dtyp_Float, dtyp_Float, {1, {}}), scan_Zero));
    EXPECT_FALSE(scanView(rowOf(&tiny, dtyp_Float, dtyp_Double, {1, {}}), scan_Zero));
    EXPECT_FALSE(scanView(rowOf(&tiny, dtyp_Float, dtyp_ComplexDouble, {1, {}}), scan_Zero));
}

// 4096 bytes are brought to the type at a time: 1024 floats, 256 complex doubles; of these 1024,
// then 64, are looked at at once.
TEST(ViewScan, FindsTheElementWhereverItStands) {
    for (const int type : {7, 8, 9, 10})
        for (const int count : {1, 63, 64, 65, 255, 256, 257, 1023, 1024, 1025, 2047, 2049, 5000}) {
            std::vector<short> elements(static_cast<std::size_t>(count), short{3});
            const auto view = [&] {
                return rowOf(elements.data(), dtyp_Int16, dtyp_cDataType(type), {count, {}});
            };
            EXPECT_FALSE(scanView(view(), scan_Zero));
            for (const int at :
                 {0, 63, 64, 255, 256, 1023, 1024, 2047, 2048, count / 2, count - 1}) {
                if (at >= count)
                    continue;
                elements[static_cast<std::size_t>(at)] = 0;
                EXPECT_TRUE(scanView(view(), scan_Zero)) << at << " of " << count;
                elements[static_cast<std::size_t>(at)] = 3;
            }
        }
}

TEST(ViewScan, SeesOnlyWhatIsSelectedAndTheZerosOutside) {
    const double elements[] = {0, 1, 2, 3};
    view_cAxis inside(4, {});
    inside.Select(1, 4);
    EXPECT_FALSE(scanView(rowOf(elements, dtyp_Double, dtyp_Double, inside), scan_Zero));
    view_cAxis beyond(4, {});
    beyond.Select(1, 5);
    EXPECT_TRUE(scanView(rowOf(elements, dtyp_Double, dtyp_Double, beyond), scan_Zero));
}

TEST(ViewScan, RefusesWhatTheScanOfElementsRefuses) {
    const int element = 0;
    EXPECT_EQ(refusalOf([&] {
                  scanView(rowOf(&element, dtyp_Int32, dtyp_Int32, {1, {}}), scan_Zero);
              }),
              "scandata:166");
    EXPECT_EQ(refusalOf([&] {
                  scanView(rowOf(&element, dtyp_Int32, dtyp_ComplexFloat, {1, {}}),
                           scan_eKind::scan_Negative);
              }),
              "scandata:119");
}

} // namespace
