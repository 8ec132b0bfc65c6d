#include "cli/movie/refusal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using kvx_cli::FileProblem;
using kvx_cli::LineWith;
using kvx_cli::RefusalInWords;
using testing::HasSubstr;

TEST(CliRefusal, TheInnermostLineDecides) {
    const std::string log =
        "*** SetFilePath[60]: Unsupported data handler type 'dhlr' and subtype 'url '\n"
        "*** Init[31]: SetFilePath returned 22\n"
        "*** Create[48]: audioTrack->Init() returned 22\n"
        "*** Init[70]: Failed to create a new AudioTrack\n"
        "*** Create[20]: Init() failed with 22\n"
        "*** xMoviePlayable[80]: Movie::Create() failed\n";
    EXPECT_THAT(RefusalInWords(12, log), HasSubstr("as ffmpeg's movies do"));
}

TEST(CliRefusal, OtherDataHandlersAreNotBlamedOnFfmpeg) {
    const std::string words = RefusalInWords(
        12, "*** SetFilePath[60]: Unsupported data handler type 'dhlr' and subtype 'rsrc'\n");
    EXPECT_THAT(words, HasSubstr("not QuickTime's own"));
    EXPECT_THAT(words, testing::Not(HasSubstr("ffmpeg")));
}

TEST(CliRefusal, AReadMovieThatIsNotPlayableHasNoLine) {
    EXPECT_THAT(RefusalInWords(2, ""), HasSubstr("exactly one video track"));
    EXPECT_THAT(RefusalInWords(2, "skipping track type 'text'\n"),
                HasSubstr("exactly one video track"));
}

// Each failure of the reader while it opens a movie, by its line in the log.
TEST(CliRefusal, EveryFailureOfTheReaderHasASentence) {
    for (const char* line : {
             "Unsupported data handler type 'dhlr' and subtype 'url '",
             "Unsupported data handler type 'dhlr' and subtype 'rsrc'",
             "Unrecognised 5.1 channel layout tag 0x00010000",
             "Unsupported sound description version: 3",
             "Unable to determine bytes per frame",
             "Unable to determine number of channels",
             "Invalid sound description: 4294967296 bytes per frame, 16 bits per channel",
             "URL data references not supported",
             "Resource data references not supported",
             "'abcd' data references not recognised",
             "Invalid data reference entry size: 3",
             "FSCopyAliasInfo returned -50",
             "Failed to open movie file at \"/a.mov\"",
             "open returned 2",
             "read of 16 bytes failed with 22",
             "Invalid atom length 7 (0x7)",
             "'moov' atom not found in file \"/a.mov\"",
             "'moov' atom in file \"/a.mov\" has invalid length of 9000000",
             "'stts' atom of 12 bytes does not hold 4 bytes at 12",
             "The last track atom passes the end of the movie atom",
             "Invalid movie time scale 0 or media time scale 25",
             "Invalid number of sample description entries: 0",
             "Invalid sample description entry size: 4",
             "Invalid sample to chunk table at chunk 0",
             "Got invalid offset of 0",
             "Got invalid first size of 0",
             "Failed to find a media header atom",
         }) {
        const std::string words =
            RefusalInWords(12, "*** Init[5]: " + std::string(line) + "\n*** Create[6]: more\n");
        EXPECT_THAT(words, testing::Not(HasSubstr("status"))) << line;
        EXPECT_THAT(words, testing::Not(HasSubstr("***"))) << line;
    }
}

TEST(CliRefusal, UnknownReasonsShowTheModulesOwnWords) {
    EXPECT_EQ(RefusalInWords(12, "*** Init[5]: Something new\n*** Create[6]: and more\n"),
              "the importer refused it with status 12: *** Init[5]: Something new");
    EXPECT_EQ(RefusalInWords(5, ""), "the importer refused it with status 5");
}

class CliFileProblem : public testing::Test {
  protected:
    CliFileProblem() { std::filesystem::create_directory(mFolder); }
    ~CliFileProblem() override { std::filesystem::remove_all(mFolder); }

    const std::string mFolder = testing::TempDir() + "kvx-refusal-" + std::to_string(getpid());
};

TEST_F(CliFileProblem, NamesWhatIsWrong) {
    const std::string empty = mFolder + "/empty.mov";
    std::ofstream(empty).flush();
    EXPECT_EQ(FileProblem(empty), "the file is empty");
    EXPECT_EQ(FileProblem(mFolder), "it is a folder, not a file");
    EXPECT_EQ(FileProblem(mFolder + "/missing.mov"), "there is no such file");
    EXPECT_EQ(FileProblem(empty + "/inside.mov"), "the file cannot be reached: Not a directory");
}

// Opening a pipe waits for its other end.
TEST_F(CliFileProblem, NamesWhatIsNoFile) {
    const std::string pipe = mFolder + "/pipe.mov";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(FileProblem(pipe), "it is a device, a pipe or a socket, not a file");
    EXPECT_EQ(FileProblem("/dev/null"), "it is a device, a pipe or a socket, not a file");
}

TEST_F(CliFileProblem, IsEmptyForAFileWithBytes) {
    const std::string path = mFolder + "/some.mov";
    std::ofstream(path) << "x";
    EXPECT_EQ(FileProblem(path), "");
}

TEST(CliRefusal, FindsTheLineThatTells) {
    const std::string log = "a frame reverts\n*** Read[7]: pread returned 5\nRead returned 5";
    EXPECT_EQ(LineWith(" returned ", log), "*** Read[7]: pread returned 5");
    EXPECT_EQ(LineWith("reverts", log), "a frame reverts");
    EXPECT_EQ(LineWith("Read returned", log), "Read returned 5");
    EXPECT_EQ(LineWith("hit EOF", log), "");
}

}  // namespace
