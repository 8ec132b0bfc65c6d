// What kvx writes, and what it never writes: over its inputs, half a file, nothing without a word.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "end_to_end/built_paths.h"
#include "end_to_end/run_command.h"
#include "end_to_end/signals.h"
#include "support/alias_records.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/sanitizers.h"
#include "support/temp_directory.h"

namespace {

namespace fs = std::filesystem;
using kvx_test::AliasReference;
using kvx_test::CommandRun;
using kvx_test::MovieRecipe;
using kvx_test::RunCommand;
using kvx_test::TrackRecipe;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr int kFrames = 10;
constexpr int kWidth = 64;
constexpr int kHeight = 64;
constexpr uint32_t kFrameSize = 2 * kWidth * kHeight;
constexpr int64_t kRate = 48000;
constexpr uint64_t kSoundOffset = kvx_test::kMediaOffset + kFrames * kFrameSize;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<no file>";
}

std::string Quoted(const std::string& text) {
    return "'" + text + "'";
}

MovieRecipe SmallMovie(int64_t soundFrames = kRate / 10) {
    MovieRecipe recipe;
    recipe.timeScale = kRate;
    TrackRecipe video =
        kvx_test::VideoTrackRecipe({"2vuy", kWidth, kHeight, 24}, kFrameSize, kFrames);
    kvx_test::SoundDescriptionV0 description;
    const auto frameSize = static_cast<uint32_t>(description.channels * description.bits / 8);
    TrackRecipe sound = kvx_test::SoundTrackRecipe(kvx_test::Describe(description), frameSize,
                                                   soundFrames, kRate, kSoundOffset);
    for (TrackRecipe* const track : {&video, &sound}) {
        track->headerDuration = track->mediaDuration * recipe.timeScale / track->mediaTimeScale;
        recipe.duration = std::max(recipe.duration, track->headerDuration);
    }
    recipe.tracks = {video, sound};
    return recipe;
}

