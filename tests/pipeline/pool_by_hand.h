#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include "core/lockable.h"
#include "core/threaded.h"

namespace kvx_test {

// A read or conversion pool without threads, so that the test itself does the work, which is the
// process's one pool of its kind while it lives. Whoever holds its lock and takes it again is
// refused with EDEADLK.
template <typename Pool>
class PoolByHand : public Pool {
  public:
    PoolByHand() {
        EXPECT_EQ(Pool::GetInstance(mUsual), 0);
        EXPECT_EQ(KVX::Core::Threaded::Init(0), 22);
        EXPECT_EQ(pthread_mutex_destroy(&this->mMutex), 0);
        pthread_mutexattr_t attributes;
        EXPECT_EQ(pthread_mutexattr_init(&attributes), 0);
        EXPECT_EQ(pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK), 0);
        EXPECT_EQ(pthread_mutex_init(&this->mMutex, &attributes), 0);
        EXPECT_EQ(pthread_mutexattr_destroy(&attributes), 0);
        Pool::sInstance = this;
    }

    ~PoolByHand() override { Pool::sInstance = mUsual; }

    // Does one piece of work, as a thread would. False if there is none.
    bool RunOne() {
        const KVX::Core::Lock lock(this);
        void* const work = this->WorkToDo();
        if (work != nullptr) {
            this->RunThreadPass(work);
        }
        return work != nullptr;
    }

  private:
    Pool* mUsual = nullptr;
};

}  // namespace kvx_test
