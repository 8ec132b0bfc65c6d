// What the importer's own code tells the system about memory; it is the copy of its library with
// redirected calls (see fault_injection.h).
#pragma once

#include <cstddef>
#include <vector>

namespace kvx_test {

struct MemoryCall {
    static constexpr int kUnmapped = -1;

    const char* address;
    size_t length;
    int advice;  // of madvise, or kUnmapped

    bool operator==(const MemoryCall& other) const {
        return address == other.address && length == other.length && advice == other.advice;
    }
};

// Writes down the calls of madvise and munmap, on whichever thread they come, while it lives. The
// calls are made all the same. One at a time.
class MemoryCallRecorder {
  public:
    MemoryCallRecorder();
    ~MemoryCallRecorder();

    MemoryCallRecorder(const MemoryCallRecorder&) = delete;
    MemoryCallRecorder& operator=(const MemoryCallRecorder&) = delete;

    // In their order.
    static std::vector<MemoryCall> Calls();
};

}  // namespace kvx_test
