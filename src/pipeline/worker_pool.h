#pragma once

#include <pthread.h>

#include <deque>
#include <new>

#include "core/assert.h"
#include "core/log.h"
#include "core/status.h"
#include "core/threaded.h"
#include "platform/system.h"

namespace KVX {

// What the read pool and the conversion pool have in common: a queue of reference counted items,
// served first in, first out, and one instance in the process, made by the first GetInstance. It
// lives until the process ends, without an exit hook: the system takes the threads away.
//
// `Pool` is the pool itself, with an Init of no arguments that starts the threads. Its destructor
// calls End before anything else.
template <typename Pool, typename Item>
class WorkerPool : public Core::Threaded {
  public:
    // The one pool. A failed start is final: every call returns its status.
    static long GetInstance(Pool*& out);

    static void Once();

    static pthread_once_t sOnce;
    static Pool* sInstance;
    static long sError;

    std::deque<Item*> mQueue;  // one reference each; guarded by the pool's lock

  protected:
    // Puts an item, with a reference of the queue's own, after the others. The caller holds the
    // lock. Returns 12 without memory; then the queue holds nothing of it.
    long Push(Item* item);

    // Drops what is queued and ends the threads, which may still be calling the work functions of
    // `Pool`: so not in the destructor of this class.
    void End();
};

template <typename Pool, typename Item>
pthread_once_t WorkerPool<Pool, Item>::sOnce = PTHREAD_ONCE_INIT;

template <typename Pool, typename Item>
Pool* WorkerPool<Pool, Item>::sInstance = nullptr;

template <typename Pool, typename Item>
long WorkerPool<Pool, Item>::sError = 0;

template <typename Pool, typename Item>
long WorkerPool<Pool, Item>::GetInstance(Pool*& out) {
    out = nullptr;
    const long status = pthread_once(&sOnce, &Once);
    if (Core::Failed(status, "pthread_once")) {
        return status;
    }
    if (Core::Failed(sError, "Once()")) {
        return sError;
    }
    out = sInstance;
    return 0;
}

template <typename Pool, typename Item>
void WorkerPool<Pool, Item>::Once() {
    // The queue takes memory of its own when it is made. Nothing may be thrown through the
    // once-call.
    try {
        sInstance = new (std::nothrow) Pool;
    } catch (const std::bad_alloc&) {
        sInstance = nullptr;
    }
    if (sInstance == nullptr) {
        sError = Core::kStatusNoMemory;
        return;
    }
    Platform::StayLoaded();  // before there are threads in it
    sError = sInstance->Init();
    if (sError != 0) {
        delete sInstance;
        sInstance = nullptr;
    }
}

template <typename Pool, typename Item>
long WorkerPool<Pool, Item>::Push(Item* item) {
    KVX_ASSERT(IsLocked());
    try {
        mQueue.push_back(item);
    } catch (const std::bad_alloc&) {
        return Core::kStatusNoMemory;
    }
    item->Retain();
    return 0;
}

template <typename Pool, typename Item>
void WorkerPool<Pool, Item>::End() {
    if (!mInitialised) {
        return;
    }
    {
        Core::Lock lock(this);
        for (Item* item : mQueue) {
            item->Release();
        }
        mQueue.clear();
    }
    if (mThreadCount > 0) {
        StopAll();
    }
}

}  // namespace KVX
