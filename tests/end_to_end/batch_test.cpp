// Many movies in one call: which ones are taken, in what order, what is told of each, and what is
// left when the call ends before its time.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "end_to_end/built_paths.h"
#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "end_to_end/signals.h"
#include "support/file_tools.h"
#include "support/png_reader.h"
#include "support/temp_directory.h"

namespace {

namespace fs = std::filesystem;
using kvx_test::CommandRun;
using kvx_test::MediaPath;
using kvx_test::RunCommand;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

class EndToEndBatch : public testing::Test {
  protected:
    std::string Put(const std::string& name, const std::string& movie = "tracks/no-sound.mov") {
        const fs::path path = fs::path(mFolder.Path()) / name;
        fs::create_directories(path.parent_path());
        fs::copy_file(MediaPath(movie), path);
        return path.string();
    }

    // What `kvx check ARGUMENTS` tells of each movie, without the folder.
    std::vector<std::string> Checked(const std::string& arguments, int exitCode = 0) {
        const CommandRun run = RunCommand("check " + arguments);
        EXPECT_EQ(run.exitCode, exitCode) << run.output;
        std::vector<std::string> told;
        for (const std::string& line : Lines(run.output)) {
            if (line.rfind(mFolder.Path() + "/", 0) == 0) {
                told.push_back(line.substr(mFolder.Path().size() + 1));
            }
        }
        return told;
    }

    std::string In(const std::string& name) const { return "'" + mFolder.File(name) + "'"; }

    kvx_test::TempDirectory mFolder;
};

TEST_F(EndToEndBatch, AFolderStandsForItsMoviesInOrderOfName) {
    Put("m/b.MOV");
    Put("m/a.qt");
    Put("m/B/z.Mov");
    Put("m/c/deep/er/x.mov");
    Put("m/c/a.mov");
    Put("m/.hidden.mov");
    Put("m/c/.hidden/y.mov");
    Put("m/other.mp4");
    fs::create_directory(mFolder.File("m/folder.mov"));
    mkfifo(mFolder.File("m/pipe.mov").c_str(), 0600);
    EXPECT_THAT(Checked("-r " + In("m")),
                ElementsAre("m/B/z.Mov: imports", "m/a.qt: imports", "m/b.MOV: imports",
                            "m/c/a.mov: imports", "m/c/deep/er/x.mov: imports"));
}

TEST_F(EndToEndBatch, LinksToFilesAreFollowedAndThoseToFoldersNot) {
    Put("m/a.mov");
    Put("elsewhere/b.mov");
    fs::create_symlink("../elsewhere/b.mov", mFolder.File("m/link.mov"));
    fs::create_symlink("..", mFolder.File("m/loop"));
    fs::create_symlink("elsewhere", mFolder.File("named"));
    EXPECT_THAT(Checked("-r " + In("m")), ElementsAre("m/a.mov: imports", "m/link.mov: imports"));
    EXPECT_THAT(Checked("--recursive " + In("named")), ElementsAre("named/b.mov: imports"));
    // Somebody misses this one.
    fs::create_symlink("gone", mFolder.File("m/lost.mov"));
    EXPECT_THAT(Checked("-r " + In("m"), 3), ElementsAre("m/a.mov: imports", "m/link.mov: imports",
                                                         "m/lost.mov: unreadable, 1 reason"));
}

TEST_F(EndToEndBatch, NoMovieIsNoError) {
    fs::create_directory(mFolder.File("m"));
    for (const char* command : {"check", "timecode", "info"}) {
        const CommandRun run = RunCommand(command + (" -r " + In("m")));
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.output, "");
    }
    EXPECT_EQ(RunCommand("check --json -r " + In("m")).output, "[]\n");
    EXPECT_EQ(RunCommand("check --files-from /dev/null").exitCode, 0);
    EXPECT_EQ(RunCommand("sheet --files-from - -o " + In("out") + " </dev/null").exitCode, 0);
}

TEST_F(EndToEndBatch, AFolderAloneIsRefusedWithTheRemedy) {
    fs::create_directory(mFolder.File("m"));
    const CommandRun run = RunCommand("timecode " + In("m"));
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_THAT(run.output, HasSubstr("-r takes the movies in it"));
}

