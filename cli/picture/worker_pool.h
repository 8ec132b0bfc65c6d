#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace kvx_cli {

// Threads that do what they are given, in the order given, as many pieces at a time as there are
// threads.
class WorkerPool {
  public:
    // 0: one for each processor that there is. Fewer where the system gives no more; throws
    // std::bad_alloc where it gives none.
    explicit WorkerPool(size_t threads = 0);

    // Ends when all is done.
    ~WorkerPool();

    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // `work` throws nothing. Throws std::bad_alloc, and the work is not done then.
    void Do(std::function<void()> work);

    size_t Threads() const { return mThreads.size(); }

  private:
    void RunThread();

    std::mutex mLock;
    std::condition_variable mChanged;
    std::deque<std::function<void()>> mWork;
    bool mIsEnding = false;
    std::vector<std::thread> mThreads;
};

}  // namespace kvx_cli
