// Encoders whose movies must import as they come.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <tuple>

#include "end_to_end/movie_checks.h"

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

}  // namespace