TEST_F(EndToEndBatch, AListNamesMoviesBehindThoseOfTheLine) {
    Put("line\nbreak.mov");
    Put("b.mov");
    Put("a.mov");
    Put("m/in.mov");
    std::ofstream(mFolder.File("list")) << mFolder.File("b.mov") << "\n\n"
                                        << mFolder.File("m") << "\n"
                                        << mFolder.File("a.mov");  // no end of the line
    EXPECT_THAT(
        Checked("-r " + In("a.mov") + " --files-from " + In("list")),
        ElementsAre("a.mov: imports", "b.mov: imports", "m/in.mov: imports", "a.mov: imports"));
    EXPECT_THAT(Checked("--files-from - <" + In("list"), 3),
                ElementsAre("b.mov: imports", "m: unreadable, 1 reason", "a.mov: imports"));
    std::ofstream zeros(mFolder.File("zeros"));
    zeros << mFolder.File("line\nbreak.mov") << '\0' << mFolder.File("a.mov") << '\0';
    zeros.close();
    const CommandRun run =
        RunCommand("check --json-lines -0 --files-from " + In("zeros") + " | wc -l");
    EXPECT_EQ(std::stoi(run.output), 2);
    EXPECT_EQ(RunCommand("check -0 --files-from " + In("zeros")).exitCode, 0);
}

TEST_F(EndToEndBatch, AListThatCannotBeReadIsTold) {
    EXPECT_EQ(RunCommand("check --files-from " + In("nowhere")).exitCode, 3);
    EXPECT_EQ(RunCommand("check --files-from " + In(".")).exitCode, 3);
    EXPECT_EQ(RunCommand("check -0 a.mov").exitCode, 2);
}

TEST_F(EndToEndBatch, OutputsAreCalledAfterTheirMovies) {
    Put("m/a.mov", "tracks/three-sounds.mov");
    Put("m/sub/a.MOV", "tracks/three-sounds.mov");
    const CommandRun sheets = RunCommand("sheet -r " + In("m") + " -o " + In("out"));
    EXPECT_EQ(sheets.exitCode, 0);
    EXPECT_THAT(Lines(sheets.output),
                ElementsAre(mFolder.File("m/a.mov") + ": " + mFolder.File("out/a.png"),
                            mFolder.File("m/sub/a.MOV") + ": " + mFolder.File("out/sub/a.png")));
    EXPECT_EQ(RunCommand("frames -r " + In("m") + " -o " + In("out") + " --quiet").output, "");
    EXPECT_EQ(RunCommand("audio -r " + In("m") + " -o " + In("out") + " --quiet").output, "");
    for (const char* name : {"a.png", "sub/a.png", "a/000003.png", "sub/a/000003.png"}) {
        EXPECT_GT(kvx_test::ReadPng(mFolder.File("out/") + name).width, 0) << name;
    }
    EXPECT_TRUE(fs::exists(mFolder.File("out/sub/a.wav")));
}

TEST_F(EndToEndBatch, ListsOfChecksumsAreCalledAfterTheirMovies) {
    const std::string one = Put("m/a.mov");
    const std::string other = Put("m/sub/b.MOV", "tracks/three-sounds.mov");
    const CommandRun run = RunCommand("hash -r " + In("m") + " -o " + In("out"));
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Lines(run.output), ElementsAre(one + ": " + mFolder.File("out/a.framemd5"),
                                               other + ": " + mFolder.File("out/sub/b.framemd5")));
    EXPECT_EQ(kvx_test::ReadFile(mFolder.File("out/a.framemd5")),
              RunCommand("hash '" + one + "'").output);
    EXPECT_EQ(kvx_test::ReadFile(mFolder.File("out/sub/b.framemd5")),
              RunCommand("hash '" + other + "'").output);
    const std::string both = "'" + one + "' '" + other + "' -o " + In("sounds");
    const CommandRun sounds = RunCommand("hash --sound --quiet " + both);
    EXPECT_EQ(sounds.output, "kvx: " + one + ": it has no sound\n");
    EXPECT_EQ(sounds.exitCode, 1);
    EXPECT_FALSE(fs::exists(mFolder.File("sounds/a.framemd5")));
    EXPECT_EQ(kvx_test::ReadFile(mFolder.File("sounds/b.framemd5")),
              RunCommand("hash --sound '" + other + "'").output);
}

TEST_F(EndToEndBatch, AListOfChecksumsOfOneMovieGoesWhereItIsTold) {
    const std::string movie = Put("a.mov");
    const std::string list = RunCommand("hash '" + movie + "'").output;
    EXPECT_EQ(RunCommand("hash '" + movie + "' -o -").output, list);
    EXPECT_EQ(RunCommand("hash '" + movie + "' -o " + In("list")).output, "");
    EXPECT_EQ(kvx_test::ReadFile(mFolder.File("list")), list);
    EXPECT_EQ(RunCommand("hash '" + movie + "' --compare " + In("list")).exitCode, 0);
    EXPECT_EQ(RunCommand("hash '" + movie + "' -o '" + movie + "'").exitCode, 2);
}

