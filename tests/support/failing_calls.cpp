#include "support/failing_calls.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace kvx_test {

namespace {

struct Order {
    std::atomic<bool> active{false};
    std::atomic<int> skip{0};
    std::atomic<int> calls{0};
    std::atomic<int> status{0};
};

Order sOrders[static_cast<int>(Call::NumberOfCalls)];

Order& OrderOf(Call call) {
    return sOrders[static_cast<int>(call)];
}

bool Fails(Call call) {
    Order& order = OrderOf(call);
    return order.active && order.calls++ >= order.skip;
}

int StatusOf(Call call) {
    return OrderOf(call).status;
}

}  // namespace

FailingCall::FailingCall(Call call, int status, int skip) : mCall(call) {
    Order& order = OrderOf(call);
    order.status = status;
    order.skip = skip;
    order.calls = 0;
    order.active = true;
}

FailingCall::~FailingCall() {
    OrderOf(mCall).active = false;
}

int FailingCall::Calls() const {
    return OrderOf(mCall).calls;
}

}  // namespace kvx_test

using kvx_test::Call;
using kvx_test::Fails;
using kvx_test::StatusOf;

// The names that the linker gives to the function that is called and to the one that was meant.
// "_Znwm" is operator new(size_t), "_ZnwmRKSt9nothrow_t" its form for std::nothrow.
extern "C" {

void* __real__Znwm(size_t size);
void* __real__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag);
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_once(pthread_once_t* once, void (*function)());
ssize_t __real_pread(int descriptor, void* buffer, size_t size, off_t offset);
int __real_fstat(int descriptor, struct stat* status);
int __real_posix_fadvise(int descriptor, off_t offset, off_t length, int advice);

void* __wrap__Znwm(size_t size) {
    if (Fails(Call::New)) {
        throw std::bad_alloc();
    }
    return __real__Znwm(size);
}

void* __wrap__ZnwmRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) {
    return Fails(Call::NewNothrow) ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

void* __wrap_malloc(size_t size) {
    return Fails(Call::Malloc) ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(size_t count, size_t size) {
    return Fails(Call::Calloc) ? nullptr : __real_calloc(count, size);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    return Fails(Call::MutexInit) ? StatusOf(Call::MutexInit)
                                  : __real_pthread_mutex_init(mutex, attributes);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
    return Fails(Call::MutexLock) ? StatusOf(Call::MutexLock) : __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_once(pthread_once_t* once, void (*function)()) {
    return Fails(Call::Once) ? StatusOf(Call::Once) : __real_pthread_once(once, function);
}

ssize_t __wrap_pread(int descriptor, void* buffer, size_t size, off_t offset) {
    if (Fails(Call::Pread)) {
        errno = StatusOf(Call::Pread);
        return -1;
    }
    return __real_pread(descriptor, buffer, size, offset);
}

int __wrap_fstat(int descriptor, struct stat* status) {
    if (Fails(Call::Fstat)) {
        errno = StatusOf(Call::Fstat);
        return -1;
    }
    return __real_fstat(descriptor, status);
}

int __wrap_posix_fadvise(int descriptor, off_t offset, off_t length, int advice) {
    return Fails(Call::FileAdvice) ? StatusOf(Call::FileAdvice)
                                   : __real_posix_fadvise(descriptor, offset, length, advice);
}
}
