// What people write first: arrays from what they have at hand, numbers of any C++ type, loops over
// elements of a type that they do not know.

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <list>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dataprocessing/dataprocessing.h"
#include "tests/support/arrays.h"
#include "tests/support/elements.h"

namespace {

using testing::ElementsAre;

template<class T, class... Arguments>
constexpr bool isMadeOf = std::is_constructible_v<T, Arguments...>;

enum ePlain { plainOne = 1 };
enum class eScoped { one = 1 };

const cal_c1DArrayCal cal(10, 0.5, 1);
const cal_c2DArrayCal cal2(1, 2, 3, 4, 5, 6);

/// A range of what no element type holds, which knows how to become an array.
struct sBoth {
    const eScoped* begin() const;
    const eScoped* end() const;
    operator darr_c1DArray() const;
};

template<class T>
concept canBeMultiplied = requires(const darr_c1DArray& array, T value) {
    array* value;
};

template<class T>
concept isIterated = requires(T&& array) {
    std::forward<T>(array).begin();
};

template<class T>
concept isIteratedAsDoubles = requires(T&& array) {
    std::forward<T>(array).template begin<double>();
};

template<class T>
concept isSummedAsThree = requires(T value) {
    stat_Sum({value, value, value});
};

} // namespace

// Ranges that arrays are made of, and those that they are not.
static_assert(isMadeOf<darr_c1DArray, std::vector<int>>);
static_assert(isMadeOf<darr_c1DArray, std::vector<int>&, cal_c1DArrayCal>);
static_assert(isMadeOf<darr_c1DArray, const std::array<float, 3>&>);
static_assert(isMadeOf<darr_c1DArray, std::span<const double>>);
static_assert(isMadeOf<darr_c1DArray, std::span<double, 4>>);
static_assert(isMadeOf<darr_c1DArray, const short (&)[3]>);
static_assert(isMadeOf<darr_c1DArray, arr_cC_Array<double>&, cal_c1DArrayCal>);
static_assert(isMadeOf<darr_c1DArray, arr_c1DNumberArray<double>&, cal_c1DArrayCal>);
static_assert(isMadeOf<darr_c1DArray, std::vector<std::complex<float>>>);
static_assert(isMadeOf<darr_c1DArray, std::initializer_list<unsigned char>>);
static_assert(isMadeOf<parr_c1DNumberArray, std::vector<int>>);
static_assert(isMadeOf<parr_c2DNumberArray, int, int, std::vector<int>>);
static_assert(isMadeOf<darr_c2DArray, int, int, std::vector<int>>);
static_assert(isMadeOf<darr_c2DArray, int, int, std::vector<int>, cal_c2DArrayCal>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<long>>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<bool>>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<long double>>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<std::complex<long double>>>);
static_assert(!isMadeOf<darr_c1DArray, std::string_view>);
static_assert(!isMadeOf<darr_c1DArray, const char (&)[5], cal_c1DArrayCal>);
static_assert(!isMadeOf<darr_c1DArray, std::list<double>>);
static_assert(!isMadeOf<darr_c1DArray, std::initializer_list<long>>);
static_assert(!isMadeOf<darr_c2DArray, int, int, std::vector<long>>);
static_assert(!isMadeOf<darr_c2DArray, int, int, std::initializer_list<bool>>);
static_assert(!isMadeOf<parr_c1DNumberArray, std::vector<char>>);
static_assert(!isMadeOf<parr_c2DNumberArray, int, int, std::vector<char>>);
static_assert(!isMadeOf<darr_c1DArray, int>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<ePlain>>);
static_assert(!isMadeOf<darr_c1DArray, std::initializer_list<eScoped>>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<std::byte>&, cal_c1DArrayCal>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<std::string>>);
static_assert(!isMadeOf<darr_c1DArray, std::vector<bool>&, cal_c1DArrayCal>);
static_assert(!isMadeOf<darr_c2DArray, int, int, std::list<double>, cal_c2DArrayCal>);
static_assert(!isMadeOf<parr_c1DNumberArray, std::list<int>>);
static_assert(!isMadeOf<parr_c2DNumberArray, int, int, std::vector<bool>>);
static_assert(!isMadeOf<darr_c1DArray, barr_c1DBoolArray>);
static_assert(isMadeOf<darr_c1DArray, sBoth> && isMadeOf<darr_c1DArray, const sBoth&> &&
              isMadeOf<parr_c1DNumberArray, sBoth>);

