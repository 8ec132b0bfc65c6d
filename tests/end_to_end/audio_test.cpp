// `kvx audio --native` and `--all`: the file's own samples against ffmpeg's copy of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "support/file_tools.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

namespace fs = std::filesystem;
using kvx_test::CommandRun;
using kvx_test::MediaPath;
using kvx_test::MovieRecipe;
using kvx_test::ReadFile;
using kvx_test::RunCommand;
using kvx_test::TempDirectory;
using testing::EndsWith;
using testing::HasSubstr;

uint64_t Number(const std::string& bytes, size_t offset, size_t size) {
    uint64_t value = 0;
    for (size_t i = size; i-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(offset + i));
    }
    return value;
}

// A WAV file, chunk by chunk.
struct Wav {
    std::string format;
    std::string broadcast;
    std::string data;
    bool isWhole = false;  // the sizes agree with the file's
};

Wav ReadWav(const std::string& bytes) {
    Wav wav;
    size_t place = 12;
    while (place + 8 <= bytes.size()) {
        const std::string type = bytes.substr(place, 4);
        const size_t size = Number(bytes, place + 4, 4);
        const std::string chunk = bytes.substr(place + 8, size);
        if (type == "fmt ") {
            wav.format = chunk;
        } else if (type == "bext") {
            wav.broadcast = chunk;
        } else if (type == "data") {
            wav.data = chunk;
        }
        place += 8 + size + size % 2;
    }
    wav.isWhole = place == bytes.size() && Number(bytes, 4, 4) + 8 == bytes.size();
    return wav;
}

struct Job {
    std::string movie;
    std::string form;  // of ffmpeg's raw samples, in the order of WAV files
    int stream = 0;
};

// ffmpeg's copy of the samples, of many movies in one run.
std::vector<std::string> SamplesByFfmpeg(const std::vector<Job>& jobs) {
    const TempDirectory folder;
    std::string line = "ffmpeg -v error -nostdin -y";
    for (const Job& job : jobs) {
        line += " -ignore_editlist 1 -i '" + MediaPath(job.movie) + "'";
    }
    for (size_t i = 0; i < jobs.size(); ++i) {
        const std::string number = std::to_string(i);
        line += " -map " + number + ":a:" + std::to_string(jobs[i].stream) + " -c:a pcm_" +
                jobs[i].form + " -f " + jobs[i].form + " '" + folder.File(number) + "'";
    }
    EXPECT_EQ(std::system(line.c_str()), 0) << line;
    std::vector<std::string> samples;
    for (size_t i = 0; i < jobs.size(); ++i) {
        samples.push_back(ReadFile(folder.File(std::to_string(i))));
        EXPECT_FALSE(samples.back().empty());
    }
    return samples;
}

class EndToEndAudio : public testing::Test {
  protected:
    Wav Write(const std::string& arguments) const {
        const CommandRun run = RunCommand("audio " + arguments + " -o " + mOutput);
        EXPECT_EQ(run.exitCode, 0) << run.output;
        return ReadWav(ReadFile(mOutput));
    }

    const TempDirectory mFolder;
    const std::string mOutput = mFolder.File("out.wav");
};

