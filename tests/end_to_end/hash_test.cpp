// `kvx hash` against ffmpeg's own lists of checksums.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "support/temp_directory.h"

namespace {

using kvx_test::CommandRun;
using kvx_test::MediaPath;
using kvx_test::RunCommand;
using kvx_test::TempDirectory;
using testing::EndsWith;
using testing::HasSubstr;

// All lines but those that name the program.
std::vector<std::string> Lines(std::istream& text) {
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        if (line.rfind("#software", 0) != 0) {
            lines.push_back(line);
        }
    }
    return lines;
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::istringstream stream(text);
    return Lines(stream);
}

// One ffmpeg for all movies: it writes the list of movie N into "N".
struct Job {
    std::string movie;
    std::string options;  // of the output
    std::string input;    // options
};

std::vector<std::vector<std::string>> ListsByFfmpeg(const std::vector<Job>& jobs) {
    const TempDirectory folder;
    std::string line = "ffmpeg -v error -nostdin -y";
    for (const Job& job : jobs) {
        line += " " + job.input + " -i '" + MediaPath(job.movie) + "'";
    }
    for (size_t i = 0; i < jobs.size(); ++i) {
        const std::string number = std::to_string(i);
        line += " -map " + number + ":" + jobs[i].options + " -f framemd5 '" + folder.File(number) +
                "'";
    }
    EXPECT_EQ(std::system(line.c_str()), 0) << line;
    std::vector<std::vector<std::string>> lists;
    for (size_t i = 0; i < jobs.size(); ++i) {
        std::ifstream file(folder.File(std::to_string(i)));
        lists.push_back(Lines(file));
    }
    return lists;
}

TEST(EndToEndHash, IsAsFfmpegs) {
    std::vector<Job> jobs;
    for (const char* movie :
         {"unmended/v210-29.97.mov", "unmended/2vuy-s24be-stereo.mov",
          "unmended/r210-silent-timecode.mov", "tracks/three-sounds.mov",
          "sizes/1080p23.98-r210.mov", "sizes/486p29.97-2vuy.mov", "sizes/wide-pixels.mov",
          "gstreamer/v210-s24be-6.mov", "gstreamer/2vuy-u8-1.mov", "libquicktime/v210-twos.mov",
          "libquicktime/2vuy-fl32.mov", "large/moov-last.mov", "aligned/gstreamer-v210.mov",
          "checked/ffmpeg-variable-rate.mov"}) {
        jobs.push_back({movie, "v -c copy", ""});
    }
    // Edits aside.
    jobs.push_back({"tracks/trimmed.mov", "v -c copy", "-ignore_editlist 1"});
    const auto lists = ListsByFfmpeg(jobs);
    for (size_t i = 0; i < jobs.size(); ++i) {
        const CommandRun run = RunCommand("hash " + jobs[i].movie);
        EXPECT_EQ(run.exitCode, 0) << jobs[i].movie;
        EXPECT_EQ(LinesOf(run.output), lists[i]) << jobs[i].movie;
        EXPECT_GT(lists[i].size(), 8u);
    }
}

TEST(EndToEndHash, OfSoundIsOfItsOwnSamples) {
    std::vector<Job> jobs;
    for (const auto& [movie, codec] : std::vector<std::pair<std::string, std::string>>{
             {"tracks/long-sound.mov", "s16le"},
             {"tracks/trimmed.mov", "s16le"},
             {"unmended/v210-u8-mono.mov", "u8"},
             {"unmended/2vuy-s8-stereo-first.mov", "s8"},
             {"unmended/r210-s24le-5.1-first.mov", "s24le"},
             {"unmended/r210-s32be-bitmap.mov", "s32be"},
             {"unmended/2vuy-f64be-stereo.mov", "f64be"},
             {"gstreamer/v210-s24be-6.mov", "s24be"},
             {"libquicktime/v210-fl32.mov", "f32be"},
             {"large/moov-first.mov", "s24le"}}) {
        jobs.push_back(
            {movie, "a:0 -af asetnsamples=n=48000:p=0 -c:a pcm_" + codec, "-ignore_editlist 1"});
    }
    const auto lists = ListsByFfmpeg(jobs);
    for (size_t i = 0; i < jobs.size(); ++i) {
        const CommandRun run = RunCommand("hash --sound " + jobs[i].movie);
        EXPECT_EQ(run.exitCode, 0) << jobs[i].movie;
        EXPECT_EQ(LinesOf(run.output), lists[i]) << jobs[i].movie;
    }
    EXPECT_EQ(LinesOf(RunCommand("hash --sound --stream 2 tracks/three-sounds.mov").output),
              ListsByFfmpeg({{"tracks/three-sounds.mov",
                              "a:2 -af asetnsamples=n=48000:p=0 -c:a pcm_s24be", ""}})[0]);
}

TEST(EndToEndHash, IsTheSameByAnyNumberOfThreads) {
    const std::string one = RunCommand("hash --threads 1 tracks/long-sound.mov").output;
    for (const char* threads : {"2", "7", "200"}) {
        EXPECT_EQ(RunCommand(std::string("hash tracks/long-sound.mov --threads ") + threads).output,
                  one);
    }
    EXPECT_EQ(LinesOf(one).size(), 9u + 85u);
}

