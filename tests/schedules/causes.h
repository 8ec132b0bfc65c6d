// Which events of a run are the causes of which, and what threads have in common.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "schedules/clock.h"

namespace kvx_schedules {

uint64_t Combine(uint64_t history, uint64_t value);

// A thread's history stands for all events that are causes of where it is: its own, and through
// each object that it touches those of the threads that touched it before. Looks at an object that
// nobody changes meanwhile are no cause of each other, so their order makes no difference.
//
// An object that one thread alone touches, or that all only look at, cannot tell in which order
// threads ran. To interrupt a thread before such a touch leads nowhere that an interruption before
// its next touch of a common object does not lead to. Which objects are common is learnt from the
// runs: they have to be made again until none has found a new one.
class Causes {
  public:
    // Nothing has been touched.
    void BeginRun();
    // What was touched so far comes before all that follows.
    void BeginExploring();

    // What a new thread does comes after what `parent` has done.
    void Started(int parent, int thread);
    // The thread waited for the end of the other, or for all others.
    void Joined(int thread, int other);
    void JoinedAll(int thread);
    const VectorClock& ClockOf(int thread) const { return mClocks[Index(thread)]; }

    // The thread that has `history` touches the object. Answers the history that it has then.
    uint64_t Touch(const void* object, int thread, uint64_t history, bool changes);

    // Memory is given back with all that is in it, which changes what was touched there.
    void Freed(const void* memory, size_t size, int thread);

    // Of those that were found before the last AcceptCommon: within a row of runs nothing changes.
    bool IsCommon(const void* object) const { return mAccepted.count(object) != 0; }
    // Whether any were found since.
    bool HasFoundCommon() const { return mFound.size() != mAccepted.size(); }
    void AcceptCommon() { mAccepted = mFound; }
    // Before the runs of another program.
    void ForgetCommon() {
        mFound.clear();
        mAccepted.clear();
    }

  private:
    struct Object {
        uint64_t run = 0;      // of which the rest is
        uint64_t changed = 0;  // history of who changed it last
        uint64_t looks = 0;    // of all looks since then, in any order
        int thread = -1;
        bool isOfSeveral = false;
        bool isChanged = false;
        VectorClock clock;
    };

    static size_t Index(int thread) { return static_cast<size_t>(thread) % VectorClock::kThreads; }

    Object& Find(const void* object);
    void Note(const void* address, Object& object, int thread, bool changes);

    uint64_t mRun = 1;
    std::array<VectorClock, VectorClock::kThreads> mClocks;  // of threads
    std::unordered_map<const void*, Object> mObjects;
    std::vector<const void*> mTouched;  // in this run
    uint64_t mTouchedRun = 0;
    std::unordered_set<const void*> mFound;
    std::unordered_set<const void*> mAccepted;
};

}  // namespace kvx_schedules
