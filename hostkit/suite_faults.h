#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace kvx_hostkit {

// Failures of the host's suite calls, and what else they do, on order. Safe to use from several
// threads.
class SuiteFaults {
  public:
    // Makes call number `call` (from 1, counted from now) of the suite function `name`, and with
    // `fromThenOn` every later one, return `status`.
    void FailAt(const std::string& name, int call, int32_t status, bool fromThenOn = false);

    // Makes call number `call` of `name`, and with `fromThenOn` every later one, run `action` on
    // the calling thread before anything else. It may take its time, or throw.
    void RunAt(const std::string& name, int call, std::function<void()> action,
               bool fromThenOn = false);

    void Clear();

    // Counts a call of `name` and runs its ordered action. Returns its ordered status, 0 if it is
    // to succeed.
    int32_t Count(const std::string& name);

    int Calls(const std::string& name) const;

    // Calls of `name` that have returned an ordered status.
    int Failures(const std::string& name) const;

  private:
    struct Order {
        int call = 0;  // 0: none
        bool fromThenOn = false;

        bool IsFor(int number) const {
            return call != 0 && (fromThenOn ? number >= call : number == call);
        }
    };

    struct Function {
        int calls = 0;
        int failures = 0;
        Order failure;
        int32_t status = 0;
        Order run;
        std::function<void()> action;
    };

    mutable std::mutex mLock;
    std::map<std::string, Function> mFunctions;
};

}  // namespace kvx_hostkit
