#include "core/lockable.h"

#include "core/log.h"

namespace KVX::Core {

Lockable::~Lockable() {
    if (mInitialised) {
        Failed(pthread_mutex_destroy(&mMutex), "pthread_mutex_destroy");
    }
}

long Lockable::Init() {
    const long status = pthread_mutex_init(&mMutex, nullptr);
    if (Failed(status, "pthread_mutex_init")) {
        return status;
    }
    mInitialised = true;
    return 0;
}

long Lockable::Lock() {
    const long status = pthread_mutex_lock(&mMutex);
    Failed(status, "pthread_mutex_lock");
    return status;
}

long Lockable::Unlock() {
    const long status = pthread_mutex_unlock(&mMutex);
    Failed(status, "pthread_mutex_unlock");
    return status;
}

bool Lockable::IsLocked() {
    if (pthread_mutex_trylock(&mMutex) != 0) {
        return true;
    }
    pthread_mutex_unlock(&mMutex);
    return false;
}

namespace {

// The caller gets the first failure of a scope.
void KeepFirst(long* result, long status) {
    if (result != nullptr && *result == 0) {
        *result = status;
    }
}

}  // namespace

Lock::Lock(Lockable* lockable) : mLockable(lockable), mResult(nullptr), mHeld(false) {
    mHeld = !Failed(mLockable->Lock(), "Lock");
}

Lock::Lock(Lockable* lockable, long* result) : mLockable(lockable), mResult(result), mHeld(false) {
    *mResult = mLockable->Lock();
    mHeld = !Failed(*mResult, "Lock");
}

Lock::~Lock() {
    if (mLockable == nullptr || !mHeld) {
        return;
    }
    const long status = mLockable->Unlock();
    if (Failed(status, "Unlock")) {
        KeepFirst(mResult, status);
    }
}

Unlock::Unlock(Lockable* lockable) : mLockable(lockable), mResult(nullptr), mHeld(false) {
    mHeld = !Failed(mLockable->Unlock(), "Unlock");
}

Unlock::Unlock(Lockable* lockable, long* result)
    : mLockable(lockable), mResult(result), mHeld(false) {
    *mResult = mLockable->Unlock();
    mHeld = !Failed(*mResult, "Unlock");
}

Unlock::~Unlock() {
    if (mLockable == nullptr || !mHeld) {
        return;
    }
    const long status = mLockable->Lock();
    if (Failed(status, "Lock")) {
        KeepFirst(mResult, status);
    }
}

}  // namespace KVX::Core
