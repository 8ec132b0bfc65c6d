#include "core/event.h"

#include <cerrno>

#include "core/log.h"
#include "core/timing.h"

namespace KVX::Core {

Event::~Event() {
    if (mInitialised) {
        Failed(pthread_cond_destroy(&mCond), "pthread_cond_destroy");
    }
}

long Event::Init() {
    long status = Lockable::Init();
    if (Failed(status, "Lockable::Init")) {
        return status;
    }
    status = pthread_cond_init(&mCond, nullptr);
    if (Failed(status, "pthread_cond_init")) {
        return status;
    }
    mInitialised = true;
    return 0;
}

long Event::Broadcast(bool* wasSignalled) {
    return Set(wasSignalled, &pthread_cond_broadcast, "pthread_cond_broadcast");
}

long Event::Signal(bool* wasSignalled) {
    return Set(wasSignalled, &pthread_cond_signal, "pthread_cond_signal");
}

long Event::Set(bool* wasSignalled, int (*wake)(pthread_cond_t*), const char* wakeName,
                LogSite caller) {
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock", caller)) {
            return status;
        }
        if (wasSignalled != nullptr) {
            *wasSignalled = mSignalled;
        }
        if (!mSignalled) {
            mSignalled = true;
            status = wake(&mCond);
            Failed(status, wakeName, caller);
        }
    }
    return status;
}

long Event::Wait() {
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        if (!mSignalled) {
            status = pthread_cond_wait(&mCond, &mMutex);
            Failed(status, "pthread_cond_wait");
        }
    }
    return status;
}

long Event::TimedWait(long micros, bool& timedOut) {
    timedOut = false;
    timespec end;
    long status = Util::Timing::TimespecForMicrosIntoFuture(micros, &end);
    if (Failed(status, "TimespecForMicrosIntoFuture")) {
        return status;
    }
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        if (!mSignalled) {
            status = pthread_cond_timedwait(&mCond, &mMutex, &end);
            if (status == ETIMEDOUT) {
                timedOut = true;
                status = 0;
            }
            Failed(status, "pthread_cond_timedwait");
        }
    }
    return status;
}

}  // namespace KVX::Core
