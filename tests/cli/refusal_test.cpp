#include "cli/movie/refusal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using kvx_cli::FileProblem;
using kvx_cli::IsPrintedBy;
using kvx_cli::LogLine;
using kvx_cli::LogLines;
using testing::HasSubstr;

std::string RefusalInWords(long status, const std::string& log) {
    return kvx_cli::Refusal(status, log).words;
}

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
              "the importer refused it with status 12: Init: Something new");
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
    EXPECT_EQ(FileProblem(empty).words, "the file is empty");
    EXPECT_EQ(FileProblem(mFolder).words, "it is a folder, not a file; -r takes the movies in it");
    EXPECT_EQ(FileProblem(mFolder + "/missing.mov").words, "there is no such file");
    EXPECT_EQ(FileProblem(empty + "/inside.mov").words,
              "the file cannot be reached: Not a directory");
}

// Opening a pipe waits for its other end.
TEST_F(CliFileProblem, NamesWhatIsNoFile) {
    const std::string pipe = mFolder + "/pipe.mov";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(FileProblem(pipe).words, "it is a device, a pipe or a socket, not a file");
    EXPECT_EQ(FileProblem("/dev/null").words, "it is a device, a pipe or a socket, not a file");
}

TEST_F(CliFileProblem, IsEmptyForAFileWithBytes) {
    const std::string path = mFolder + "/some.mov";
    std::ofstream(path) << "x";
    EXPECT_EQ(FileProblem(path).words, "");
}

TEST_F(CliFileProblem, AnEmptyFileIsNoMovieAndTheOthersCannotBeRead) {
    const std::string empty = mFolder + "/empty.mov";
    std::ofstream(empty).flush();
    EXPECT_EQ(FileProblem(empty).code, kvx_cli::kExitRefused);
    EXPECT_EQ(FileProblem(mFolder).code, kvx_cli::kExitFailed);
    EXPECT_EQ(FileProblem(mFolder + "/missing.mov").code, kvx_cli::kExitFailed);
}

// Names of files are no words of the log.
TEST(CliRefusal, NamesGiveNoReasons) {
    for (const char* name : {"open returned 2", "a/FSCopyAliasInfo returned 5/b",
                             "x\n*** SetFilePath[1]: Unsupported data handler type 'a' and subtype "
                             "'url '\ny"}) {
        const std::string log = std::string("*** Init[3]: 'moov' atom not found in file \"/") +
                                name + "\"\n*** Create[5]: Init() failed with 2\n";
        EXPECT_THAT(RefusalInWords(12, log), HasSubstr("there is no movie atom")) << name;
    }
}

TEST(CliRefusal, LinesComeApart) {
    const std::vector<LogLine> lines =
        LogLines("*** Read[7]: pread returned 5\nskipping track type 'text'\n*** A[b\nlast");
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].function, "Read");
    EXPECT_EQ(lines[0].text, "pread returned 5");
    EXPECT_EQ(lines[1].function, "");
    EXPECT_EQ(lines[1].text, "skipping track type 'text'");
    EXPECT_EQ(lines[2].text, "*** A[b");
    EXPECT_EQ(lines[3].text, "last");
}

TEST(CliRefusal, FormatsFitWholeLines) {
    std::vector<std::string> values;
    EXPECT_TRUE(IsPrintedBy("open returned %d", "open returned 2", values));
    EXPECT_EQ(values, (std::vector<std::string>{"2"}));
    values.clear();
    EXPECT_TRUE(IsPrintedBy("%s atom of %llu bytes", "'a' atom of 12 bytes", values));
    EXPECT_EQ(values, (std::vector<std::string>{"'a'", "12"}));
    EXPECT_FALSE(IsPrintedBy("open returned %d", "an open returned 2", values));
    EXPECT_FALSE(IsPrintedBy("%s atom", "'a' atom of", values));
    EXPECT_FALSE(IsPrintedBy("%d b%d", "1", values));
    EXPECT_TRUE(IsPrintedBy("plain", "plain", values));
    EXPECT_FALSE(IsPrintedBy("plain", "plainer", values));
}

// All texts between quotes in the module's code, with those that follow each other put
// together.
std::vector<std::string> TextsOfTheModule() {
    std::vector<std::string> texts;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(KVX_SOURCE_DIR "/src")) {
        if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h") {
            continue;
        }
        std::ifstream file(entry.path());
        bool isOpen = false;
        bool goesOn = false;  // only white space since the last text
        for (std::string line; std::getline(file, line);) {
            for (size_t index = 0; index < line.size(); ++index) {
                const char character = line[index];
                if (!isOpen && character == '"') {
                    isOpen = true;
                    if (!goesOn) {
                        texts.emplace_back();
                    }
                } else if (isOpen && character == '"') {
                    isOpen = false;
                    goesOn = true;
                } else if (isOpen && character == '\\' && index + 1 < line.size()) {
                    ++index;
                    texts.back() += line[index] == 'n' ? "" : std::string(1, line[index]);
                } else if (isOpen) {
                    texts.back() += character;
                } else if (character != ' ') {
                    goesOn = false;
                }
            }
            isOpen = false;
        }
    }
    return texts;
}

// A line that the module does not print any more would give its reason never again.
TEST(CliRefusal, TheModulePrintsEachLineThatHasASentence) {
    const std::vector<std::string> texts = TextsOfTheModule();
    ASSERT_GT(texts.size(), 300u);
    for (std::string format : kvx_cli::KnownFormats()) {
        const std::string passedOn = " returned %ld";
        const size_t end = format.find(passedOn);
        if (end != std::string::npos && end + passedOn.size() == format.size() && end > 2) {
            format.resize(end);  // the name of what was called
        }
        const auto prints = [&format](const std::string& text) {
            std::vector<std::string> values;
            return IsPrintedBy(format, text, values);
        };
        EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), prints)) << format;
    }
}

TEST(CliRefusal, FramesFailInWords) {
    const struct {
        LogLine line;
        bool isCause;
        const char* words;
    } rows[] = {
        {{"ExecuteReadTicket", "pread returned 5 for request 0x1"},
         true,
         "its bytes could not be read: Input/output error"},
        {{"Convert", "Sample too small for its frame: 12 of 256 bytes"},
         true,
         "its sample is too small for a frame: 12 of 256 bytes"},
        {{"RunThreadPass", "ReadRequest::ExecuteReadTicket returned 5 for request 0x1"},
         false,
         "the importer could not deliver it, with status 5"},
        {{"RunThreadPass", "ImportFrame::Convert returned 22"},
         false,
         "the importer could not deliver it, with status 22"},
        {{"", "pread returned 5 for request 0x1"}, false, ""},
        {{"Convert", "Sample of 9 bytes cut to the frame's 8"}, false, ""},
    };
    for (const auto& row : rows) {
        const kvx_cli::FailedFrame failed = kvx_cli::FrameFailure(row.line);
        EXPECT_EQ(failed.isCause, row.isCause) << row.line.text;
        EXPECT_EQ(failed.words, row.words);
    }
}

}  // namespace
