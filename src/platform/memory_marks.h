// Marks memory that is kept and not in use, for tools that watch the process's memory: a build with
// the address sanitizer reports each use of it. In the product these functions do nothing.
#pragma once

#include <cstddef>

namespace KVX::Platform {

void MarkUnused(void* memory, size_t size);
void MarkUsed(void* memory, size_t size);

}  // namespace KVX::Platform