TEST(EndToEndHash, TellsWhatIsNotThere) {
    const CommandRun cut = RunCommand("hash checked/ffmpeg-cut-off.mov");
    EXPECT_EQ(cut.exitCode, 1);
    EXPECT_THAT(cut.output, HasSubstr("2 of its 10 frames are not in the file"));
    EXPECT_EQ(LinesOf(cut.output).size(), 9u + 8u + 1u);
    const CommandRun fragments = RunCommand("hash checked/ffmpeg-fragments.mov");
    EXPECT_EQ(fragments.exitCode, 1);
    EXPECT_THAT(fragments.output, HasSubstr("the movie is in fragments"));
    EXPECT_EQ(RunCommand("hash --sound tracks/no-sound.mov").output,
              "kvx: tracks/no-sound.mov: it has no sound\n");
    EXPECT_EQ(RunCommand("hash --stream 1 tracks/no-sound.mov").output,
              "kvx: tracks/no-sound.mov: its last video stream is number 0\n");
    EXPECT_EQ(RunCommand("hash --sound checked/ffmpeg-mulaw.mov").exitCode, 1);
    EXPECT_EQ(RunCommand("hash refused/cut-off.mov").exitCode, 1);
    EXPECT_EQ(RunCommand("hash refused/missing.mov").exitCode, 3);
}

class EndToEndHashCompare : public testing::Test {
  protected:
    void SetUp() override {
        mText = RunCommand("hash tracks/no-sound.mov").output;
        ASSERT_EQ(LinesOf(mText).size(), 9u + 4u);
    }

    CommandRun CompareWith(const std::string& text, const std::string& options = "") const {
        std::ofstream(mList) << text;
        return RunCommand("hash tracks/no-sound.mov " + options + " --compare " + mList);
    }

    std::string With(const std::string& before, const std::string& after) const {
        std::string text = mText;
        const size_t place = text.find(before);
        EXPECT_NE(place, std::string::npos) << before;
        return text.replace(place, before.size(), after);
    }

    const TempDirectory mFolder;
    const std::string mList = mFolder.File("list.framemd5");
    std::string mText;
};

TEST_F(EndToEndHashCompare, FindsTheSame) {
    const CommandRun run = CompareWith(mText);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.output, "tracks/no-sound.mov: as in " + mList + ", 4 frames\n");
    EXPECT_EQ(CompareWith(mText, "--quiet").output, "");
    EXPECT_EQ(RunCommand("hash tracks/no-sound.mov --compare - <" + mList).exitCode, 0);
    // ffmpeg's own, and what is not compared.
    EXPECT_EQ(std::system(("ffmpeg -v error -nostdin -y -i '" + MediaPath("tracks/no-sound.mov") +
                           "' -map 0:v -c copy -f framemd5 '" + mList + "'")
                              .c_str()),
              0);
    EXPECT_EQ(RunCommand("hash tracks/no-sound.mov --compare " + mList).exitCode, 0);
    EXPECT_EQ(CompareWith(With("#sar 0: 1/1", "#sar 0: 4/3")).exitCode, 0);
}

TEST_F(EndToEndHashCompare, NamesTheFirstDifference) {
    const std::string subject = "kvx: tracks/no-sound.mov: ";
    const struct {
        std::string list;
        std::string words;
    } rows[] = {
        {With("28cc4e832b6923836c96b6612a2b77f4", "28cc4e832b6923836c96b6612a2b77f5"),
         "row 1 (line 12 of " + mList +
             "): its hash is 28cc4e832b6923836c96b6612a2b77f4, in the list "
             "28cc4e832b6923836c96b6612a2b77f5\n"},
        {With("16384, 892", "16380, 892"),
         "row 2 (line 13 of " + mList + "): its size is 16384, in the list 16380\n"},
        {With(" 1024,       1024,", " 1025,       1024,"),
         "row 2 (line 13 of " + mList + "): its decoding time is 1024, in the list 1025\n"},
        {With("#tb 0: 1/12800", "#tb 0: 1/12801"),
         "its time base is 1/12800, in line 5 of " + mList + " 1/12801\n"},
        {With("96x64", "96x65"), "its size is 96x64, in line 8 of " + mList + " 96x65\n"},
        {mText.substr(0, mText.rfind("0,       1536")), mList + " ends before row 3\n"},
        {mText + mText.substr(mText.rfind("0,       1536")), mList + " has more than its 4 rows\n"},
        {With("0,        512,", "1,        512,"),
         "row 1 (line 12 of " + mList + "): it is of stream 1\n"},
    };
    for (const auto& row : rows) {
        const CommandRun run = CompareWith(row.list);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.output, subject + row.words);
    }
}

TEST_F(EndToEndHashCompare, WhatIsNoListIsNamed) {
    for (const std::string& list :
         {std::string(), std::string("Lorem ipsum\n"), With("#version: 2", "#version: 1"),
          With("#hash: MD5", "#hash: SHA256"), std::string(100000, 'x')}) {
        const CommandRun run = CompareWith(list);
        EXPECT_EQ(run.exitCode, 3);
        EXPECT_THAT(run.output, EndsWith(" is no list of frame checksums, version 2, by MD5\n"));
    }
    EXPECT_EQ(CompareWith(With("0,        512,", "hello")).exitCode, 3);
    EXPECT_EQ(RunCommand("hash tracks/no-sound.mov --compare " + mFolder.File("none")).exitCode, 3);
}

}  // namespace
