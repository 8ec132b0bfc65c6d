#include "cli/output/text.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using kvx_cli::DurationText;
using kvx_cli::FourCharText;
using kvx_cli::RateText;

TEST(CliText, WholeRatesStandAlone) {
    EXPECT_EQ(RateText(25, 1), "25");
    EXPECT_EQ(RateText(12800, 512), "25");
    EXPECT_EQ(RateText(600, 10), "60");
}

TEST(CliText, OtherRatesShowTheirFraction) {
    EXPECT_EQ(RateText(30000, 1001), "29.97 (30000/1001)");
    EXPECT_EQ(RateText(24000, 1001), "23.976 (24000/1001)");
    EXPECT_EQ(RateText(60000, 2002), "29.97 (30000/1001)");
    EXPECT_EQ(RateText(25, 2), "12.5 (25/2)");
    EXPECT_EQ(RateText(1, 1000000), "0 (1/1000000)");
}

TEST(CliText, RateOfNothingIsUnknown) {
    EXPECT_EQ(RateText(0, 1), "unknown");
    EXPECT_EQ(RateText(25, 0), "unknown");
    EXPECT_EQ(RateText(25, -1), "unknown");
}

TEST(CliText, DurationsAreInHoursMinutesSecondsAndMilliseconds) {
    EXPECT_EQ(DurationText(0, 25), "00:00:00.000");
    EXPECT_EQ(DurationText(5000, 2500), "00:00:02.000");
    EXPECT_EQ(DurationText(3723004, 1000), "01:02:03.004");
    EXPECT_EQ(DurationText(int64_t{3600} * 100 * 48000, 48000), "100:00:00.000");
}

TEST(CliText, DurationsAreRounded) {
    EXPECT_EQ(DurationText(2002, 30000), "00:00:00.067");
    EXPECT_EQ(DurationText(29999, 30000), "00:00:01.000");
    EXPECT_EQ(DurationText(INT64_MAX, INT64_MAX), "00:00:01.000");
}

TEST(CliText, DurationWithoutScaleIsUnknown) {
    EXPECT_EQ(DurationText(5, 0), "unknown");
    EXPECT_EQ(DurationText(-1, 25), "unknown");
}

TEST(CliText, CodesReadAsFourCharacters) {
    EXPECT_EQ(FourCharText(0x76323130), "v210");
    EXPECT_EQ(FourCharText(0x72617720), "raw ");
    EXPECT_EQ(FourCharText(0x000A41FF), "??A?");
}

}  // namespace