class EndToEndOutputs : public testing::Test {
  protected:
    // The movie's media in "media.mov", and "reference.mov", which has none of its own.
    void MakeReference() {
        MovieRecipe recipe = SmallMovie();
        mMedia = WriteMovie(mFolder, recipe, {}, "media.mov");
        for (TrackRecipe& track : recipe.tracks) {
            track.dataReferences = {AliasReference(kvx_test::AliasVersion3(
                0, kvx_test::AliasItems({{18, mMedia.substr(1)}, {19, "/"}})))};
        }
        mReference = mFolder.File("reference.mov");
        kvx_test::WriteMovieFile(mReference, kvx_test::BuildMoov(recipe), {});
        mBytes = ReadFile(mMedia);
        ASSERT_EQ(RunCommand("audio " + mReference + " -o - --quiet >/dev/null").exitCode, 0);
    }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(mFolder.Path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    const kvx_test::TempDirectory mFolder;
    std::string mMedia;
    std::string mReference;
    std::string mBytes;
};

TEST_F(EndToEndOutputs, AreNeverTheMediaOfAReference) {
    MakeReference();
    const std::string link = mFolder.File("link");
    fs::create_symlink("media.mov", link);
    fs::create_hard_link(mMedia, mFolder.File("000003.png"));
    fs::create_hard_link(mMedia, mFolder.File("000003.2vuy"));
    fs::create_symlink("link", mFolder.File("link-to-link.wav"));
    const std::string folder = mFolder.Path();
    const std::string links = mFolder.File("links");
    fs::create_symlink(".", links);
    const kvx_test::TempDirectory elsewhere;
    const std::string words = elsewhere.File("words.txt");
    for (const std::string& arguments : {
             "audio " + mReference + " -o " + mMedia,
             "audio " + mReference + " -o " + link,
             "audio " + mReference + " -o " + mFolder.File("link-to-link.wav"),
             "audio " + mReference + " -o " + mReference,
             "audio " + mReference + " -o - 1<>" + mMedia,
             "audio " + mReference + " -o /dev/stdout 1<>" + mMedia,
             "sheet " + mReference + " -o " + mMedia,
             "sheet " + mReference + " -o - 1<>" + link,
             "frames " + mReference + " -o " + folder + " --range 3:4",
             "frames " + mReference + " -o " + links + " --range 3:4",
             "frames " + mReference + " --raw -o " + folder + " --range 3:4",
             "frames " + mReference + " --raw -o - 1<>" + mMedia,
             "info " + mReference + " >>" + mMedia,
             "info --json " + mReference + " 1<>" + mMedia,
             "check " + mReference + " >>" + mMedia,
             "check " + mMedia + " >>" + mMedia,
             "timecode " + mReference + " >>" + mMedia,
             "mend " + mReference + " >>" + mMedia,
             "mend --dry-run " + mReference + " 1<>" + link,
             "report " + mReference + " -o " + mFolder.File("page.html") + " >>" + mMedia,
         }) {
        const std::vector<std::string> before = Names();
        const CommandRun run = RunCommand(arguments + " 2>" + words);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_THAT(ReadFile(words), EndsWith("this is a file that the movie is read from\n"))
            << arguments;
        EXPECT_TRUE(ReadFile(mMedia) == mBytes) << arguments;
        EXPECT_EQ(Names(), before) << arguments;
    }
}

// Lets this process and those that it starts have so many bytes of addresses.
class AddressLimit {
  public:
    explicit AddressLimit(rlim_t bytes) {
        EXPECT_EQ(getrlimit(RLIMIT_AS, &mBefore), 0);
        const rlimit limit = {bytes, mBefore.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    }
    ~AddressLimit() { setrlimit(RLIMIT_AS, &mBefore); }

    AddressLimit(const AddressLimit&) = delete;
    AddressLimit& operator=(const AddressLimit&) = delete;

  private:
    rlimit mBefore = {};
};

TEST_F(EndToEndOutputs, TellThatThereIsNotEnoughMemory) {
#ifndef __linux__
    GTEST_SKIP() << "only Linux keeps to such a limit";
#endif
    if (kvx_test::IsUnderSanitizer()) {
        GTEST_SKIP() << "sanitizers take more addresses than there is memory";
    }
    // A list with one name of 400 MB.
    const std::string list = mFolder.File("list");
    std::ofstream(list).close();
    fs::resize_file(list, uintmax_t{400} << 20);
    const std::vector<std::string> before = Names();
    const AddressLimit limit(rlim_t{200} << 20);
    const CommandRun run = RunCommand("check --files-from " + list);
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.output, "kvx: there is not enough memory\n");
    EXPECT_EQ(Names(), before);
}

// All reports and all data, into a device without room.
TEST_F(EndToEndOutputs, TellThatTheDiskIsFull) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    for (const char* arguments :
         {"info tracks/timecode.mov", "info --json tracks/timecode.mov",
          "info --json-lines tracks/timecode.mov", "check tracks/timecode.mov",
          "timecode tracks/timecode.mov", "audio tracks/three-sounds.mov -o -",
          "sheet tracks/no-sound.mov -o -", "frames tracks/no-sound.mov --raw -o -", "--help",
          "--version", "help frames"}) {
        const CommandRun run = RunCommand(std::string(arguments) + " >/dev/full");
        EXPECT_EQ(run.exitCode, 3) << arguments;
        EXPECT_THAT(run.output,
                    EndsWith("cannot write to standard output: No space left on device\n"))
            << arguments;
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
    }
    const CommandRun closed = RunCommand("info tracks/timecode.mov >&-");
    EXPECT_EQ(closed.exitCode, 3);
    EXPECT_EQ(closed.output, "kvx: cannot write to standard output: Bad file descriptor\n");
    // Whoever reads has gone, and what is written is sixteen times what a pipe holds.
    const CommandRun pipe =
        RunCommand("frames sizes/1080p25-v210.mov --raw -o - | { head -c 1 >/dev/null; }");
    EXPECT_THAT(pipe.output, HasSubstr("cannot write to standard output: Broken pipe\n"));
}

