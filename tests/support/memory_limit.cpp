#include "support/memory_limit.h"

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "support/sanitizers.h"

namespace kvx_test {

namespace {

// The process's data in bytes, as the limit counts it.
size_t DataSize() {
    std::ifstream sizes("/proc/self/statm");
    size_t total = 0;
    size_t resident = 0;
    size_t shared = 0;
    size_t text = 0;
    size_t library = 0;
    size_t data = 0;
    sizes >> total >> resident >> shared >> text >> library >> data;
    return data * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// The limit that there was.
size_t SetLimit(size_t bytes) {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_DATA, &limit) != 0) {
        std::abort();
    }
    const size_t former = limit.rlim_cur;
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_DATA, &limit) != 0) {
        std::abort();
    }
    return former;
}

}  // namespace

MemoryLimit::MemoryLimit(size_t bytes) : mFormer(SetLimit(DataSize() + bytes)) {}

MemoryLimit::~MemoryLimit() {
    SetLimit(mFormer);
}

bool MemoryLimit::Prepare() {
#if defined(__linux__)
    return !IsUnderAddressSanitizer() && mallopt(M_MMAP_THRESHOLD, 1 << 20) == 1;
#else
    return false;
#endif
}

}  // namespace kvx_test
