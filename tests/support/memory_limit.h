#pragma once

#include <cstddef>

namespace kvx_test {

// While it lives, the process gets no more than `bytes` of memory beyond what it has: address space
// for data, touched or not. Beyond that allocations fail.
class MemoryLimit {
  public:
    explicit MemoryLimit(size_t bytes);
    ~MemoryLimit();

    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

    // To be called before the test allocates anything large: from then on such blocks go back to
    // the system when they are freed, where the code under the limit would find them otherwise.
    // False where a sanitizer keeps freed memory back, and where the system has no such limit.
    static bool Prepare();

  private:
    size_t mFormer = 0;
};

}  // namespace kvx_test
