#pragma once

#include <cstddef>
#include <memory>
#include <new>

#include "platform/large_memory.h"

namespace KVX::QT {

// The standard allocator, but for tables of many megabytes.
template <typename T>
struct TableAllocator {
    using value_type = T;

    TableAllocator() = default;
    template <typename Other>
    TableAllocator(const TableAllocator<Other>&) {}

    T* allocate(size_t count) {
        const size_t size = count * sizeof(T);
        if (size < Platform::kLargeMemory) {
            return std::allocator<T>().allocate(count);
        }
        void* const memory = Platform::AllocateLarge(size);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<T*>(memory);
    }

    void deallocate(T* memory, size_t count) {
        const size_t size = count * sizeof(T);
        if (size < Platform::kLargeMemory) {
            std::allocator<T>().deallocate(memory, count);
        } else {
            Platform::FreeLarge(memory, size);
        }
    }

    template <typename Other>
    bool operator==(const TableAllocator<Other>&) const {
        return true;
    }
    template <typename Other>
    bool operator!=(const TableAllocator<Other>&) const {
        return false;
    }
};

}  // namespace KVX::QT
