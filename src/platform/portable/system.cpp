#include "platform/system.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

int32_t OSAtomicAdd32Barrier(int32_t amount, volatile int32_t* value) {
    return __atomic_add_fetch(value, amount, __ATOMIC_ACQ_REL);
}

namespace KVX::Platform {

int RequestUncachedReads(int descriptor) {
    // Nothing is held on to by this advice alone. It cannot fail on a regular file, and a file of
    // another kind (a pipe, say) simply has no cache to stay out of.
    const int status = posix_fadvise(descriptor, 0, 0, POSIX_FADV_NOREUSE);
    return status == ESPIPE ? 0 : status;
}

int GetLogicalProcessorCount(int32_t& count) {
    const long processors = sysconf(_SC_NPROCESSORS_ONLN);
    if (processors < 0) {
        return -1;
    }
    count = static_cast<int32_t>(processors);
    return 0;
}

void StayLoaded() {}

}  // namespace KVX::Platform
