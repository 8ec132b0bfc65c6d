#pragma once

#include <utility>

#include "platform/core_foundation.h"

namespace kvx_test {

// Releases a CoreFoundation object at the end of its scope.
template <typename Ref>
class CFOwner {
  public:
    explicit CFOwner(Ref object) : mObject(object) {}
    CFOwner(CFOwner&& other) noexcept : mObject(std::exchange(other.mObject, nullptr)) {}
    ~CFOwner() {
        if (mObject != nullptr) {
            CFRelease(mObject);
        }
    }

    CFOwner(const CFOwner&) = delete;
    CFOwner& operator=(const CFOwner&) = delete;

    Ref Get() const { return mObject; }

  private:
    Ref mObject;
};

}  // namespace kvx_test