// What is refused is refused by one overload, so that the compiler says why and lists no others: a
// deleted one is a match, though not one that may be used.
template<class T>
constexpr bool isRefusedAsAScatteredRange = dtyp_RangeNotContiguous<T> && !dtyp_Range<T>;
static_assert(isRefusedAsAScatteredRange<std::vector<bool>> &&
              isRefusedAsAScatteredRange<std::list<double>> &&
              isRefusedAsAScatteredRange<barr_c1DBoolArray>);
static_assert(!dtyp_RangeNotContiguous<darr_c1DArray> &&
              !dtyp_RangeNotContiguous<parr_c2DNumberArray> && !dtyp_RangeNotContiguous<int>);
static_assert(dtyp_RangeNotStored<std::vector<eScoped>> && dtyp_NotStored<std::byte> &&
              dtyp_NotStored<ePlain> && !dtyp_NotStored<std::string>);

// A vector never becomes an array behind one's back, so that no overload is ambiguous.
static_assert(!std::is_convertible_v<std::vector<double>, darr_c1DArray>);
static_assert(!std::is_convertible_v<std::vector<double>, parr_c1DNumberArray>);

static_assert(canBeMultiplied<long> && canBeMultiplied<std::size_t> &&
              canBeMultiplied<long double> && canBeMultiplied<std::complex<double>>);
static_assert(!canBeMultiplied<bool> && !canBeMultiplied<char> && !canBeMultiplied<char16_t> &&
              !canBeMultiplied<std::complex<float>> && !canBeMultiplied<const char*>);
static_assert(!canBeMultiplied<std::vector<double>> && !canBeMultiplied<std::list<int>>);
static_assert(!canBeMultiplied<ePlain> && !canBeMultiplied<eScoped> &&
              !canBeMultiplied<std::byte> && !canBeMultiplied<dtyp_eDataType>);

// A temporary array takes its elements with it.
static_assert(isIterated<darr_c1DArray&> && isIterated<const darr_c2DArray&> &&
              !isIterated<darr_c1DArray>);
static_assert(isIteratedAsDoubles<darr_c1DArray&> && !isIteratedAsDoubles<darr_c1DArray>);
static_assert(std::forward_iterator<parr_cValueIterator>);

TEST(Everyday, ArraysAreMadeOfContiguousRangesOfEveryType) {
    forEachElementType([]<class T>(int code) {
        const std::vector<T> values = countedElements<T>(5);
        const darr_c1DArray line(values, cal);
        EXPECT_EQ(line.DataType().Code(), code);
        EXPECT_EQ(line.Cal(), cal);
        EXPECT_EQ(elementsOf<T>(line), values);
        EXPECT_EQ(elementsOf<T>(parr_c1DNumberArray(values)), values);
        EXPECT_EQ(elementsOf<T>(darr_c1DArray(std::span(values).subspan(1))),
                  std::vector<T>(values.begin() + 1, values.end()));
        const std::array<T, 2> pair = {values[0], values[1]};
        EXPECT_EQ(elementsOf<T>(darr_c1DArray(pair)), (std::vector<T>{values[0], values[1]}));
        const darr_c2DArray image(5, 1, values, cal2);
        EXPECT_EQ(image.DataType().Code(), code);
        EXPECT_EQ(image.SizeX(), 5);
        EXPECT_EQ(image.Cal(), cal2);
        EXPECT_EQ(elementsOf<T>(image), values);
        EXPECT_EQ(elementsOf<T>(parr_c2DNumberArray(1, 5, values)), values);
        EXPECT_EQ(refusalOf([&] { darr_c2DArray(2, 2, values); }), sizeRefusal);
        EXPECT_EQ(refusalOf([&] { darr_c2DArray(-1, -5, values); }), sizeRefusal);
        EXPECT_EQ(darr_c1DArray(std::vector<T>()).Size(), 0);
        EXPECT_EQ(darr_c1DArray(std::vector<T>()).DataType().Code(), code);
    });
}

