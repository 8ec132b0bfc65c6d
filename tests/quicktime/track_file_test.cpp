// A track's own descriptor of the media's file.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <set>
#include <string>

#include "quicktime/track.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"
#include "support/movie_file.h"
#include "support/open_descriptors.h"
#include "support/temp_directory.h"

using namespace kvx_test;
using KVX::QT::Track;

namespace {

bool IsOpen(int descriptor) {
    struct stat status = {};
    return fstat(descriptor, &status) == 0;
}

class TrackFile : public testing::Test {
  protected:
    TrackFile() {
        mTrack->mFilePath = mDirectory.File("media");
        WriteFile(mTrack->mFilePath, "twelve bytes");
    }

    TempDirectory mDirectory;
    std::unique_ptr<Track> mTrack = std::make_unique<Track>();
    LogCapture mLog;
};

TEST_F(TrackFile, OpensAndTakesTheSize) {
    EXPECT_EQ(mTrack->OpenFile(), 0);
    EXPECT_GT(mTrack->mFileDescriptor, 0);
    EXPECT_EQ(mTrack->mFileSize, 12);
    char bytes[6] = {};
    EXPECT_EQ(pread(mTrack->mFileDescriptor, bytes, 5, 7), 5);
    EXPECT_STREQ(bytes, "bytes");
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(TrackFile, IsOpenedOnce) {
    EXPECT_EQ(mTrack->OpenFile(), 0);
    const int descriptor = mTrack->mFileDescriptor;
    WriteFile(mTrack->mFilePath, "more than twelve bytes");
    EXPECT_EQ(mTrack->OpenFile(), 0);
    EXPECT_EQ(mTrack->mFileDescriptor, descriptor);
    EXPECT_EQ(mTrack->mFileSize, 12);
}

TEST_F(TrackFile, ClosesAndOpensAgain) {
    EXPECT_EQ(mTrack->OpenFile(), 0);
    const int descriptor = mTrack->mFileDescriptor;
    mTrack->CloseFile();
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
    EXPECT_FALSE(IsOpen(descriptor));
    WriteFile(mTrack->mFilePath, "more than twelve bytes");
    EXPECT_EQ(mTrack->OpenFile(), 0);
    EXPECT_GT(mTrack->mFileDescriptor, 0);
    EXPECT_EQ(mTrack->mFileSize, 22);
}

TEST_F(TrackFile, ClosingWhatIsNotOpenOnlyMarksIt) {
    mTrack->CloseFile();
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
    mTrack->CloseFile();
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
}

// Descriptor 0 counts as none.
TEST_F(TrackFile, LeavesStandardInputAlone) {
    const bool hadInput = IsOpen(STDIN_FILENO);
    mTrack->mFileDescriptor = 0;
    mTrack->CloseFile();
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
    EXPECT_EQ(IsOpen(STDIN_FILENO), hadInput);
    mTrack->mFileDescriptor = 0;
    EXPECT_EQ(mTrack->OpenFile(), 0);
    EXPECT_GT(mTrack->mFileDescriptor, 0);
}

TEST_F(TrackFile, FileThatHasGoneAway) {
    EXPECT_EQ(mTrack->OpenFile(), 0);
    mTrack->CloseFile();
    std::remove(mTrack->mFilePath.c_str());
    EXPECT_EQ(mTrack->OpenFile(), 22);
    EXPECT_EQ(mTrack->mFileDescriptor, -1);
    EXPECT_EQ(mLog.Text(), "OpenFile: open returned " + std::to_string(ENOENT) + "\n");
}

// Nobody writes to it, so to wait for bytes would be to wait for ever.
TEST_F(TrackFile, NamedPipe) {
    std::remove(mTrack->mFilePath.c_str());
    ASSERT_EQ(mkfifo(mTrack->mFilePath.c_str(), 0600), 0);
    const std::set<int> before = OpenDescriptors();
    EXPECT_EQ(mTrack->OpenFile(), 22);
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
    EXPECT_EQ(mLog.Text(), "OpenFile: open returned 22\n");
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(TrackFile, Directory) {
    mTrack->mFilePath = mDirectory.Path();
    EXPECT_EQ(mTrack->OpenFile(), 22);
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
    EXPECT_EQ(mLog.Text(), "OpenFile: open returned 22\n");
}

TEST_F(TrackFile, FileThatTellsNoSize) {
    long status = 0;
    {
        const Fault failing(SystemCall::kFstat, EIO, 1, Fault::kForever);
        status = mTrack->OpenFile();
    }
    EXPECT_EQ(status, -1);
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
    EXPECT_EQ(mLog.Text(), "OpenFile: fstat returned " + std::to_string(EIO) + "\n");
}

TEST_F(TrackFile, FileThatStaysInTheCache) {
    const Fault failing(SystemCall::kFileAdvice, EINVAL, 1, Fault::kForever);
    EXPECT_EQ(mTrack->OpenFile(), EINVAL);
    EXPECT_EQ(mTrack->mFileDescriptor, -2);
    EXPECT_EQ(mLog.Text(), "OpenFile: fcntl returned " + std::to_string(EINVAL) + "\n");
}

TEST_F(TrackFile, ClosesWithTheTrack) {
    EXPECT_EQ(mTrack->OpenFile(), 0);
    const int descriptor = mTrack->mFileDescriptor;
    mTrack = nullptr;
    EXPECT_FALSE(IsOpen(descriptor));
}

}  // namespace
