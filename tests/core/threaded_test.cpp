#include "core/threaded.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>
#include <vector>

#include "core/event.h"
#include "core/threaded_pool.h"
#include "support/log_capture.h"

namespace {

using KVX::Core::Event;
using KVX::Core::Lock;
using KVX::Core::Threaded;
using kvx_test::CountingPool;
using kvx_test::LogCapture;

static_assert(std::has_virtual_destructor_v<Threaded>);

// Until `done` says so. A test that waits in vain runs into its time limit.
template <typename Condition>
void WaitUntil(Condition done) {
    while (!done()) {
        std::this_thread::yield();
    }
}

TEST(Threaded, BaseHasNoWorkAndDoesNothing) {
    Threaded pool;
    EXPECT_EQ(pool.WorkToDo(), nullptr);
    pool.RunThreadPass(nullptr);
    EXPECT_EQ(Threaded::StaticRunThread(nullptr), nullptr);
}

TEST(Threaded, EveryOperationNeedsInit) {
    LogCapture log;
    {
        Threaded pool;
        bool woken = false;
        EXPECT_EQ(pool.WakeOne(), 22);
        EXPECT_EQ(pool.WakeAll(), 22);
        EXPECT_EQ(pool.Sleep(0, &woken), 22);
        EXPECT_FALSE(woken);
        EXPECT_EQ(pool.StopAll(), 22);
        EXPECT_EQ(pool.DetachAll(), 22);
        pool.RunThread();
        EXPECT_EQ(Threaded::StaticRunThread(&pool), nullptr);
    }
    const std::string text = ": Cond not initialised.  Missing Threaded::Init() call?\n";
    EXPECT_EQ(log.Text(), "WakeOne" + text + "WakeAll" + text + "Sleep" + text + "StopAll" + text +
                              "DetachAll" + text + "RunThread" + text + "RunThread" + text);
}

TEST(Threaded, PoolWithoutThreadsIsRefusedAndStaysReady) {
    LogCapture log;
    for (const int count : {0, -1}) {
        CountingPool pool;
        EXPECT_EQ(pool.Init(count), 22);
        EXPECT_EQ(pool.mThreadCount, 0);
        {
            Lock lock(&pool);
            EXPECT_EQ(pool.WakeOne(), 0);
            EXPECT_EQ(pool.WakeAll(), 0);
        }
        EXPECT_EQ(pool.StopAll(), 0);
    }
    EXPECT_EQ(log.Raw(), "");
}

TEST(Threaded, ThreadsWithoutWorkSleepAndLeaveWithoutAPass) {
    LogCapture log;
    CountingPool pool;
    ASSERT_EQ(pool.Init(4), 0);
    EXPECT_EQ(pool.mThreadCount, 4);
    WaitUntil([&pool] { return pool.mLooks == 4; });
    EXPECT_EQ(pool.StopAll(), 0);
    EXPECT_EQ(pool.mThreadCount, 0);
    EXPECT_EQ(pool.mPasses, 0);
    // Woken to leave, not to look again.
    EXPECT_EQ(pool.mLooks, 4);
    EXPECT_EQ(pool.StopAll(), 0);
    EXPECT_EQ(log.Raw(), "");
}

TEST(Threaded, EachPieceOfWorkIsDoneOnce) {
    constexpr int kPieces = 2000;
    std::vector<std::atomic<int>> done(kPieces);
    CountingPool pool;
    ASSERT_EQ(pool.Init(8), 0);
    for (int piece = 0; piece < kPieces; ++piece) {
        pool.Post([&count = done[static_cast<size_t>(piece)]] { ++count; });
    }
    WaitUntil([&pool] { return pool.mPasses == kPieces; });
    EXPECT_EQ(pool.StopAll(), 0);
    for (const std::atomic<int>& count : done) {
        ASSERT_EQ(count, 1);
    }
}

TEST(Threaded, ThreadsWorkAtTheSameTime) {
    CountingPool pool;
    ASSERT_EQ(pool.Init(4), 0);
    std::atomic<int> inside{0};
    for (int piece = 0; piece < 4; ++piece) {
        // None ends before all have begun.
        pool.Post([&inside] {
            ++inside;
            WaitUntil([&inside] { return inside == 4; });
        });
    }
    WaitUntil([&pool] { return pool.mPasses == 4; });
}

TEST(Threaded, StoppingWaitsForThePassThatRuns) {
    CountingPool pool;
    ASSERT_EQ(pool.Init(2), 0);
    Event begun;
    ASSERT_EQ(begun.Init(), 0);
    std::atomic<bool> mayEnd{false};
    std::atomic<bool> ended{false};
    pool.Post([&] {
        begun.Broadcast(nullptr);
        WaitUntil([&mayEnd] { return mayEnd.load(); });
        ended = true;
    });
    ASSERT_EQ(begun.Wait(), 0);
    std::thread stopper([&pool, &ended] {
        EXPECT_EQ(pool.StopAll(), 0);
        EXPECT_TRUE(ended);
    });
    std::this_thread::yield();
    mayEnd = true;
    stopper.join();
    EXPECT_EQ(pool.mPasses, 1);
}

TEST(Threaded, DestructorStopsThePool) {
    std::atomic<int> done{0};
    {
        CountingPool pool;
        ASSERT_EQ(pool.Init(3), 0);
        pool.Post([&done] { ++done; });
        WaitUntil([&pool] { return pool.mPasses == 1; });
    }
    EXPECT_EQ(done, 1);
}

TEST(Threaded, StoppedPoolStaysStopped) {
    CountingPool pool;
    ASSERT_EQ(pool.Init(1), 0);
    WaitUntil([&pool] { return pool.mLooks == 1; });
    EXPECT_EQ(pool.StopAll(), 0);
    pool.RunThread();
    EXPECT_EQ(pool.mLooks, 1);
}

TEST(Threaded, DetachedThreadsWorkOn) {
    // The threads outlive the test, and so does the pool.
    static auto* pool = new CountingPool;
    ASSERT_EQ(pool->Init(3), 0);
    EXPECT_EQ(pool->DetachAll(), 0);
    EXPECT_EQ(pool->mThreadCount, 0);
    pool->Post([] {});
    WaitUntil([] { return pool->mPasses == 1; });
}

// Sleep is for a pass, so the caller holds the lock.
TEST(ThreadedSleep, ZeroTimeRunsOutAtOnce) {
    CountingPool pool;
    ASSERT_EQ(pool.Init(0), 22);
    Lock lock(&pool);
    bool woken = true;
    EXPECT_EQ(pool.Sleep(0, &woken), 0);
    EXPECT_FALSE(woken);
    EXPECT_EQ(pool.Sleep(1500, &woken), 0);
    EXPECT_FALSE(woken);
    EXPECT_EQ(pool.Sleep(0, nullptr), 0);
}

TEST(ThreadedSleep, WakingEndsIt) {
    for (const long long micros : {-1LL, 600000000LL}) {
        CountingPool pool;
        ASSERT_EQ(pool.Init(0), 22);
        bool woken = false;
        std::thread waker;
        {
            Lock lock(&pool);
            waker = std::thread([&pool] {
                // Comes in only when the sleeper has left the lock.
                Lock wakerLock(&pool);
                EXPECT_EQ(pool.WakeAll(), 0);
            });
            EXPECT_EQ(pool.Sleep(micros, &woken), 0);
        }
        EXPECT_TRUE(woken);
        waker.join();
    }
}

}  // namespace
