// Pools whose system calls fail.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>

#include "core/threaded_pool.h"
#include "pipeline/eventually.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::Core::Threaded;
using kvx_test::CallCount;
using kvx_test::CountingPool;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

template <typename Condition>
void WaitUntil(Condition done) {
    while (!done()) {
        std::this_thread::yield();
    }
}

TEST(ThreadedFault, InitPassesOnAFailedLock) {
    LogCapture log;
    {
        CountingPool pool;
        const Fault fault(SystemCall::kMutexInit, 12);
        EXPECT_EQ(pool.Init(2), 12);
        EXPECT_EQ(pool.mThreadCount, 0);
    }
    EXPECT_EQ(log.Text(),
              "Init: pthread_mutex_init returned 12\n"
              "Init: Lockable::Init returned 12\n");
}

TEST(ThreadedFault, InitPassesOnAFailedConditionVariable) {
    LogCapture log;
    const long destroys = CallCount(SystemCall::kCondDestroy);
    {
        CountingPool pool;
        const Fault fault(SystemCall::kCondInit, 12);
        EXPECT_EQ(pool.Init(2), 12);
    }
    EXPECT_EQ(log.Text(), "Init: pthread_cond_init returned 12\n");
    EXPECT_EQ(CallCount(SystemCall::kCondDestroy), destroys);
}

TEST(ThreadedFault, InitWithoutMemoryStartsNothing) {
    LogCapture log;
    {
        CountingPool pool;
        const Fault fault(SystemCall::kCalloc, 12);
        EXPECT_EQ(pool.Init(5), 12);
        EXPECT_EQ(pool.mThreadCount, 0);
    }
    EXPECT_EQ(log.Text(), "Init: Failed to allocate 5 Thread objects\n");
}

TEST(ThreadedFault, ThreadsThatDidStartWorkUntilTheEnd) {
    LogCapture log;
    {
        CountingPool pool;
        {
            const Fault fault(SystemCall::kThreadCreate, 11, 3);
            EXPECT_EQ(pool.Init(5), 11);
        }
        EXPECT_EQ(pool.mThreadCount, 2);
        pool.Post([] {});
        WaitUntil([&pool] { return pool.mPasses == 1; });
    }
    EXPECT_EQ(log.Text(), "Init: pthread_create returned 11\n");
}

TEST(ThreadedFault, FirstThreadMayFailToo) {
    LogCapture log;
    CountingPool pool;
    const Fault fault(SystemCall::kThreadCreate, 11, 1);
    EXPECT_EQ(pool.Init(5), 11);
    EXPECT_EQ(pool.mThreadCount, 0);
}

TEST(ThreadedFault, ThreadThatCannotLockEnds) {
    LogCapture log;
    {
        CountingPool pool;
        const Fault fault(SystemCall::kMutexLock, 35);
        ASSERT_EQ(pool.Init(1), 0);
        WaitUntil([&fault] { return fault.Hits() == 1; });
        EXPECT_EQ(pool.StopAll(), 0);
        EXPECT_EQ(pool.mLooks, 0);
    }
    EXPECT_EQ(log.Text(),
              "Lock: pthread_mutex_lock returned 35\n"
              "Lock: Lock returned 35\n"
              "RunThread: Lock returned 35\n");
}

TEST(ThreadedFault, ThreadThatCannotWaitEndsAndTheOthersGoOn) {
    LogCapture log;
    {
        CountingPool pool;
        const Fault fault(SystemCall::kCondWait, 22);
        ASSERT_EQ(pool.Init(2), 0);
        WaitUntil([&pool] { return pool.mLooks == 2; });
        pool.Post([] {});
        WaitUntil([&pool] { return pool.mPasses == 1; });
    }
    EXPECT_EQ(log.Text(), "RunThread: pthread_cond_wait returned 22\n");
}

TEST(ThreadedFault, SpuriousWakeUpsCostALookEach) {
    LogCapture log;
    CountingPool pool;
    const Fault fault(SystemCall::kCondWait, 0, 1, 5);
    ASSERT_EQ(pool.Init(1), 0);
    WaitUntil([&pool] { return pool.mLooks == 6; });
    EXPECT_EQ(pool.StopAll(), 0);
    EXPECT_EQ(pool.mLooks, 6);
    EXPECT_EQ(pool.mPasses, 0);
    EXPECT_EQ(log.Raw(), "");
}

