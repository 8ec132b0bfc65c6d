#include "platform/large_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace KVX::Platform {

namespace {

constexpr size_t kLargePage = 2 << 20;

size_t RoundUp(size_t size) {
    return (size + kLargePage - 1) & ~(kLargePage - 1);
}

}  // namespace

void* AllocateLarge(size_t size) {
    size_t length = 0;
    if (__builtin_add_overflow(RoundUp(size), kLargePage, &length) || length < size) {
        return nullptr;
    }
    void* const mapped =
        mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    if (mapped == MAP_FAILED) {
        return nullptr;
    }
    // Large pages are aligned ones. What is left over on both sides goes back.
    char* const begin = static_cast<char*>(mapped);
    const size_t before = -reinterpret_cast<uintptr_t>(begin) & (kLargePage - 1);
    char* const memory = begin + before;
    if (before != 0) {
        munmap(begin, before);
    }
    munmap(memory + RoundUp(size), kLargePage - before);
#if defined(MADV_HUGEPAGE)
    madvise(memory, RoundUp(size), MADV_HUGEPAGE);
#endif
    return memory;
}

void FreeLarge(void* memory, size_t size) {
    munmap(memory, RoundUp(size));
}

void OfferMemory(void* memory, size_t size) {
    const auto page = static_cast<uintptr_t>(getpagesize());
    const auto address = reinterpret_cast<uintptr_t>(memory);
    const uintptr_t begin = (address + page - 1) / page * page;
    const uintptr_t end = (address + size) / page * page;
    if (begin < end) {
        // If the system refuses the offer, the memory is just kept.
        madvise(static_cast<char*>(memory) + (begin - address), end - begin, MADV_FREE);
    }
}

}  // namespace KVX::Platform
