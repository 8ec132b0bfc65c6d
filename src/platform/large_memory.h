// Memory for tables of many megabytes, which are filled once from front to back, and memory that is
// not needed for the time being.
#pragma once

#include <cstddef>

namespace KVX::Platform {

// From this size on it pays to go past the allocator.
constexpr size_t kLargeMemory = 2 << 20;

// Fresh zeroed memory of at least `size` bytes, null if there is none. Where the system has large
// pages they are asked for: with small ones, touching the memory for the first time costs more than
// all that is done with it.
void* AllocateLarge(size_t size);

// Gives memory back, under the size it was asked for with.
void FreeLarge(void* memory, size_t size);

// Tells the system that it may take the whole pages within this memory away when it runs short of
// some. Until it is written to the next time, the memory's content is undefined.
void OfferMemory(void* memory, size_t size);

}  // namespace KVX::Platform
