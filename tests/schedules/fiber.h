// Threads that take turns on one thread of the system.
#pragma once

#include <ucontext.h>

#include <cstddef>

namespace kvx_schedules {

// A stack and a place to go on at. Exceptions that are being handled belong to a fiber as they
// would to a thread.
class Fiber {
  public:
    Fiber();
    ~Fiber();

    Fiber(const Fiber&) = delete;
    Fiber& operator=(const Fiber&) = delete;

    // Lets the next switch to this fiber begin with `function(argument)`, which never returns.
    void Prepare(void (*function)(void*), void* argument);

    // Leaves `from` where it is and goes on with this fiber.
    void SwitchFrom(Fiber& from);

    // The same without a way back.
    [[noreturn]] void Enter();

  private:
    struct Exceptions {  // what the C++ run-time library keeps for each thread
        void* caught = nullptr;
        unsigned int uncaught = 0;
    };

    static void Begin(unsigned int high, unsigned int low);

    ucontext_t mContext;
    Exceptions mExceptions;
    void* mStack;
    void (*mFunction)(void*) = nullptr;
    void* mArgument = nullptr;
};

}  // namespace kvx_schedules
