// Instead of memory_marks.cpp in builds with the address sanitizer.
#include <sanitizer/asan_interface.h>

#include "platform/memory_marks.h"

namespace KVX::Platform {

void MarkUnused(void* memory, size_t size) {
    __asan_poison_memory_region(memory, size);
}

void MarkUsed(void* memory, size_t size) {
    __asan_unpoison_memory_region(memory, size);
}

}  // namespace KVX::Platform