TEST(ThreadedFault, FailedWakingIsPassedOn) {
    CountingPool pool;
    ASSERT_EQ(pool.Init(0), 22);
    LogCapture log;
    const Fault signal(SystemCall::kCondSignal, 22);
    const Fault broadcast(SystemCall::kCondBroadcast, 22);
    {
        KVX::Core::Lock lock(&pool);
        EXPECT_EQ(pool.WakeOne(), 22);
        EXPECT_EQ(pool.WakeAll(), 22);
    }
    EXPECT_EQ(log.Text(),
              "WakeOne: pthread_cond_signal returned 22\n"
              "WakeAll: pthread_cond_broadcast returned 22\n");
}

TEST(ThreadedFault, StoppingWithoutTheLockStopsNothing) {
    LogCapture log;
    CountingPool pool;
    ASSERT_EQ(pool.Init(1), 0);
    WaitUntil([&pool] { return pool.mLooks == 1; });
    {
        const Fault fault(SystemCall::kMutexLock, 35);
        EXPECT_EQ(pool.StopAll(), 35);
    }
    EXPECT_EQ(log.Text(),
              "Lock: pthread_mutex_lock returned 35\n"
              "Lock: Lock returned 35\n"
              "StopAll: Lock returned 35\n");
    EXPECT_EQ(pool.mThreadCount, 1);
    pool.Post([] {});
    WaitUntil([&pool] { return pool.mPasses == 1; });
}

TEST(ThreadedFault, StoppingThatWakesNobodyJoinsNobody) {
    LogCapture log;
    CountingPool pool;
    ASSERT_EQ(pool.Init(2), 0);
    WaitUntil([&pool] { return pool.mLooks == 2; });
    {
        const Fault fault(SystemCall::kCondBroadcast, 22);
        EXPECT_EQ(pool.StopAll(), 22);
    }
    EXPECT_EQ(log.Text(),
              "WakeAll: pthread_cond_broadcast returned 22\n"
              "StopAll: WakeAll returned 22\n");
    EXPECT_EQ(pool.mThreadCount, 2);
    EXPECT_EQ(pool.StopAll(), 0);
    EXPECT_EQ(pool.mThreadCount, 0);
}

TEST(ThreadedFault, FailedJoinStopsNoOtherAndTheLastOneIsTheResult) {
    for (const int nth : {1, 2, 3}) {
        LogCapture log;
        CountingPool pool;
        ASSERT_EQ(pool.Init(3), 0);
        {
            const Fault fault(SystemCall::kThreadJoin, 3, nth);
            EXPECT_EQ(pool.StopAll(), nth == 3 ? 3 : 0);
        }
        EXPECT_EQ(pool.mThreadCount, 0);
        EXPECT_EQ(log.Text(), "StopAll: pthread_join returned 3\n");
    }
}

// Threads have numbers that go up as they are started. The first one is kept until the last one has
// been joined.
TEST(ThreadedFault, StoppingJoinsFromTheLastThreadToTheFirst) {
    CountingPool pool;
    ASSERT_EQ(pool.Init(2), 0);
    std::atomic<pid_t> numbers[2] = {};
    std::atomic<bool> mayEnd[2] = {};
    for (size_t piece = 0; piece < 2; ++piece) {
        pool.Post([&, piece] {
            numbers[piece] = gettid();
            WaitUntil([&] { return mayEnd[piece].load(); });
        });
    }
    WaitUntil([&] { return numbers[0] != 0 && numbers[1] != 0; });
    const size_t first = numbers[0] < numbers[1] ? 0 : 1;
    const long joins = CallCount(SystemCall::kThreadJoin);
    std::thread stopper([&pool] { EXPECT_EQ(pool.StopAll(), 0); });
    mayEnd[1 - first] = true;
    EXPECT_TRUE(
        kvx_test::Eventually([&] { return CallCount(SystemCall::kThreadJoin) == joins + 1; }));
    EXPECT_EQ(pool.mPasses, 1);
    mayEnd[first] = true;
    stopper.join();
    EXPECT_EQ(CallCount(SystemCall::kThreadJoin), joins + 2);
}

