#include "dataprocessing/base/dtyp.h"

#include <climits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "dataprocessing/base/dtyp_print.h"
#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/valuemodel/parr.h"
#include "tests/support/elements.h"

namespace {

template<class T>
std::string printed(T element) {
    std::ostringstream stream;
    dataprocessing::detail::dtyp_PrintElement(stream, dtyp_Of<T>(), &element);
    return stream.str();
}

} // namespace

TEST(DataType, CodesSizesAndFamilies) {
    const struct {
        dtyp_eDataType type;
        int code;
        std::size_t size;
        bool complex;
    } table[] = {{dtyp_UInt8, 1, 1, false},       {dtyp_UInt16, 2, 2, false},
                 {dtyp_UInt32, 3, 4, false},      {dtyp_Int8, 4, 1, false},
                 {dtyp_Int16, 5, 2, false},       {dtyp_Int32, 6, 4, false},
                 {dtyp_Float, 7, 4, false},       {dtyp_Double, 8, 8, false},
                 {dtyp_ComplexFloat, 9, 8, true}, {dtyp_ComplexDouble, 10, 16, true}};
    for (const auto& row : table) {
        const dtyp_cDataType type = row.type;
        EXPECT_EQ(type.Code(), row.code);
        EXPECT_EQ(type.SizeOf(), row.size) << row.code;
        EXPECT_EQ(type.IsComplex(), row.complex) << row.code;
        EXPECT_EQ(type.IsReal(), !row.complex) << row.code;
        EXPECT_TRUE(type.IsKnown()) << row.code;
        EXPECT_EQ(type, dtyp_cDataType(row.code));
    }
}

TEST(DataType, UnknownCodesAreHeldWithoutASize) {
    for (const int code : {0, -1, 11, 12, 255, INT_MIN, INT_MAX}) {
        const dtyp_cDataType type(code);
        EXPECT_EQ(type.Code(), code);
        EXPECT_EQ(type.SizeOf(), 0u) << code;
        EXPECT_FALSE(type.IsKnown()) << code;
        EXPECT_FALSE(type.IsReal()) << code;
        EXPECT_FALSE(type.IsComplex()) << code;
    }
}

TEST(DataType, EqualityComparesCodes) {
    for (int a = -1; a <= 12; ++a)
        for (int b = -1; b <= 12; ++b)
            EXPECT_EQ(dtyp_cDataType(a) == dtyp_cDataType(b), a == b) << a << ' ' << b;
}

TEST(DataType, MaxTakesTheLargerCode) {
    for (int a = 1; a <= 10; ++a)
        for (int b = 1; b <= 10; ++b)
            EXPECT_EQ(dtyp_Max(dtyp_cDataType(a), dtyp_cDataType(b)).Code(), a > b ? a : b);
    EXPECT_EQ(dtyp_Max(dtyp_Int8, dtyp_UInt32).Code(), 4);
}

TEST(DataType, CategoriesHoldFloatAndComplexDouble) {
    EXPECT_EQ(pnum_cNumber::tValueNumber.Code(), 7);
    EXPECT_EQ(parr_c1DNumberArray::t1DValueArray.Code(), 7);
    EXPECT_EQ(parr_c2DNumberArray::t2DValueArray.Code(), 7);
    EXPECT_EQ(pnum_cNumber::tComplexNumber.Code(), 10);
    EXPECT_EQ(parr_c1DNumberArray::t1DComplexArray.Code(), 10);
    EXPECT_EQ(parr_c2DNumberArray::t2DComplexArray.Code(), 10);
}

TEST(DataType, VisitHandsOverTheElementTypeOfTheCode) {
    forEachElementType([]<class T>(int code) {
        EXPECT_EQ(dtyp_Of<T>().Code(), code);
        EXPECT_EQ(dtyp_cDataType(code).SizeOf(), sizeof(T));
        int calls = 0;
        EXPECT_TRUE(dtyp_Visit(dtyp_cDataType(code), [&]<class Seen>(dtyp_Tag<Seen>) {
            ++calls;
            EXPECT_TRUE((std::is_same_v<Seen, T>)) << code;
        }));
        EXPECT_EQ(calls, 1);
    });
}

