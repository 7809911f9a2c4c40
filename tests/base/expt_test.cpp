#include "dataprocessing/base/expt.h"

#include <exception>
#include <type_traits>

#include <gtest/gtest.h>

TEST(ProgramException, SaysUnitAndLine) {
    const expt_cProgramException refusal("Warp", 93);
    EXPECT_STREQ(refusal.SourceFile().Text(), "Warp");
    EXPECT_EQ(refusal.Line(), 93);
    EXPECT_STREQ(refusal.what(), "Warp:93");
}

TEST(ProgramException, SaysItsMessageWhereThereIsOne) {
    const expt_cProgramException refusal("conv", 1, "Unknown element type.");
    EXPECT_STREQ(refusal.what(), "conv:1: Unknown element type.");
    EXPECT_STREQ(expt_cProgramException("conv", -7, "").what(), "conv:-7");
}

TEST(UserException, SaysUnitLineAndMessage) {
    const expt_cUserException failure("binary1", 553, expt_DivideByZero);
    EXPECT_EQ(failure.SourceFile(), "binary1");
    EXPECT_EQ(failure.Line(), 553);
    EXPECT_EQ(failure.Message(), expt_DivideByZero);
    EXPECT_STREQ(failure.what(), "binary1:553: Division by zero.");
}

TEST(UserException, IsCaughtAsEitherTypeAndAsStandardException) {
    EXPECT_THROW(throw expt_cUserException("u", 1, "m"), expt_cUserException);
    EXPECT_THROW(throw expt_cUserException("u", 1, "m"), expt_cProgramException);
    EXPECT_THROW(throw expt_cUserException("u", 1, "m"), std::exception);
    // Its base part alone still says all of it.
    const expt_cProgramException base =
        expt_cUserException("statist", 7, "Cannot calculate mean on empty array.");
    EXPECT_STREQ(base.what(), "statist:7: Cannot calculate mean on empty array.");
}

TEST(Exceptions, CopyWithoutThrowingAndShareNothingThatChanges) {
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<expt_cProgramException>);
    EXPECT_TRUE(std::is_nothrow_copy_assignable_v<expt_cProgramException>);
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<expt_cUserException>);
    EXPECT_TRUE(std::is_nothrow_copy_assignable_v<expt_cUserException>);
    expt_cUserException first("a", 1, "one");
    const expt_cUserException copy = first;
    first = expt_cUserException("b", 2, "two");
    EXPECT_STREQ(copy.what(), "a:1: one");
    EXPECT_STREQ(first.what(), "b:2: two");
    EXPECT_EQ(first.Message(), "two");
}

TEST(Exceptions, OutliveTheTextsTheyWereMadeOf) {
    expt_cUserException outer("", 0, "");
    {
        const str_cString unit("gaussfit");
        const str_cString message("A message long enough to live on the heap of its own.");
        outer = expt_cUserException(unit, 3, message);
    }
    EXPECT_STREQ(outer.what(), "gaussfit:3: A message long enough to live on the heap of its own.");
}

TEST(Exceptions, TextsSayWhatTheyAreFor) {
    EXPECT_STREQ(expt_DivideByZero, "Division by zero.");
    EXPECT_STREQ(expt_DomainError, "Domain error.");
    EXPECT_STREQ(expt_InvertSingularMatrix, "Cannot invert a singular matrix.");
}