TEST_F(EndToEndAudio, NativeSamplesAreTheFilesOwn) {
    const std::vector<Job> jobs = {
        {"unmended/v210-u8-mono.mov", "u8"},
        {"unmended/2vuy-s8-stereo-first.mov", "u8"},
        {"unmended/r210-s16be-5.1.mov", "s16le"},
        {"unmended/v210-s16le-mono-first.mov", "s16le"},
        {"unmended/2vuy-s24be-stereo.mov", "s24le"},
        {"unmended/r210-s24le-5.1-first.mov", "s24le"},
        {"unmended/v210-s32be-mono.mov", "s32le"},
        {"unmended/2vuy-s32le-stereo-first.mov", "s32le"},
        {"unmended/r210-f32be-5.1.mov", "f32le"},
        {"unmended/v210-f32le-mono-first.mov", "f32le"},
        {"unmended/2vuy-f64be-stereo.mov", "f64le"},
        {"unmended/r210-f64le-5.1-first.mov", "f64le"},
        {"unmended/2vuy-s24le-bitmap-first.mov", "s24le"},
        {"layouts/unnamed.mov", "s24le"},
        {"libquicktime/v210-fl64.mov", "f64le"},
        {"gstreamer/v210-s8-6.mov", "u8"},
        {"odd/four-channels.mov", "s16le"},
        {"tracks/trimmed.mov", "s16le"},
        {"tracks/long-sound.mov", "s16le"},
        {"large/moov-last.mov", "s24le"},
    };
    const auto expected = SamplesByFfmpeg(jobs);
    for (size_t i = 0; i < jobs.size(); ++i) {
        const Wav wav = Write("--native " + jobs[i].movie);
        EXPECT_TRUE(wav.data == expected[i]) << jobs[i].movie;
        EXPECT_TRUE(wav.isWhole) << jobs[i].movie;
        const uint64_t bits = std::stoul(jobs[i].form.substr(1));
        EXPECT_EQ(Number(wav.format, 14, 2), bits);
        const uint64_t channels = Number(wav.format, 2, 2);
        const bool isExtensible = channels > 2 || bits > 16;
        EXPECT_EQ(wav.format.size(), isExtensible ? 40u : 16u) << jobs[i].movie;
        const uint64_t number = jobs[i].form[0] == 'f' ? 3 : 1;
        EXPECT_EQ(Number(wav.format, 0, 2), isExtensible ? 0xFFFEu : number);
        if (isExtensible) {
            EXPECT_EQ(Number(wav.format, 24, 2), number);
            EXPECT_EQ(Number(wav.format, 20, 4), channels == 1   ? 4u
                                                 : channels == 2 ? 3u
                                                 : channels == 6 ? 0x60Fu
                                                                 : 0u);
        }
    }
}

// The order of each layout by its channels' names, against that of WAV files.
TEST_F(EndToEndAudio, NativeSurroundIsInTheOrderOfWavFiles) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> layouts = {
        {"A", {"L", "R", "C", "LFE", "Ls", "Rs"}},
        {"B", {"L", "R", "Ls", "Rs", "C", "LFE"}},
        {"C", {"L", "C", "R", "Ls", "Rs", "LFE"}},
        {"D", {"C", "L", "R", "Ls", "Rs", "LFE"}},
    };
    for (const auto& [name, channels] : layouts) {
        const std::string movie = "layouts/" + name + ".mov";
        const std::string own = SamplesByFfmpeg({{movie, "s24le"}})[0];
        std::string expected;
        for (size_t frame = 0; frame < own.size() / 18; ++frame) {
            for (const std::string& channel : layouts[0].second) {
                const auto place = std::find(channels.begin(), channels.end(), channel);
                expected +=
                    own.substr(frame * 18 + 3 * static_cast<size_t>(place - channels.begin()), 3);
            }
        }
        EXPECT_TRUE(Write("--native " + movie).data == expected) << name;
    }
}

TEST_F(EndToEndAudio, AllStreamsFitIntoOneFile) {
    const auto parts = SamplesByFfmpeg({{"tracks/three-sounds.mov", "s24le", 0},
                                        {"tracks/three-sounds.mov", "s24le", 1},
                                        {"tracks/three-sounds.mov", "s24le", 2}});
    std::string expected;
    for (size_t frame = 0; frame < parts[2].size() / 3; ++frame) {
        expected += parts[0].substr(6 * frame, 6) + parts[1].substr(6 * frame, 6) +
                    parts[2].substr(3 * frame, 3);
    }
    const Wav native = Write("--native --all tracks/three-sounds.mov");
    EXPECT_TRUE(native.data == expected);
    EXPECT_EQ(Number(native.format, 2, 2), 5u);
    EXPECT_EQ(Number(native.format, 20, 4), 0u);

    // As floats, each stream's samples are those that it has alone.
    const Wav all = Write("--all tracks/three-sounds.mov");
    ASSERT_EQ(all.data.size(), parts[2].size() / 3 * 20);
    const Wav last = Write("--stream 2 tracks/three-sounds.mov");
    for (size_t frame = 0; frame < last.data.size() / 4; ++frame) {
        ASSERT_EQ(all.data.substr(20 * frame + 16, 4), last.data.substr(4 * frame, 4));
    }
}

