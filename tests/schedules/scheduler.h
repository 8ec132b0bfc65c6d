// Runs a program of several threads in an order of its choosing.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "schedules/arena.h"
#include "schedules/causes.h"
#include "schedules/fiber.h"
#include "schedules/program_image.h"
#include "schedules/strategy.h"

namespace kvx_schedules {

// What limits the runs.
struct Bounds {
    unsigned preemptions = 2;  // threads interrupted although they could go on
    unsigned failures = 0;     // calls of the system that fail
    unsigned wakeUps = 0;      // waits that end for no reason, or since their time is up
    // Of the threads that are started alike (the same function with the same argument) so many take
    // part. The others sleep until somebody joins them: threads that the system is slow to start.
    int threadsAlike = 2;
    // Interrupts threads only before they touch what several have in common (see Causes), and takes
    // one way of those that differ in nothing but which of two threads alike goes on.
    bool onlyWhereThreadsMeet = false;
    size_t mostChoices = 20000;  // a run of more is one that does not end
};

// What a run did that it must not do.
struct Finding {
    std::string what;
    std::string path;  // repeats the run; see Replay
};

// The one scheduler of the program. It starts no thread of the system: each thread that the code
// under schedule starts is a fiber, and only its calls of pthread functions, its atomic operations
// and its calls on files are points where another may go on. Between two such points a thread
// runs undisturbed, which loses nothing as long as it shares no memory without them.
class Scheduler {
  public:
    Scheduler();

    // Makes a run of `body`, which is the first thread. What is wrong is answered; nothing when the
    // run went well or was given up by the strategy.
    std::optional<Finding> Run(Strategy& strategy, const Bounds& bounds,
                               const std::function<void()>& body);

    // Points of the last run at which there was a choice.
    size_t Choices() const { return mPath.Length(); }
    bool WasGivenUp() const { return mWasGivenUp; }

    // Prints the points of runs, each with the number of the choice that comes next.
    void Trace() { mTraces = true; }

    // --- For the bodies of runs.

    // From here on runs differ. What comes before happens in one order, and what it needs of the
    // budget is none. Threads alike that wait for one condition are the same from here on.
    void BeginExploring();

    // From here on there is one order again: for what another scenario shows.
    void EndExploring() { mExploring = false; }

    // What threads were found to have in common; see Bounds.
    Causes& TheirCauses() { return mCauses; }

    // Operations on the object are no points and no causes until the run ends: for what threads
    // only count under, while nobody waits for the count.
    void Overlook(const void* object);
    // From here on nothing is overlooked.
    void OverlookNothing() { mOverlooked.clear(); }

    // Waits until no other thread can go on.
    void WaitUntilQuiet();

    // Ends the run with a finding.
    [[noreturn]] void Fail(const std::string& what);

    // Whether a call of the system fails here. Costs a failure.
    bool Fails();

    const Arena& Memory() const { return mArena; }

    // --- For what takes the place of the system's functions.

    // Whether the caller is code under schedule.
    bool Controls() const { return mControls; }

    int CreateThread(pthread_t* thread, void* (*function)(void*), void* argument);
    int JoinThread(pthread_t thread, void** result);
    int DetachThread(pthread_t thread);
    pthread_t Self() const;

    int InitMutex(const pthread_mutex_t* mutex);
    int DestroyMutex(const pthread_mutex_t* mutex);
    int LockMutex(const pthread_mutex_t* mutex);
    int TryLockMutex(const pthread_mutex_t* mutex);
    int UnlockMutex(const pthread_mutex_t* mutex);

    int InitCondition(const pthread_cond_t* condition);
    int DestroyCondition(const pthread_cond_t* condition);
    int Wait(const pthread_cond_t* condition, const pthread_mutex_t* mutex, bool isTimed);
    int Wake(const pthread_cond_t* condition, bool all);

    int CallOnce(const void* control, void (*function)());

    int CreateKey(pthread_key_t* key, void (*destructor)(void*));
    void* GetSpecific(pthread_key_t key) const;
    int SetSpecific(pthread_key_t key, const void* value);

