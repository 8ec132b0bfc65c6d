#include "support/fault_injection.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>

namespace kvx_test {

namespace {

// Relaxed throughout: calls that met in an order here would hide races from the thread sanitizer.
struct Plan {
    std::atomic<long> calls{0};
    std::atomic<bool> armed{false};
    std::atomic<int> countdown{0};  // calls until the fault strikes, 1 for the next one
    std::atomic<int> times{0};
    std::atomic<int> hits{0};
    std::atomic<int> error{0};
};

Plan gPlans[static_cast<int>(SystemCall::kCount)];

std::atomic<bool> gClockIsFixed{false};
std::atomic<long> gClockSeconds{0};
std::atomic<long> gClockMicros{0};

Plan& PlanOf(SystemCall call) {
    return gPlans[static_cast<int>(call)];
}

// Counts a call. True if it is to fail, with `error`.
bool Strikes(SystemCall call, int& error) {
    constexpr auto kRelaxed = std::memory_order_relaxed;
    Plan& plan = PlanOf(call);
    plan.calls.fetch_add(1, kRelaxed);
    if (!plan.armed.load(kRelaxed)) {
        return false;
    }
    const int countdown = plan.countdown.fetch_sub(1, kRelaxed);
    if (countdown > 1 || countdown <= 1 - plan.times.load(kRelaxed)) {
        return false;
    }
    plan.hits.fetch_add(1, kRelaxed);
    error = plan.error.load(kRelaxed);
    return true;
}

// For the calls that answer an error number, memory (which reports it in errno), or -1.
template <typename Function, typename... Arguments>
int ErrorOr(SystemCall call, Function function, Arguments... arguments) {
    int error = 0;
    return Strikes(call, error) ? error : function(arguments...);
}

template <typename Function, typename... Arguments>
void* NullOr(SystemCall call, Function function, Arguments... arguments) {
    int error = 0;
    if (Strikes(call, error)) {
        errno = error;
        return nullptr;
    }
    return function(arguments...);
}

template <typename Function>
void* ThrowOr(size_t size, Function allocate) {
    int error = 0;
    if (Strikes(SystemCall::kNew, error)) {
        throw std::bad_alloc();
    }
    return allocate(size);
}

template <typename Function, typename... Arguments>
auto MinusOneOr(SystemCall call, Function function, Arguments... arguments)
    -> decltype(function(arguments...)) {
    int error = 0;
    if (Strikes(call, error)) {
        errno = error;
        return -1;
    }
    return function(arguments...);
}

}  // namespace

Fault::Fault(SystemCall call, int error, int nth, int times)
    : mCall(call), mCallsBefore(CallCount(call)) {
    Plan& plan = PlanOf(call);
    plan.error = error;
    plan.countdown = nth;
    plan.times = times;
    plan.hits = 0;
    plan.armed = true;
}

Fault::~Fault() {
    PlanOf(mCall).armed = false;
}

int Fault::Hits() const {
    return PlanOf(mCall).hits;
}

long Fault::Calls() const {
    return CallCount(mCall) - mCallsBefore;
}

long CallCount(SystemCall call) {
    return PlanOf(call).calls;
}

FixedClock::FixedClock(long seconds, long micros) {
    gClockSeconds = seconds;
    gClockMicros = micros;
    gClockIsFixed = true;
}

FixedClock::~FixedClock() {
    gClockIsFixed = false;
}

}  // namespace kvx_test

using kvx_test::ErrorOr;
using kvx_test::MinusOneOr;
using kvx_test::NullOr;
using kvx_test::SystemCall;
using kvx_test::ThrowOr;

extern "C" {

void* kvx_fault_malloc(size_t size) {
    return NullOr(SystemCall::kMalloc, malloc, size);
}

void* kvx_fault_calloc(size_t count, size_t size) {
    return NullOr(SystemCall::kCalloc, calloc, count, size);
}

void* kvx_fault_valloc(size_t size) {
    return NullOr(SystemCall::kValloc, valloc, size);
}

void* kvx_fault_new(size_t size) {
    return ThrowOr(size, [](size_t wanted) { return ::operator new(wanted); });
}

void* kvx_fault_new_array(size_t size) {
    return ThrowOr(size, [](size_t wanted) { return ::operator new[](wanted); });
}

void* kvx_fault_new_nothrow(size_t size, const std::nothrow_t&) {
    const auto allocate = [](size_t wanted) { return ::operator new(wanted, std::nothrow); };
    return NullOr(SystemCall::kNewNothrow, allocate, size);
}

void* kvx_fault_new_array_nothrow(size_t size, const std::nothrow_t&) {
    const auto allocate = [](size_t wanted) { return ::operator new[](wanted, std::nothrow); };
    return NullOr(SystemCall::kNewNothrow, allocate, size);
}

int kvx_fault_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return MinusOneOr(SystemCall::kOpen, open, path, flags, mode);
}

