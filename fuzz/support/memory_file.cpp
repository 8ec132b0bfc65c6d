#include "fuzz/support/memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/support/require.h"

namespace kvx_fuzz {

MemoryFile::MemoryFile() : mDescriptor(memfd_create("fuzzed", MFD_CLOEXEC)) {
    Require(mDescriptor >= 0);
    mPath = "/proc/self/fd/" + std::to_string(mDescriptor);
}

MemoryFile::~MemoryFile() {
    close(mDescriptor);
}

void MemoryFile::Write(const uint8_t* data, size_t size) {
    Require(ftruncate(mDescriptor, static_cast<off_t>(size)) == 0);
    Require(pwrite(mDescriptor, data, size, 0) == static_cast<ssize_t>(size));
}

void MemoryFile::Write(const std::string& bytes) {
    Write(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace kvx_fuzz
