// Copies of files that have holes, and of those that become shorter meanwhile.
#include "cli/output/copy_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include "support/temp_directory.h"

namespace {

// A file of 3 MiB with "data" at its start and at its second MiB.
class CliCopyFile : public testing::Test {
  protected:
    static constexpr uint64_t kSize = 3 << 20;

    void SetUp() override {
        mFrom = Open("from");
        mTo = Open("to");
        ASSERT_EQ(ftruncate(mFrom, kSize), 0);
        ASSERT_EQ(pwrite(mFrom, "data", 4, 0), 4);
        ASSERT_EQ(pwrite(mFrom, "data", 4, 1 << 20), 4);
    }

    void TearDown() override {
        close(mFrom);
        close(mTo);
    }

    int Open(const std::string& name) {
        const int file = open(mFolder.File(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        EXPECT_GE(file, 0);
        return file;
    }

    static std::string BytesOf(int file) {
        std::string bytes(kSize + 1, 'x');
        const ssize_t count = pread(file, bytes.data(), bytes.size(), 0);
        bytes.resize(count < 0 ? 0 : static_cast<size_t>(count));
        return bytes;
    }

    kvx_test::TempDirectory mFolder;
    int mFrom = -1;
    int mTo = -1;
};

TEST_F(CliCopyFile, IsWholeWithItsHoles) {
    uint64_t done = 0;
    EXPECT_EQ(kvx_cli::CopyBytes(mFrom, mTo, kSize, [&done](uint64_t bytes) { done = bytes; }), 0);
    EXPECT_TRUE(BytesOf(mTo) == BytesOf(mFrom));
    EXPECT_LE(done, kSize);
}

TEST_F(CliCopyFile, EndsWhereTheFileHasBecomeShorter) {
    // At a hole and inside of what was data.
    for (const off_t size : {2 << 20, (1 << 20) + 2, 4, 0}) {
        ASSERT_EQ(ftruncate(mFrom, size), 0);
        ASSERT_EQ(ftruncate(mTo, 0), 0);
        EXPECT_EQ(kvx_cli::CopyBytes(mFrom, mTo, kSize, [](uint64_t /*done*/) {}), ESTALE) << size;
    }
}

}  // namespace
