#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace kvx_hostkit {

// Failures of the host's suite calls, on order. Safe to use from several threads.
class SuiteFaults {
  public:
    // Lets call number `call` (from 1, counted from now) of the suite function `name`, and with
    // `fromThenOn` every later one, answer `status`.
    void FailAt(const std::string& name, int call, int32_t status, bool fromThenOn = false);

    void Clear();

    // Counts a call of `name`. Answers its ordered status, 0 if it is to succeed.
    int32_t Count(const std::string& name);

    int Calls(const std::string& name) const;

  private:
    struct Function {
        int calls = 0;
        int failAt = 0;  // 0: never
        int32_t status = 0;
        bool fromThenOn = false;
    };

    mutable std::mutex mLock;
    std::map<std::string, Function> mFunctions;
};

}  // namespace kvx_hostkit
