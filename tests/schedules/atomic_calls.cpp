// What the compiler makes of atomic operations, and of every look at memory, in code that is
// compiled with -fsanitize=thread: calls of these. The sanitizer's own library is not linked. An
// atomic operation is a point where another thread may go on; a look at memory is checked.

#include <cstddef>
#include <cstdint>

#include "schedules/scheduler.h"

using kvx_schedules::gScheduler;
using kvx_schedules::IsUnderSchedule;

namespace {

void Look(const void* address, size_t size, const char* how) {
    if (IsUnderSchedule()) {
        gScheduler->Access(address, size, how);
    }
}

void AtomicPoint(const volatile void* address, size_t size, bool changes = true) {
    if (IsUnderSchedule()) {
        const void* object = const_cast<const void*>(address);
        gScheduler->Point(object, changes ? "atomic operation on" : "atomic look at", changes,
                          size);
    }
}

}  // namespace

extern "C" {

void __tsan_init() {}
void __tsan_func_entry(void*) {}
void __tsan_func_exit() {}

#define KVX_LOOKS(size)                                \
    void __tsan_read##size(void* address) {            \
        Look(address, size, "reads");                  \
    }                                                  \
    void __tsan_write##size(void* address) {           \
        Look(address, size, "writes to");              \
    }                                                  \
    void __tsan_unaligned_read##size(void* address) {  \
        Look(address, size, "reads");                  \
    }                                                  \
    void __tsan_unaligned_write##size(void* address) { \
        Look(address, size, "writes to");              \
    }                                                  \
    void __tsan_volatile_read##size(void* address) {   \
        Look(address, size, "reads");                  \
    }                                                  \
    void __tsan_volatile_write##size(void* address) {  \
        Look(address, size, "writes to");              \
    }
KVX_LOOKS(1)
KVX_LOOKS(2)
KVX_LOOKS(4)
KVX_LOOKS(8)
KVX_LOOKS(16)
#undef KVX_LOOKS

void __tsan_read_range(void* address, size_t size) {
    Look(address, size, "reads");
}
void __tsan_write_range(void* address, size_t size) {
    Look(address, size, "writes to");
}
void __tsan_vptr_update(void** address, void*) {
    Look(address, sizeof(void*), "writes to");
}
void __tsan_vptr_read(void** address) {
    Look(address, sizeof(void*), "reads");
}

// NOLINTBEGIN(bugprone-macro-parentheses): a type has none around it.
#define KVX_ATOMICS(bits, type)                                                                   \
    type __tsan_atomic##bits##_load(const volatile type* address, int) {                          \
        AtomicPoint(address, sizeof(type), false);                                                \
        return *address;                                                                          \
    }                                                                                             \
    void __tsan_atomic##bits##_store(volatile type* address, type value, int) {                   \
        AtomicPoint(address, sizeof(type));                                                       \
        *address = value;                                                                         \
    }                                                                                             \
    type __tsan_atomic##bits##_exchange(volatile type* address, type value, int) {                \
        AtomicPoint(address, sizeof(type));                                                       \
        const type before = *address;                                                             \
        *address = value;                                                                         \
        return before;                                                                            \
    }                                                                                             \
    type __tsan_atomic##bits##_fetch_add(volatile type* address, type value, int) {               \
        AtomicPoint(address, sizeof(type));                                                       \
        const type before = *address;                                                             \
        *address = static_cast<type>(before + value);                                             \
        return before;                                                                            \
    }                                                                                             \
    type __tsan_atomic##bits##_fetch_sub(volatile type* address, type value, int) {               \
        AtomicPoint(address, sizeof(type));                                                       \
        const type before = *address;                                                             \
        *address = static_cast<type>(before - value);                                             \
        return before;                                                                            \
    }                                                                                             \
    type __tsan_atomic##bits##_fetch_and(volatile type* address, type value, int) {               \
        AtomicPoint(address, sizeof(type));                                                       \
        const type before = *address;                                                             \
        *address = static_cast<type>(before & value);                                             \
        return before;                                                                            \
    }                                                                                             \
    type __tsan_atomic##bits##_fetch_or(volatile type* address, type value, int) {                \
        AtomicPoint(address, sizeof(type));                                                       \
        const type before = *address;                                                             \
        *address = static_cast<type>(before | value);                                             \
        return before;                                                                            \
    }                                                                                             \
    int __tsan_atomic##bits##_compare_exchange_strong(volatile type* address, type* expected,     \
                                                      type value, int, int) {                     \
        AtomicPoint(address, sizeof(type));                                                       \
        if (*address == *expected) {                                                              \
            *address = value;                                                                     \
            return 1;                                                                             \
        }                                                                                         \
        *expected = *address;                                                                     \
        return 0;                                                                                 \
    }                                                                                             \
    int __tsan_atomic##bits##_compare_exchange_weak(volatile type* address, type* expected,       \
                                                    type value, int order, int failure) {         \
        return __tsan_atomic##bits##_compare_exchange_strong(address, expected, value, order,     \
                                                             failure);                            \
    }                                                                                             \
    /* Clang calls this for both. */                                                              \
    type __tsan_atomic##bits##_compare_exchange_val(volatile type* address, type expected,        \
                                                    type value, int order, int failure) {         \
        __tsan_atomic##bits##_compare_exchange_strong(address, &expected, value, order, failure); \
        return expected;                                                                          \
    }
// NOLINTEND(bugprone-macro-parentheses)
KVX_ATOMICS(8, uint8_t)
KVX_ATOMICS(16, uint16_t)
KVX_ATOMICS(32, uint32_t)
KVX_ATOMICS(64, uint64_t)
#undef KVX_ATOMICS

void __tsan_atomic_thread_fence(int) {}
void __tsan_atomic_signal_fence(int) {}

}  // extern "C"
