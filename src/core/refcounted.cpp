#include "core/refcounted.h"

#include "core/log.h"
#include "platform/system.h"

namespace KVX::Core {

long Refcounted::Retain() {
    return OSAtomicAdd32Barrier(1, &mRefCount);
}

long Refcounted::Release() {
    // Only the value that the atomic operation itself returns is used: exactly one thread sees the
    // zero.
    const int32_t count = OSAtomicAdd32Barrier(-1, &mRefCount);
    if (count < 0) {
        KVX_LOG("Negative reference count: %d\n", count);
    } else if (count == 0) {
        delete this;
    }
    return count;
}

long Refcounted::AddRef() {
    return Retain();
}

}  // namespace KVX::Core
