#include "hostkit/suite_faults.h"

#include <utility>

namespace kvx_hostkit {

void SuiteFaults::FailAt(const std::string& name, int call, int32_t status, bool fromThenOn) {
    const std::lock_guard<std::mutex> lock(mLock);
    Function& function = mFunctions[name];
    function.failure = {function.calls + call, fromThenOn};
    function.status = status;
}

void SuiteFaults::RunAt(const std::string& name, int call, std::function<void()> action,
                        bool fromThenOn) {
    const std::lock_guard<std::mutex> lock(mLock);
    Function& function = mFunctions[name];
    function.run = {function.calls + call, fromThenOn};
    function.action = std::move(action);
}

void SuiteFaults::Clear() {
    const std::lock_guard<std::mutex> lock(mLock);
    mFunctions.clear();
}

int32_t SuiteFaults::Count(const std::string& name) {
    std::function<void()> action;
    int32_t status = 0;
    {
        const std::lock_guard<std::mutex> lock(mLock);
        Function& function = mFunctions[name];
        ++function.calls;
        if (function.run.IsFor(function.calls)) {
            action = function.action;
        }
        if (function.failure.IsFor(function.calls)) {
            status = function.status;
            ++function.failures;
        }
    }
    if (action) {
        action();
    }
    return status;
}

int SuiteFaults::Calls(const std::string& name) const {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mFunctions.find(name);
    return found == mFunctions.end() ? 0 : found->second.calls;
}

int SuiteFaults::Failures(const std::string& name) const {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mFunctions.find(name);
    return found == mFunctions.end() ? 0 : found->second.failures;
}

}  // namespace kvx_hostkit
