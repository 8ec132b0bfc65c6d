#include "core/event.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/log_capture.h"

namespace {

using KVX::Core::Event;
using kvx_test::LogCapture;

static_assert(std::has_virtual_destructor_v<Event>);

class EventTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(mEvent.Init(), 0); }
    void TearDown() override { EXPECT_EQ(mLog.Raw(), ""); }

    LogCapture mLog;
    Event mEvent;
};

TEST_F(EventTest, FirstBroadcastFindsItUnsetAndLaterOnesSet) {
    bool wasSignalled = true;
    EXPECT_EQ(mEvent.Broadcast(&wasSignalled), 0);
    EXPECT_FALSE(wasSignalled);
    EXPECT_EQ(mEvent.Broadcast(&wasSignalled), 0);
    EXPECT_TRUE(wasSignalled);
    EXPECT_EQ(mEvent.Signal(&wasSignalled), 0);
    EXPECT_TRUE(wasSignalled);
}

TEST_F(EventTest, SignalSetsItToo) {
    bool wasSignalled = true;
    EXPECT_EQ(mEvent.Signal(&wasSignalled), 0);
    EXPECT_FALSE(wasSignalled);
    EXPECT_EQ(mEvent.Broadcast(&wasSignalled), 0);
    EXPECT_TRUE(wasSignalled);
}

TEST_F(EventTest, NobodyHasToAskForTheState) {
    EXPECT_EQ(mEvent.Broadcast(nullptr), 0);
    EXPECT_EQ(mEvent.Signal(nullptr), 0);
    EXPECT_EQ(mEvent.Broadcast(nullptr), 0);
}

TEST_F(EventTest, SetEventIsNotWaitedFor) {
    mEvent.Broadcast(nullptr);
    EXPECT_EQ(mEvent.Wait(), 0);
    bool timedOut = true;
    EXPECT_EQ(mEvent.TimedWait(1000000000, timedOut), 0);
    EXPECT_FALSE(timedOut);
}

TEST_F(EventTest, TimeThatRunsOutIsASuccess) {
    for (const long micros : {0L, 1L, 1500L}) {
        bool timedOut = false;
        EXPECT_EQ(mEvent.TimedWait(micros, timedOut), 0);
        EXPECT_TRUE(timedOut);
    }
    bool wasSignalled = true;
    mEvent.Broadcast(&wasSignalled);
    EXPECT_FALSE(wasSignalled);
}

TEST_F(EventTest, BroadcastWakesAllWaiters) {
    std::atomic<int> woken{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([this, &woken, index] {
            bool timedOut = true;
            // Waiters that come late find the latch set.
            const long status =
                index % 2 == 0 ? mEvent.Wait() : mEvent.TimedWait(600000000, timedOut);
            woken += status == 0 && (index % 2 == 0 || !timedOut);
        });
    }
    EXPECT_EQ(mEvent.Broadcast(nullptr), 0);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(woken, 4);
}

TEST_F(EventTest, SignalWakesAWaiter) {
    std::thread waiter([this] { EXPECT_EQ(mEvent.Wait(), 0); });
    EXPECT_EQ(mEvent.Signal(nullptr), 0);
    waiter.join();
}

TEST_F(EventTest, ExactlyOneOfManyFindsItUnset) {
    std::atomic<int> first{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([this, &first, index] {
            bool wasSignalled = true;
            index % 2 == 0 ? mEvent.Broadcast(&wasSignalled) : mEvent.Signal(&wasSignalled);
            first += !wasSignalled;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(first, 1);
}

TEST(EventWithoutInit, DestructorLeavesItAlone) {
    LogCapture log;
    { Event event; }
    EXPECT_EQ(log.Raw(), "");
}

}  // namespace
