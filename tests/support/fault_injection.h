// System calls that fail on order. Only the importer's own code meets them: the tests link a copy
// of its library in which each call below goes to fault_injection.cpp (see fault_injection.syms),
// while the tests, GoogleTest and the C++ library call the system itself.
#pragma once

#include <climits>

namespace kvx_test {

enum class SystemCall {
    kMalloc,
    kCalloc,
    kValloc,
    kMmap,
    kNew,
    kNewNothrow,
    kOpen,
    kClose,
    kFstat,
    kLseek,
    kPread,
    kReadShort,   // pread; see Fault
    kFileAdvice,  // posix_fadvise
    kGettimeofday,
    kMutexInit,
    kMutexDestroy,
    kMutexLock,
    kMutexUnlock,
    kCondInit,
    kCondDestroy,
    kCondSignal,
    kCondBroadcast,
    kCondWait,
    kCondTimedwait,
    kOnce,
    kKeyCreate,
    kSetspecific,
    kThreadCreate,
    kThreadJoin,
    kThreadDetach,
    kProcessorCount,  // sysconf; returns `error`
    kCount,
};

// While it lives, the `nth` call from now on, and the `times` - 1 that follow, do nothing and fail
// with `error`, on whichever thread they come. A pthread call returns `error`, so that 0 makes it
// a call that claims success; memory calls return null (kNew throws instead), and the others return
// -1 and set errno. Where a failure would keep the system from getting back what it gave (close,
// join, detach), the work is done and only the result is a failure. A kReadShort reads `error`
// bytes, or so many less than asked for when it is negative. One Fault for a call at a time.
class Fault {
  public:
    static constexpr int kForever = INT_MAX;

    Fault(SystemCall call, int error, int nth = 1, int times = 1);
    ~Fault();

    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    // How often it has struck.
    int Hits() const;

    // Calls of its kind since it was made, good and failed ones.
    long Calls() const;

  private:
    SystemCall mCall;
    long mCallsBefore;
};

// Calls of its kind that the importer's code has made since the start of the process.
long CallCount(SystemCall call);

// While it lives, gettimeofday returns this moment.
class FixedClock {
  public:
    FixedClock(long seconds, long micros);
    ~FixedClock();

    FixedClock(const FixedClock&) = delete;
    FixedClock& operator=(const FixedClock&) = delete;
};

}  // namespace kvx_test
