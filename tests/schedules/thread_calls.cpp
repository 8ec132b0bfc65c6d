// pthread functions of this program, in place of the system's. The linker also leads the C++
// library's calls here, so that a std::mutex or a std::condition_variable is under schedule as
// well.

#include <dlfcn.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>

#include "schedules/scheduler.h"

using kvx_schedules::gScheduler;
using kvx_schedules::IsUnderSchedule;

namespace {

// The system's own function of that name.
template <typename Function>
Function* Real(Function*, const char* name) {
    void* const found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        std::fprintf(stderr, "no %s\n", name);
        std::abort();
    }
    return reinterpret_cast<Function*>(found);
}

}  // namespace

#define KVX_REAL(function)                                     \
    ([] {                                                      \
        static const auto real = Real(&(function), #function); \
        return real;                                           \
    }())

// Seen by the C++ library too.
#pragma GCC visibility push(default)
extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*function)(void*),
                   void* argument) {
    return IsUnderSchedule() ? gScheduler->CreateThread(thread, function, argument)
                             : KVX_REAL(pthread_create)(thread, attributes, function, argument);
}

int pthread_join(pthread_t thread, void** result) {
    return IsUnderSchedule() ? gScheduler->JoinThread(thread, result)
                             : KVX_REAL(pthread_join)(thread, result);
}

int pthread_detach(pthread_t thread) {
    return IsUnderSchedule() ? gScheduler->DetachThread(thread) : KVX_REAL(pthread_detach)(thread);
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    return IsUnderSchedule() ? gScheduler->InitMutex(mutex)
                             : KVX_REAL(pthread_mutex_init)(mutex, attributes);
}

int pthread_mutex_destroy(pthread_mutex_t* mutex) {
    return IsUnderSchedule() ? gScheduler->DestroyMutex(mutex)
                             : KVX_REAL(pthread_mutex_destroy)(mutex);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    return IsUnderSchedule() ? gScheduler->LockMutex(mutex) : KVX_REAL(pthread_mutex_lock)(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    return IsUnderSchedule() ? gScheduler->TryLockMutex(mutex)
                             : KVX_REAL(pthread_mutex_trylock)(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    return IsUnderSchedule() ? gScheduler->UnlockMutex(mutex)
                             : KVX_REAL(pthread_mutex_unlock)(mutex);
}

int pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    return IsUnderSchedule() ? gScheduler->InitCondition(condition)
                             : KVX_REAL(pthread_cond_init)(condition, attributes);
}

int pthread_cond_destroy(pthread_cond_t* condition) {
    return IsUnderSchedule() ? gScheduler->DestroyCondition(condition)
                             : KVX_REAL(pthread_cond_destroy)(condition);
}

int pthread_cond_signal(pthread_cond_t* condition) {
    return IsUnderSchedule() ? gScheduler->Wake(condition, false)
                             : KVX_REAL(pthread_cond_signal)(condition);
}

int pthread_cond_broadcast(pthread_cond_t* condition) {
    return IsUnderSchedule() ? gScheduler->Wake(condition, true)
                             : KVX_REAL(pthread_cond_broadcast)(condition);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    return IsUnderSchedule() ? gScheduler->Wait(condition, mutex, false)
                             : KVX_REAL(pthread_cond_wait)(condition, mutex);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                           const struct timespec* end) {
    return IsUnderSchedule() ? gScheduler->Wait(condition, mutex, true)
                             : KVX_REAL(pthread_cond_timedwait)(condition, mutex, end);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                           const struct timespec* end) {
    return IsUnderSchedule() ? gScheduler->Wait(condition, mutex, true)
                             : KVX_REAL(pthread_cond_clockwait)(condition, mutex, clock, end);
}

int pthread_once(pthread_once_t* control, void (*function)()) {
    return IsUnderSchedule() ? gScheduler->CallOnce(control, function)
                             : KVX_REAL(pthread_once)(control, function);
}

int pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) {
    return IsUnderSchedule() ? gScheduler->CreateKey(key, destructor)
                             : KVX_REAL(pthread_key_create)(key, destructor);
}

void* pthread_getspecific(pthread_key_t key) {
    return IsUnderSchedule() ? gScheduler->GetSpecific(key) : KVX_REAL(pthread_getspecific)(key);
}

// The compiler knows the function's usual behaviour: value is compared, not read through.
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
int pthread_setspecific(pthread_key_t key, const void* value) {
    return IsUnderSchedule() ? gScheduler->SetSpecific(key, value)
                             : KVX_REAL(pthread_setspecific)(key, value);
}

pthread_t pthread_self() {
    return IsUnderSchedule() ? gScheduler->Self() : KVX_REAL(pthread_self)();
}

}  // extern "C"
#pragma GCC visibility pop
