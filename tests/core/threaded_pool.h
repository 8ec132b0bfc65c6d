// A pool that counts what it does.
#pragma once

#include <atomic>
#include <deque>
#include <functional>

#include "core/threaded.h"

namespace kvx_test {

class CountingPool : public KVX::Core::Threaded {
  public:
    using Work = std::function<void()>;

    // Before the part of the object goes that the threads work with.
    ~CountingPool() override {
        if (mThreadCount > 0) {
            StopAll();
        }
    }

    // To be queued before a thread looks; runs without the pool's lock.
    void Post(Work work) {
        KVX::Core::Lock lock(this);
        mQueue.push_back(std::move(work));
        WakeOne();
    }

    void* WorkToDo() override {
        ++mLooks;
        if (mQueue.empty()) {
            return nullptr;
        }
        auto* work = new Work(std::move(mQueue.front()));
        mQueue.pop_front();
        return work;
    }

    void RunThreadPass(void* item) override {
        auto* work = static_cast<Work*>(item);
        {
            KVX::Core::Unlock unlock(this);
            (*work)();
        }
        delete work;
        ++mPasses;
    }

    std::atomic<int> mLooks{0};
    std::atomic<int> mPasses{0};

  private:
    std::deque<Work> mQueue;
};

}  // namespace kvx_test