// A file system with room for a part of the output: what was there before is still there.
TEST_F(EndToEndOutputs, LeaveNothingHalfOnAFullDisk) {
    const std::string disk = mFolder.File("disk");
    fs::create_directory(disk);
    if (geteuid() != 0 || mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=64k") != 0) {
        GTEST_SKIP() << "only the superuser makes small file systems";
    }
    const std::string movie = WriteMovie(mFolder, SmallMovie(kRate));
    for (const char* const output : {"out.wav", "out.png", "000000.png"}) {
        std::ofstream(disk + "/" + output) << "before";
    }
    for (const std::string& arguments : {"audio " + movie + " -o " + disk + "/out.wav",
                                         "sheet " + movie + " --width 4000 -o " + disk + "/out.png",
                                         "sheet " + movie + " --width 4000 -o " + disk + "/new.png",
                                         "frames " + movie + " --raw -o " + disk}) {
        const CommandRun run = RunCommand(arguments);
        EXPECT_EQ(run.exitCode, 3) << arguments;
        EXPECT_THAT(run.output, EndsWith(": No space left on device\n")) << arguments;
        for (const auto& entry : fs::directory_iterator(disk)) {
            const std::string name = entry.path().filename().string();
            if (entry.path().extension() == ".2vuy") {
                EXPECT_EQ(entry.file_size(), kFrameSize) << name;  // those that had room are whole
                fs::remove(entry.path());
            } else {
                EXPECT_EQ(ReadFile(entry.path().string()), "before") << arguments << name;
            }
        }
        EXPECT_FALSE(fs::exists(disk + "/new.png"));
    }
    EXPECT_EQ(umount(disk.c_str()), 0);
}

// The command, at work on a file that takes it long. Ends when it has a temporary file.
class RunningCommand {
  public:
    RunningCommand(const std::string& movie, const std::string& output) {
        mProcess = fork();
        if (mProcess == 0) {
            kvx_test::ListenToSignals();
            execl(kvx_test::kBuiltCommand, "kvx", "audio", movie.c_str(), "-o", output.c_str(),
                  "--quiet", nullptr);
            _exit(127);
        }
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (mTemporary.empty() && std::chrono::steady_clock::now() < limit) {
            for (const auto& entry : fs::directory_iterator(fs::path(output).parent_path())) {
                const std::string name = entry.path().filename().string();
                if (name.find(".kvx-") != std::string::npos) {
                    mTemporary = name;
                }
            }
        }
    }

    const std::string& Temporary() const { return mTemporary; }

    int EndBy(int signal) {
        kill(mProcess, signal);
        int status = 0;
        waitpid(mProcess, &status, 0);
        return status;
    }

  private:
    pid_t mProcess;
    std::string mTemporary;
};

TEST_F(EndToEndOutputs, NoSignalLeavesHalfAFile) {
    // Hours of sound, nearly all of them a hole in the file.
    MovieRecipe recipe = SmallMovie(4 * 3600 * kRate);
    const std::string movie = mFolder.File("long.mov");
    kvx_test::WriteMovieFile(
        movie, kvx_test::BuildMoov(recipe),
        {{kvx_test::kMediaOffset, "first"}, {kSoundOffset + 4 * 3600 * kRate * 4 - 4, "last"}});
    const fs::path folder = mFolder.File("out");
    const std::string output = (folder / "sound.wav").string();
    fs::create_directory(folder);
    const auto entries = [&folder] {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    };
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        RunningCommand command(movie, output);
        EXPECT_THAT(command.Temporary(), testing::StartsWith(".sound.wav.kvx-"));
        const int status = command.EndBy(signal);
        ASSERT_TRUE(WIFEXITED(status)) << signal;
        EXPECT_EQ(WEXITSTATUS(status), 128 + signal);
        EXPECT_EQ(entries(), 0) << signal;
    }
    std::ofstream(output) << "before";
    {
        RunningCommand command(movie, output);
        EXPECT_EQ(WEXITSTATUS(command.EndBy(SIGINT)), 130);
        EXPECT_EQ(entries(), 1);
        EXPECT_EQ(ReadFile(output), "before");
    }
    RunningCommand command(movie, output);
    EXPECT_TRUE(WIFSIGNALED(command.EndBy(SIGKILL)));
    EXPECT_EQ(entries(), 2);  // the temporary one
    EXPECT_TRUE(fs::exists(folder / command.Temporary()));
    EXPECT_EQ(ReadFile(output), "before");
}

