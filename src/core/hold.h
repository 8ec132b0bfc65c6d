#pragma once

#include "core/refcounted.h"

namespace KVX::Core {

// Drops a reference, which its maker had taken, at the end of a scope, however the scope is left.
class Hold {
  public:
    explicit Hold(Refcounted* object) : mObject(object) {}
    ~Hold() {
        if (mObject != nullptr) {
            mObject->Release();
        }
    }

    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    // The reference is dropped elsewhere, or has been.
    void Forget() { mObject = nullptr; }

  private:
    Refcounted* mObject;
};

}  // namespace KVX::Core
