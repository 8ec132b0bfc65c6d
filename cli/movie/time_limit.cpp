#include "cli/movie/time_limit.h"

#include <atomic>
#include <cstdio>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

namespace kvx_cli {

namespace {

std::atomic<bool> gLeftThreadBehind{false};

}  // namespace

struct TimeLimit::Worker {
    std::mutex lock;
    std::condition_variable changed;
    std::function<void()> work;  // empty: nothing to do
    bool isStopping = false;
    bool ranOutOfMemory = false;

    void Do() {
        try {
            work();
        } catch (const std::bad_alloc&) {
            ranOutOfMemory = true;
        }
    }

    static void RunThread(const std::shared_ptr<Worker>& worker) {
        std::unique_lock<std::mutex> guard(worker->lock);
        while (true) {
            worker->changed.wait(guard, [&] { return worker->work || worker->isStopping; });
            if (!worker->work) {
                return;
            }
            guard.unlock();
            worker->Do();
            guard.lock();
            worker->work = nullptr;
            worker->changed.notify_all();
        }
    }
};

TimeLimit::~TimeLimit() {
    if (mWorker != nullptr) {
        const std::lock_guard<std::mutex> guard(mWorker->lock);
        mWorker->isStopping = true;
        mWorker->changed.notify_all();
    }
}

bool TimeLimit::StartWorker() {
    mWorker = std::make_shared<Worker>();
    try {
        std::thread(Worker::RunThread, mWorker).detach();
    } catch (const std::system_error&) {
        mWorker = nullptr;
    }
    return mWorker != nullptr;
}

bool TimeLimit::Run(std::function<void()> work) {
    mFailure = nullptr;
    if (mWorker == nullptr && !StartWorker()) {
        mFailure = "no thread can be started to read it";
        return false;
    }
    std::unique_lock<std::mutex> guard(mWorker->lock);
    mWorker->ranOutOfMemory = false;
    mWorker->work = std::move(work);
    mWorker->changed.notify_all();
    if (mWorker->changed.wait_for(guard, mLimit, [this] { return !mWorker->work; })) {
        mFailure = mWorker->ranOutOfMemory ? "there is not enough memory for it" : nullptr;
        return mFailure == nullptr;
    }
    mWorker->isStopping = true;
    guard.unlock();
    mWorker = nullptr;
    gLeftThreadBehind = true;
    return false;
}

std::string TimeLimit::Words() const {
    return mFailure != nullptr ? mFailure : "it did not respond within " + SecondsText(mLimit);
}

bool TimeLimit::HasLeftThreadBehind() {
    return gLeftThreadBehind;
}

std::string SecondsText(std::chrono::milliseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", static_cast<double>(time.count()) / 1000);
    std::string trimmed = text;
    trimmed.erase(trimmed.find_last_not_of('0') + 1);
    if (trimmed.back() == '.') {
        trimmed.pop_back();
    }
    return trimmed + (trimmed == "1" ? " second" : " seconds");
}

}  // namespace kvx_cli
