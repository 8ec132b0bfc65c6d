// `kvx check` on what encoders write: exactly the codes that belong to each movie.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "end_to_end/real_movie.h"
#include "end_to_end/run_command.h"
#include "support/temp_directory.h"

namespace {

using kvx_test::CommandRun;
using kvx_test::RunCommand;
using nlohmann::json;
using testing::HasSubstr;

struct Row {
    std::string movie;
    int exitCode;
    std::vector<std::string> findings;  // "CODE@TRACK", 0 for the whole movie
};

// libquicktime tags all that it writes with the matrix of Rec. 709, and tells no pixel aspect.
const std::vector<Row> kRows = {
    {"tracks/no-sound.mov", 0, {}},
    {"tracks/three-sounds.mov", 0, {}},
    {"tracks/timecode.mov", 0, {}},
    {"tracks/trimmed.mov", 0, {}},
    {"matrix/v210-s24be-5.1-first.mov", 0, {}},
    {"matrix/2vuy-f64be-stereo-last.mov", 0, {}},
    {"matrix/r210-u8-mono-first.mov", 0, {"range@1"}},
    {"sizes/1080p25-v210.mov", 0, {}},
    {"sizes/1080p23.98-r210.mov", 0, {"range@1"}},
    {"sizes/rounded-length.mov", 0, {}},
    {"sizes/wide-pixels.mov", 0, {}},
    {"timecodes/29.97-drop.mov", 0, {}},
    {"layouts/unnamed.mov", 0, {}},
    {"layouts/D.mov", 0, {}},
    {"large/moov-last.mov", 0, {}},
    {"gstreamer/v210-s24be-6.mov", 0, {}},
    {"gstreamer/2vuy-u8-1.mov", 0, {}},
    {"libquicktime/v210-twos.mov", 4, {"colour-tag@1", "pixel-aspect-missing@1"}},
    {"libquicktime/2vuy-rawaudio.mov", 4, {"colour-tag@1", "pixel-aspect-missing@1"}},
    {"odd/four-channels.mov", 4, {"sound-not-delivered@2"}},
    {"odd/16-bit-raw.mov", 4, {"colour-tag@1", "sound-not-delivered@2", "pixel-aspect-missing@1"}},
    {"checked/ffmpeg-fragments.mov", 4, {"fragmented@0"}},
    // Half a second of delay before a sixth of sound.
    {"checked/ffmpeg-delayed-sound.mov", 4, {"edit-list@2", "edit-list@2"}},
    {"checked/ffmpeg-variable-rate.mov", 4, {"variable-rate@1"}},
    {"checked/ffmpeg-aac.mov", 4, {"sound-compressed@2"}},
    {"checked/ffmpeg-mulaw.mov", 4, {"sound-compressed@2"}},
    {"checked/ffmpeg-709.mov", 4, {"colour-tag@1"}},
    {"checked/ffmpeg-601-in-hd.mov", 4, {"colour-tag@1"}},
    {"checked/ffmpeg-cut-off.mov", 4, {"truncated@1"}},
    {"checked/ffmpeg-timecode-15.mov", 4, {"timecode-rate@2"}},
    {"checked/ffmpeg-timecode-120.mov", 4, {"timecode-rate@2"}},
    {"checked/ffmpeg-prores.mov", 1, {"codec@1"}},
    {"checked/ffmpeg-jpeg.mov", 1, {"codec@1"}},
    {"checked/gstreamer-jpeg.mov", 1, {"codec@1"}},
    {"checked/gstreamer-alaw.mov", 4, {"sound-compressed@2"}},
    {"checked/gstreamer-four-channels.mov", 4, {"sound-not-delivered@2"}},
    {"checked/libquicktime-jpeg.mov", 1, {"codec@1"}},
    {"checked/libquicktime-ulaw.mov",
     4,
     {"colour-tag@1", "sound-compressed@2", "pixel-aspect-missing@1"}},
    {"checked/libquicktime-ima4.mov",
     4,
     {"colour-tag@1", "sound-compressed@2", "pixel-aspect-missing@1"}},
    {"refused/url-handler.mov", 1, {"data-handler@1", "data-handler@2"}},
    {"refused/h264.mov", 1, {"codec@1"}},
    {"refused/h264.mp4", 1, {"codec@1", "sound-compressed@2"}},
    {"refused/no-video.mov", 1, {"no-video@0"}},
    {"refused/two-videos.mov", 1, {"several-videos@2"}},
    {"refused/mixed-sounds.mov", 1, {"sound-types-differ@3"}},
    {"refused/bitmap-layout-f64be.mov", 1, {"sound-layout@2"}},
    {"refused/cut-off.mov", 1, {"moov-missing@0"}},
    {"refused/unfinished.mov", 1, {"moov-missing@0"}},
    {"refused/empty.mov", 1, {"not-quicktime@0"}},
    {"refused/not-a-movie.mov", 1, {"not-quicktime@0"}},
    {"refused/missing.mov", 3, {"unreadable@0"}},
    {".", 3, {"unreadable@0"}},
};

std::vector<std::string> FindingsOf(const json& movie) {
    std::vector<std::string> findings;
    for (const json& finding : movie.at("findings")) {
        const json& track = finding.at("track");
        findings.push_back(finding.at("code").get<std::string>() + "@" +
                           std::to_string(track.is_null() ? 0 : track.get<int>()));
    }
    return findings;
}

class EndToEndCheck : public testing::TestWithParam<Row> {};

TEST_P(EndToEndCheck, FindsExactlyThis) {
    const CommandRun run = RunCommand("check --json " + GetParam().movie);
    EXPECT_EQ(run.exitCode, GetParam().exitCode);
    const json report = json::parse(run.output);
    ASSERT_EQ(report.size(), 1u);
    EXPECT_EQ(FindingsOf(report[0]), GetParam().findings) << report[0].at("findings").dump(2);
    EXPECT_TRUE(report[0].at("disagreement").is_null());
}

TEST_P(EndToEndCheck, HasALineForEach) {
    const CommandRun run = RunCommand("check " + GetParam().movie);
    EXPECT_EQ(run.exitCode, GetParam().exitCode);
    for (const std::string& finding : GetParam().findings) {
        EXPECT_THAT(run.output, HasSubstr(" " + finding.substr(0, finding.find('@')) + " "));
    }
    EXPECT_EQ(run.output.find("this is a bug"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndCheck, testing::ValuesIn(kRows), [](const auto& info) {
    std::string name = info.param.movie;
    for (char& character : name) {
        character = std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
    }
    return name == "_" ? "folder" : name;
});

// Of several movies, the first of 3, 1, 4 and 0 that occurred.
TEST(EndToEndCheckSeveral, TheGravestCounts) {
    const std::string fine = "tracks/no-sound.mov ";
    const std::string warned = "odd/four-channels.mov ";
    const std::string refused = "refused/h264.mov ";
    const std::string missing = "missing.mov ";
    EXPECT_EQ(RunCommand("check " + fine + fine).exitCode, 0);
    EXPECT_EQ(RunCommand("check " + warned + fine).exitCode, 4);
    EXPECT_EQ(RunCommand("check " + warned + refused + fine).exitCode, 1);
    EXPECT_EQ(RunCommand("check " + missing + refused + warned).exitCode, 3);
    // A warning alone is no failure of `info`.
    EXPECT_EQ(RunCommand("info " + warned + fine).exitCode, 0);
}

TEST(EndToEndCheckSeveral, OneObjectALine) {
    const CommandRun run =
        RunCommand("check --json-lines tracks/no-sound.mov missing.mov odd/four-channels.mov");
    std::istringstream lines(run.output);
    std::vector<std::string> statuses;
    for (std::string line; std::getline(lines, line);) {
        statuses.push_back(json::parse(line).at("status"));
    }
    EXPECT_EQ(statuses, (std::vector<std::string>{"imports", "unreadable", "imports"}));
}

TEST(EndToEndCheckSeveral, FullDisk) {
    EXPECT_EQ(RunCommand("check tracks/no-sound.mov >/dev/full").exitCode, 3);
    EXPECT_EQ(RunCommand("info tracks/no-sound.mov >/dev/full").exitCode, 3);
}

}  // namespace
