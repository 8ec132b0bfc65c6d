// The start timecode that an encoder was asked to write, at every rate that people count in.

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "end_to_end/module_under_test.h"
#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "hostkit/clip.h"
#include "hostkit/record_block.h"
#include "support/temp_directory.h"

namespace {

struct StartOf {
    const char* movie;
    const char* text;  // drop-frame has its separator in all three places
};

class EndToEndTimecode : public testing::TestWithParam<StartOf> {};

TEST_P(EndToEndTimecode, IsTheOneAskedFor) {
    kvx_hostkit::Clip clip(
        kvx_test::ModuleUnderTest(),
        kvx_test::MediaPath(std::string("timecodes/") + GetParam().movie + ".mov"));
    ASSERT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::RecordBlock<imTimeInfoRec8> info;
    ASSERT_EQ(clip.GetTimeInfo(info.Get()), imNoErr);
    EXPECT_STREQ(info->originalTime, GetParam().text);
}

TEST_P(EndToEndTimecode, IsToldByTheCommand) {
    const kvx_test::CommandRun run =
        kvx_test::RunCommand(std::string("timecode timecodes/") + GetParam().movie + ".mov");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, std::string(GetParam().text) + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Rates, EndToEndTimecode,
    testing::Values(StartOf{"23.976", "01:00:00:00"}, StartOf{"24", "10:11:12:13"},
                    StartOf{"25", "23:59:59:24"}, StartOf{"29.97-non-drop", "00:01:00:00"},
                    StartOf{"29.97-drop", "00;10;59;29"}, StartOf{"30", "01:02:03:29"},
                    StartOf{"50", "05:06:07:49"}, StartOf{"59.94-non-drop", "12:34:56:58"},
                    StartOf{"59.94-drop", "12;34;56;58"}, StartOf{"60", "00:00:00:59"}));

// A movie of the list above, whose timecode track says that it counts to `count` in a second, and
// what its start is then. ffmpeg writes the number of the frame that it was asked for.
struct CountOf {
    const char* movie;
    int count;
    const char* text;
    int32_t timeScale;
    int32_t frameDuration;
};

class EndToEndTimecodeCounter : public testing::TestWithParam<CountOf> {};

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Gives every timecode track of a movie another number of frames.
void WriteCount(std::string& movie, int count) {
    // From the type of a "stsd" atom: the code of its first entry, and that entry's number of
    // frames.
    constexpr size_t kCode = 16;
    constexpr size_t kNumberOfFrames = 44;
    int found = 0;
    for (size_t at = movie.find("stsd"); at != std::string::npos; at = movie.find("stsd", at + 4)) {
        if (movie.compare(at + kCode, 4, "tmcd") == 0) {
            movie.at(at + kNumberOfFrames) = static_cast<char>(count);
            ++found;
        }
    }
    ASSERT_EQ(found, 1);
}

TEST_P(EndToEndTimecodeCounter, CountsAtTheRateThatItCanBe) {
    std::string movie =
        ReadFile(kvx_test::MediaPath(std::string("timecodes/") + GetParam().movie + ".mov"));
    ASSERT_NO_FATAL_FAILURE(WriteCount(movie, GetParam().count));
    const kvx_test::TempDirectory directory;
    const std::string path = directory.File("counter.mov");
    std::ofstream(path, std::ios::binary) << movie;

    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), path);
    ASSERT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::RecordBlock<imTimeInfoRec8> info;
    ASSERT_EQ(clip.GetTimeInfo(info.Get()), imNoErr);
    EXPECT_STREQ(info->originalTime, GetParam().text);
    // The rate is told as it stands in the file, whose encoder chose the time scale.
    EXPECT_EQ(int64_t{info->originalScale} * GetParam().frameDuration,
              int64_t{info->originalSampleSize} * GetParam().timeScale);
    EXPECT_GT(int32_t{info->originalScale}, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Counts, EndToEndTimecodeCounter,
    testing::Values(
        // A counter at half the rate of the frames.
        CountOf{"50", 25, "10:12:15:24", 50, 1}, CountOf{"60", 30, "00:00:01:29", 60, 1},
        CountOf{"59.94-non-drop", 30, "01:09:53:28", 60000, 1001},
        CountOf{"59.94-drop", 30, "01;09;54;00", 60000, 1001},
        // The rate cut off instead of rounded up.
        CountOf{"23.976", 23, "01:00:00:00", 24000, 1001},
        CountOf{"29.97-drop", 29, "00;10;59;29", 30000, 1001},
        CountOf{"59.94-drop", 59, "12;34;56;58", 60000, 1001},
        CountOf{"59.94-drop", 29, "01;09;54;00", 60000, 1001},
        // Any other number halves a high rate and leaves a low one alone.
        CountOf{"30", 24, "01:02:03:29", 30, 1}, CountOf{"25", 50, "23:59:59:24", 25, 1},
        CountOf{"50", 49, "10:12:15:24", 50, 1}, CountOf{"50", 0, "10:12:15:24", 50, 1},
        CountOf{"50", 128, "10:12:15:24", 50, 1},
        // -1: the number is not known.
        CountOf{"50", 255, "05:06:07:49", 50, 1}));

TEST(EndToEndTimecodeNone, AnswersThatThereIsNone) {
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), kvx_test::MediaPath("tracks/no-sound.mov"));
    ASSERT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::RecordBlock<imTimeInfoRec8> info;
    EXPECT_EQ(clip.GetTimeInfo(info.Get()), imNoTimecode);
}

}  // namespace
