#include <gtest/gtest.h>

#include <random>

#include "timecode/counting_model.h"
#include "timecode/ctimecode.h"

namespace {

using namespace KVX::Util;
using kvx_test::Counting;
using kvx_test::Label;

CTimeCode Frame(TimeCodeFormat format, long long frame) {
    return CTimeCode::FromFrame(format, frame, tcfNone);
}

CTimeCode Numbers(TimeCodeFormat format, unsigned int hours, unsigned int minutes,
                  unsigned int seconds, unsigned int frames) {
    return CTimeCode::FromNumbers(format, hours, minutes, seconds, frames);
}

TEST(CTimeCodeCompare, OneFormatWithoutWrapComparesThePackedFields) {
    EXPECT_EQ(Numbers(tcf25, 1, 2, 3, 4).CompareTimeCodes(Numbers(tcf25, 1, 2, 3, 4), false), 0);
    EXPECT_EQ(Numbers(tcf25, 1, 2, 3, 5).CompareTimeCodes(Numbers(tcf25, 1, 2, 3, 4), false), 1);
    EXPECT_EQ(Numbers(tcf25, 1, 2, 3, 4).CompareTimeCodes(Numbers(tcf25, 1, 2, 4, 0), false), -252);
    EXPECT_EQ(Numbers(tcf25, 23, 59, 59, 24).CompareTimeCodes(CTimeCode(tcf25), false), 0x173B3B18);
}

TEST(CTimeCodeCompare, WrapSignsTheShorterWayAndKeepsTheMagnitude) {
    const CTimeCode last = Numbers(tcf25, 23, 59, 59, 24);
    const CTimeCode first = Numbers(tcf25, 0, 0, 0, 0);
    EXPECT_EQ(last.CompareTimeCodes(first, true), -2159999);
    EXPECT_EQ(first.CompareTimeCodes(last, true), 2159999);
    EXPECT_EQ(Frame(tcf25, 1080000).CompareTimeCodes(first, true), 1080000);
    EXPECT_EQ(Frame(tcf25, 1080001).CompareTimeCodes(first, true), -1080001);
    EXPECT_EQ(first.CompareTimeCodes(Frame(tcf25, 1080000), true), -1080000);
    EXPECT_EQ(first.CompareTimeCodes(Frame(tcf25, 1080001), true), 1080001);
    EXPECT_EQ(Frame(tcf2997Drop, 1294704).CompareTimeCodes(CTimeCode(tcf2997Drop), true), 1294704);
    EXPECT_EQ(Frame(tcf2997Drop, 1294705).CompareTimeCodes(CTimeCode(tcf2997Drop), true), -1294705);
}

TEST(CTimeCodeCompare, FrameBeginsWithinAFrameOfAnotherRate) {
    // Frame 3 of 24 is frames 6 and 7 of 50: 3 * 50 / 24 = 6.25 and 4 * 50 / 24 = 8.33.
    for (const bool wrap : {false, true}) {
        EXPECT_GT(Frame(tcf24, 3).CompareTimeCodes(Frame(tcf50, 5), wrap), 0);
        EXPECT_EQ(Frame(tcf24, 3).CompareTimeCodes(Frame(tcf50, 6), wrap), 0);
        EXPECT_EQ(Frame(tcf24, 3).CompareTimeCodes(Frame(tcf50, 7), wrap), 0);
        EXPECT_LT(Frame(tcf24, 3).CompareTimeCodes(Frame(tcf50, 8), wrap), 0);
    }
}

TEST(CTimeCodeCompare, DropModesCompareByLabel) {
    EXPECT_EQ(Numbers(tcf2997Drop, 1, 0, 0, 0).CompareTimeCodes(Numbers(tcf2997, 1, 0, 0, 0), true),
              0);
    EXPECT_EQ(Numbers(tcf2997Drop, 1, 0, 0, 1).CompareTimeCodes(Numbers(tcf2997, 1, 0, 0, 0), true),
              107893 - 108000);
}

int Sign(long long value) {
    return (value > 0) - (value < 0);
}

// Random pairs of moments in all pairs of formats.
TEST(CTimeCodeCompare, AgreesWithThePlainRules) {
    std::mt19937 random(7);
    for (const Counting& a : kvx_test::kCountings) {
        for (const Counting& b : kvx_test::kCountings) {
            SCOPED_TRACE(testing::Message() << a.format << " with " << b.format);
            for (int round = 0; round < 2000; ++round) {
                const int frameA =
                    static_cast<int>(random() % static_cast<unsigned>(kvx_test::FramesInDay(a)));
                // Half of the pairs lie close to one another, where the rules differ.
                const long long near = static_cast<long long>(frameA) * b.tps / a.tps +
                                       static_cast<int>(random() % 7) - 3;
                const int dayB = kvx_test::FramesInDay(b);
                const int frameB =
                    static_cast<int>(round % 2 == 0 ? random() % static_cast<unsigned>(dayB)
                                                    : ((near % dayB) + dayB) % dayB);
                const Label labelA = kvx_test::LabelOf(a, frameA);
                const Label labelB = kvx_test::LabelOf(b, frameB);

                const int secondA = (labelA.hours * 60 + labelA.minutes) * 60 + labelA.seconds;
                const int secondB = (labelB.hours * 60 + labelB.minutes) * 60 + labelB.seconds;
                const int begin = labelA.frames * b.tps / a.tps;
                const int end = (labelA.frames + 1) * b.tps / a.tps;
                const bool equal =
                    secondA == secondB && labelB.frames >= begin &&
                    (labelB.frames < end || (a.format == b.format && begin == labelB.frames));

                long long apart = kvx_test::ConvertCount(frameA, a, b, false) - frameB;
                if (apart > dayB / 2 || apart < -(dayB / 2)) {
                    apart = -apart;
                }
                const int plainSign =
                    secondA != secondB ? Sign(secondA - secondB) : Sign(begin - labelB.frames);

                const CTimeCode timeA = Frame(a.format, frameA);
                const CTimeCode timeB = Frame(b.format, frameB);
                ASSERT_EQ(timeA.CompareTimeCodes(timeB, true), equal ? 0 : apart);
                ASSERT_EQ(Sign(timeA.CompareTimeCodes(timeB, false)), equal ? 0 : plainSign);
                ASSERT_EQ(timeA == timeB, equal || plainSign == 0);
                ASSERT_EQ(timeA != timeB, !equal && plainSign != 0);
                ASSERT_EQ(timeA < timeB, !equal && plainSign < 0);
                ASSERT_EQ(timeA > timeB, !equal && plainSign > 0);
            }
        }
    }
}

TEST(CTimeCodeCompare, AnInvalidValueEqualsEverything) {
    const CTimeCode invalid(tcfNone);
    const CTimeCode valid = Numbers(tcf25, 1, 2, 3, 4);
    for (const bool invalidFirst : {false, true}) {
        const CTimeCode& a = invalidFirst ? invalid : valid;
        const CTimeCode& b = invalidFirst ? valid : invalid;
        EXPECT_TRUE(a == b);
        EXPECT_FALSE(a != b);
        EXPECT_FALSE(a < b);
        EXPECT_FALSE(a > b);
    }
}

}  // namespace
