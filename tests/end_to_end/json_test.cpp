// What `kvx info --json` tells programs, beside what ffprobe finds in the same movies.

#include <gtest/gtest.h>

#include <cstdint>
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

// Standard output alone, which has to be one JSON value.
json ReportOn(const std::string& movies, int exitCode) {
    const CommandRun run = RunCommand("info --json " + movies + " 2>/dev/null");
    EXPECT_EQ(run.exitCode, exitCode);
    return json::parse(run.output);
}

TEST(EndToEndJson, AgreesWithFfprobe) {
    const std::vector<std::string> names = {
        "tracks/three-sounds.mov",         "tracks/no-sound.mov",
        "matrix/2vuy-f32be-5.1-first.mov", "matrix/r210-s16le-mono-last.mov",
        "matrix/v210-u8-stereo-first.mov", "gstreamer/v210-s24le-2.mov",
        "libquicktime/2vuy-sowt.mov",
    };
    std::string all;
    for (const std::string& name : names) {
        all += name + " ";
    }
    const json report = ReportOn(all, 0);
    ASSERT_EQ(report.size(), names.size());
    for (size_t index = 0; index < names.size(); ++index) {
        SCOPED_TRACE(names[index]);
        const json& movie = report[index];
        const kvx_test::RealMovie facts = kvx_test::ReadRealMovie(names[index]);
        EXPECT_EQ(movie.at("path"), names[index]);
        EXPECT_EQ(movie.at("schema"), 2);
        EXPECT_EQ(movie.at("status"), "imports");
        EXPECT_TRUE(movie.at("importer").at("says").is_null());
        EXPECT_TRUE(movie.at("timecode").is_null());

        ASSERT_EQ(movie.at("video").size(), 1u);
        const json& video = movie.at("video")[0];
        const kvx_test::VideoFacts& picture = facts.videos.at(0);
        EXPECT_EQ(video.at("format"), picture.format);
        EXPECT_EQ(video.at("width"), picture.width);
        EXPECT_EQ(video.at("height"), picture.height);
        const int64_t scale = video.at("time_scale");
        const int64_t frame = video.at("frame_duration");
        EXPECT_EQ(scale * picture.rate.denominator, frame * picture.rate.numerator);
        EXPECT_EQ(video.at("duration").get<int64_t>() / frame,
                  static_cast<int64_t>(picture.packets.size()));
        EXPECT_FALSE(video.at("offered_as").empty());

        ASSERT_EQ(movie.at("sound").size(), facts.sounds.size());
        for (size_t sound = 0; sound < facts.sounds.size(); ++sound) {
            EXPECT_EQ(movie.at("sound")[sound].at("rate"), facts.sounds[sound].rate);
            EXPECT_EQ(movie.at("sound")[sound].at("channels"), facts.sounds[sound].channels);
            // ffprobe's "pcm_s24le" and the like; of one byte there is no order.
            EXPECT_EQ("pcm_" + movie.at("sound")[sound].at("sample_format").get<std::string>(),
                      facts.sounds[sound].codec);
        }
    }
}

TEST(EndToEndJson, OneRefusedMovieLeavesTheOthersTold) {
    const json report = ReportOn("refused/h264.mov tracks/timecode.mov missing.mov", 3);
    ASSERT_EQ(report.size(), 3u);
    EXPECT_EQ(report[0].at("status"), "refused");
    EXPECT_FALSE(report[0].at("importer").at("says").get<std::string>().empty());
    // What is known of it is told all the same.
    EXPECT_EQ(report[0].at("video")[0].at("format"), "avc1");
    EXPECT_EQ(report[1].at("status"), "imports");
    EXPECT_EQ(report[1].at("timecode").at("start"), "01:02:03:04");
    EXPECT_EQ(report[1].at("timecode").at("frames_per_second"), 25);
    EXPECT_EQ(report[2].at("status"), "unreadable");
    EXPECT_TRUE(report[2].at("video").empty());
    EXPECT_TRUE(report[2].at("sound").empty());
}

TEST(EndToEndJson, PathsMayHoldAnything) {
    const kvx_test::TempDirectory directory;
    const struct {
        std::string name;
        std::string told;
    } rows[] = {{"日本 \U0001F3AC.mov", "日本 \U0001F3AC.mov"},
                {"a \"b\" \\ c\n.mov", "a \"b\" \\ c\n.mov"},
                {"\xFF.mov", "\xEF\xBF\xBD.mov"}};
    for (const auto& row : rows) {
        std::filesystem::copy_file(kvx_test::MediaPath("tracks/timecode.mov"),
                                   directory.File(row.name));
        const json report = ReportOn("'" + directory.File(row.name) + "'", 0);
        ASSERT_EQ(report.size(), 1u);
        EXPECT_EQ(report[0].at("path"), directory.File(row.told));
        EXPECT_EQ(report[0].count("path_base64"), row.told == row.name ? 0u : 1u);
    }
}

}  // namespace