TEST_F(EndToEndAudio, AllStreamsGetAFileEachInAFolder) {
    for (const std::string& native : {std::string(), std::string("--native ")}) {
        const std::string folder = mFolder.File(native.empty() ? "float" : "native");
        const CommandRun run =
            RunCommand("audio --all " + native + "tracks/three-sounds.mov -o " + folder);
        EXPECT_EQ(run.exitCode, 0) << run.output;
        for (int stream = 0; stream < 3; ++stream) {
            const std::string number = std::to_string(stream);
            Write(native + "tracks/three-sounds.mov --stream " + number);
            EXPECT_TRUE(ReadFile(folder + "/sound-" + number + ".wav") == ReadFile(mOutput));
        }
    }
    EXPECT_EQ(
        RunCommand("audio --all --native tracks/timecode.mov --quiet -o " + mFolder.File("one"))
            .output,
        "");
    EXPECT_TRUE(fs::exists(mFolder.File("one/sound-0.wav")));
}

TEST_F(EndToEndAudio, StreamsThatDifferFitIntoNoFile) {
    const CommandRun run =
        RunCommand("audio --all --native refused/mixed-sounds.mov -o " + mOutput);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.output, HasSubstr("its streams differ in rate or form"));
    EXPECT_FALSE(fs::exists(mOutput));
    EXPECT_EQ(RunCommand("audio --all --stream 1 tracks/three-sounds.mov -o x.wav").exitCode, 2);
}

// 01:02:03:04 at 25 frames a second, in samples of 48000 Hz.
TEST_F(EndToEndAudio, TheBroadcastExtensionHasTheStartTimecode) {
    const uint64_t start = ((1 * 60 + 2) * 60 + 3) * 48000 + 4 * 48000 / 25;
    for (const char* native : {"", "--native "}) {
        const Wav wav = Write(std::string(native) + "tracks/timecode.mov");
        ASSERT_EQ(wav.broadcast.size(), 602u);
        EXPECT_EQ(wav.broadcast.substr(256, 4), std::string("kvx\0", 4));
        EXPECT_EQ(Number(wav.broadcast, 338, 8), start);
        EXPECT_EQ(Number(wav.broadcast, 346, 2), 1u);
        EXPECT_TRUE(wav.isWhole);
        EXPECT_EQ(Write(std::string(native) + "tracks/long-sound.mov").broadcast, "");
    }
}

// A timecode is of the timeline's start; with edits aside, the file starts earlier by what is cut.
TEST_F(EndToEndAudio, TheBroadcastExtensionKnowsOfEdits) {
    MovieRecipe recipe;
    kvx_test::TimeCodeDescription timecode;
    timecode.timeScale = 30000;
    timecode.frameDuration = 1001;
    timecode.framesPerSecond = 30;
    recipe.tracks = {kvx_test::VideoTrackRecipe({"v210", 48, 2, 24}, 256, 10),
                     kvx_test::SoundTrackRecipe(kvx_test::Describe(kvx_test::SoundDescriptionV0{}),
                                                4, 20000, 48000, kvx_test::kMediaOffset + 0x1000),
                     kvx_test::TimeCodeTrackRecipe(timecode, 10, kvx_test::kMediaOffset + 0x800)};
    recipe.tracks[1].edits = {{100, 7000}};
    const std::string movie = WriteMovie(mFolder, recipe);
    // What the pattern media has for the timecode's first frame.
    uint64_t first = 0;
    for (const char byte : kvx_test::PatternSample(2, 0, 4)) {
        first = first << 8 | static_cast<unsigned char>(byte);
    }
    const long double samples = first * 48000.0L * 1001 / 30000;
    EXPECT_EQ(Number(Write("--native " + movie).broadcast, 338, 8),
              static_cast<uint64_t>(samples + 0.5L) - 7000);
}

