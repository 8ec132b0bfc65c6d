#include "core/timing.h"

#include <gtest/gtest.h>
#include <sys/time.h>

namespace {

using namespace KVX::Util;

unsigned long long WallClock() {
    timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<unsigned long long>(now.tv_sec) * 1000000 +
           static_cast<unsigned long long>(now.tv_usec);
}

TEST(Timing, MicrosAreThoseOfTheWallClock) {
    unsigned long long micros = 0;
    unsigned long long relative = 0;
    const unsigned long long before = WallClock();
    EXPECT_EQ(Timing::GetMicros(micros), 0);
    EXPECT_EQ(Timing::GetRelativeMicros(relative), 0);
    const unsigned long long after = WallClock();
    EXPECT_LE(before, micros);
    EXPECT_LE(micros, relative);
    EXPECT_LE(relative, after);
}

}  // namespace
