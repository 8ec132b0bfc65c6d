// Memory for the code under schedule comes from the scheduler's arena. The linker leads the calls
// of the program's own objects to the __wrap functions; the operators are replaced as the language
// has it, which goes for the C++ library too.

#include <cstdlib>
#include <cstring>
#include <new>

#include "schedules/scheduler.h"

using kvx_schedules::gScheduler;
using kvx_schedules::IsUnderSchedule;

namespace {

constexpr size_t kPageSize = 4096;

bool IsOfArena(const void* memory) {
    return gScheduler != nullptr && gScheduler->Owns(memory);
}

}  // namespace

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* memory, size_t size);
void* __real_valloc(size_t size);
void* __real_aligned_alloc(size_t alignment, size_t size);
void __real_free(void* memory);

void* __wrap_malloc(size_t size) {
    return IsUnderSchedule() ? gScheduler->Allocate(size, 16) : __real_malloc(size);
}

void* __wrap_calloc(size_t count, size_t size) {
    if (!IsUnderSchedule()) {
        return __real_calloc(count, size);
    }
    void* const memory = gScheduler->Allocate(count * size, 16);
    return memory == nullptr ? nullptr : std::memset(memory, 0, count * size);
}

void* __wrap_realloc(void* memory, size_t size) {
    if (!IsOfArena(memory) && !(memory == nullptr && IsUnderSchedule())) {
        return __real_realloc(memory, size);
    }
    void* const larger = __wrap_malloc(size);
    if (memory != nullptr && larger != nullptr) {
        const size_t old = gScheduler->Memory().SizeOf(memory);
        std::memcpy(larger, memory, old < size ? old : size);
        gScheduler->Free(memory);
    }
    return larger;
}

void* __wrap_valloc(size_t size) {
    return IsUnderSchedule() ? gScheduler->Allocate(size, kPageSize) : __real_valloc(size);
}

void* __wrap_aligned_alloc(size_t alignment, size_t size) {
    return IsUnderSchedule() ? gScheduler->Allocate(size, alignment)
                             : __real_aligned_alloc(alignment, size);
}

void __wrap_free(void* memory) {
    if (IsOfArena(memory)) {
        gScheduler->Free(memory);
    } else {
        __real_free(memory);
    }
}

}  // extern "C"

void* operator new(size_t size) {
    void* const memory = __wrap_malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new[](size_t size) {
    return operator new(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return __wrap_malloc(size);
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return __wrap_malloc(size);
}

void operator delete(void* memory) noexcept {
    __wrap_free(memory);
}

void operator delete[](void* memory) noexcept {
    __wrap_free(memory);
}

void operator delete(void* memory, size_t) noexcept {
    __wrap_free(memory);
}

void operator delete[](void* memory, size_t) noexcept {
    __wrap_free(memory);
}