TEST_F(EndToEndBatch, ChecksumsOfSeveralMoviesNeedAFolderAndNoList) {
    const std::string both = "'" + Put("a.mov") + "' '" + Put("b.mov") + "'";
    EXPECT_EQ(RunCommand("hash " + both).output,
              "kvx: several movies have a list each: -o names the folder for them\n");
    EXPECT_EQ(RunCommand("hash " + both).exitCode, 2);
    EXPECT_EQ(RunCommand("hash -r " + In(".")).exitCode, 2);
    EXPECT_EQ(RunCommand("hash " + both + " -o -").exitCode, 2);
    EXPECT_EQ(RunCommand("hash " + both + " --compare /dev/null").output,
              "kvx: --compare takes one movie\n");
    EXPECT_EQ(RunCommand("hash " + In("a.mov") + " --compare /dev/null -o list").exitCode, 2);
    EXPECT_FALSE(fs::exists(mFolder.File("list")));
}

// One that the importer refuses has its own sound all the same.
TEST_F(EndToEndBatch, NativeSoundsAreCalledAfterTheirMovies) {
    const std::string one = Put("m/a.mov", "tracks/three-sounds.mov");
    const std::string other = Put("m/sub/b.mov", "unmended/2vuy-s24be-stereo.mov");
    const std::string none = Put("m/silent.mov");
    const CommandRun run = RunCommand("audio --native --quiet -r " + In("m") + " -o " + In("out"));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.output, "kvx: " + none + ": it has no sound\n");
    for (const auto& [movie, name] : {std::pair(one, "a.wav"), std::pair(other, "sub/b.wav")}) {
        EXPECT_EQ(RunCommand("audio --native --quiet '" + movie + "' -o " + In("one.wav")).exitCode,
                  0);
        EXPECT_EQ(kvx_test::ReadFile(mFolder.File(std::string("out/") + name)),
                  kvx_test::ReadFile(mFolder.File("one.wav")))
            << name;
    }
    EXPECT_EQ(RunCommand("audio --native --all -r " + In("m") + " -o " + In("all")).exitCode, 1);
    EXPECT_TRUE(fs::exists(mFolder.File("all/a/sound-2.wav")));
    EXPECT_TRUE(fs::exists(mFolder.File("all/sub/b/sound-0.wav")));
}

TEST_F(EndToEndBatch, NoNativeSoundOrListIsAnotherMovieOfTheBatch) {
    Put("m/a.mov", "tracks/three-sounds.mov");
    const std::string next = Put("m/b.mov");
    fs::create_directory(mFolder.File("out"));
    for (const char* name : {"out/a.wav", "out/a.framemd5"}) {
        fs::create_hard_link(next, mFolder.File(name));
    }
    const auto size = fs::file_size(next);
    EXPECT_EQ(RunCommand("audio --native -r " + In("m") + " -o " + In("out")).exitCode, 2);
    EXPECT_EQ(RunCommand("hash -r " + In("m") + " -o " + In("out")).exitCode, 2);
    EXPECT_EQ(fs::file_size(next), size);
}

// Without its extension such a name would be that of the folder, or of the one above it.
TEST_F(EndToEndBatch, ANameOfDotsLeadsToNoOtherFolder) {
    const std::string movies = "'" + Put("..mov") + "' '" + Put("...mov") + "'";
    EXPECT_EQ(RunCommand("frames --range 0:1 " + movies + " -o " + In("out")).exitCode, 0);
    EXPECT_TRUE(fs::exists(mFolder.File("out/..mov/000000.png")));
    EXPECT_TRUE(fs::exists(mFolder.File("out/...mov/000000.png")));
    EXPECT_FALSE(fs::exists(mFolder.File("out/000000.png")));
    EXPECT_FALSE(fs::exists(mFolder.File("000000.png")));
}

TEST_F(EndToEndBatch, OutputsThatWouldMeetAreRefusedBeforeAnythingIsDone) {
    const std::string one = Put("one/a.mov");
    const std::string other = Put("other/a.qt");
    const CommandRun run = RunCommand("sheet '" + one + "' '" + other + "' -o " + In("out"));
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.output, HasSubstr("would have the same name"));
    EXPECT_FALSE(fs::exists(mFolder.File("out")));
    EXPECT_EQ(RunCommand("frames --raw '" + one + "' '" + one + "' -o -").exitCode, 2);
}

