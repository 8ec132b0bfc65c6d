// Threads, and what each has for itself.
#include <pthread.h>
#include <unistd.h>

#include <climits>

#include "macho/shims/error_numbers.h"
#include "macho/shims/shims.h"

namespace macho {

namespace {

// What a thread gets on macOS that does not ask for more.
constexpr size_t kStackSize = size_t{512} << 10;

int Create(pthread_t* thread, const void* attributes, void* (*function)(void*), void* argument) {
    if (attributes != nullptr) {
        return EINVAL;  // nothing asks for another kind
    }
    pthread_attr_t small;
    int error = pthread_attr_init(&small);
    if (error == 0) {
        error = pthread_attr_setstacksize(&small, kStackSize);
        if (error == 0) {
            error = pthread_create(thread, &small, function, argument);
        }
        pthread_attr_destroy(&small);
    }
    return ErrorForMacos(error);
}

int Join(pthread_t thread, void** result) {
    return ErrorForMacos(pthread_join(thread, result));
}

int Detach(pthread_t thread) {
    return ErrorForMacos(pthread_detach(thread));
}

// A number that no other living thread has. Only the calling thread's own is ever asked for.
unsigned MachThread(pthread_t thread) {
    return pthread_equal(thread, pthread_self()) != 0 ? static_cast<unsigned>(gettid()) : 0;
}

using MacosKey = unsigned long;

int KeyCreate(MacosKey* key, void (*destructor)(void*)) {
    pthread_key_t here = 0;
    const int error = pthread_key_create(&here, destructor);
    if (error == 0) {
        *key = here;
    }
    return ErrorForMacos(error);
}

void* GetSpecific(MacosKey key) {
    return key <= UINT_MAX ? pthread_getspecific(static_cast<pthread_key_t>(key)) : nullptr;
}

int SetSpecific(MacosKey key, const void* value) {
    return key <= UINT_MAX
               ? ErrorForMacos(pthread_setspecific(static_cast<pthread_key_t>(key), value))
               : EINVAL;
}

}  // namespace

std::vector<Shim> ThreadShims() {
    return {
        Function("_pthread_create", &Create),
        Function("_pthread_detach", &Detach),
        Function("_pthread_getspecific", &GetSpecific),
        Function("_pthread_join", &Join),
        Function("_pthread_key_create", &KeyCreate),
        Function("_pthread_mach_thread_np", &MachThread),
        Function("_pthread_self", &pthread_self),
        Function("_pthread_setspecific", &SetSpecific),
    };
}

}  // namespace macho
