// pthread_mutex_t as macOS has it, with this system's in its opaque part.
#pragma once

#include <pthread.h>

#include <cstdint>

namespace macho {

struct MacosMutex {
    static constexpr uint64_t kStatic = 0x32AAABA7;
    static constexpr uint64_t kReady = 0x4D555458;  // "MUTX"

    int Make() { return pthread_mutex_init(&here, nullptr); }

    uint64_t signature;
    pthread_mutex_t here;
    char rest[56 - sizeof(pthread_mutex_t)];
};
static_assert(sizeof(MacosMutex) == 64);

}  // namespace macho