// A movie of the batch is an input of all of it.
TEST_F(EndToEndBatch, NoOutputIsAnotherMovieOfTheBatch) {
    Put("m/a.mov", "tracks/three-sounds.mov");
    const std::string next = Put("m/b.mov");
    fs::create_directory(mFolder.File("out"));
    fs::create_hard_link(next, mFolder.File("out/a.wav"));
    const auto size = fs::file_size(next);
    EXPECT_EQ(RunCommand("audio -r " + In("m") + " -o " + In("out")).exitCode, 2);
    EXPECT_EQ(fs::file_size(next), size);
}

TEST_F(EndToEndBatch, OneThatIsCutShortHoldsUpNoOther) {
    Put("m/a.mov", "refused/cut-off.mov");
    Put("m/b.mov", "checked/ffmpeg-cut-off.mov");
    Put("m/c.mov");
    Put("m/d.mov");
    const CommandRun run = RunCommand("frames -r " + In("m") + " -o " + In("out") + " 2>/dev/null");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(fs::exists(mFolder.File("out/b/000007.png")));
    EXPECT_FALSE(fs::exists(mFolder.File("out/b/000008.png")));
    for (const char* name : {"c", "d"}) {
        for (const char* frame : {"000000.png", "000003.png"}) {
            EXPECT_GT(kvx_test::ReadPng(mFolder.File("out/") + name + "/" + frame).width, 0);
        }
    }
}

TEST_F(EndToEndBatch, QuietCheckTellsOnlyOfWhatIsNotInOrder) {
    Put("m/a.mov");
    Put("m/b.mov", "refused/h264.mov");
    EXPECT_THAT(Checked("--quiet -r " + In("m"), 1), ElementsAre("m/b.mov: refused, 1 reason"));
}

TEST_F(EndToEndBatch, TenThousandMoviesWithOneRefusedInTheMiddle) {
    constexpr int kMovies = 10000;
    const std::string good = Put("good.mov");
    const std::string bad = Put("bad.mov", "refused/h264.mov");
    for (int number = 0; number < kMovies; ++number) {
        char name[32];
        std::snprintf(name, sizeof name, "m/%02d/%05d.mov", number / 100, number);
        const fs::path path = mFolder.File(name);
        fs::create_directories(path.parent_path());
        fs::create_hard_link(number == kMovies / 2 ? bad : good, path);
    }
    const std::vector<std::string> told = Checked("-r " + In("m"), 1);
    ASSERT_EQ(told.size(), size_t{kMovies});
    int wrong = 0;
    for (int number = 0; number < kMovies; ++number) {
        char line[64];
        std::snprintf(line, sizeof line, "m/%02d/%05d.mov: %s", number / 100, number,
                      number == kMovies / 2 ? "refused, 1 reason" : "imports");
        wrong += told[static_cast<size_t>(number)] != line ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(EndToEndBatch, CtrlCLeavesEveryFinishedFileWhole) {
    constexpr int kMovies = 300;
    const std::string movie = Put("a.mov");
    for (int number = 0; number < kMovies; ++number) {
        fs::create_directories(mFolder.File("m"));
        fs::create_hard_link(movie, mFolder.File("m/" + std::to_string(number) + ".mov"));
    }
    const std::string folder = mFolder.File("m");
    const std::string output = mFolder.File("out");
    fs::create_directory(output);
    const pid_t process = fork();
    if (process == 0) {
        kvx_test::ListenToSignals();
        execl(kvx_test::kBuiltCommand, "kvx", "frames", "-r", folder.c_str(), "-o", output.c_str(),
              "--quiet", nullptr);
        _exit(127);
    }
    const auto folders = [&output] {
        return std::distance(fs::directory_iterator(output), fs::directory_iterator());
    };
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (folders() < 5 && std::chrono::steady_clock::now() < limit) {
    }
    kill(process, SIGINT);
    int status = 0;
    waitpid(process, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 130);
    int pictures = 0;
    for (const auto& entry : fs::recursive_directory_iterator(output)) {
        if (!entry.is_directory()) {
            ++pictures;
            EXPECT_EQ(entry.path().extension(), ".png") << entry.path();
            EXPECT_GT(kvx_test::ReadPng(entry.path().string()).width, 0) << entry.path();
        }
    }
    EXPECT_GT(pictures, 0);
    EXPECT_LT(folders(), kMovies);
}

}  // namespace