TEST(DataType, VisitOfAnUnknownCodeCallsNothing) {
    for (const int code : {0, -1, 11, INT_MIN, INT_MAX})
        EXPECT_FALSE(dtyp_Visit(dtyp_cDataType(code),
                                [](auto) { ADD_FAILURE() << "visited an unknown type"; }));
}

TEST(DataType, VisitOfAListServesThatAlone) {
    for (int code = -1; code <= 11; ++code) {
        int seen = 0;
        const bool isServed = dtyp_VisitOf<float, ComplexDouble, unsigned char>(
            dtyp_cDataType(code), [&]<class T>(dtyp_Tag<T>) { seen = dtyp_Of<T>().Code(); });
        EXPECT_EQ(isServed, code == 1 || code == 7 || code == 10) << code;
        EXPECT_EQ(seen, isServed ? code : 0) << code;
    }
}

TEST(DataType, OnlyTheTenTypesAreElements) {
    EXPECT_FALSE(dtyp_Element<bool>);
    EXPECT_FALSE(dtyp_Element<char>);
    EXPECT_FALSE(dtyp_Element<long>);
    EXPECT_FALSE(dtyp_Element<long double>);
    EXPECT_FALSE(dtyp_Element<const double>);
}

TEST(DataType, ElementsPrintAsNumbers) {
    EXPECT_EQ(printed(static_cast<unsigned char>(65)), "65");
    EXPECT_EQ(printed(static_cast<signed char>(-65)), "-65");
    EXPECT_EQ(printed(4294967295u), "4294967295");
    EXPECT_EQ(printed(short{-32768}), "-32768");
    EXPECT_EQ(printed(1.5f), "1.5");
    EXPECT_EQ(printed(-0.25), "-0.25");
    EXPECT_EQ(printed(ComplexFloat(1, -2)), "(1,-2)");
    EXPECT_EQ(printed(ComplexDouble(0.5, 3)), "(0.5,3)");
    std::ostringstream unknown;
    dataprocessing::detail::dtyp_PrintElement(unknown, dtyp_cDataType(11), nullptr);
    EXPECT_EQ(unknown.str(), "?");
}

TEST(Boolean, IsOneByteThatConvertsBothWays) {
    EXPECT_EQ(sizeof(type_cBoolean), 1u);
    EXPECT_FALSE(type_cBoolean());
    EXPECT_TRUE(type_cBoolean(true));
    EXPECT_FALSE(type_cBoolean(false));
    const type_cBoolean truth = true;
    unsigned char byte = 0;
    std::memcpy(&byte, &truth, 1);
    EXPECT_EQ(byte, 1);
    byte = 0x80; // a kernel may write any byte: not zero is true
    type_cBoolean written;
    std::memcpy(static_cast<void*>(&written), &byte, 1);
    EXPECT_TRUE(written);
}

TEST(Boolean, IsMadeOfBoolOnly) {
    EXPECT_FALSE((std::is_convertible_v<int, type_cBoolean>));
    EXPECT_FALSE((std::is_constructible_v<type_cBoolean, double>));
    EXPECT_FALSE((std::is_constructible_v<type_cBoolean, const char*>));
    EXPECT_TRUE((std::is_convertible_v<bool, type_cBoolean>));
}

TEST(Constants, HaveTheirDocumentedValues) {
    EXPECT_EQ(type_Pi, 4 * std::atan(1.0));
    EXPECT_EQ(type_MinValue, static_cast<double>(std::numeric_limits<float>::min()));
    EXPECT_EQ(type_MinValue, std::ldexp(1.0, -126));
}
