// Latches whose pthread calls fail.
#include <gtest/gtest.h>

#include <memory>

#include "core/event.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::Core::Event;
using kvx_test::CallCount;
using kvx_test::Fault;
using kvx_test::FixedClock;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

constexpr int kError = 22;

TEST(EventFault, FailedInitUndoesOnlyWhatWasDone) {
    LogCapture log;
    const long destroys = CallCount(SystemCall::kCondDestroy);
    {
        Event event;
        const Fault fault(SystemCall::kMutexInit, 12);
        EXPECT_EQ(event.Init(), 12);
    }
    EXPECT_EQ(log.Text(),
              "Init: pthread_mutex_init returned 12\n"
              "Init: Lockable::Init returned 12\n");
    const long locks = CallCount(SystemCall::kMutexDestroy);
    {
        Event event;
        const Fault fault(SystemCall::kCondInit, 12);
        EXPECT_EQ(event.Init(), 12);
    }
    EXPECT_NE(log.Text().find("Init: pthread_cond_init returned 12\n"), std::string::npos);
    EXPECT_EQ(CallCount(SystemCall::kCondDestroy), destroys);
    EXPECT_EQ(CallCount(SystemCall::kMutexDestroy), locks + 1);
}

TEST(EventFault, FailedDestroyIsLogged) {
    auto event = std::make_unique<Event>();
    ASSERT_EQ(event->Init(), 0);
    LogCapture log;
    {
        const Fault fault(SystemCall::kCondDestroy, 16);
        event.reset();
    }
    EXPECT_EQ(log.Text(), "~Event: pthread_cond_destroy returned 16\n");
}

class EventFaultTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(mEvent.Init(), 0); }

    LogCapture mLog;
    Event mEvent;
};

TEST_F(EventFaultTest, FailedLockStopsEveryOperation) {
    bool flag = true;
    const Fault fault(SystemCall::kMutexLock, kError, 1, 4);
    EXPECT_EQ(mEvent.Broadcast(&flag), kError);
    EXPECT_TRUE(flag);
    EXPECT_EQ(mEvent.Signal(&flag), kError);
    EXPECT_TRUE(flag);
    EXPECT_EQ(mEvent.Wait(), kError);
    EXPECT_EQ(mEvent.TimedWait(0, flag), kError);
    EXPECT_FALSE(flag);
    const std::string inner =
        "Lock: pthread_mutex_lock returned 22\n"
        "Lock: Lock returned 22\n";
    EXPECT_EQ(mLog.Text(), inner + "Broadcast: Lock returned 22\n" + inner +
                               "Signal: Lock returned 22\n" + inner + "Wait: Lock returned 22\n" +
                               inner + "TimedWait: Lock returned 22\n");
}

TEST_F(EventFaultTest, FailedUnlockIsTheResult) {
    bool timedOut = false;
    for (int operation = 0; operation < 4; ++operation) {
        Event event;
        ASSERT_EQ(event.Init(), 0);
        if (operation >= 2) {
            event.Broadcast(nullptr);
        }
        long status = 0;
        {
            const Fault fault(SystemCall::kMutexUnlock, 1);
            status = operation == 0   ? event.Broadcast(nullptr)
                     : operation == 1 ? event.Signal(nullptr)
                     : operation == 2 ? event.Wait()
                                      : event.TimedWait(0, timedOut);
        }
        EXPECT_EQ(status, 1) << operation;
        event.Unlock();
    }
}

TEST_F(EventFaultTest, FailedBroadcastLeavesTheLatchSet) {
    {
        const Fault fault(SystemCall::kCondBroadcast, kError);
        bool wasSignalled = true;
        EXPECT_EQ(mEvent.Broadcast(&wasSignalled), kError);
        EXPECT_FALSE(wasSignalled);
    }
    EXPECT_EQ(mLog.Text(), "Broadcast: pthread_cond_broadcast returned 22\n");
    EXPECT_EQ(mEvent.Wait(), 0);
    bool wasSignalled = false;
    EXPECT_EQ(mEvent.Broadcast(&wasSignalled), 0);
    EXPECT_TRUE(wasSignalled);
}

TEST_F(EventFaultTest, FailedSignalLeavesTheLatchSet) {
    {
        const Fault fault(SystemCall::kCondSignal, kError);
        EXPECT_EQ(mEvent.Signal(nullptr), kError);
    }
    EXPECT_EQ(mLog.Text(), "Signal: pthread_cond_signal returned 22\n");
    EXPECT_EQ(mEvent.Wait(), 0);
}

TEST_F(EventFaultTest, SettingASetLatchTouchesNoConditionVariable) {
    mEvent.Broadcast(nullptr);
    const long broadcasts = CallCount(SystemCall::kCondBroadcast);
    const long signals = CallCount(SystemCall::kCondSignal);
    EXPECT_EQ(mEvent.Broadcast(nullptr), 0);
    EXPECT_EQ(mEvent.Signal(nullptr), 0);
    EXPECT_EQ(CallCount(SystemCall::kCondBroadcast), broadcasts);
    EXPECT_EQ(CallCount(SystemCall::kCondSignal), signals);
}

TEST_F(EventFaultTest, FailedWaitIsPassedOn) {
    const Fault fault(SystemCall::kCondWait, kError);
    EXPECT_EQ(mEvent.Wait(), kError);
    EXPECT_EQ(mLog.Text(), "Wait: pthread_cond_wait returned 22\n");
}

TEST_F(EventFaultTest, SpuriousWakeUpEndsTheWait) {
    bool timedOut = true;
    const Fault wait(SystemCall::kCondWait, 0);
    const Fault timedWait(SystemCall::kCondTimedwait, 0);
    EXPECT_EQ(mEvent.Wait(), 0);
    EXPECT_EQ(mEvent.TimedWait(600000000, timedOut), 0);
    EXPECT_FALSE(timedOut);
    EXPECT_EQ(wait.Hits(), 1);
    EXPECT_EQ(timedWait.Hits(), 1);
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(EventFaultTest, FailedTimedWaitIsPassedOn) {
    bool timedOut = true;
    const Fault fault(SystemCall::kCondTimedwait, kError);
    EXPECT_EQ(mEvent.TimedWait(0, timedOut), kError);
    EXPECT_FALSE(timedOut);
    EXPECT_EQ(mLog.Text(), "TimedWait: pthread_cond_timedwait returned 22\n");
}

TEST_F(EventFaultTest, FailedClockIsPassedOnBeforeTheLock) {
    bool timedOut = true;
    const long locks = CallCount(SystemCall::kMutexLock);
    const Fault fault(SystemCall::kGettimeofday, 1);
    EXPECT_EQ(mEvent.TimedWait(0, timedOut), -1);
    EXPECT_FALSE(timedOut);
    EXPECT_EQ(CallCount(SystemCall::kMutexLock), locks);
    EXPECT_EQ(mLog.Text(),
              "TimespecForMicrosIntoFuture: gettimeofday returned -1\n"
              "TimedWait: TimespecForMicrosIntoFuture returned -1\n");
}

// An end time whose nanoseconds stand at a whole second is refused by the system.
TEST_F(EventFaultTest, EndTimeOfAWholeSecondIsRefused) {
    const FixedClock clock(100, 500000);
    bool timedOut = true;
    EXPECT_EQ(mEvent.TimedWait(500000, timedOut), 22);
    EXPECT_FALSE(timedOut);
    EXPECT_EQ(mLog.Text(), "TimedWait: pthread_cond_timedwait returned 22\n");
}

}  // namespace
