#include "hostkit/suite_faults.h"

namespace kvx_hostkit {

void SuiteFaults::FailAt(const std::string& name, int call, int32_t status, bool fromThenOn) {
    const std::lock_guard<std::mutex> lock(mLock);
    Function& function = mFunctions[name];
    function.failAt = function.calls + call;
    function.status = status;
    function.fromThenOn = fromThenOn;
}

void SuiteFaults::Clear() {
    const std::lock_guard<std::mutex> lock(mLock);
    mFunctions.clear();
}

int32_t SuiteFaults::Count(const std::string& name) {
    const std::lock_guard<std::mutex> lock(mLock);
    Function& function = mFunctions[name];
    ++function.calls;
    const bool fails =
        function.failAt != 0 && (function.fromThenOn ? function.calls >= function.failAt
                                                     : function.calls == function.failAt);
    return fails ? function.status : 0;
}

int SuiteFaults::Calls(const std::string& name) const {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mFunctions.find(name);
    return found == mFunctions.end() ? 0 : found->second.calls;
}

}  // namespace kvx_hostkit
