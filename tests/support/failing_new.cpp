#include "support/failing_new.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kNone = -1;

thread_local int gLeft = kNone;
thread_local bool gHasFailed = false;

bool IsToFail() {
    if (gLeft == kNone || gLeft-- > 0) {
        return false;
    }
    gLeft = kNone;
    gHasFailed = true;
    return true;
}

void* Allocate(std::size_t size) {
    void* const block = IsToFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

namespace kvx_test {

FailingNew::FailingNew(int number) {
    gLeft = number;
    gHasFailed = false;
}

FailingNew::~FailingNew() {
    gLeft = kNone;
}

bool FailingNew::HasFailed() {
    return gHasFailed;
}

}  // namespace kvx_test

// All of them, so that none is paired with one of the library's.
void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}
