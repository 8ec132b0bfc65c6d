// Every picture format with every kind of sound, in every layout, with the movie atom before and
// after the media: the formats that only ffmpeg writes, under QuickTime's data handler.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>

#include "end_to_end/movie_checks.h"

namespace {

using kvx_test::ReadRealMovie;

using Combination = std::tuple<std::string, std::string, std::string, std::string>;

std::string NameOf(const Combination& combination, const char* between) {
    return std::get<0>(combination) + between + std::get<1>(combination) + between +
           std::get<2>(combination) + between + std::get<3>(combination);
}

class EndToEndMatrix : public testing::TestWithParam<Combination> {};

TEST_P(EndToEndMatrix, AgreesWithFfmpeg) {
    kvx_test::ExpectSameInAll(ReadRealMovie("matrix/" + NameOf(GetParam(), "-") + ".mov"));
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndMatrix,
                         testing::Combine(testing::Values("v210", "2vuy", "r210"),
                                          testing::Values("u8", "s8", "s16be", "s16le", "s24be",
                                                          "s24le", "s32be", "s32le", "f32be",
                                                          "f32le", "f64be", "f64le"),
                                          testing::Values("mono", "stereo", "5.1"),
                                          testing::Values("first", "last")),
                         [](const testing::TestParamInfo<Combination>& info) {
                             std::string name = NameOf(info.param, "_");
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

}  // namespace
