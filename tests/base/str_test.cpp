#include "dataprocessing/base/str.h"

#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

TEST(String, HoldsACopyOfItsText) {
    char text[] = "counts";
    const str_cString copy(text);
    text[0] = 'X';
    EXPECT_STREQ(copy.Text(), "counts");
    EXPECT_EQ(copy.Length(), 6);
}

TEST(String, IsMadeOfEveryKindOfText) {
    const std::string_view view = std::string_view("keV per channel").substr(0, 3);
    EXPECT_STREQ(str_cString(view).Text(), "keV");
    EXPECT_STREQ(str_cString(std::string("eV")).Text(), "eV");
    EXPECT_STREQ(str_cString("").Text(), "");
}

TEST(String, NullPointerDefaultAndNullAreTheEmptyText) {
    const char* nothing = nullptr;
    EXPECT_EQ(str_cString(nothing), str_cString());
    EXPECT_EQ(str_cString(nothing).Length(), 0);
    EXPECT_EQ(str_cString::Null, str_cString(""));
    EXPECT_STREQ(str_cString::Null.Text(), "");
}

TEST(String, ComparesAsText) {
    const str_cString a("a");
    EXPECT_TRUE(a == "a");
    EXPECT_TRUE("a" == a);
    EXPECT_TRUE(a != "b");
    EXPECT_TRUE(a < str_cString("b"));
    EXPECT_TRUE(str_cString("ab") > a);
    EXPECT_TRUE(str_cString("B") < a);
}

TEST(String, CopiesAreIndependent) {
    str_cString first("a text that is too long to be kept within the object itself");
    const str_cString second = first;
    first = "short";
    EXPECT_STREQ(second.Text(), "a text that is too long to be kept within the object itself");
    const str_cString third = std::move(first);
    EXPECT_STREQ(third.Text(), "short");
}

TEST(String, PrintsAsText) {
    std::ostringstream stream;
    stream << str_cString("energy") << ' ' << str_cString::Null << str_cString("keV");
    EXPECT_EQ(stream.str(), "energy keV");
}

TEST(String, HoldsZerosLikeOtherCharacters) {
    using namespace std::string_view_literals;
    const str_cString text("a\0b"sv);
    EXPECT_EQ(text.Length(), 3);
    EXPECT_NE(text, str_cString("a"));
    EXPECT_EQ(text, str_cString(std::string("a\0b", 3)));
    std::ostringstream printed;
    printed << text;
    EXPECT_EQ(printed.str(), "a\0b"sv);
}
