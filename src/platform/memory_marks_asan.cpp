// In place of memory_marks.cpp where the address sanitizer watches.
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
