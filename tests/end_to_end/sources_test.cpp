// Encoders whose movies must import as they come.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "end_to_end/module_under_test.h"
#include "end_to_end/movie_checks.h"
#include "hostkit/clip.h"
#include "support/log_capture.h"

namespace {

using kvx_test::ExpectSameInAll;
using kvx_test::ReadRealMovie;

class EndToEndSourcesGStreamer
    : public testing::TestWithParam<std::tuple<std::string, std::string, std::string>> {};

TEST_P(EndToEndSourcesGStreamer, ImportsAsItComes) {
    const auto& [codec, kind, channels] = GetParam();
    ExpectSameInAll(ReadRealMovie("gstreamer/" + codec + "-" + kind + "-" + channels + ".mov"));
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndSourcesGStreamer,
                         testing::Combine(testing::Values("v210", "2vuy"),
                                          testing::Values("u8", "s8", "s16be", "s16le", "s24be",
                                                          "s24le", "s32be", "s32le"),
                                          testing::Values("1", "2", "6")));

class EndToEndSourcesLibquicktime
    : public testing::TestWithParam<std::tuple<std::string, std::string>> {};

TEST_P(EndToEndSourcesLibquicktime, ImportsAsItComes) {
    const auto& [codec, kind] = GetParam();
    const std::string name = "libquicktime/" + codec + "-" + kind + ".mov";
#ifdef __APPLE__
    if (!std::filesystem::exists(kvx_test::MediaPath(name))) {
        GTEST_SKIP() << "no libquicktime on this system";
    }
#endif
    ExpectSameInAll(ReadRealMovie(name));
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndSourcesLibquicktime,
                         testing::Combine(testing::Values("v210", "2vuy"),
                                          testing::Values("rawaudio", "twos", "sowt", "in24",
                                                          "in32", "fl32", "fl64")));

// "raw " beyond 8 bits is taken for unsigned, which opens and is not delivered.
TEST(EndToEndSources, LibquicktimesRawOf16BitsIsNotDelivered) {
    const std::string path = kvx_test::MediaPath("odd/16-bit-raw.mov");
#ifdef __APPLE__
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "no libquicktime on this system";
    }
#endif
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), path);
    ASSERT_EQ(clip.Open(), imNoErr);
    std::vector<float> plane(100);
    std::vector<float*> planes(2, plane.data());
    const kvx_test::LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.data()), 22);
    EXPECT_EQ(log.Text(), "WriteSamples: Unsigned 16 bit integer audio not supported\n");
}

}  // namespace