TEST_F(EndToEndOutputs, ReplaceWhatALinkLeadsToAndKeepItsPermissions) {
    const std::string target = mFolder.File("target.wav");
    const std::string link = mFolder.File("link.wav");
    std::ofstream(target) << "before";
    fs::permissions(target, fs::perms(0640));
    fs::create_symlink("target.wav", link);
    const std::string audio = "audio tracks/three-sounds.mov --quiet -o ";
    ASSERT_EQ(RunCommand(audio + link).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
    const std::string bytes = ReadFile(target);
    EXPECT_EQ(bytes.substr(0, 4), "RIFF");

    // A link to nothing yet, and a new file with the permissions that new files have.
    fs::create_symlink("later.wav", mFolder.File("early.wav"));
    ASSERT_EQ(RunCommand(audio + mFolder.File("early.wav")).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(mFolder.File("early.wav")));
    EXPECT_TRUE(ReadFile(mFolder.File("later.wav")) == bytes);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(fs::status(mFolder.File("later.wav")).permissions(), fs::perms(0666 & ~mask));
    EXPECT_EQ(Names(),
              (std::vector<std::string>{"early.wav", "later.wav", "link.wav", "target.wav"}));
}

TEST_F(EndToEndOutputs, GoStraightIntoPipesAndStandardOutput) {
    const std::string plain = mFolder.File("plain.wav");
    const std::string audio = "audio tracks/three-sounds.mov --quiet -o ";
    ASSERT_EQ(RunCommand(audio + plain).exitCode, 0);
    const std::string bytes = ReadFile(plain);
    EXPECT_TRUE(RunCommand(audio + "-").output == bytes);
    const std::string pipe = mFolder.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const CommandRun run = RunCommand(audio + pipe + " & cat " + pipe + "; wait $!");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.output == bytes);
    EXPECT_TRUE(fs::is_fifo(pipe));

    ASSERT_EQ(RunCommand("sheet tracks/no-sound.mov -o " + mFolder.File("sheet.png")).exitCode, 0);
    EXPECT_TRUE(RunCommand("sheet tracks/no-sound.mov -o -").output ==
                ReadFile(mFolder.File("sheet.png")));
}

TEST_F(EndToEndOutputs, SoundBehindTheEndOfTheFileIsNoSilence) {
    const int64_t frames = kRate / 10;
    const std::string movie =
        WriteMovie(mFolder, SmallMovie(frames), {kvx_test::kMediaOffset, true}, "movie.mov");
    const std::string whole = mFolder.File("whole.wav");
    ASSERT_EQ(RunCommand("audio " + movie + " --quiet -o " + whole).exitCode, 0);
    const std::string bytes = ReadFile(whole);
    fs::resize_file(movie, kSoundOffset + 1000 * 4 + 3);
    const std::string output = mFolder.File("part.wav");

    const CommandRun refused = RunCommand("audio " + movie + " -o " + output);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.output,
              "kvx: " + movie +
                  ": 3800 of its 4800 samples are not in the file; the first that is missed is "
                  "sample 1000, at 0.021 s; --partial writes the sound up to there\n");
    EXPECT_FALSE(fs::exists(output));

    const CommandRun partial = RunCommand("audio " + movie + " --partial -o " + output);
    EXPECT_EQ(partial.exitCode, 1);
    const std::string part = ReadFile(output);
    const size_t start = bytes.find("data") + 8;
    ASSERT_EQ(part.size(), start + 1000 * 2 * sizeof(float));
    EXPECT_TRUE(part.substr(start) == bytes.substr(start, 1000 * 2 * sizeof(float)));

    const CommandRun sheet = RunCommand("sheet " + movie + " -o " + mFolder.File("sheet.png"));
    EXPECT_EQ(sheet.exitCode, 1);
    EXPECT_THAT(sheet.output, HasSubstr("sound 0: 3800 of its 4800 samples are not in the file"));
    EXPECT_TRUE(fs::exists(mFolder.File("sheet.png")));
}

