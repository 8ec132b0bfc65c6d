#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <new>

namespace kvx_test::geometry {

// Memory between two pages that cannot be reached: one byte beyond either end, read or written,
// ends the program.
class GuardedMemory {
  public:
    explicit GuardedMemory(std::size_t size)
        : mPage(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          mInner((size + mPage - 1) / mPage * mPage) {
        void* mapping =
            mmap(nullptr, mInner + 2 * mPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapping == MAP_FAILED) {
            throw std::bad_alloc();
        }
        mMapping = static_cast<char*>(mapping);
        if (mprotect(Begin(), mInner, PROT_READ | PROT_WRITE) != 0) {
            munmap(mMapping, mInner + 2 * mPage);
            throw std::bad_alloc();
        }
    }
    ~GuardedMemory() { munmap(mMapping, mInner + 2 * mPage); }

    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    char* Begin() const { return mMapping + mPage; }
    char* End() const { return Begin() + mInner; }

  private:
    std::size_t mPage;
    std::size_t mInner;
    char* mMapping;
};

}  // namespace kvx_test::geometry
