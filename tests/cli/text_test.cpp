#include "cli/output/text.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using kvx_cli::DurationText;
using kvx_cli::FourCharText;
using kvx_cli::Printable;
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

TEST(CliText, NamesArePrintedWithoutWhatATerminalObeys) {
    EXPECT_EQ(Printable("a movie.mov"), "a movie.mov");
    EXPECT_EQ(Printable("a\nb\tc\r\x1B[2J"), "a\\x0Ab\\x09c\\x0D\\x1B[2J");
    EXPECT_EQ(Printable(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(Printable("\x7F"), "\\x7F");
    EXPECT_EQ(Printable("~ "), "~ ");
}

// U+009B is what ESC [ is in one character; a terminal that is set to 8 bits takes the byte so too.
TEST(CliText, NamesArePrintedWithoutControlCharactersOfEightBits) {
    EXPECT_EQ(Printable("\xC2\x80 \xC2\x9B"
                        "2J \xC2\x9F"),
              "\\x80 \\x9B2J \\x9F");
    EXPECT_EQ(Printable("\x9B"
                        "2J"),
              "\\x9B2J");
}

TEST(CliText, NamesKeepTheirLetters) {
    EXPECT_EQ(Printable("\xC2\xA0\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xAC"),
              "\xC2\xA0\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xAC");
    EXPECT_EQ(Printable("\xE9t\xE9"), "\xE9t\xE9");  // what is no UTF-8
}

}  // namespace
