#include "platform/system.h"

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

}  // namespace KVX::Platform
