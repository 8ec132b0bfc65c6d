// The start timecode that an encoder was asked to write, at every rate that people count in.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "end_to_end/module_under_test.h"
#include "end_to_end/real_movie.h"
#include "hostkit/clip.h"
#include "hostkit/record_block.h"

namespace {

struct StartOf {
    const char* movie;
    const char* text;  // drop-frame has its separator in all three places
};

class EndToEndTimecode : public testing::TestWithParam<StartOf> {};

TEST_P(EndToEndTimecode, IsTheOneAskedFor) {
    kvx_hostkit::Clip clip(
        kvx_test::ModuleUnderTest(),
        kvx_test::MediaPath(std::string("timecodes/") + GetParam().movie + ".mov"));
    ASSERT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::RecordBlock<imTimeInfoRec8> info;
    ASSERT_EQ(clip.GetTimeInfo(info.Get()), imNoErr);
    EXPECT_STREQ(info->originalTime, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Rates, EndToEndTimecode,
    testing::Values(StartOf{"23.976", "01:00:00:00"}, StartOf{"24", "10:11:12:13"},
                    StartOf{"25", "23:59:59:24"}, StartOf{"29.97-non-drop", "00:01:00:00"},
                    StartOf{"29.97-drop", "00;10;59;29"}, StartOf{"30", "01:02:03:29"},
                    StartOf{"50", "05:06:07:49"}, StartOf{"59.94-non-drop", "12:34:56:58"},
                    StartOf{"59.94-drop", "12;34;56;58"}, StartOf{"60", "00:00:00:59"}));

TEST(EndToEndTimecodeNone, AnswersThatThereIsNone) {
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), kvx_test::MediaPath("tracks/no-sound.mov"));
    ASSERT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::RecordBlock<imTimeInfoRec8> info;
    EXPECT_EQ(clip.GetTimeInfo(info.Get()), imNoTimecode);
}

}  // namespace
