#include "cli/movie/time_limit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <new>
#include <optional>
#include <thread>
#include <vector>

#include "cli/output/start_threads.h"
#include "support/failing_new.h"

namespace {

using kvx_cli::TimeLimit;

constexpr std::chrono::hours kLong{1};

TEST(CliTimeLimit, ReturnsWhatTheWorkReturns) {
    TimeLimit limit(kLong);
    EXPECT_EQ(limit.Ask<int>([] { return 7; }), 7);
    EXPECT_EQ(limit.Ask<int>([] { return 8; }), 8);
}

// The thread that it happens on has nobody above it to catch anything.
TEST(CliTimeLimit, TellsThatTheWorkRanOutOfMemory) {
    TimeLimit limit(kLong);
    EXPECT_FALSE(limit.Run([] { throw std::bad_alloc(); }));
    EXPECT_EQ(limit.Words(), "there is not enough memory for it");
    EXPECT_EQ(limit.Ask<int>([]() -> int { throw std::bad_alloc(); }), std::nullopt);
    EXPECT_EQ(limit.Words(), "there is not enough memory for it");
    EXPECT_FALSE(TimeLimit::HasLeftThreadBehind());
}

TEST(CliTimeLimit, GoesOnAfterWorkThatRanOutOfMemory) {
    TimeLimit limit(kLong);
    EXPECT_FALSE(limit.Run([] { throw std::bad_alloc(); }));
    EXPECT_EQ(limit.Ask<int>([] { return 9; }), 9);
    EXPECT_EQ(limit.Words(), "it did not respond within 3600 seconds");
}

// Whichever of its allocations fails, threads that run are handed back, and none is left to itself.
TEST(CliStartThreads, StartsAsManyAsThereIsMemoryFor) {
    bool isComplete = false;
    for (int number = 0; !isComplete; ++number) {
        std::vector<std::thread> threads;
        const std::function<void()> work = [] {};
        {
            const kvx_test::FailingNew failing(number);
            try {
                threads = kvx_cli::StartThreads(3, work);
                EXPECT_GE(threads.size(), 1u);
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(kvx_test::FailingNew::HasFailed());
            }
            isComplete = !kvx_test::FailingNew::HasFailed();
        }
        EXPECT_TRUE(!isComplete || threads.size() == 3u);
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
}

}  // namespace
