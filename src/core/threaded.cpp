#include "core/threaded.h"

#include <cerrno>
#include <cstdlib>

#include "core/assert.h"
#include "core/log.h"
#include "core/status.h"
#include "core/timing.h"

namespace KVX::Core {

namespace {

// In the block that every thread has from its start: the importer is a module that is loaded late,
// and would get its thread-local memory by a call and an allocation otherwise, which leak checkers
// do not find their way through.
#if defined(__ELF__)
[[gnu::tls_model("initial-exec")]]
#endif
thread_local bool sLeavesPool = false;

}  // namespace

Threaded::~Threaded() {
    if (mCondInitialised) {
        StopAll();
        Failed(pthread_cond_destroy(&mCond), "pthread_cond_destroy");
    }
    std::free(mThreads);
}

bool Threaded::IsReady(LogSite caller) const {
    if (!mCondInitialised) {
        LogLine(caller, "Cond not initialised.  Missing Threaded::Init() call?\n");
    }
    return mCondInitialised;
}

long Threaded::Init(int count) {
    long status = Lockable::Init();
    if (Failed(status, "Lockable::Init")) {
        return status;
    }
    status = pthread_cond_init(&mCond, nullptr);
    if (Failed(status, "pthread_cond_init")) {
        return status;
    }
    mCondInitialised = true;
    if (count < 1) {
        return kStatusInvalid;
    }
    mThreads = static_cast<pthread_t*>(std::calloc(static_cast<size_t>(count), sizeof(pthread_t)));
    if (mThreads == nullptr) {
        KVX_LOG("Failed to allocate %d Thread objects\n", count);
        return kStatusNoMemory;
    }
    for (int index = 0; index < count; ++index) {
        mThreadCount = index;
        status = pthread_create(&mThreads[index], nullptr, &StaticRunThread, this);
        if (Failed(status, "pthread_create")) {
            return status;
        }
    }
    mThreadCount = count;
    return 0;
}

void* Threaded::WorkToDo() {
    return nullptr;
}

void Threaded::RunThreadPass(void*) {}

void* Threaded::StaticRunThread(void* arg) {
    if (arg != nullptr) {
        static_cast<Threaded*>(arg)->RunThread();
    }
    return nullptr;
}

void Threaded::RunThread() {
    if (!IsReady()) {
        return;
    }
    long status = 0;
    Core::Lock lock(this, &status);
    if (Failed(status, "Lock")) {
        return;
    }
    while (!mStop) {
        void* work = WorkToDo();
        while (work == nullptr) {
            if (Failed(pthread_cond_wait(&mCond, &mMutex), "pthread_cond_wait") || mStop) {
                return;
            }
            work = WorkToDo();
        }
        if (mStop) {
            return;
        }
        RunThreadPass(work);
        if (sLeavesPool) {
            sLeavesPool = false;
            lock.Forget();
            return;
        }
    }
}

void Threaded::LeavePool() {
    sLeavesPool = true;
}

long Threaded::WakeOne() {
    if (!IsReady()) {
        return kStatusInvalid;
    }
    KVX_ASSERT(IsLocked());
    const long status = pthread_cond_signal(&mCond);
    Failed(status, "pthread_cond_signal");
    return status;
}

long Threaded::WakeAll() {
    if (!IsReady()) {
        return kStatusInvalid;
    }
    KVX_ASSERT(IsLocked());
    const long status = pthread_cond_broadcast(&mCond);
    Failed(status, "pthread_cond_broadcast");
    return status;
}

long Threaded::Sleep(long long micros, bool* woken) {
    if (!IsReady()) {
        return kStatusInvalid;
    }
    KVX_ASSERT(IsLocked());
    if (woken != nullptr) {
        *woken = true;
    }
    if (micros < 0) {
        const long status = pthread_cond_wait(&mCond, &mMutex);
        Failed(status, "pthread_cond_wait");
        return status;
    }
    timespec end;
    long status = Util::Timing::TimespecForMicrosIntoFuture(micros, &end);
    if (Failed(status, "TimespecForMicrosIntoFuture")) {
        return status;
    }
    status = pthread_cond_timedwait(&mCond, &mMutex, &end);
    if (status == ETIMEDOUT) {
        if (woken != nullptr) {
            *woken = false;
        }
        return 0;
    }
    Failed(status, "pthread_cond_timedwait");
    return status;
}

long Threaded::StopAll() {
    if (!IsReady()) {
        return kStatusInvalid;
    }
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        mStop = true;
        status = WakeAll();
        if (Failed(status, "WakeAll")) {
            return status;
        }
    }
    while (mThreadCount > 0) {
        const int last = mThreadCount - 1;
        status = pthread_join(mThreads[last], nullptr);
        Failed(status, "pthread_join");
        mThreads[last] = pthread_t();
        mThreadCount = last;
    }
    return status;
}

long Threaded::DetachAll() {
    if (!IsReady()) {
        return kStatusInvalid;
    }
    long status = 0;
    while (mThreadCount > 0) {
        const int last = mThreadCount - 1;
        status = pthread_detach(mThreads[last]);
        Failed(status, "pthread_detach");
        mThreads[last] = pthread_t();
        mThreadCount = last;
    }
    return status;
}

}  // namespace KVX::Core
