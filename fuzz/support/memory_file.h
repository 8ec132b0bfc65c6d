#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kvx_fuzz {

// A file without a disk, for the many files that a fuzz target opens in a second. Whatever goes
// wrong ends the program.
class MemoryFile {
  public:
    MemoryFile();
    ~MemoryFile();

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Replaces the contents.
    void Write(const uint8_t* data, size_t size);
    void Write(const std::string& bytes);

    // Good for open() within this process.
    const std::string& Path() const { return mPath; }

  private:
    int mDescriptor;
    std::string mPath;
};

}  // namespace kvx_fuzz
