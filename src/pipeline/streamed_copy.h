#pragma once

#include <cstddef>

namespace KVX {

// From this size on a frame's copy goes past the caches, where nobody looks for it before it has
// left them: reading the destination's lines first, only to write over them, costs a third of the
// memory's bandwidth.
constexpr size_t kLeastStreamed = size_t{256} << 10;

// Copies as memcpy does, with stores that go past the caches. Other threads see them after
// EndStreamedCopies.
void CopyStreamed(char* to, const char* from, size_t size);
void EndStreamedCopies();

}  // namespace KVX
