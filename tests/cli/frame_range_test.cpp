#include "cli/picture/frame_range.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kvx_cli::FrameRange;
using kvx_cli::ReadFrameRange;

struct Case {
    const char* text;
    int64_t first;
    int64_t end;
};

TEST(CliFrameRange, IsHalfOpenAndEitherNumberMayBeLeftOut) {
    for (const Case& each : {Case{"", 0, 10}, Case{":", 0, 10}, Case{"3:", 3, 10}, Case{":4", 0, 4},
                             Case{"2:5", 2, 5}, Case{"9:10", 9, 10}}) {
        FrameRange range = {};
        std::string problem;
        EXPECT_TRUE(ReadFrameRange(each.text, 10, range, problem)) << each.text << problem;
        EXPECT_EQ(range.first, each.first) << each.text;
        EXPECT_EQ(range.end, each.end) << each.text;
    }
}

std::string Problem(const std::string& text, int64_t count) {
    FrameRange range = {};
    std::string problem;
    return ReadFrameRange(text, count, range, problem) ? "none" : problem;
}

TEST(CliFrameRange, OtherFormsAreRefused) {
    for (const char* text :
         {"3", "a:b", "1:2:3", "-1:2", "1: 2", "1.5:2", "+1:2", "99999999999999999999:", "0x1:2"}) {
        EXPECT_EQ(Problem(text, 10), "a range is A:B, the frames from A up to but without B")
            << text;
    }
}

TEST(CliFrameRange, NamesFramesThatThereAre) {
    EXPECT_EQ(Problem("4:4", 10), "there is no frame in the range");
    EXPECT_EQ(Problem("5:4", 10), "there is no frame in the range");
    EXPECT_EQ(Problem("10:", 10), "there is no frame in the range");
    EXPECT_EQ(Problem("", 0), "there is no frame in the range");
    EXPECT_EQ(Problem("9:11", 10), "the movie has 10 frames, numbered from 0");
}

}  // namespace
