#include "cli/refusal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using kvx_cli::FileProblem;
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
    EXPECT_THAT(RefusalInWords(12, log), HasSubstr("as ffmpeg writes it"));
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

TEST_F(CliFileProblem, IsEmptyForAFileWithBytes) {
    const std::string path = mFolder + "/some.mov";
    std::ofstream(path) << "x";
    EXPECT_EQ(FileProblem(path), "");
}

}  // namespace
