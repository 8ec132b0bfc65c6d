#include "schedules/fiber.h"

#include <cxxabi.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvx_schedules {

namespace {

constexpr size_t kStackSize = size_t{512} << 10;  // what macOS gives a thread
constexpr size_t kGuardSize = 4096;

}  // namespace

Fiber::Fiber()
    : mStack(mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE,
                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
    if (mStack == MAP_FAILED || mprotect(mStack, kGuardSize, PROT_NONE) != 0) {
        std::perror("no stack");
        std::abort();
    }
    getcontext(&mContext);
}

Fiber::~Fiber() {
    munmap(mStack, kStackSize);
}

void Fiber::Prepare(void (*function)(void*), void* argument) {
    mFunction = function;
    mArgument = argument;
    mExceptions = {};
    mContext.uc_stack.ss_sp = mStack;
    mContext.uc_stack.ss_size = kStackSize;
    mContext.uc_link = nullptr;
    // makecontext passes ints.
    const auto address = reinterpret_cast<uintptr_t>(this);
    makecontext(&mContext, reinterpret_cast<void (*)()>(&Begin), 2,
                static_cast<unsigned int>(address >> 32), static_cast<unsigned int>(address));
}

void Fiber::Begin(unsigned int high, unsigned int low) {
    auto* fiber = reinterpret_cast<Fiber*>((uintptr_t{high} << 32) | low);
    fiber->mFunction(fiber->mArgument);
    std::abort();
}

void Fiber::SwitchFrom(Fiber& from) {
    void* exceptions = abi::__cxa_get_globals();
    std::memcpy(&from.mExceptions, exceptions, sizeof(Exceptions));
    std::memcpy(exceptions, &mExceptions, sizeof(Exceptions));
    swapcontext(&from.mContext, &mContext);
}

void Fiber::Enter() {
    std::memcpy(abi::__cxa_get_globals(), &mExceptions, sizeof(Exceptions));
    setcontext(&mContext);
    std::abort();
}

}  // namespace kvx_schedules
