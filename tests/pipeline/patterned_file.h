#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace kvx_test {

// An open file of `size` bytes whose places can be told apart by what lies there.
class PatternedFile {
  public:
    explicit PatternedFile(size_t size) : mBytes(PatternSample(0, 0, size)) {
        WriteFile(mDirectory.File("media"), mBytes);
        mDescriptor = open(mDirectory.File("media").c_str(), O_RDWR);
    }
    ~PatternedFile() { Close(); }

    PatternedFile(const PatternedFile&) = delete;
    PatternedFile& operator=(const PatternedFile&) = delete;

    int Descriptor() const { return mDescriptor; }
    long long Size() const { return static_cast<long long>(mBytes.size()); }
    std::string Bytes(size_t offset, size_t size) const { return mBytes.substr(offset, size); }

    void Shrink(long long size) const { EXPECT_EQ(ftruncate(mDescriptor, size), 0); }

    // Whatever is opened next, a log's capture among it, has the same descriptor.
    void Close() {
        if (mDescriptor >= 0) {
            close(mDescriptor);
            mDescriptor = -1;
        }
    }

  private:
    TempDirectory mDirectory;
    std::string mBytes;
    int mDescriptor = -1;
};

}  // namespace kvx_test
