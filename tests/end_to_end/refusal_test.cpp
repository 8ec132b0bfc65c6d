// Movies that must not be imported, and the words in which the module's log says so.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "end_to_end/module_under_test.h"
#include "end_to_end/real_movie.h"
#include "hostkit/clip.h"
#include "support/log_capture.h"

namespace {

using testing::HasSubstr;

struct Outcome {
    long status;
    std::string log;
};

Outcome OpenRefused(const std::string& name) {
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(),
                           kvx_test::MediaPath("refused/" + name + ".mov"));
    const kvx_test::LogCapture log;
    const long status = clip.Open();
    return {status, log.Text()};
}

TEST(EndToEndRefusal, FfmpegsOwnDataHandler) {
    const Outcome outcome = OpenRefused("url-handler");
    EXPECT_EQ(outcome.status, 12);
    // The whole trail, from the cause to the host.
    EXPECT_EQ(outcome.log,
              "SetFilePath: Unsupported data handler type 'dhlr' and subtype 'url '\n"
              "Init: SetFilePath returned 22\n"
              "Init: Track::Init() returned 22\n"
              "Create: qtTrack->Init() returned 22\n"
              "Init: Failed to create a new VideoTrack\n"
              "Create: Init() failed with 22\n"
              "xMoviePlayable: Movie::Create() failed\n"
              "OpenFile8: xMoviePlayable returned 12\n");
}

class EndToEndRefusalLayout : public testing::TestWithParam<std::string> {};

TEST_P(EndToEndRefusalLayout, FfmpegsBitmapLayout) {
    const Outcome outcome = OpenRefused("bitmap-layout-" + GetParam());
    EXPECT_EQ(outcome.status, 12);
    EXPECT_THAT(outcome.log, HasSubstr("Init: Unrecognised 5.1 channel layout tag 0x00010000\n"
                                       "Create: audioTrack->Init() returned 22\n"));
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndRefusalLayout,
                         testing::Values("s24le", "s32be", "f32le", "f64be"));

class EndToEndRefusalKind : public testing::TestWithParam<std::string> {};

// A movie that is read without a fault and is not playable is turned down without a word.
TEST_P(EndToEndRefusalKind, IsNotPlayable) {
    const Outcome outcome = OpenRefused(GetParam());
    EXPECT_EQ(outcome.status, imBadFile);
    EXPECT_EQ(outcome.log, "");
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndRefusalKind,
                         testing::Values("h264", "no-video", "two-videos", "mixed-sounds"),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(EndToEndRefusal, MovieThatIsCutOff) {
    const Outcome outcome = OpenRefused("cut-off");
    EXPECT_EQ(outcome.status, 12);
    EXPECT_THAT(outcome.log, HasSubstr("Init: Invalid atom length "));
    EXPECT_THAT(outcome.log, HasSubstr("Create: Init() failed with 1\n"));
}

}  // namespace
