#pragma once

#include <pthread.h>

#include "core/lockable.h"
#include "core/log.h"

namespace KVX::Core {

// A pool of identical threads with one lock and one condition variable. A subclass says what a
// thread does: WorkToDo looks for work, RunThreadPass does one piece of it. Both are called with
// the pool's lock held; a pass leaves the lock with a Core::Unlock for anything long and returns
// with it held.
//
// A pool is brought up by Init, on a fully constructed object since threads start working at once,
// and ended by StopAll, normally from the destructor. A stopped pool cannot be started again.
// Statuses are those of the pthread calls, 12 without memory and 22 for a wrong call.
class Threaded : public Lockable {
  public:
    Threaded() = default;

    // Stops and joins the threads. A subclass empties its queue first, under the lock, and stops
    // the pool itself: here its part of the object, with its work functions, is gone.
    virtual ~Threaded();

    // Starts `count` threads. After a failure the threads that did start run until the object is
    // destroyed.
    virtual long Init(int count);

    // The next piece of work, opaque to the pool; null when there is none.
    virtual void* WorkToDo();

    virtual void RunThreadPass(void* work);

    // The body of each thread.
    void RunThread();
    static void* StaticRunThread(void* arg);

    // Wake sleeping threads. The caller holds the lock.
    long WakeOne();
    long WakeAll();

    // Sleeps for at most `micros` microseconds, without limit if negative, or until woken; for a
    // subclass within a pass, with the lock held. `woken`, if not null, tells which it was.
    long Sleep(long long micros, bool* woken);

    // Lets each thread finish its pass and joins it. Returns the status of the last join.
    long StopAll();

    // Lets go of the threads, which run on unowned.
    long DetachAll();

    int mThreadCount = 0;  // started and neither joined nor detached

  protected:
    // For a pass that could not take the lock again, before it returns: its thread then ends
    // without looking at the pool, as one does that cannot take the lock at its start.
    static void LeavePool();

  private:
    bool IsReady(LogSite caller = LogSite::Here()) const;

    pthread_t* mThreads = nullptr;
    pthread_cond_t mCond;
    bool mCondInitialised = false;
    bool mStop = false;
};

}  // namespace KVX::Core
