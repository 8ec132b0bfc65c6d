// Mutexes.
#include "macho/shims/error_numbers.h"
#include "macho/shims/macos_mutex.h"
#include "macho/shims/shims.h"
#include "macho/shims/signed_object.h"

namespace macho {

pthread_mutex_t& MakingObjects() {
    static pthread_mutex_t sMutex = PTHREAD_MUTEX_INITIALIZER;
    return sMutex;
}

namespace {

constexpr int kInvalid = EINVAL;  // the same number on both systems

int Init(MacosMutex* mutex, const void* attributes) {
    if (attributes != nullptr) {
        return kInvalid;  // nothing asks for another kind
    }
    const int error = mutex->Make();
    if (error == 0) {
        __atomic_store_n(&mutex->signature, MacosMutex::kReady, __ATOMIC_RELEASE);
    }
    return ErrorForMacos(error);
}

int Lock(MacosMutex* mutex) {
    return IsUsable(mutex) ? ErrorForMacos(pthread_mutex_lock(&mutex->here)) : kInvalid;
}

int Unlock(MacosMutex* mutex) {
    return IsUsable(mutex) ? ErrorForMacos(pthread_mutex_unlock(&mutex->here)) : kInvalid;
}

int Destroy(MacosMutex* mutex) {
    if (!IsUsable(mutex)) {
        return kInvalid;
    }
    const int error = pthread_mutex_destroy(&mutex->here);
    if (error == 0) {
        __atomic_store_n(&mutex->signature, 0, __ATOMIC_RELEASE);
    }
    return ErrorForMacos(error);
}

}  // namespace

std::vector<Shim> MutexShims() {
    return {
        Function("_pthread_mutex_destroy", &Destroy),
        Function("_pthread_mutex_init", &Init),
        Function("_pthread_mutex_lock", &Lock),
        Function("_pthread_mutex_unlock", &Unlock),
    };
}

}  // namespace macho
