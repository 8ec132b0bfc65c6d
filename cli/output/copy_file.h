#pragma once

#include <cstdint>
#include <functional>

namespace kvx_cli {

// Copies the first `size` bytes of one open file into another, empty one: as a clone that shares
// the blocks where the file system has such, else within the system, else through memory; holes
// stay holes. `progress` is called now and then with the number of bytes done. Returns 0, or an
// errno value; ESTALE if the source has become shorter.
int CopyBytes(int from, int to, uint64_t size, const std::function<void(uint64_t)>& progress);

}  // namespace kvx_cli
