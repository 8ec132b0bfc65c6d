#pragma once

#include <pthread.h>

namespace KVX::Core {

// Runs a function one time, whichever thread asks first. Made by static initialisers, before any
// thread exists.
class Once {
  public:
    explicit Once(void (*function)());
    virtual ~Once() = default;

    Once(const Once&) = delete;
    Once& operator=(const Once&) = delete;

    // Returns the status of the one-time mechanism alone: whether the function itself succeeded is
    // not known here.
    long Call();

  private:
    void (*mFunction)();
    pthread_once_t mOnce;
};

}  // namespace KVX::Core
