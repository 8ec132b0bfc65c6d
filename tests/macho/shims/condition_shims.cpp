// Condition variables. This system's do not fit into the 40 bytes that macOS leaves for them, so
// that they stand beside.
#include <new>

#include "macho/shims/error_numbers.h"
#include "macho/shims/macos_mutex.h"
#include "macho/shims/shims.h"
#include "macho/shims/signed_object.h"

namespace macho {

namespace {

constexpr int kInvalid = EINVAL;

struct MacosCondition {
    static constexpr uint64_t kStatic = 0x3CB0B1BB;
    static constexpr uint64_t kReady = 0x434F4E44;  // "COND"

    int Make() {
        here = new (std::nothrow) pthread_cond_t;
        return here == nullptr ? ENOMEM : pthread_cond_init(here, nullptr);
    }

    uint64_t signature;
    pthread_cond_t* here;
    char rest[32];
};
static_assert(sizeof(MacosCondition) == 48);

int Init(MacosCondition* condition, const void* attributes) {
    if (attributes != nullptr) {
        return kInvalid;
    }
    const int error = condition->Make();
    if (error == 0) {
        __atomic_store_n(&condition->signature, MacosCondition::kReady, __ATOMIC_RELEASE);
    }
    return ErrorForMacos(error);
}

int Destroy(MacosCondition* condition) {
    if (!IsUsable(condition)) {
        return kInvalid;
    }
    const int error = pthread_cond_destroy(condition->here);
    if (error == 0) {
        __atomic_store_n(&condition->signature, 0, __ATOMIC_RELEASE);
        delete condition->here;
    }
    return ErrorForMacos(error);
}

int Wait(MacosCondition* condition, MacosMutex* mutex) {
    return IsUsable(condition) && IsUsable(mutex)
               ? ErrorForMacos(pthread_cond_wait(condition->here, &mutex->here))
               : kInvalid;
}

int Signal(MacosCondition* condition) {
    return IsUsable(condition) ? ErrorForMacos(pthread_cond_signal(condition->here)) : kInvalid;
}

int Broadcast(MacosCondition* condition) {
    return IsUsable(condition) ? ErrorForMacos(pthread_cond_broadcast(condition->here)) : kInvalid;
}

}  // namespace

std::vector<Shim> ConditionShims() {
    return {
        Function("_pthread_cond_broadcast", &Broadcast),
        Function("_pthread_cond_destroy", &Destroy),
        Function("_pthread_cond_init", &Init),
        Function("_pthread_cond_signal", &Signal),
        Function("_pthread_cond_wait", &Wait),
    };
}

}  // namespace macho