// A pool of the base's own, which nobody stops before.
TEST(ThreadedFault, DestructorJoinsTheThreadsThatAreLeft) {
    const long joins = CallCount(SystemCall::kThreadJoin);
    const long destroys = CallCount(SystemCall::kCondDestroy);
    {
        Threaded pool;
        ASSERT_EQ(pool.Init(3), 0);
    }
    EXPECT_EQ(CallCount(SystemCall::kThreadJoin), joins + 3);
    EXPECT_EQ(CallCount(SystemCall::kCondDestroy), destroys + 1);
}

TEST(ThreadedFault, FailedDetachStopsNoOther) {
    // The threads outlive the test, and so does the pool.
    static auto* pool = new CountingPool;
    ASSERT_EQ(pool->Init(3), 0);
    LogCapture log;
    const long detaches = CallCount(SystemCall::kThreadDetach);
    const Fault fault(SystemCall::kThreadDetach, 22, 2);
    EXPECT_EQ(pool->DetachAll(), 0);
    EXPECT_EQ(CallCount(SystemCall::kThreadDetach), detaches + 3);
    EXPECT_EQ(pool->mThreadCount, 0);
    EXPECT_EQ(log.Text(), "DetachAll: pthread_detach returned 22\n");
}

TEST(ThreadedFault, FailedDestroyIsLogged) {
    LogCapture log;
    {
        CountingPool pool;
        ASSERT_EQ(pool.Init(0), 22);
        const Fault fault(SystemCall::kCondDestroy, 16);
        auto doomed = std::make_unique<CountingPool>();
        ASSERT_EQ(doomed->Init(0), 22);
        doomed.reset();
    }
    EXPECT_EQ(log.Text(), "~Threaded: pthread_cond_destroy returned 16\n");
}

TEST(ThreadedFault, SleepPassesOnFailures) {
    CountingPool pool;
    ASSERT_EQ(pool.Init(0), 22);
    KVX::Core::Lock lock(&pool);
    LogCapture log;
    bool woken = false;
    {
        const Fault fault(SystemCall::kCondWait, 22);
        EXPECT_EQ(pool.Sleep(-1, &woken), 22);
    }
    EXPECT_TRUE(woken);
    woken = false;
    {
        const Fault fault(SystemCall::kGettimeofday, 22);
        EXPECT_EQ(pool.Sleep(0, &woken), -1);
    }
    EXPECT_TRUE(woken);
    woken = false;
    {
        const Fault fault(SystemCall::kCondTimedwait, 22);
        EXPECT_EQ(pool.Sleep(0, &woken), 22);
    }
    EXPECT_TRUE(woken);
    EXPECT_EQ(log.Text(),
              "Sleep: pthread_cond_wait returned 22\n"
              "TimespecForMicrosIntoFuture: gettimeofday returned -1\n"
              "Sleep: TimespecForMicrosIntoFuture returned -1\n"
              "Sleep: pthread_cond_timedwait returned 22\n");
}

// Leaves the lock in WorkToDo until the pool is being stopped.
class LatePool : public Threaded {
  public:
    void* WorkToDo() override {
        const long broadcasts = CallCount(SystemCall::kCondBroadcast);
        KVX::Core::Unlock unlock(this);
        mIsLooking = true;
        WaitUntil([broadcasts] { return CallCount(SystemCall::kCondBroadcast) > broadcasts; });
        return this;
    }

    void RunThreadPass(void*) override { ++mPasses; }

    std::atomic<bool> mIsLooking{false};
    std::atomic<int> mPasses{0};
};

TEST(ThreadedFault, WorkTakenAsThePoolStopsIsDropped) {
    LogCapture log;
    LatePool pool;
    ASSERT_EQ(pool.Init(1), 0);
    WaitUntil([&pool] { return pool.mIsLooking.load(); });
    EXPECT_EQ(pool.StopAll(), 0);
    EXPECT_EQ(pool.mPasses, 0);
    EXPECT_EQ(log.Raw(), "");
}

}  // namespace