TEST(Everyday, ArraysAreMadeOfStandardComplexValues) {
    const std::vector<std::complex<float>> floats = {{1, 2}, {3, -4}};
    const darr_c1DArray line(floats, cal);
    EXPECT_EQ(elementsOf<ComplexFloat>(line), (std::vector<ComplexFloat>{{1, 2}, {3, -4}}));
    const std::complex<double> doubles[] = {{1, 2}, {3, -4}};
    EXPECT_EQ(elementsOf<ComplexDouble>(darr_c2DArray(1, 2, doubles)),
              (std::vector<ComplexDouble>{{1, 2}, {3, -4}}));
    EXPECT_EQ(darr_c1DArray{std::complex<double>(1)}.DataType(), dtyp_ComplexDouble);
}

TEST(Everyday, ArraysAreMadeOfTheLibrarysOwnArrays) {
    arr_cC_Array<double> values({1.5, 2.5});
    EXPECT_EQ(elementsOf<double>(darr_c1DArray(values, cal)), (std::vector<double>{1.5, 2.5}));
    arr_c1DNumberArray<double> numbers({1.5, 2.5});
    EXPECT_EQ(elementsOf<double>(darr_c1DArray(numbers, cal)), (std::vector<double>{1.5, 2.5}));
    const arr_c2DNumberArray<float> matrix(2, 1, std::array{1.5F, 2.5F});
    EXPECT_EQ(elementsOf<float>(darr_c2DArray(matrix.Columns(), matrix.Rows(), matrix)),
              (std::vector<float>{1.5F, 2.5F}));
}

TEST(Everyday, ArraysAreMadeOfLists) {
    const darr_c1DArray assigned = {1, 2, 3};
    EXPECT_EQ(elementsOf<int>(assigned), (std::vector<int>{1, 2, 3}));
    const darr_c1DArray braced{1.5, 2.5};
    EXPECT_EQ(elementsOf<double>(braced), (std::vector<double>{1.5, 2.5}));
    const darr_c1DArray single({7.0F}, cal);
    EXPECT_EQ(elementsOf<float>(single), (std::vector<float>{7}));
    EXPECT_EQ(single.Cal(), cal);
    const darr_c1DArray both{{1, 2}, cal};
    EXPECT_EQ(elementsOf<int>(both), (std::vector<int>{1, 2}));
    EXPECT_EQ(both.Cal(), cal);
    const darr_c2DArray image(3, 2, {1, 2, 3, 4, 5, 6}, cal2);
    EXPECT_EQ(image.Number(0, 1).As<int>(), 4);
    EXPECT_EQ(image.Cal(), cal2);
    EXPECT_EQ(darr_c2DArray(1, 1, {5}).Number(0, 0).As<int>(), 5);
    EXPECT_EQ(refusalOf([] { darr_c2DArray(2, 2, {1, 2, 3}); }), sizeRefusal);
    EXPECT_EQ(stat_Sum({2, 3}).As<int>(), 5);
    EXPECT_EQ(stat_Sum({1, 2, 4, 8}).As<int>(), 15);
    static_assert(!isSummedAsThree<int>); // 1D elements, or 1 by 2 of one value
}

TEST(Everyday, ListsOfSeveralTypesAreDoubles) {
    const darr_c1DArray assigned = {1, 2.5, 3};
    EXPECT_EQ(elementsOf<double>(assigned), (std::vector<double>{1, 2.5, 3}));
    const darr_c1DArray line({-1, 4294967295U, 0.5F, short{7}}, cal);
    EXPECT_EQ(elementsOf<double>(line), (std::vector<double>{-1, 4294967295.0, 0.5, 7}));
    EXPECT_EQ(line.Cal(), cal);
    const darr_c1DArray once({1, 2.5});
    EXPECT_EQ(elementsOf<double>(once), (std::vector<double>{1, 2.5}));
    EXPECT_EQ(elementsOf<double>(parr_c1DNumberArray{5, 2.5}), (std::vector<double>{5, 2.5}));
    EXPECT_EQ(elementsOf<double>(darr_c2DArray(2, 1, {1, 2.5}, cal2)),
              (std::vector<double>{1, 2.5}));
    EXPECT_EQ(elementsOf<double>(parr_c2DNumberArray(1, 2, {1, 2.5})),
              (std::vector<double>{1, 2.5}));
    EXPECT_EQ(refusalOf([] { darr_c2DArray(2, 2, {1, 2.5}); }), sizeRefusal);
}

