#include "dataprocessing/base/hndl.h"
#include "tests/support/refusal_expected.h"

#include <type_traits>

#include <gtest/gtest.h>

namespace {

struct Base {
    int value = 0;
};
struct Derived : Base {};
struct Other {};

} // namespace

TEST(Handle, IsEmptyUnlessItIsGivenAnObject) {
    const hndl_cHandle<Base> handle;
    EXPECT_TRUE(handle.IsEmpty());
    EXPECT_FALSE(handle);
    EXPECT_EQ(handle.Get(), nullptr);
}

TEST(Handle, RefersToItsObject) {
    Base object;
    const hndl_cHandle<Base> handle = object;
    EXPECT_FALSE(handle.IsEmpty());
    EXPECT_TRUE(handle);
    EXPECT_EQ(handle.Get(), &object);
    EXPECT_EQ(&*handle, &object);
    handle->value = 7;
    EXPECT_EQ(object.value, 7);
}

TEST(Handle, RefusesToFollowNothing) {
    const hndl_cHandle<Base> handle;
    const auto exception = caught<expt_cProgramException>([&] { (void)handle->value; });
    EXPECT_STREQ(exception.what(), "hndl:1: The handle refers to nothing.");
    EXPECT_THROW((void)*handle, expt_cProgramException);
}

TEST(Handle, ComparesObjectsNotValues) {
    int a = 1, b = 1;
    EXPECT_EQ(hndl_cHandle<int>(a), hndl_cHandle<int>(a));
    EXPECT_NE(hndl_cHandle<int>(a), hndl_cHandle<int>(b));
    EXPECT_NE(hndl_cHandle<int>(a), hndl_cHandle<int>());
    EXPECT_EQ(hndl_cHandle<int>(), hndl_cHandle<int>());
}

TEST(Handle, CopiesReferToTheSameObject) {
    int a = 1, b = 2;
    hndl_cHandle<int> handle = a;
    const hndl_cHandle<int> copy = handle;
    handle = b;
    EXPECT_EQ(copy.Get(), &a);
    EXPECT_EQ(handle.Get(), &b);
    EXPECT_EQ(a, 1);
    handle = {};
    EXPECT_TRUE(handle.IsEmpty());
}

TEST(Handle, ConvertsToItsBaseAndToConstant) {
    Derived object;
    const hndl_cHandle<Derived> handle = object;
    const hndl_cHandle<Base> base = handle;
    const hndl_cHandle<const Derived> constant = handle;
    EXPECT_EQ(base.Get(), &object);
    EXPECT_EQ(constant.Get(), &object);
    EXPECT_TRUE((hndl_cHandle<Base>(hndl_cHandle<Derived>()).IsEmpty()));
    static_assert(!std::is_convertible_v<hndl_cHandle<Base>, hndl_cHandle<Derived>>);
    static_assert(!std::is_convertible_v<hndl_cHandle<const Base>, hndl_cHandle<Base>>);
    static_assert(!std::is_convertible_v<hndl_cHandle<Other>, hndl_cHandle<Base>>);
}

TEST(Handle, DoesNotReferToTemporaries) {
    static_assert(!std::is_constructible_v<hndl_cHandle<Base>, Base>);
    static_assert(!std::is_constructible_v<hndl_cHandle<const Base>, Base>);
    static_assert(!std::is_constructible_v<hndl_cHandle<Base>, const Base&>);
    static_assert(std::is_constructible_v<hndl_cHandle<const Base>, Base&>);
    static_assert(std::is_trivially_copyable_v<hndl_cHandle<Base>>);
}
