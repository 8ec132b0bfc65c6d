// What an open movie tells of itself while its file changes: all but the start timecode, which is
// read anew for every question, was read when it was opened.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "host/host_test.h"
#include "hostkit/record_block.h"
#include "support/fault_injection.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::big32;
using kvx_test::Fault;
using kvx_test::kFill;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::SystemCall;

constexpr int kNoTimecode = 12;
constexpr uint64_t kMediaEnd = 3 * kvx_test::kMediaOffset;

class ChangedFileInfo : public kvx_test::HostTest {
  protected:
    // Frame 100 of 24 a second, in the last four bytes of the file.
    void SetUp() override {
        kvx_test::MovieRecipe recipe = MovieOf({kvx_test::Video(), kvx_test::Sound({}, 100)});
        recipe.tracks.push_back(kvx_test::TimeCodeTrackRecipe({}, 10, kMediaEnd));
        kvx_test::MovieFileLayout layout;
        layout.movieFirst = true;
        kvx_test::WriteMovieFile(path, kvx_test::BuildMoov(recipe), {{kMediaEnd, big32(100)}},
                                 layout);
        ASSERT_EQ(clip.Open(), 0);
        ASSERT_EQ(StartTime(), "00:00:04:04");
    }

    std::string StartTime() {
        RecordBlock<imTimeInfoRec8> info;
        const long result = clip.GetTimeInfo(info.Get());
        return result == 0 ? info->originalTime : "answer " + std::to_string(result);
    }

    void ExpectNoStartTime() {
        RecordBlock<imTimeInfoRec8> info;
        std::memset(info.Get(), kFill, sizeof(imTimeInfoRec8));
        EXPECT_EQ(clip.GetTimeInfo(info.Get()), kNoTimecode);
        EXPECT_EQ(static_cast<uint8_t>(info->originalTime[0]), kFill);
    }

    void WriteOver(int64_t frame) {
        const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        ASSERT_EQ(pwrite(file, big32(frame).data(), 4, kMediaEnd), 4);
        ASSERT_EQ(close(file), 0);
    }

    // The records of all streams, byte for byte, without the pointer that the clip puts in.
    std::string Told() {
        std::string told;
        for (imFileInfoRec8 info : clip.Streams()) {
            info.privatedata = nullptr;
            told.append(reinterpret_cast<const char*>(&info), sizeof(info));
        }
        for (const PrPixelFormat format : clip.PixelFormats()) {
            told += std::to_string(format) + " ";
        }
        return told;
    }

    const std::string path = directory.File("movie.mov");
    Clip clip{importer, path};
};

TEST_F(ChangedFileInfo, StaysAsItWasRead) {
    const std::string told = Told();
    ASSERT_GT(told.size(), sizeof(imFileInfoRec8));
    const LogCapture log;
    ASSERT_EQ(truncate(path.c_str(), 0), 0);
    EXPECT_EQ(Told(), told);
    ASSERT_EQ(unlink(path.c_str()), 0);
    EXPECT_EQ(Told(), told);
    EXPECT_EQ(log.Text(), "");
    EXPECT_EQ(clip.Quiet(), 0);
    EXPECT_EQ(clip.Reopen(), 0);
    EXPECT_EQ(Told(), told);
}

TEST_F(ChangedFileInfo, TheStartTimeIsTheFilesOfNow) {
    const LogCapture log;
    WriteOver(86400);
    EXPECT_EQ(StartTime(), "01:00:00:00");
    ASSERT_EQ(truncate(path.c_str(), kMediaEnd + 3), 0);
    ExpectNoStartTime();
    ASSERT_EQ(truncate(path.c_str(), 0), 0);
    ExpectNoStartTime();
    // A file that is given back its length has zeros where its bytes were.
    ASSERT_EQ(truncate(path.c_str(), kMediaEnd + 4), 0);
    EXPECT_EQ(StartTime(), "00:00:00:00");
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ChangedFileInfo, TheStartTimeOfAFileThatIsReplacedCountsFromReopening) {
    const LogCapture log;
    kvx_test::WriteSparseFile(path + ".new", {{kMediaEnd, big32(24)}});
    ASSERT_EQ(std::rename((path + ".new").c_str(), path.c_str()), 0);
    EXPECT_EQ(StartTime(), "00:00:04:04");
    EXPECT_EQ(clip.Quiet(), 0);
    ExpectNoStartTime();
    EXPECT_EQ(clip.Reopen(), 0);
    EXPECT_EQ(StartTime(), "00:00:01:00");
    EXPECT_EQ(log.Text(), "");
}

TEST_F(ChangedFileInfo, NoStartTimeWithoutTheFile) {
    ASSERT_EQ(std::rename(path.c_str(), (path + ".away").c_str()), 0);
    EXPECT_EQ(StartTime(), "00:00:04:04");
    {
        const LogCapture log;
        EXPECT_EQ(clip.Quiet(), 0);
        EXPECT_EQ(clip.Reopen(), 0);
        EXPECT_EQ(log.Text(),
                  "OpenFile: open returned 2\nOpenFile: Got error 22 opening audio track file\n");
        ExpectNoStartTime();
    }
    ASSERT_EQ(std::rename((path + ".away").c_str(), path.c_str()), 0);
    EXPECT_EQ(clip.Reopen(), 0);
    EXPECT_EQ(StartTime(), "00:00:04:04");
}

TEST_F(ChangedFileInfo, AStartTimeThatCannotBeReadIsNone) {
    const LogCapture log;
    for (const int error : {EIO, ESTALE, EINTR}) {
        const Fault fault(SystemCall::kPread, error);
        ExpectNoStartTime();
        EXPECT_EQ(StartTime(), "00:00:04:04");
    }
    for (const int length : {0, 1, 2, 3}) {
        const Fault fault(SystemCall::kReadShort, length);
        ExpectNoStartTime();
        EXPECT_EQ(StartTime(), "00:00:04:04");
    }
    EXPECT_EQ(log.Text(), "");
}

}  // namespace
