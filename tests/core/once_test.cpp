#include "core/once.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using KVX::Core::Once;

static_assert(std::has_virtual_destructor_v<Once>);

std::atomic<int> gCalls{0};

void CountCall() {
    ++gCalls;
}

TEST(Once, SecondCallRunsNothing) {
    gCalls = 0;
    Once once(&CountCall);
    EXPECT_EQ(gCalls, 0);
    EXPECT_EQ(once.Call(), 0);
    EXPECT_EQ(gCalls, 1);
    EXPECT_EQ(once.Call(), 0);
    EXPECT_EQ(gCalls, 1);
}

TEST(Once, EachObjectRunsItsFunction) {
    gCalls = 0;
    Once first(&CountCall);
    Once second(&CountCall);
    first.Call();
    second.Call();
    EXPECT_EQ(gCalls, 2);
}

TEST(Once, ThreadsThatMeetRunItOnce) {
    gCalls = 0;
    Once once(&CountCall);
    std::atomic<int> unfinished{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([&once, &unfinished] {
            // Whoever comes back finds the function done.
            unfinished += once.Call() != 0 || gCalls != 1;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(gCalls, 1);
    EXPECT_EQ(unfinished, 0);
}

}  // namespace
