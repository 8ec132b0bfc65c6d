// The process and the machine as a whole.
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "macho/shims/error_numbers.h"
#include "macho/shims/shims.h"
#include "platform/system.h"

extern "C" int __cxa_atexit(void (*function)(void*), void* argument, void* library);

namespace macho {

namespace {

int SysctlByName(const char* name, void* value, size_t* size, const void* newValue, size_t) {
    int32_t count = 0;
    if (std::strcmp(name, "hw.logicalcpu") != 0 || newValue != nullptr) {
        errno = ENOENT;
        return -1;
    }
    const int error = KVX::Platform::GetLogicalProcessorCount(count);
    if (error != 0 || *size < sizeof count) {
        errno = error != 0 ? error : ENOMEM;
        return -1;
    }
    std::memcpy(value, &count, sizeof count);
    *size = sizeof count;
    return 0;
}

// What functions put between their arrays and their return address: no text's end may look like it.
const uint64_t kStackGuard = 0x5AC3'F00D'0A0D'FF00;

[[noreturn]] void StackOverrun() {
    std::fprintf(stderr, "a function has written over its return address\n");
    std::abort();
}

}  // namespace

std::vector<Shim> ProcessShims() {
    return {
        Function("___stack_chk_fail", &StackOverrun),
        Data("___stack_chk_guard", &kStackGuard),
        Function("_OSAtomicAdd32Barrier", &OSAtomicAdd32Barrier),
        Function("___cxa_atexit", &__cxa_atexit),
        Function("_abort", &abort),
        // A timespec is two 64-bit numbers on both systems.
        TellingErrors<&nanosleep>("_nanosleep"),
        TellingErrors<&SysctlByName>("_sysctlbyname"),
    };
}

}  // namespace macho