TEST(Everyday, ListsWithComplexNumbersAreComplexDoubles) {
    using Complex = std::complex<double>;
    const std::vector<ComplexDouble> two = {{5, 0}, {1, 2}};
    EXPECT_EQ(elementsOf<ComplexDouble>(darr_c1DArray{5, Complex(1, 2)}), two);
    EXPECT_EQ(elementsOf<ComplexDouble>(darr_c1DArray({5.0F, ComplexFloat(1, 2)}, cal)), two);
    EXPECT_EQ(elementsOf<ComplexDouble>(parr_c1DNumberArray{5, Complex(1, 2)}), two);
    EXPECT_EQ(elementsOf<ComplexDouble>(parr_c1DNumberArray{5, ComplexDouble(1, 2)}), two);
    EXPECT_EQ(elementsOf<ComplexDouble>(darr_c2DArray(1, 2, {5, std::complex<float>(1, 2)}, cal2)),
              two);
    EXPECT_EQ(elementsOf<ComplexDouble>(parr_c2DNumberArray(2, 1, {5, ComplexDouble(1, 2)})), two);
    const darr_c1DArray real{ComplexFloat(1, 0), Complex(2, 0)};
    EXPECT_EQ(real.DataType(), dtyp_ComplexDouble);
    EXPECT_EQ(refusalOf([] { parr_c2DNumberArray(2, 2, {5, Complex(1, 2)}); }), sizeRefusal);
}

TEST(Everyday, ListsTakeNumbersOfCppAlone) {
    static_assert(std::is_convertible_v<unsigned char, dtyp_cListed> &&
                  std::is_convertible_v<ComplexDouble, dtyp_cListed> &&
                  std::is_convertible_v<std::complex<float>, dtyp_cListed>);
    static_assert(!std::is_convertible_v<long, dtyp_cListed> &&
                  !std::is_convertible_v<long double, dtyp_cListed> &&
                  !std::is_convertible_v<bool, dtyp_cListed> &&
                  !std::is_convertible_v<ePlain, dtyp_cListed> &&
                  !std::is_convertible_v<dtyp_eDataType, dtyp_cListed> &&
                  !std::is_convertible_v<std::complex<long double>, dtyp_cListed> &&
                  !std::is_convertible_v<pnum_cNumber, dtyp_cListed>);
    EXPECT_EQ(elementsOf<double>(parr_c1DNumberArray(2, pnum_cNumber(2.5))),
              (std::vector<double>{2.5, 2.5}));
}

TEST(Everyday, ArraysWithoutACalibrationAreMadeOfListsToo) {
    const parr_c1DNumberArray pair{1, 2};
    EXPECT_EQ(elementsOf<int>(pair), (std::vector<int>{1, 2}));
    EXPECT_EQ(parr_c1DNumberArray({0.5F}).DataType(), dtyp_Float);
    EXPECT_EQ(parr_c1DNumberArray({std::complex(1.0, 2.0)}).DataType(), dtyp_ComplexDouble);
    const parr_c2DNumberArray plane(2, 1, {3.0, 4.0});
    EXPECT_EQ(plane.Number(1, 0).As<double>(), 4);
    EXPECT_EQ(refusalOf([] { parr_c2DNumberArray(2, 2, {1, 2, 3}); }), sizeRefusal);
    static_assert(!isMadeOf<parr_c1DNumberArray, std::initializer_list<long>>);
    static_assert(!isMadeOf<parr_c2DNumberArray, int, int, std::initializer_list<bool>>);
}

TEST(Everyday, ListsMayBeEmpty) {
    const darr_c1DArray line({});
    EXPECT_EQ(line.Size(), 0);
    EXPECT_EQ(line.DataType(), dtyp_Double);
    EXPECT_EQ(darr_c1DArray({}, cal).Cal(), cal);
    EXPECT_EQ(parr_c1DNumberArray({}).Size(), 0);
    EXPECT_EQ(darr_c2DArray(3, 0, {}).SizeX(), 3);
}

