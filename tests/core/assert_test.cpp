// The macro is looked at as it is where it is on; what it calls is in every build.
#if !defined(KVX_ASSERTS)
#define KVX_ASSERTS
#endif
#include "core/assert.h"

#include <gtest/gtest.h>

namespace {

TEST(Assert, AKeptPromiseIsPassedOver) {
    int looks = 0;
    KVX_ASSERT(++looks == 1);
    EXPECT_EQ(looks, 1);
}

TEST(AssertDeathTest, ABrokenPromiseIsToldAndEndsTheProcess) {
    const int sum = 4;
    EXPECT_DEATH(KVX_ASSERT(2 + 2 != sum),
                 "^\\*\\*\\* TestBody\\[[0-9]+\\]: Broken promise: 2 \\+ 2 != sum\n$");
}

}  // namespace