    // Before an operation on `object`, of which nothing is known but that it does not wait.
    // Of `size` bytes, if it is in memory.
    void Point(const void* object, const char* what, bool changes = true, size_t size = 0);
    // Before a descriptor is given out or back, which may be any, and before it is read from.
    void OpenPoint();
    void Opened(int descriptor);
    void ClosePoint(int descriptor);
    void ReadPoint(int descriptor);

    // Memory is looked at or written to.
    void Access(const void* address, size_t size, const char* how);
    void* Allocate(size_t size, size_t alignment);
    void Free(void* memory);
    bool Owns(const void* memory) const { return mArena.Holds(memory); }

  private:
    struct Mutex {
        int owner = -1;
        bool isDestroyed = false;
    };
    struct Condition {
        std::deque<int> waiters;
        bool isDestroyed = false;
    };
    enum class OnceState { kNew, kRunning, kDone };

    struct Thread {
        Fiber fiber;
        void* (*function)(void*) = nullptr;
        void* argument = nullptr;
        void* result = nullptr;
        bool isLate = false;
        bool isFinished = false;
        bool isDetached = false;
        bool isJoined = false;
        // What it waits for; all null when it can go on.
        const pthread_mutex_t* mutex = nullptr;
        const pthread_cond_t* condition = nullptr;
        bool isTimed = false;
        const void* once = nullptr;
        int joins = -1;
        bool waitsForQuiet = false;
        uint64_t history = 0;  // of all that happened before, by order of cause
        std::map<pthread_key_t, const void*> values;
    };

    // Calls of the standard library made by the scheduler itself are nobody's business.
    class Inside {
      public:
        explicit Inside(Scheduler* scheduler) : mScheduler(scheduler), mWas(scheduler->mControls) {
            mScheduler->mControls = false;
        }
        ~Inside() { mScheduler->mControls = mWas; }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;

      private:
        Scheduler* mScheduler;
        bool mWas;
    };

    static void BeginThread(void* argument);
    static void BeginBody(void* argument);
    void EndThread();

    Thread& Current() { return *mThreads[static_cast<size_t>(mCurrent)]; }
    bool IsEnabled(const Thread& thread) const;
    // What could go on now: the current thread first, if it can.
    void CollectEnabled();
    // The ways that are left to go on in, of mEnabled, of which the first `ready` can go on by
    // themselves and the others are woken for no reason.
    void CollectWays(bool currentGoesOn, bool mayInterrupt, size_t ready);
    // Goes on with whatever thread the strategy chooses. `what` and `object` are what the current
    // one is about to do.
    void Reschedule(const char* what, const void* object);
    void SwitchTo(int thread);
    size_t Choose(Choice& choice);
    uint64_t State() const;
    bool IsOverlooked(const void* object) const;
    // The current thread does something to `object`, or looks at it.
    void Touch(const void* object, bool changes = true);
    void Mix(uint64_t value);
    [[noreturn]] void GiveUp();
    [[noreturn]] void LeaveRun();
    void Forget();
    Thread& AddThread();
    int ThreadOf(pthread_t thread) const;

    bool mControls = false;
    bool mExploring = false;
    bool mWasGivenUp = false;
    bool mTraces = false;
    Strategy* mStrategy = nullptr;
    Bounds mBounds;
    Bounds mLeft;
    Path mPath;
    std::optional<Finding> mFinding;
    const std::function<void()>* mBody = nullptr;

    Fiber mDriver;
    std::vector<std::unique_ptr<Thread>> mThreads;
    std::vector<std::unique_ptr<Thread>> mSpareThreads;  // their stacks serve again
    int mCurrent = 0;
    std::vector<int> mEnabled;
    Choice mChoice;

    std::unordered_map<const void*, Mutex> mMutexes;
    std::unordered_map<const void*, Condition> mConditions;
    std::unordered_map<const void*, OnceState> mOnces;
    std::vector<void (*)(void*)> mKeys;  // destructors
    Causes mCauses;
    std::vector<const void*> mOverlooked;
    std::vector<int> mDescriptors;

    Arena mArena;
    std::unique_ptr<ProgramImage> mImage;
};

// Null until main() has made it.
extern Scheduler* gScheduler;

// Whether the caller is code under schedule.
inline bool IsUnderSchedule() {
    return gScheduler != nullptr && gScheduler->Controls();
}

}  // namespace kvx_schedules
