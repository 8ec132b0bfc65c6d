#pragma once

#include <pthread.h>

namespace KVX::Core {

// A mutex owner, to be inherited by what it guards. Usable only after Init has returned 0.
// Statuses are those of the pthread calls; each failure leaves a log line.
class Lockable {
  public:
    Lockable() = default;
    ~Lockable();

    Lockable(const Lockable&) = delete;
    Lockable& operator=(const Lockable&) = delete;

    long Init();
    long Lock();
    long Unlock();

    // Whether any thread holds the lock, for assertions.
    bool IsLocked();

  protected:
    // For waiting on a condition variable beside the lock.
    pthread_mutex_t mMutex;
    bool mInitialised = false;  // Init has succeeded
};

// Holds a Lockable for a scope. When a place for the result is given, it takes the status of the
// lock, and later that of a failed unlock if all was well until then: return it after the scope.
class Lock {
  public:
    explicit Lock(Lockable* lockable);
    Lock(Lockable* lockable, long* result);
    virtual ~Lock();

    // Leaves the Lockable as it is at the end: the lock has been lost meanwhile.
    void Forget() { mHeld = false; }

    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

  private:
    Lockable* mLockable;
    long* mResult;
    bool mHeld;
};

// The mirror image: leaves a held Lockable for a scope and takes it again at the end.
class Unlock {
  public:
    explicit Unlock(Lockable* lockable);
    Unlock(Lockable* lockable, long* result);
    virtual ~Unlock();

    Unlock(const Unlock&) = delete;
    Unlock& operator=(const Unlock&) = delete;

  private:
    Lockable* mLockable;
    long* mResult;
    bool mHeld;
};

}  // namespace KVX::Core
