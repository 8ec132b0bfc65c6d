#include "core/lockable.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

#include "support/log_capture.h"

namespace {

using KVX::Core::Lock;
using KVX::Core::Lockable;
using KVX::Core::Unlock;
using kvx_test::LogCapture;

static_assert(!std::is_polymorphic_v<Lockable>, "a class with both bases has one table");
static_assert(std::has_virtual_destructor_v<Lock>);
static_assert(std::has_virtual_destructor_v<Unlock>);

class Guarded : public Lockable {
  public:
    // Whether another thread could take the lock now.
    bool IsFree() {
        bool free = false;
        std::thread([this, &free] {
            free = pthread_mutex_trylock(&mMutex) == 0;
            if (free) {
                pthread_mutex_unlock(&mMutex);
            }
        }).join();
        return free;
    }
};

TEST(Lockable, LocksAndUnlocks) {
    LogCapture log;
    Guarded guarded;
    ASSERT_EQ(guarded.Init(), 0);
    EXPECT_TRUE(guarded.IsFree());
    EXPECT_EQ(guarded.Lock(), 0);
    EXPECT_FALSE(guarded.IsFree());
    EXPECT_EQ(guarded.Unlock(), 0);
    EXPECT_TRUE(guarded.IsFree());
    EXPECT_EQ(log.Raw(), "");
}

TEST(Lockable, DestructorLeavesAnObjectWithoutInitAlone) {
    LogCapture log;
    { Guarded guarded; }
    EXPECT_EQ(log.Raw(), "");
}

TEST(LockScope, HoldsTheLockForItsLife) {
    Guarded guarded;
    ASSERT_EQ(guarded.Init(), 0);
    {
        Lock lock(&guarded);
        EXPECT_FALSE(guarded.IsFree());
    }
    EXPECT_TRUE(guarded.IsFree());
}

TEST(LockScope, StoresASuccessToo) {
    Guarded guarded;
    ASSERT_EQ(guarded.Init(), 0);
    long result = 5;
    {
        Lock lock(&guarded, &result);
        EXPECT_EQ(result, 0);
        EXPECT_FALSE(guarded.IsFree());
    }
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(guarded.IsFree());
}

TEST(LockScope, LeavesALaterFailureOfTheScopeAlone) {
    Guarded guarded;
    ASSERT_EQ(guarded.Init(), 0);
    long result = 0;
    {
        Lock lock(&guarded, &result);
        result = 22;
    }
    EXPECT_EQ(result, 22);
}

TEST(UnlockScope, FreesTheLockForItsLifeAndTakesItAgain) {
    Guarded guarded;
    ASSERT_EQ(guarded.Init(), 0);
    long result = 5;
    {
        Lock lock(&guarded);
        {
            Unlock unlock(&guarded);
            EXPECT_TRUE(guarded.IsFree());
        }
        EXPECT_FALSE(guarded.IsFree());
        {
            Unlock unlock(&guarded, &result);
            EXPECT_EQ(result, 0);
            EXPECT_TRUE(guarded.IsFree());
        }
        EXPECT_EQ(result, 0);
        EXPECT_FALSE(guarded.IsFree());
    }
    EXPECT_TRUE(guarded.IsFree());
}

TEST(LockScope, KeepsThreadsApart) {
    Guarded guarded;
    ASSERT_EQ(guarded.Init(), 0);
    int counter = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([&guarded, &counter] {
            for (int round = 0; round < 5000; ++round) {
                Lock lock(&guarded);
                ++counter;
                { Unlock unlock(&guarded); }
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 4 * 5000 * 2);
}

}  // namespace
