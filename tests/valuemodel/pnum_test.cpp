#include "dataprocessing/valuemodel/pnum.h"

#include <array>
#include <cstdint>
#include <sstream>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/failing_new.h"
#include "tests/support/elements.h"

namespace {

template<class T>
T elementIn(const pnum_cNumber& number) {
    T value;
    std::memcpy(&value, number.Data(), sizeof(T));
    return value;
}

std::string printed(const pnum_cNumber& number) {
    std::ostringstream stream;
    stream << number;
    return stream.str();
}

} // namespace

TEST(Number, IsMadeOfEachListedTypeWithItsCodeAndValue) {
    forEachElementType([]<class T>(int code) {
        if constexpr (!std::is_same_v<T, ComplexFloat>) {
            const T value = elementOf<T>(65, -3);
            const pnum_cNumber number = value;
            EXPECT_EQ(number.DataType().Code(), code);
            EXPECT_TRUE(isSameElement(elementIn<T>(number), value)) << code;
        }
    });
}

TEST(Number, IsNotMadeOfOtherTypes) {
    EXPECT_FALSE((std::is_constructible_v<pnum_cNumber, ComplexFloat>));
    EXPECT_FALSE((std::is_constructible_v<pnum_cNumber, bool>));
    EXPECT_FALSE((std::is_constructible_v<pnum_cNumber, char>));
    EXPECT_FALSE((std::is_constructible_v<pnum_cNumber, std::complex<float>>));
    EXPECT_FALSE((std::is_constructible_v<pnum_cNumber, wchar_t>));
    EXPECT_FALSE((std::is_constructible_v<pnum_cNumber, const void*>));
    EXPECT_FALSE((std::is_convertible_v<dtyp_cDataType, pnum_cNumber>));
    EXPECT_FALSE((std::is_convertible_v<dtyp_eDataType, pnum_cNumber>));
}

TEST(Number, DefaultIsTheDoubleZero) {
    EXPECT_EQ(pnum_cNumber().DataType(), dtyp_Double);
    EXPECT_EQ(elementIn<double>(pnum_cNumber()), 0);
}

TEST(Number, OfATypeStartsAsZero) {
    forEachElementType([]<class T>(int code) {
        const pnum_cNumber number{dtyp_cDataType(code)};
        EXPECT_EQ(number.DataType().Code(), code);
        EXPECT_TRUE(isSameElement(elementIn<T>(number), elementOf<T>(0)));
    });
}

TEST(Number, OfAnUnknownTypeIsHeldAndRefusedByConversion) {
    for (const int code : {0, 11, -5}) {
        const pnum_cNumber number{dtyp_cDataType(code)};
        const pnum_cNumber copy = number;
        EXPECT_EQ(copy.DataType().Code(), code);
        EXPECT_EQ(refusalOf([&] { copy.As<double>(); }), "conv:1");
        EXPECT_EQ(pnum_cNumber(dtyp_cDataType(code), nullptr).DataType().Code(), code);
    }
}

TEST(Number, CopiesItsElementFromStorage) {
    forEachElementType([]<class T>(int code) {
        T value = elementOf<T>(7, 8);
        const pnum_cNumber number(dtyp_cDataType(code), &value);
        value = elementOf<T>(0);
        EXPECT_TRUE(isSameElement(elementIn<T>(number), elementOf<T>(7, 8)));
    });
}

TEST(Number, ElementIsWrittenInPlaceAndAligned) {
    pnum_cNumber number{dtyp_ComplexDouble};
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(number.Data()) % 16, 0u);
    const std::array<double, 2> parts = {1.5, -2};
    std::memcpy(number.Data(), parts.data(), sizeof parts);
    EXPECT_EQ(number.As<ComplexDouble>(), ComplexDouble(1.5, -2));
}

TEST(Number, CopiesAreIndependentAndTakeNoHeap) {
    const long before = allocationCount();
    pnum_cNumber first = 1;
    pnum_cNumber second = first;
    first = ComplexDouble(2, 3);
    EXPECT_EQ(second.As<int>(), 1);
    second = first;
    first = 4.0f;
    EXPECT_EQ(second.As<ComplexDouble>(), ComplexDouble(2, 3));
    EXPECT_EQ(first.DataType(), dtyp_Float);
    EXPECT_EQ(allocationCount(), before);
}

TEST(Number, AsConverts) {
    EXPECT_EQ(pnum_cNumber(2.5).As<int>(), 2);
    EXPECT_EQ(pnum_cNumber(3.5).As<int>(), 4);
    EXPECT_EQ(pnum_cNumber(-1).As<unsigned int>(), 0u);
    EXPECT_EQ(pnum_cNumber(300).As<unsigned char>(), 255);
    EXPECT_EQ(pnum_cNumber(ComplexDouble(3, 4)).As<double>(), 3);
    EXPECT_EQ(pnum_cNumber(ComplexDouble(3, 4)).As<double>(conv_Modulus), 5);
    EXPECT_EQ(pnum_cNumber(4294967295u).As<double>(), 4294967295.0);
}

TEST(Number, Prints) {
    EXPECT_EQ(printed(static_cast<unsigned char>(65)), "65");
    EXPECT_EQ(printed(static_cast<signed char>(-1)), "-1");
    EXPECT_EQ(printed(0.5), "0.5");
    EXPECT_EQ(printed(ComplexDouble(1, -2)), "(1,-2)");
    EXPECT_EQ(printed(pnum_cNumber(dtyp_cDataType(11))), "?");
}
