#include "platform/memory_marks.h"

namespace KVX::Platform {

void MarkUnused(void*, size_t) {}

void MarkUsed(void*, size_t) {}

}  // namespace KVX::Platform
