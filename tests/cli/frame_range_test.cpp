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
        EXPECT_FALSE(ReadFrameRange(each.text, 10, range)) << each.text;
        EXPECT_EQ(range.first, each.first) << each.text;
        EXPECT_EQ(range.end, each.end) << each.text;
    }
}

kvx_cli::Problem ProblemOf(const std::string& text, int64_t count) {
    FrameRange range = {};
    return ReadFrameRange(text, count, range);
}

TEST(CliFrameRange, OtherFormsAreWrongUsage) {
    for (const char* text :
         {"3", "a:b", "1:2:3", "-1:2", "1: 2", "1.5:2", "+1:2", "99999999999999999999:", "0x1:2"}) {
        EXPECT_EQ(ProblemOf(text, 10).words,
                  "a range is A:B, the frames from A up to but without B, not '" +
                      std::string(text) + "'");
        EXPECT_EQ(ProblemOf(text, 10).code, kvx_cli::kExitUsage);
    }
    for (const char* text : {"4:4", "5:4"}) {
        EXPECT_EQ(ProblemOf(text, 10).words, "there is no frame in the range " + std::string(text));
        EXPECT_EQ(ProblemOf(text, 10).code, kvx_cli::kExitUsage);
    }
}

TEST(CliFrameRange, NamesFramesThatThereAre) {
    for (const char* text : {"10:", "9:11", "10:10", "11:12"}) {
        EXPECT_EQ(ProblemOf(text, 10).words, "the movie has 10 frames, numbered from 0") << text;
        EXPECT_EQ(ProblemOf(text, 10).code, kvx_cli::kExitRefused) << text;
    }
    EXPECT_EQ(ProblemOf("1:", 1).words, "the movie has 1 frame, numbered from 0");
    EXPECT_EQ(ProblemOf("", 0).words, "the movie has 0 frames, numbered from 0");
}

}  // namespace
