#include "cli/picture/worker_pool.h"

#include <algorithm>
#include <utility>

#include "cli/output/start_threads.h"

namespace kvx_cli {

WorkerPool::WorkerPool(size_t threads) {
    if (threads == 0) {
        threads = std::max(std::thread::hardware_concurrency(), 1U);
    }
    mThreads = StartThreads(threads, [this] { RunThread(); });
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard<std::mutex> guard(mLock);
        mIsEnding = true;
    }
    mChanged.notify_all();
    for (std::thread& thread : mThreads) {
        thread.join();
    }
}

void WorkerPool::Do(std::function<void()> work) {
    {
        const std::lock_guard<std::mutex> guard(mLock);
        mWork.push_back(std::move(work));
    }
    mChanged.notify_one();
}

void WorkerPool::RunThread() {
    std::unique_lock<std::mutex> guard(mLock);
    while (true) {
        mChanged.wait(guard, [this] { return !mWork.empty() || mIsEnding; });
        if (mWork.empty()) {
            return;
        }
        const std::function<void()> work = std::move(mWork.front());
        mWork.pop_front();
        guard.unlock();
        work();
        guard.lock();
    }
}

}  // namespace kvx_cli
