// Tells whoever watches the process's memory of memory that is kept and in nobody's hands. The
// product tells nobody; a build with the address sanitizer reports each use of such memory.
#pragma once

#include <cstddef>

namespace KVX::Platform {

void MarkUnused(void* memory, size_t size);
void MarkUsed(void* memory, size_t size);

}  // namespace KVX::Platform
