#include "platform/system.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/sysctl.h>

#include <cstddef>

namespace KVX::Platform {

int RequestUncachedReads(int descriptor) {
    return fcntl(descriptor, F_NOCACHE, 1);
}

int GetLogicalProcessorCount(int32_t& count) {
    size_t size = sizeof(count);
    return sysctlbyname("hw.logicalcpu", &count, &size, nullptr, 0);
}

void StayLoaded() {
    static const char sOwn = 0;
    Dl_info module = {};
    if (dladdr(&sOwn, &module) != 0) {
        // The handle is one more reference, and never closed.
        dlopen(module.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    }
}

}  // namespace KVX::Platform