TEST_F(EndToEndOutputs, EveryFrameThatCanBeReadIsWritten) {
    const std::string movie =
        WriteMovie(mFolder, SmallMovie(), {kvx_test::kMediaOffset, true}, "movie.mov");
    const std::string whole = RunCommand("frames " + movie + " --raw -o -").output;
    ASSERT_EQ(whole.size(), size_t{kFrames} * kFrameSize);
    fs::resize_file(movie, kvx_test::kMediaOffset + 7 * kFrameSize + 100);
    const std::string folder = mFolder.File("frames");
    for (const std::string& options : {std::string(), std::string("--depth 16")}) {
        const CommandRun run = RunCommand("frames " + movie + " " + options + " -o " + folder);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.output, "kvx: " + movie + ": frames 7 to 9: the file ends before it does\n");
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 7);
        EXPECT_TRUE(fs::exists(folder + "/000006.png"));
    }
    const CommandRun one = RunCommand("frames " + movie + " --range 9: -o " + folder);
    EXPECT_EQ(one.exitCode, 1);
    EXPECT_EQ(one.output, "kvx: " + movie + ": frame 9: the file ends before it does\n");

    const CommandRun pipe = RunCommand("frames " + movie + " --raw -o - 2>/dev/null");
    EXPECT_EQ(pipe.exitCode, 1);
    EXPECT_TRUE(pipe.output == whole.substr(0, size_t{7} * kFrameSize));
    const CommandRun filled = RunCommand("frames " + movie + " --raw --partial -o - 2>/dev/null");
    EXPECT_EQ(filled.exitCode, 1);
    EXPECT_TRUE(filled.output ==
                whole.substr(0, size_t{7} * kFrameSize) + std::string(3 * kFrameSize, '\0'));

    const CommandRun sheet = RunCommand("sheet " + movie + " -o " + mFolder.File("sheet.png"));
    EXPECT_EQ(sheet.exitCode, 1);
    EXPECT_THAT(sheet.output, HasSubstr("frame 9: the file ends before it does"));
    EXPECT_TRUE(fs::exists(mFolder.File("sheet.png")));
}

// One bad frame between good ones: a sample that is too small, in a format that is converted.
TEST_F(EndToEndOutputs, ABadFrameTakesNoOtherWithIt) {
    MovieRecipe recipe = SmallMovie();
    TrackRecipe& video = recipe.tracks[0];
    video.constantSize = 0;
    video.sizes.assign(kFrames, kFrameSize);
    video.sizes[4] = 16;
    video.PlaceSamples(kvx_test::kMediaOffset, 1);
    const std::string movie = WriteMovie(mFolder, recipe);
    const std::string folder = mFolder.File("frames");
    const CommandRun run = RunCommand("frames " + movie + " -o " + folder);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.output, testing::MatchesRegex("kvx: .*: frame 4: its sample is too small for a "
                                                  "frame: [0-9]+ of 8192 bytes\n"));
    for (int frame = 0; frame < kFrames; ++frame) {
        EXPECT_EQ(fs::exists(folder + "/00000" + std::to_string(frame) + ".png"), frame != 4);
    }
}

