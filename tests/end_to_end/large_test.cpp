// Movies of more than 4 GiB: extended atom sizes, 64-bit chunk offsets.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "end_to_end/movie_checks.h"

namespace {

using kvx_test::RealMovie;

constexpr int64_t kFourGiB = int64_t{1} << 32;

class EndToEndLarge : public testing::TestWithParam<std::string> {};

TEST_P(EndToEndLarge, AgreesWithFfmpegOnBothSidesOfTheHole) {
    const RealMovie movie = kvx_test::ReadRealMovie("large/moov-" + GetParam() + ".mov");
    struct stat status = {};
    ASSERT_EQ(stat(movie.path.c_str(), &status), 0);
    EXPECT_GT(status.st_size, kFourGiB);
    EXPECT_LT(status.st_blocks * 512, 1 << 24) << "not sparse";
    EXPECT_LT(movie.videos[0].packets.front().offset, kFourGiB);
    EXPECT_GT(movie.videos[0].packets.back().offset, kFourGiB);
    EXPECT_LT(movie.sounds[0].packets.front().offset, kFourGiB);
    EXPECT_GT(movie.sounds[0].packets.back().offset, kFourGiB);
    kvx_test::ExpectSameInAll(movie);
}

INSTANTIATE_TEST_SUITE_P(All, EndToEndLarge, testing::Values("first", "last"),
                         [](const auto& info) { return "Moov" + info.param; });

}  // namespace
