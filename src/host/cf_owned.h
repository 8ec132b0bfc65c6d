#pragma once

#include "platform/core_foundation.h"

namespace KVX {

// Owns one reference on a CoreFoundation object, or nothing.
template <typename Ref>
class CFOwned {
  public:
    explicit CFOwned(Ref ref) : mRef(ref) {}
    ~CFOwned() {
        if (mRef != nullptr) {
            CFRelease(mRef);
        }
    }

    CFOwned(const CFOwned&) = delete;
    CFOwned& operator=(const CFOwned&) = delete;

    Ref Get() const { return mRef; }

  private:
    Ref mRef;
};

}  // namespace KVX
