// What the stand-ins for CoreFoundation's objects share.
#pragma once

#include <atomic>

namespace KVX::Platform {

// CFRetain and CFRelease get an address without a type, so that every object begins with this base
// (single inheritance from a polymorphic class puts it there).
class CFObject {
  public:
    CFObject() = default;
    virtual ~CFObject() = default;

    CFObject(const CFObject&) = delete;
    CFObject& operator=(const CFObject&) = delete;

    void Retain() const { mCount.fetch_add(1, std::memory_order_relaxed); }
    void Release() const {
        if (mCount.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete this;
        }
    }
    long Count() const { return mCount.load(std::memory_order_relaxed); }

  private:
    mutable std::atomic<long> mCount{1};
};

// CoreFoundation stops the process on a broken precondition (a null object, a range outside the
// string). So does the stand-in: a mistake shows on every platform.
inline void Require(bool condition) {
    if (!condition) {
        __builtin_trap();
    }
}

}  // namespace KVX::Platform