// What was written before lists were understood still means the same.
TEST(Everyday, CountsAndFillsAreNotTakenForLists) {
    const darr_c1DArray counted{3, dtyp_Int16, cal};
    EXPECT_EQ(counted.Size(), 3);
    const darr_c1DArray filled{3, 7, cal};
    EXPECT_EQ(elementsOf<int>(filled), std::vector<int>(3, 7));
    const parr_c1DNumberArray bare(3, 7);
    EXPECT_EQ(elementsOf<int>(bare), std::vector<int>(3, 7));
    const parr_c1DNumberArray typed{3, dtyp_Int16};
    EXPECT_EQ(typed.DataType(), dtyp_Int16);
    const parr_c1DNumberArray halves(3, 0.5);
    EXPECT_EQ(elementsOf<double>(halves), std::vector<double>(3, 0.5));
    EXPECT_EQ(darr_c1DArray{counted}.Size(), 3);
    EXPECT_EQ(darr_c1DArray{}.Size(), 0);
    EXPECT_EQ(darr_c2DArray(3, 2, 7L, cal2).Count(), 6);
    EXPECT_EQ(darr_c2DArray(3, 2, dtyp_Int16, cal2).DataType(), dtyp_Int16);
}

TEST(Everyday, AnArrayWithACalibrationIsNoFunction) {
    const std::vector<double> values = {1, 2};
    darr_c1DArray array(values, cal_c1DArrayCal());
    EXPECT_EQ(array.Size(), 2);
    darr_c2DArray image(2, 1, values, cal_c2DArrayCal());
    EXPECT_EQ(image.Count(), 2);
}

TEST(Everyday, ElementsOfAnyTypeAreReadAsDoubles) {
    forEachElementType([]<class T>(int) {
        const std::vector<T> values = countedElements<T>(5);
        const darr_c1DArray line(values);
        const darr_c2DArray image(1, 5, values);
        std::vector<double> indexed;
        for (std::size_t i = 0; i < 5; ++i)
            indexed.push_back(line[i]);
        EXPECT_THAT(indexed, ElementsAre(1, 2, 3, 4, 5));
        std::vector<double> visited;
        for (const double value : line)
            visited.push_back(value);
        EXPECT_EQ(visited, indexed);
        EXPECT_EQ(std::vector<double>(image.begin(), image.end()), indexed);
        EXPECT_EQ(*std::ranges::max_element(line), 5);
        for (const double value : line + line) // lives as long as the loop
            EXPECT_GE(value, 2);
    });
    const darr_c1DArray extremes = {std::numeric_limits<unsigned>::max(), 0U};
    EXPECT_EQ(extremes[0], 4294967295.0);
    EXPECT_TRUE(std::signbit(darr_c1DArray{-0.0F}[0]));
    EXPECT_TRUE(std::isnan(darr_c1DArray{std::numeric_limits<float>::quiet_NaN()}[0]));
    for (const double value : darr_c1DArray())
        ADD_FAILURE() << value;
}

