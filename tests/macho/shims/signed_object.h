// The objects of POSIX threads on macOS begin with a signature, and a call on one without the right
// signature answers EINVAL: a zeroed mutex, which works elsewhere, is none there. A static
// initialiser has a signature of its own, upon which the first call makes the object.
#pragma once

#include <pthread.h>

#include <cstdint>

namespace macho {

// Held while an object with a static initialiser is made.
pthread_mutex_t& MakingObjects();

// `Object` has a 64-bit `signature` first, and Make(), which answers 0 when the object is ready.
// Answers whether the object can be used.
template <typename Object>
bool IsUsable(Object* object) {
    const uint64_t signature = __atomic_load_n(&object->signature, __ATOMIC_ACQUIRE);
    if (signature != Object::kStatic) {
        return signature == Object::kReady;
    }
    pthread_mutex_lock(&MakingObjects());
    if (__atomic_load_n(&object->signature, __ATOMIC_ACQUIRE) == Object::kStatic &&
        object->Make() == 0) {
        __atomic_store_n(&object->signature, Object::kReady, __ATOMIC_RELEASE);
    }
    pthread_mutex_unlock(&MakingObjects());
    return __atomic_load_n(&object->signature, __ATOMIC_ACQUIRE) == Object::kReady;
}

}  // namespace macho
