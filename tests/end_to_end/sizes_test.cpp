// Sizes, rates, fields and pixel shapes as people use them.

#include <gtest/gtest.h>

#include <string>

#include "end_to_end/module_under_test.h"
#include "end_to_end/movie_checks.h"
#include "hostkit/clip.h"

namespace {

using kvx_test::ExpectSameInAll;
using kvx_test::ReadRealMovie;
using kvx_test::RealMovie;

class EndToEndSizes : public testing::TestWithParam<std::string> {};

TEST_P(EndToEndSizes, AgreesWithFfmpeg) {
    ExpectSameInAll(ReadRealMovie("sizes/" + GetParam() + ".mov"));
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndSizes,
                         testing::Values("1080p23.98-r210", "1080p25-v210", "1080p50-2vuy",
                                         "720p59.94-v210", "576p25-r210", "486p29.97-2vuy",
                                         "722-2vuy", "upper-coded-first", "lower-coded-first",
                                         "wide-pixels"),
                         [](const testing::TestParamInfo<std::string>& info) {
                             std::string name = info.param;
                             for (char& character : name) {
                                 character = isalnum(character) ? character : '_';
                             }
                             return name;
                         });

// The edit list counts in the movie's time scale, here milliseconds: the five frames at 29.97 last
// 166.83 ms, the sound 166.10 ms, and both edits 167.
TEST(EndToEndSizesRounded, LengthsAreThoseOfTheEditList) {
    const RealMovie movie = ReadRealMovie("sizes/rounded-length.mov");
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), movie.path);
    ASSERT_EQ(clip.Open(), imNoErr);
    const std::vector<imFileInfoRec8> streams = clip.Streams();
    ASSERT_EQ(streams.size(), 1u);
    EXPECT_EQ(movie.videos[0].duration, 5005);
    EXPECT_EQ(int32_t{streams[0].videoDuration}, 5010);
    EXPECT_EQ(movie.sounds[0].duration, 7973);
    EXPECT_EQ(int64_t{streams[0].audioDuration}, 8016);
    kvx_test::ExpectSameSound(movie);
}

}  // namespace
