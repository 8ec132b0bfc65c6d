#pragma once

#include <cstdint>

namespace KVX::Core {

// An object shared between threads by an atomic reference count. It begins with one reference,
// which belongs to its maker, and is deleted by the thread that drops the last one.
class Refcounted {
  public:
    // Adds a reference. Returns the new count.
    virtual long Retain();

    // Drops a reference and deletes the object when none is left. Returns the new count. A count
    // that goes below zero is logged, and the object is left alone.
    virtual long Release();

    // The same as Retain, for callers that know the object by its host-side name.
    virtual long AddRef();

    virtual ~Refcounted() = default;

    Refcounted(const Refcounted&) = delete;
    Refcounted& operator=(const Refcounted&) = delete;

    // Changed only by OSAtomicAdd32Barrier: the add without a barrier would let the last holder
    // delete the object before it sees what the others wrote to it.
    volatile int32_t mRefCount = 1;

  protected:
    Refcounted() = default;
};

}  // namespace KVX::Core
