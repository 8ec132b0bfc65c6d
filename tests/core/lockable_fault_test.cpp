// Locks whose pthread calls fail.
#include <gtest/gtest.h>

#include "core/lockable.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::Core::Lock;
using KVX::Core::Lockable;
using KVX::Core::Unlock;
using kvx_test::CallCount;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

TEST(LockableFault, FailedInitIsPassedOnAndNotUndone) {
    LogCapture log;
    {
        Lockable lockable;
        const Fault fault(SystemCall::kMutexInit, 12);
        EXPECT_EQ(lockable.Init(), 12);
    }
    EXPECT_EQ(log.Text(), "Init: pthread_mutex_init returned 12\n");
}

TEST(LockableFault, DestructorTouchesTheMutexOnlyAfterInit) {
    const long before = CallCount(SystemCall::kMutexDestroy);
    { Lockable untouched; }
    EXPECT_EQ(CallCount(SystemCall::kMutexDestroy), before);
    {
        Lockable touched;
        ASSERT_EQ(touched.Init(), 0);
    }
    EXPECT_EQ(CallCount(SystemCall::kMutexDestroy), before + 1);
}

TEST(LockableFault, FailedDestroyIsLogged) {
    LogCapture log;
    {
        Lockable lockable;
        ASSERT_EQ(lockable.Init(), 0);
        const Fault fault(SystemCall::kMutexDestroy, 16);
        lockable.~Lockable();
        new (&lockable) Lockable;
    }
    EXPECT_EQ(log.Text(), "~Lockable: pthread_mutex_destroy returned 16\n");
}

TEST(LockableFault, FailedLockAndUnlockArePassedOn) {
    Lockable lockable;
    ASSERT_EQ(lockable.Init(), 0);
    LogCapture log;
    {
        const Fault fault(SystemCall::kMutexLock, 35);
        EXPECT_EQ(lockable.Lock(), 35);
    }
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        EXPECT_EQ(lockable.Unlock(), 1);
    }
    EXPECT_EQ(log.Text(),
              "Lock: pthread_mutex_lock returned 35\n"
              "Unlock: pthread_mutex_unlock returned 1\n");
}

class ScopeFault : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(mLockable.Init(), 0); }

    Lockable mLockable;
};

constexpr char kFailedLock[] =
    "Lock: pthread_mutex_lock returned 35\n"
    "Lock: Lock returned 35\n";
constexpr char kFailedUnlock[] =
    "Unlock: pthread_mutex_unlock returned 1\n"
    "Unlock: Unlock returned 1\n";

TEST_F(ScopeFault, FailedLockIsNotUnlocked) {
    LogCapture log;
    const long unlocks = CallCount(SystemCall::kMutexUnlock);
    {
        const Fault fault(SystemCall::kMutexLock, 35);
        Lock lock(&mLockable);
    }
    EXPECT_EQ(log.Text(), kFailedLock);
    long result = 0;
    {
        const Fault fault(SystemCall::kMutexLock, 35);
        Lock lock(&mLockable, &result);
        EXPECT_EQ(result, 35);
    }
    EXPECT_EQ(result, 35);
    EXPECT_EQ(log.Text(), std::string(kFailedLock) + kFailedLock);
    EXPECT_EQ(CallCount(SystemCall::kMutexUnlock), unlocks);
}

TEST_F(ScopeFault, FailedUnlockAtTheEndIsTheResultIfAllWasWell) {
    LogCapture log;
    long result = 0;
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        Lock lock(&mLockable, &result);
    }
    EXPECT_EQ(result, 1);
    EXPECT_EQ(log.Text(),
              "Unlock: pthread_mutex_unlock returned 1\n"
              "~Lock: Unlock returned 1\n");
    mLockable.Unlock();
}

TEST_F(ScopeFault, FirstFailureOfAScopeStays) {
    long result = 0;
    LogCapture log;
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        Lock lock(&mLockable, &result);
        result = 22;
    }
    EXPECT_EQ(result, 22);
    mLockable.Unlock();
}

TEST_F(ScopeFault, FailedUnlockWithoutAResultIsLogged) {
    LogCapture log;
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        Lock lock(&mLockable);
    }
    EXPECT_EQ(log.Text(),
              "Unlock: pthread_mutex_unlock returned 1\n"
              "~Lock: Unlock returned 1\n");
    mLockable.Unlock();
}

TEST_F(ScopeFault, UnlockThatFailsIsNotLockedAgain) {
    mLockable.Lock();
    const long locks = CallCount(SystemCall::kMutexLock);
    LogCapture log;
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        Unlock unlock(&mLockable);
    }
    long result = 0;
    {
        const Fault fault(SystemCall::kMutexUnlock, 1);
        Unlock unlock(&mLockable, &result);
        EXPECT_EQ(result, 1);
    }
    EXPECT_EQ(log.Text(), std::string(kFailedUnlock) + kFailedUnlock);
    EXPECT_EQ(CallCount(SystemCall::kMutexLock), locks);
    mLockable.Unlock();
}

TEST_F(ScopeFault, FailedRelockIsTheResultIfAllWasWell) {
    LogCapture log;
    for (const long before : {0L, 22L}) {
        mLockable.Lock();
        long result = 0;
        {
            const Fault fault(SystemCall::kMutexLock, 35);
            Unlock unlock(&mLockable, &result);
            result = before;
        }
        EXPECT_EQ(result, before == 0 ? 35 : before);
    }
    mLockable.Lock();
    {
        const Fault fault(SystemCall::kMutexLock, 35);
        Unlock unlock(&mLockable);
    }
    const std::string trail =
        "Lock: pthread_mutex_lock returned 35\n"
        "~Unlock: Lock returned 35\n";
    EXPECT_EQ(log.Text(), trail + trail + trail);
}

}  // namespace
