// The kvx command: what it prints, how it ends, what it writes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "end_to_end/built_paths.h"
#include "end_to_end/movie_checks.h"
#include "end_to_end/run_command.h"

namespace {

using kvx_test::CommandRun;
using kvx_test::MediaPath;
using kvx_test::ReadRealMovie;
using kvx_test::RealMovie;
using kvx_test::RunCommand;
using testing::EndsWith;
using testing::HasSubstr;

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// The source's line numbers are no part of what is promised: "*** Init[N]: ...".
std::string WithoutLineNumbers(std::string text) {
    for (size_t line = text.find("*** "); line != std::string::npos;
         line = text.find("*** ", line + 1)) {
        const size_t number = text.find('[', line) + 1;
        text.replace(number, text.find(']', number) - number, "N");
    }
    return text;
}

// A golden file is a session as one would see it: "$ kvx ARGUMENTS", the output, "exit N".
class EndToEndCommandGolden : public testing::TestWithParam<std::string> {};

TEST_P(EndToEndCommandGolden, PrintsWhatItShould) {
    const std::string golden =
        ReadFile(std::string(kvx_test::kGoldenFolder) + "/" + GetParam() + ".txt");
    const std::string prompt = "$ kvx ";
    const size_t end = golden.find('\n');
    ASSERT_EQ(golden.rfind(prompt, 0), 0u) << "no golden file, or not of this form";
    const std::string arguments = golden.substr(prompt.size(), end - prompt.size());

    const CommandRun run = RunCommand(arguments);
    EXPECT_EQ(prompt + arguments + "\n" + WithoutLineNumbers(run.output) + "exit " +
                  std::to_string(run.exitCode) + "\n",
              golden);
}

INSTANTIATE_TEST_SUITE_P(
    All, EndToEndCommandGolden,
    testing::Values("info_v210", "info_2vuy_r210", "info_three_sounds", "info_no_sound",
                    "info_rates", "info_timecode", "info_json", "timecode", "timecode_none",
                    "timecode_15", "timecode_120", "not_a_movie", "url_handler", "h264", "mp4",
                    "unfinished", "empty_file", "folder", "device", "missing_file", "no_video",
                    "two_videos", "mixed_sounds", "bitmap_layout", "cut_off", "some_importable",
                    "log", "audio_no_sound", "audio_not_importable", "audio_four_channels",
                    "audio_stream_too_high", "audio_onto_the_movie", "audio_no_such_folder",
                    "frames_not_importable", "frames_range_too_high",
                    "frames_range_of_another_form", "frames_folder_is_a_file",
                    "sheet_onto_the_movie", "check_fine", "check_warnings", "check_refused",
                    "mend_dry_run", "mend_nothing", "mend_refused"),
    [](const auto& info) { return info.param; });

uint32_t Number(const std::string& bytes, size_t offset) {
    uint32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

class EndToEndCommandAudio : public testing::Test {
  protected:
    ~EndToEndCommandAudio() override { std::filesystem::remove(mOutput); }

    // Writes the sound and holds every sample against ffmpeg's decode. The order of 5.1 in a WAV
    // file is that of MPEG 5.1 A, which the movies here have.
    void ExpectSound(const std::string& name, int stream, const std::string& options = "") {
        const RealMovie movie = ReadRealMovie(name);
        const CommandRun run = RunCommand("audio " + name + " -o " + mOutput + options);
        ASSERT_EQ(run.exitCode, 0) << run.output;
        const kvx_test::SoundFacts& facts = movie.sounds.at(static_cast<size_t>(stream));

        const std::string file = ReadFile(mOutput);
        const size_t data = file.find("data");
        ASSERT_NE(data, std::string::npos);
        const size_t start = data + 8;
        ASSERT_EQ(file.size() - start, facts.samples.size() * sizeof(float));
        EXPECT_EQ(Number(file, data + 4), file.size() - start);
        EXPECT_EQ(Number(file, 4), file.size() - 8);
        size_t wrong = 0;
        for (size_t index = 0; index < facts.samples.size(); ++index) {
            const float expected = kvx_test::PlaneSample(facts.codec, facts.samples[index]);
            uint32_t bits = 0;
            std::memcpy(&bits, &expected, sizeof bits);
            wrong += Number(file, start + 4 * index) != bits ? 1 : 0;
        }
        EXPECT_EQ(wrong, 0u);
    }

    const std::string mOutput =
        testing::TempDir() + "kvx-audio-" + std::to_string(getpid()) + ".wav";
};

TEST_F(EndToEndCommandAudio, StereoIsSampleExact) {
    ExpectSound("matrix/v210-s24le-stereo-last.mov", 0);
}

TEST_F(EndToEndCommandAudio, SurroundIsInTheOrderOfWavFiles) {
    ExpectSound("matrix/r210-f32be-5.1-first.mov", 0);
}

TEST_F(EndToEndCommandAudio, OtherStreamsCanBeChosen) {
    ExpectSound("tracks/three-sounds.mov", 0);
    ExpectSound("tracks/three-sounds.mov", 2, " --stream 2");
}

TEST_F(EndToEndCommandAudio, EndsWithTheLastSampleWhateverTheStatedLength) {
    ExpectSound("sizes/rounded-length.mov", 0);
}

// Two and a half blocks of the reader.
TEST_F(EndToEndCommandAudio, LongSoundIsGapless) {
    ExpectSound("tracks/long-sound.mov", 0);
}

TEST_F(EndToEndCommandAudio, ReadsAsWhatItIsByFfprobe) {
    const CommandRun run = RunCommand("audio matrix/v210-s16be-5.1-last.mov -o " + mOutput);
    ASSERT_EQ(run.exitCode, 0) << run.output;
    EXPECT_EQ(run.output,
              "kvx: " + mOutput + ": 00:00:00.160, 48000 Hz, 6 channels, 32-bit float\n");

    const std::string line =
        "ffprobe -v error -of csv=p=0 -show_entries "
        "stream=codec_name,sample_rate,channels,channel_layout,duration_ts " +
        mOutput;
    std::FILE* pipe = popen(line.c_str(), "r");
    char told[200] = {};
    ASSERT_NE(std::fgets(told, sizeof told, pipe), nullptr);
    pclose(pipe);
    EXPECT_STREQ(told, "pcm_f32le,48000,6,5.1(side),7680\n");
}

TEST_F(EndToEndCommandAudio, LeavesNoFileBehindWhenItFails) {
    const CommandRun run = RunCommand("audio odd/four-channels.mov -o " + mOutput);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(mOutput));
}

// The words are those of the command line library, and differ with its version.
TEST(EndToEndCommand, WrongUsageIsToldApart) {
    for (const char* arguments :
         {"", "info", "frobnicate", "audio tracks/three-sounds.mov",
          "audio tracks/three-sounds.mov --stream -1 -o never-written.wav",
          "frames tracks/no-sound.mov --raw", "frames tracks/no-sound.mov -o -",
          "frames tracks/no-sound.mov --depth 12 -o never-written",
          "frames tracks/no-sound.mov --depth 8 --raw -o never-written",
          "frames tracks/no-sound.mov --custom -o never-written",
          "frames tracks/no-sound.mov --raw --timeout 0 -o -",
          "frames tracks/no-sound.mov --partial -o never-written",
          "sheet tracks/no-sound.mov --width 400 --columns 20 -o never-written.png",
          "frames tracks/no-sound.mov --range 3:2 -o never-written",
          "sheet tracks/no-sound.mov tracks/timecode.mov -o -"}) {
        const CommandRun run = RunCommand(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_THAT(run.output, testing::Not(testing::IsEmpty())) << arguments;
    }
    EXPECT_THAT(RunCommand("").output, HasSubstr("info"));
    const CommandRun noModule = RunCommand("--module no/such/module.so info x");
    EXPECT_EQ(noModule.exitCode, 3);
    EXPECT_THAT(noModule.output, HasSubstr("cannot load the importer: no/such/module.so"));
}

TEST(EndToEndCommand, WrongUsageIsToldInOneLine) {
    const std::string tail = " (see `kvx --help`)\n";
    const struct {
        const char* arguments;
        const char* words;
    } rows[] = {
        {"frobnicate", "there is no command 'frobnicate'"},
        {"help frobnicate", "there is no command 'frobnicate'"},
        {"--quiet help frobnicate", "there is no command 'frobnicate'"},
        {"info --frobnicate x.mov", "there is no option '--frobnicate' here"},
        {"info", "no movie is named"},
        {"audio x.mov", "--output is missing"},
        {"audio x.mov --stream -1 -o y.wav", "--stream takes a number from 0 up, not '-1'"},
        {"frames x.mov --depth 12 -o y", "--depth takes 8 or 16, not '12'"},
        {"frames x.mov --custom -o y", "--custom needs --raw"},
        {"info --json --log x.mov", "--json and --log exclude each other"},
        {"timecode --null x.mov", "--null needs --files-from"},
    };
    for (const auto& row : rows) {
        const CommandRun run = RunCommand(row.arguments);
        EXPECT_EQ(run.exitCode, 2) << row.arguments;
        EXPECT_EQ(run.output, std::string("kvx: ") + row.words + tail);
    }
}

TEST(EndToEndCommand, CommonOptionsStandBeforeAndAfterTheCommand) {
    const std::string module =
        std::string("--module ") + kvx_test::kBuiltModule + " --timeout 20 --quiet";
    const std::string expected = RunCommand("timecode tracks/timecode.mov").output;
    EXPECT_EQ(RunCommand(module + " timecode tracks/timecode.mov").output, expected);
    EXPECT_EQ(RunCommand("timecode tracks/timecode.mov " + module).output, expected);
    EXPECT_EQ(RunCommand("timecode " + module + " -- tracks/timecode.mov").output, expected);
}

TEST(EndToEndCommand, TellsItsVersionAndOfOneCommand) {
    const CommandRun version = RunCommand("--version");
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.output, testing::MatchesRegex("kvx [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    const CommandRun help = RunCommand("help frames");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_EQ(help.output, RunCommand("frames --help").output);
    EXPECT_THAT(help.output, HasSubstr("--partial"));
    EXPECT_THAT(help.output, HasSubstr("--timeout"));
    for (const char* const other :
         {"--module nothing help frames", "--quiet --timeout=1 help frames", "help --quiet frames",
          "help frames --timeout 1"}) {
        EXPECT_EQ(RunCommand(other).output, help.output) << other;
        EXPECT_EQ(RunCommand(other).exitCode, 0) << other;
    }
    EXPECT_THAT(RunCommand("help").output, HasSubstr("4 (check only) imports, with warnings"));
}

TEST(EndToEndCommand, HelpNamesTheSubcommands) {
    const CommandRun run = RunCommand("--help");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, HasSubstr("info"));
    EXPECT_THAT(run.output, HasSubstr("audio"));
    EXPECT_THAT(run.output, HasSubstr("frames"));
}

// As from an unpacked archive: in another place, with the module beside it or under lib/.
TEST(EndToEndCommand, FindsItsModuleWhereverTheyAre) {
    namespace fs = std::filesystem;
    const fs::path command = kvx_test::kBuiltCommand;
    const fs::path module = kvx_test::kBuiltModule;
    const fs::path tree = testing::TempDir() + "kvx-tree-" + std::to_string(getpid());
    for (const fs::path& place : {fs::path("bin"), fs::path("lib/kvx")}) {
        fs::remove_all(tree);
        fs::create_directories(tree / "bin");
        fs::create_directories(tree / place);
        fs::copy_file(command, tree / "bin" / command.filename());
        // No module at all, but one that is seen to be found.
        std::ofstream(tree / place / module.filename()) << "not a library";
        const std::string line = (tree / "bin" / command.filename()).string() + " info " +
                                 MediaPath("tracks/no-sound.mov") + " 2>&1";
        std::FILE* pipe = popen(line.c_str(), "r");
        char told[1000] = {};
        ASSERT_NE(std::fgets(told, sizeof told, pipe), nullptr);
        EXPECT_EQ(WEXITSTATUS(pclose(pipe)), 3);
        EXPECT_THAT(told, HasSubstr("cannot load the importer: " + tree.string()));
    }
    fs::remove_all(tree);
}

}  // namespace
