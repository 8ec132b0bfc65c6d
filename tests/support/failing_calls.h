// Calls of the system and of the allocator that fail on order. The program's own references to the
// functions lead here (the linker's --wrap), so that nothing in src/ knows of it.
#pragma once

#include <climits>

namespace kvx_test {

enum class Call {
    New,         // operator new: throws
    NewNothrow,  // operator new(std::nothrow): null
    Malloc,      // null
    Calloc,      // null
    MutexInit,   // answers the status
    MutexLock,   // answers the status, takes no lock
    Once,        // answers the status, runs nothing
    Pread,       // -1, with the status as errno
    Fstat,       // -1, the status in errno
    FileAdvice,  // posix_fadvise: answers the status
    NumberOfCalls,
};

// Lets a call fail while it lives: on every thread, after `skip` good ones. One at a time for each
// call. The test framework makes some of these calls too, so compare and print nothing meanwhile.
class FailingCall {
  public:
    // For `skip`: counts calls and lets all of them work.
    static constexpr int kNever = INT_MAX;

    explicit FailingCall(Call call, int status = 0, int skip = 0);
    ~FailingCall();

    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

    // Calls so far, good and failed ones.
    int Calls() const;

  private:
    Call mCall;
};

}  // namespace kvx_test