// A byte behind an odd number of them, which belongs to no sample.
TEST_F(EndToEndAudio, AnOddNumberOfBytesIsFilledUp) {
    MovieRecipe recipe;
    kvx_test::SoundDescriptionV0 description;
    description.format = "raw ";
    description.channels = 1;
    description.bits = 8;
    recipe.tracks = {kvx_test::SoundTrackRecipe(kvx_test::Describe(description), 1, 20001)};
    const Wav wav = Write("--native " + WriteMovie(mFolder, recipe));
    EXPECT_EQ(wav.data.size(), 20001u);
    EXPECT_TRUE(wav.isWhole);
}

TEST_F(EndToEndAudio, WhatNoWavFileHasIsNamed) {
    for (const auto& [movie, words] : std::vector<std::pair<std::string, std::string>>{
             {"checked/ffmpeg-mulaw.mov", "which is no PCM that a WAV file has\n"},
             {"odd/16-bit-raw.mov", "its samples are unsigned and have 16 bits"},
             {"tracks/no-sound.mov", "it has no sound\n"},
             {"refused/cut-off.mov", "there is no movie atom"}}) {
        const CommandRun run = RunCommand("audio --native " + movie + " -o " + mOutput);
        EXPECT_EQ(run.exitCode, 1) << movie;
        EXPECT_THAT(run.output, HasSubstr(words));
        EXPECT_FALSE(fs::exists(mOutput));
    }
    EXPECT_EQ(RunCommand("audio --native missing.mov -o " + mOutput).exitCode, 3);
    EXPECT_EQ(RunCommand("audio --native tracks/timecode.mov -o tracks/timecode.mov").exitCode, 2);
}

TEST_F(EndToEndAudio, SoundThatIsNotInTheFileIsTold) {
    const std::string movie = mFolder.File("cut.mov");
    fs::copy_file(MediaPath("unmended/v210-s16le-mono-first.mov"), movie);
    const std::string whole = Write("--native " + movie).data;
    fs::resize_file(movie, fs::file_size(movie) - 1001);
    const CommandRun refused = RunCommand("audio --native " + movie + " -o " + mOutput);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.output, EndsWith("samples are not in the file; --partial writes the sound "
                                         "up to there\n"));
    const CommandRun partial = RunCommand("audio --native --partial " + movie + " -o " + mOutput);
    EXPECT_EQ(partial.exitCode, 1);
    const Wav wav = ReadWav(ReadFile(mOutput));
    EXPECT_TRUE(wav.isWhole);
    EXPECT_LT(wav.data.size(), whole.size());
    EXPECT_TRUE(whole.compare(0, wav.data.size(), wav.data) == 0);
}

// Beyond 4 GiB, nearly all of it a hole in the movie: the sizes stand in 64 bits.
TEST(LargeAudio, IsAnRf64File) {
    const TempDirectory folder;
    constexpr int64_t kFrames = 300000000;
    MovieRecipe recipe;
    kvx_test::SoundDescriptionV1 description;
    description.format = "fl64";
    description.bits = 16;
    description.bytesPerFrame = 16;
    recipe.tracks = {
        kvx_test::SoundTrackRecipe(kvx_test::Describe(description), 16, kFrames, 48000)};
    recipe.tracks[0].wideChunkOffsets = true;
    const std::string movie = folder.File("movie.mov");
    kvx_test::WriteMovieFile(
        movie, kvx_test::BuildMoov(recipe),
        {{kvx_test::kMediaOffset, "first"}, {kvx_test::kMediaOffset + kFrames * 16 - 4, "last"}});
    const CommandRun run =
        RunCommand("audio --quiet --native " + movie + " -o - | { head -c 4096 >" +
                   folder.File("head") + "; wc -c; }");
    const std::string head = ReadFile(folder.File("head"));
    constexpr uint64_t kData = uint64_t{kFrames} * 16;
    ASSERT_EQ(head.size(), 4096u);
    EXPECT_EQ(head.substr(0, 4), "RF64");
    EXPECT_EQ(head.substr(12, 4), "ds64");
    EXPECT_EQ(Number(head, 28, 8), kData);
    EXPECT_EQ(Number(head, 36, 8), uint64_t{kFrames});
    const size_t data = head.find("data");
    ASSERT_NE(data, std::string::npos);
    EXPECT_EQ(Number(head, 20, 8), kData + data);
    EXPECT_EQ(std::stoull(run.output), data + 8 + kData - 4096) << run.output;
}

}  // namespace