TEST_F(EndToEndOutputs, OddNamesAreNames) {
    const std::string movie = WriteMovie(mFolder, SmallMovie(), {}, "plain.mov");
    for (const char* const name :
         {"\xFF\xFE.mov", "a\nb.mov", "-x.mov", "with  spaces ; and $more.mov",
          "open returned 2.mov", "\xE6\x97\xA5\xE6\x9C\xAC.mov"}) {
        const std::string path = mFolder.File(name);
        fs::copy_file(movie, path);
        const std::string output = mFolder.File(std::string(name) + ".wav");
        const CommandRun run =
            RunCommand("audio --quiet -o " + Quoted(output) + " -- " + Quoted(path));
        EXPECT_EQ(run.exitCode, 0) << run.output;
        EXPECT_TRUE(fs::exists(output)) << name;
        EXPECT_EQ(RunCommand("sheet " + Quoted(path) + " -o - >/dev/null").exitCode, 0) << name;
        EXPECT_EQ(RunCommand("info " + Quoted(path)).exitCode, 0) << name;
    }
    // As the shell hands over a name that looks like an option.
    const CommandRun dash = RunCommand("timecode -- -x.mov; cd " + mFolder.Path() + " && '" +
                                       kvx_test::kBuiltCommand + "' info -- -x.mov");
    EXPECT_EQ(dash.exitCode, 0) << dash.output;

    // A folder's name gives no reason.
    fs::create_directory(mFolder.File("open returned 2"));
    std::ofstream(mFolder.File("open returned 2/x.mov")) << "no movie at all, just some text";
    EXPECT_THAT(
        RunCommand("audio -o x.wav " + Quoted(mFolder.File("open returned 2/x.mov"))).output,
        HasSubstr("it is not a QuickTime movie"));
}

// A named pipe in the place of the media, and one in that of the movie.
TEST_F(EndToEndOutputs, PipesHoldNothingUp) {
    MakeReference();
    fs::remove(mMedia);
    ASSERT_EQ(mkfifo(mMedia.c_str(), 0600), 0);
    const std::string good = WriteMovie(mFolder, SmallMovie(), {}, "good.mov");
    const CommandRun info = RunCommand("info " + mMedia + " " + mReference + " " + good);
    EXPECT_EQ(info.exitCode, 3);
    EXPECT_THAT(info.output, HasSubstr("2vuy"));
    const CommandRun audio = RunCommand("audio " + mReference + " -o " + mFolder.File("x.wav"));
    EXPECT_EQ(audio.exitCode, 1);
    EXPECT_FALSE(fs::exists(mFolder.File("x.wav")));
}

// The module here waits for ever when it is to open a file with "silent" in its name.
TEST_F(EndToEndOutputs, AFileThatDoesNotAnswerIsLeftBehind) {
    for (const char* name : {"silent.mov", "other.mov"}) {
        std::ofstream(mFolder.File(name)) << "some bytes";
    }
    const std::string silent = mFolder.File("silent.mov");
    const std::string module = std::string(" --timeout 1 --module ") + kvx_test::kSilentModule;
    const CommandRun info = RunCommand("info " + silent + " " + mFolder.File("other.mov") + module);
    EXPECT_EQ(info.exitCode, 3);
    EXPECT_THAT(info.output, HasSubstr("it did not respond within 1 second\n"));
    EXPECT_THAT(info.output, HasSubstr(mFolder.File("other.mov")));
    for (const std::string& arguments :
         {"timecode " + silent, "audio " + silent + " -o " + mFolder.File("x.wav"),
          "frames " + silent + " -o " + mFolder.File("x"),
          "sheet " + silent + " -o " + mFolder.File("x.png")}) {
        const CommandRun run = RunCommand(arguments + module);
        EXPECT_EQ(run.exitCode, 3) << arguments;
        EXPECT_EQ(run.output, "kvx: " + silent + ": it did not respond within 1 second\n");
    }
    EXPECT_EQ(Names(), (std::vector<std::string>{"other.mov", "silent.mov"}));
}

}  // namespace
