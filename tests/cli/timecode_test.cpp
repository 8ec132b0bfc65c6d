#include "cli/movie/timecode.h"

#include <gtest/gtest.h>

namespace {

using kvx_cli::FrameTimecode;
using kvx_cli::TimecodeStart;

TEST(CliFrameTimecode, CountsFromTheStart) {
    const TimecodeStart start = {"01:00:00:00", 25, 1};
    EXPECT_EQ(FrameTimecode(start, 0, 25, 1), "01:00:00:00");
    EXPECT_EQ(FrameTimecode(start, 26, 600, 24), "01:00:01:01");
    EXPECT_EQ(FrameTimecode({"10:11:12:13", 24000, 1001}, 11, 24000, 1001), "10:11:13:00");
}

// The first two labels of a minute are left out at 29.97 and the first four at 59.94, but for every
// tenth minute.
TEST(CliFrameTimecode, LeavesOutTheLabelsOfDropFrame) {
    const TimecodeStart start = {"00;00;59;29", 30000, 1001};
    EXPECT_EQ(FrameTimecode(start, 1, 30000, 1001), "00;01;00;02");
    EXPECT_EQ(FrameTimecode({"00;09;59;29", 30000, 1001}, 1, 30000, 1001), "00;10;00;00");
    EXPECT_EQ(FrameTimecode({"00;00;59;59", 60000, 1001}, 1, 60000, 1001), "00;01;00;04");
    EXPECT_EQ(FrameTimecode({"00:00:59:29", 30000, 1001}, 1, 30000, 1001), "00:01:00:00");
}

TEST(CliFrameTimecode, BeginsAgainAfterADay) {
    EXPECT_EQ(FrameTimecode({"23:59:59:24", 25, 1}, 1, 25, 1), "00:00:00:00");
    EXPECT_EQ(FrameTimecode({"23:59:59:24", 25, 1}, 1 + 24 * 3600 * 25, 25, 1), "00:00:00:00");
}

TEST(CliFrameTimecode, CountsAtTheCountersOwnRate) {
    EXPECT_EQ(FrameTimecode({"01:00:00:23", 25, 1}, 5, 50, 1), "01:00:01:00");
}

TEST(CliFrameTimecode, IsEmptyWhereNothingCounts) {
    EXPECT_EQ(FrameTimecode({"", 25, 1}, 3, 25, 1), "");
    EXPECT_EQ(FrameTimecode({"01:00:00:00", 0, 0}, 3, 25, 1), "");
    EXPECT_EQ(FrameTimecode({"01:00:00:00", 25, 1}, 3, 25, 2), "");
}

}  // namespace