TEST(Everyday, ElementsOfImagesAreReadByColumnAndRow) {
    forEachElementType([]<class T>(int code) {
        SCOPED_TRACE(code);
        const darr_c2DArray image = planeOf(3, 2, countedElements<T>(6));
        for (std::size_t y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x)
                EXPECT_EQ(image(x, y), image.Number(x, static_cast<int>(y)).As<double>());
    });
    const darr_c2DArray image(3, 2, {1, 2, 3, 4, 5, 6});
    EXPECT_EQ(image(2, 0), 3);
    EXPECT_EQ(refusalOf([&] { static_cast<void>(image(3, 0)); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { static_cast<void>(image(0, -1)); }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { static_cast<void>(image(1LL << 32, 0)); }), indexRefusal);
}

TEST(Everyday, IndicesAreCheckedWhateverTheirType) {
    const darr_c1DArray line = {1.0, 2.0, 3.0};
    EXPECT_EQ(line[2U], 3);
    EXPECT_EQ(line[static_cast<unsigned char>(1)], 2);
    EXPECT_EQ(refusalOf([&] { line[-1]; }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { line[3]; }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { line[4294967296L]; }), indexRefusal);
    EXPECT_EQ(refusalOf([&] { line[std::numeric_limits<std::size_t>::max()]; }), indexRefusal);
    const darr_c1DArray unknown(2, dtyp_cDataType(11), cal);
    EXPECT_EQ(refusalOf([&] { unknown[0]; }), "conv:1");
    EXPECT_EQ(refusalOf([&] { unknown[2]; }), indexRefusal);
}

TEST(Everyday, StoredElementsAreIteratedAsTheirType) {
    darr_c1DArray line = {3.0F, 1.0F, 2.0F};
    std::sort(line.begin<float>(), line.end<float>());
    EXPECT_EQ(elementsOf<float>(line), (std::vector<float>{1, 2, 3}));
    const darr_c1DArray& constant = line;
    EXPECT_EQ(std::vector<float>(constant.begin<float>(), constant.end<float>()),
              (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(constant.begin<float>(), constant.Data());
    EXPECT_EQ(refusalOf([&] { line.begin<double>(); }), "parr:1");
    EXPECT_EQ(refusalOf([&] { constant.end<double>(); }), "parr:1");
}

TEST(Everyday, NumbersAreMadeOfWideIntegersThatFit) {
    constexpr long long most = std::numeric_limits<int>::max();
    constexpr long long least = std::numeric_limits<int>::min();
    const auto check = [](auto value, dtyp_eDataType type) {
        const pnum_cNumber number = value;
        EXPECT_EQ(number.DataType(), type);
        EXPECT_EQ(number.As<double>(), static_cast<double>(value));
    };
    check(5L, dtyp_Int32);
    check(-5LL, dtyp_Int32);
    check(most, dtyp_Int32);
    check(static_cast<long>(least), dtyp_Int32);
    check(std::size_t{5}, dtyp_UInt32);
    check(4294967295ULL, dtyp_UInt32);
    EXPECT_EQ(refusalOf([] { pnum_cNumber(most + 1); }), "pnum:1");
    EXPECT_EQ(refusalOf([] { pnum_cNumber(static_cast<long>(least - 1)); }), "pnum:1");
    EXPECT_EQ(refusalOf([] { pnum_cNumber(4294967296UL); }), "pnum:1");
    EXPECT_EQ(refusalOf([] { pnum_cNumber(~0ULL); }), "pnum:1");
    check(0.1L, dtyp_Double);
    EXPECT_EQ(pnum_cNumber(std::complex<double>(1, -2)).As<ComplexDouble>(), ComplexDouble(1, -2));
}

TEST(Everyday, ArithmeticTakesNumbersOfEveryKind) {
    const std::vector<double> values = {1, 2};
    const darr_c1DArray line(values);
    const std::size_t n = values.size();
    EXPECT_THAT(std::vector(elementsOf<double>(line * n + 1L - 2LL)), ElementsAre(1, 3));
    EXPECT_THAT(elementsOf<double>(2L / line), ElementsAre(2, 1));
    EXPECT_EQ((line * std::complex<double>(0, 1)).DataType(), dtyp_ComplexDouble);
    darr_c1DArray grown = line;
    grown *= 3UL;
    EXPECT_THAT(elementsOf<double>(grown), ElementsAre(3, 6));
    EXPECT_TRUE(pnum_cNumber(2L) == 2);
    EXPECT_EQ(pow(line, 2L)[1], 4);
    EXPECT_EQ(elementsOf<double>(trny_max(line, 2L)), (std::vector<double>{2, 2}));
    EXPECT_EQ(darr_c1DArray(2, 5L, cal)[1], 5);
    grown.SetNumber(0, n);
    EXPECT_EQ(grown[0], 2);
}

TEST(Everyday, WhatIsAlmostAlwaysWantedNeedNotBeSaid) {
    const darr_c1DArray line = {ComplexDouble(1, 9), ComplexDouble(3, -9)};
    EXPECT_EQ(extr_Max(line).As<double>(), 3);
    EXPECT_EQ(extr_Min(line, rnge_c1DRange(0.5, 1)).As<double>(), 2);
    EXPECT_EQ(line.Value(0.5).As<double>(), 2);
    double position = 0;
    int index = 0;
    pnum_cNumber least, most;
    EXPECT_EQ(extr_Max(line, position).As<double>(), extr_Max(line, index).As<double>());
    EXPECT_EQ(position, index);
    extr_MinMax(line, least, most);
    EXPECT_EQ(most.As<double>(), 3);
    EXPECT_EQ(conv_Convert(line, dtyp_Float)[1], 3);
}
