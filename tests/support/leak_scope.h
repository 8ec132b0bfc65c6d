#pragma once

namespace kvx_test {

// For code that keeps memory for good by design: what is allocated on this thread while the scope
// lives is not reported as leaked.
class LeakScope {
  public:
    LeakScope();
    ~LeakScope();

    LeakScope(const LeakScope&) = delete;
    LeakScope& operator=(const LeakScope&) = delete;
};

}  // namespace kvx_test