int kvx_fault_close(int descriptor) {
    const int status = close(descriptor);
    int error = 0;
    if (kvx_test::Strikes(SystemCall::kClose, error)) {
        errno = error;
        return -1;
    }
    return status;
}

int kvx_fault_fstat(int descriptor, struct stat* status) {
    return MinusOneOr(SystemCall::kFstat, fstat, descriptor, status);
}

off_t kvx_fault_lseek(int descriptor, off_t offset, int whence) {
    return MinusOneOr(SystemCall::kLseek, lseek, descriptor, offset, whence);
}

ssize_t kvx_fault_pread(int descriptor, void* buffer, size_t size, off_t offset) {
    int length = 0;
    if (kvx_test::Strikes(SystemCall::kReadShort, length)) {
        const auto shortened = static_cast<size_t>(std::abs(length));
        size = length < 0 ? size - std::min(size, shortened) : std::min(size, shortened);
    }
    return MinusOneOr(SystemCall::kPread, pread, descriptor, buffer, size, offset);
}

int kvx_fault_posix_fadvise(int descriptor, off_t offset, off_t length, int advice) {
    return ErrorOr(SystemCall::kFileAdvice, posix_fadvise, descriptor, offset, length, advice);
}

void* kvx_fault_mmap(void* address, size_t length, int protection, int flags, int descriptor,
                     off_t offset) {
    int error = 0;
    if (kvx_test::Strikes(SystemCall::kMmap, error)) {
        errno = error;
        return MAP_FAILED;
    }
    return mmap(address, length, protection, flags, descriptor, offset);
}

int kvx_fault_gettimeofday(struct timeval* now, void* zone) {
    const int status = MinusOneOr(SystemCall::kGettimeofday, gettimeofday, now, zone);
    if (status == 0 && kvx_test::gClockIsFixed) {
        now->tv_sec = kvx_test::gClockSeconds;
        now->tv_usec = kvx_test::gClockMicros;
    }
    return status;
}

int kvx_fault_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    return ErrorOr(SystemCall::kMutexInit, pthread_mutex_init, mutex, attributes);
}

int kvx_fault_pthread_mutex_destroy(pthread_mutex_t* mutex) {
    return ErrorOr(SystemCall::kMutexDestroy, pthread_mutex_destroy, mutex);
}

int kvx_fault_pthread_mutex_lock(pthread_mutex_t* mutex) {
    return ErrorOr(SystemCall::kMutexLock, pthread_mutex_lock, mutex);
}

int kvx_fault_pthread_mutex_unlock(pthread_mutex_t* mutex) {
    return ErrorOr(SystemCall::kMutexUnlock, pthread_mutex_unlock, mutex);
}

int kvx_fault_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    return ErrorOr(SystemCall::kCondInit, pthread_cond_init, condition, attributes);
}

int kvx_fault_pthread_cond_destroy(pthread_cond_t* condition) {
    return ErrorOr(SystemCall::kCondDestroy, pthread_cond_destroy, condition);
}

int kvx_fault_pthread_cond_signal(pthread_cond_t* condition) {
    return ErrorOr(SystemCall::kCondSignal, pthread_cond_signal, condition);
}

int kvx_fault_pthread_cond_broadcast(pthread_cond_t* condition) {
    return ErrorOr(SystemCall::kCondBroadcast, pthread_cond_broadcast, condition);
}

int kvx_fault_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    return ErrorOr(SystemCall::kCondWait, pthread_cond_wait, condition, mutex);
}

int kvx_fault_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                     const struct timespec* end) {
    return ErrorOr(SystemCall::kCondTimedwait, pthread_cond_timedwait, condition, mutex, end);
}

int kvx_fault_pthread_once(pthread_once_t* control, void (*function)()) {
    return ErrorOr(SystemCall::kOnce, pthread_once, control, function);
}

int kvx_fault_pthread_key_create(pthread_key_t* key, void (*destructor)(void*)) {
    return ErrorOr(SystemCall::kKeyCreate, pthread_key_create, key, destructor);
}

int kvx_fault_pthread_setspecific(pthread_key_t key, const void* value) {
    return ErrorOr(SystemCall::kSetspecific, pthread_setspecific, key, value);
}

int kvx_fault_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                             void* (*function)(void*), void* argument) {
    return ErrorOr(SystemCall::kThreadCreate, pthread_create, thread, attributes, function,
                   argument);
}

int kvx_fault_pthread_join(pthread_t thread, void** result) {
    const int status = pthread_join(thread, result);
    int error = 0;
    return kvx_test::Strikes(SystemCall::kThreadJoin, error) ? error : status;
}

int kvx_fault_pthread_detach(pthread_t thread) {
    const int status = pthread_detach(thread);
    int error = 0;
    return kvx_test::Strikes(SystemCall::kThreadDetach, error) ? error : status;
}

long kvx_fault_sysconf(int name) {
    int answer = 0;
    return kvx_test::Strikes(SystemCall::kProcessorCount, answer) ? answer : sysconf(name);
}

}  // extern "C"
