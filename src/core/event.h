#pragma once

#include <pthread.h>

#include "core/lockable.h"
#include "core/log.h"

namespace KVX::Core {

// A one-shot latch: unset at first, set once, and then set for good. One Event serves one occasion.
// Usable only after Init has returned 0. Statuses are those of the pthread calls.
class Event : public Lockable {
  public:
    Event() = default;
    virtual ~Event();

    long Init();

    // Set the latch and wake all waiters, or one. `wasSignalled`, if not null, takes the state from
    // before the call: of any number of racing callers exactly one reads false. Setting a set latch
    // does nothing.
    long Broadcast(bool* wasSignalled);
    long Signal(bool* wasSignalled);

    // Waits until the latch is set. One wait, not a loop: a spurious wake-up ends it as well.
    long Wait();

    // The same for at most `micros` microseconds. Running out of time is a success that sets
    // `timedOut`.
    long TimedWait(long micros, bool& timedOut);

  private:
    long Set(bool* wasSignalled, int (*wake)(pthread_cond_t*), const char* wakeName,
             LogSite caller = LogSite::Here());

    pthread_cond_t mCond;
    bool mInitialised = false;
    bool mSignalled = false;
};

}  // namespace KVX::Core
