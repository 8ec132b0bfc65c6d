#include "cli/picture/frame_range.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using kvx_cli::FrameRange;
using kvx_cli::FramesOf;
using kvx_cli::Problem;

// A movie whose frame N has the timecode 01:00:00:N, and no others.
Problem FindHere(const std::string& timecode, int64_t& frame) {
    frame = timecode.substr(0, 9) == "01:00:00:" ? std::stoi(timecode.substr(9)) : -1;
    return {};
}

Problem ReadRanges(const std::string& text, int64_t count, std::vector<FrameRange>& ranges) {
    return kvx_cli::ReadFrameRanges(text, count, FindHere, ranges);
}

Problem ProblemOf(const std::string& text, int64_t count) {
    std::vector<FrameRange> ranges;
    return ReadRanges(text, count, ranges);
}

std::vector<int64_t> Frames(const std::string& text, int64_t count, int64_t step = 1) {
    std::vector<FrameRange> ranges;
    EXPECT_EQ(ReadRanges(text, count, ranges).words, "") << text;
    return FramesOf(ranges, step);
}

using Numbers = std::vector<int64_t>;

TEST(CliFrameRange, IsHalfOpenAndEitherNumberMayBeLeftOut) {
    for (const char* text : {"", ":", "0:", ":5", "0:5", "..", "01:00:00:00..01:00:00:05"}) {
        EXPECT_EQ(Frames(text, 5), (Numbers{0, 1, 2, 3, 4})) << text;
    }
    EXPECT_EQ(Frames("3:", 5), (Numbers{3, 4}));
    EXPECT_EQ(Frames(":2", 5), (Numbers{0, 1}));
    EXPECT_EQ(Frames("4:5", 5), (Numbers{4}));
    EXPECT_EQ(Frames("01:00:00:03..", 5), (Numbers{3, 4}));
    EXPECT_EQ(Frames("..01:00:00:02", 5), (Numbers{0, 1}));
}

TEST(CliFrameRange, SeveralComeInTheirOrderAndEachFrameOnce) {
    EXPECT_EQ(Frames("6:8,1:3,01:00:00:09..", 10), (Numbers{6, 7, 1, 2, 9}));
    EXPECT_EQ(Frames("2:6,4:8,0:3", 10), (Numbers{2, 3, 4, 5, 6, 7, 0, 1}));
}

TEST(CliFrameRange, StepsAreCountedFromEachRangesFirstFrame) {
    EXPECT_EQ(Frames("", 10, 4), (Numbers{0, 4, 8}));
    EXPECT_EQ(Frames("1:6,7:10", 10, 2), (Numbers{1, 3, 5, 7, 9}));
    EXPECT_EQ(Frames("0:6,1:8", 10, 3), (Numbers{0, 3, 1, 4, 7}));
    EXPECT_EQ(Frames("0:10,2:9", 10, 3), (Numbers{0, 3, 6, 9, 2, 5, 8}));
    EXPECT_EQ(Frames("0:10,3:9", 10, 3), (Numbers{0, 3, 6, 9}));
    EXPECT_EQ(Frames("2:4", 10, 2000000000), (Numbers{2}));
}

TEST(CliFrameRange, OtherFormsAreWrongUsage) {
    for (const char* text :
         {"3", "a:b", "1:2:3", "-1:2", "1: 2", "1.5:2", "+1:2", "99999999999999999999:", "0x1:2",
          "1..2", "01:00:00:00", "01:00:00:00...", "1:00:00:00..", "01-00-00-00.."}) {
        EXPECT_EQ(
            ProblemOf(text, 10).words,
            "a range is A:B, the frames from A up to but without B, or the same by timecodes, "
            "TC..TC, not '" +
                std::string(text) + "'");
        EXPECT_EQ(ProblemOf(text, 10).code, kvx_cli::kExitUsage);
    }
    for (const char* text : {"4:4", "5:4", "01:00:00:04..01:00:00:04"}) {
        EXPECT_EQ(ProblemOf(text, 10).words, "there is no frame in the range " + std::string(text));
        EXPECT_EQ(ProblemOf(text, 10).code, kvx_cli::kExitUsage);
    }
    for (const char* text : {"1:2,", ",1:2", "1:2,,3:4", "1:2;3:4"}) {
        EXPECT_EQ(ProblemOf(text, 10).code, kvx_cli::kExitUsage) << text;
    }
}

TEST(CliFrameRange, NamesFramesThatThereAre) {
    for (const char* text : {"10:", "9:11", "10:10", "11:12", "1:2,10:", "01:00:00:10.."}) {
        EXPECT_EQ(ProblemOf(text, 10).words, "the movie has 10 frames, numbered from 0") << text;
        EXPECT_EQ(ProblemOf(text, 10).code, kvx_cli::kExitRefused) << text;
    }
    EXPECT_EQ(ProblemOf("1:", 1).words, "the movie has 1 frame, numbered from 0");
    EXPECT_EQ(ProblemOf("", 0).words, "");
    EXPECT_EQ(ProblemOf("02:00:00:00..", 10).words,
              "none of its frames has the timecode 02:00:00:00");
    EXPECT_EQ(ProblemOf("02:00:00:00..", 10).code, kvx_cli::kExitRefused);
}

}  // namespace
