#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "core/per_thread_buffer.h"
#include "support/leak_scope.h"
#include "support/log_capture.h"
#include "util/printer.h"

namespace Printer = KVX::Util::Printer;

namespace {

// Bytes of the ring that `print` takes.
template <typename Function>
long PieceOf(Function print) {
    long piece = 0;
    std::thread([&piece, print] {
        const kvx_test::LeakScope leaks;
        const char* before = KVX::Core::GetPerThreadBuffer(0);
        print();
        piece = KVX::Core::GetPerThreadBuffer(0) - before;
    }).join();
    return piece;
}

TEST(PrinterFormatters, TheFixedTexts) {
    EXPECT_STREQ(Printer::kUnknownString, "Unknown");
    EXPECT_STREQ(Printer::kMemoryErrorString, "<memory error>");
}

TEST(PrinterFormatters, PiecesOfTheRing) {
    EXPECT_EQ(PieceOf([] { Printer::Unknown(5); }), 64);
    EXPECT_EQ(PieceOf([] { Printer::Fcc(5); }), 32);
    EXPECT_EQ(PieceOf([] { Printer::FixedShort(5); }), 32);
    EXPECT_EQ(PieceOf([] { Printer::MatteColour({1, 2, 3}); }), 16);
    EXPECT_EQ(PieceOf([] { Printer::StringList(""); }), 1024);
    EXPECT_EQ(PieceOf([] { Printer::UTF16(nullptr); }), 0);
    EXPECT_EQ(PieceOf([] {
                  static const unsigned short text[] = {'a'};
                  Printer::UTF16(text, 1);
              }),
              1024);
    EXPECT_EQ(PieceOf([] { Printer::BundleName("/a/Name.bundle"); }), 5);
    EXPECT_EQ(PieceOf([] { Printer::BundleName("/a/Name"); }), 5);
    EXPECT_EQ(PieceOf([] { Printer::AsyncImport::Selector(0); }), 0);
    EXPECT_EQ(PieceOf([] { Printer::AsyncImport::Selector(5); }), 64);
}

TEST(PrinterUnknown, ShowsTheValueThreeWays) {
    EXPECT_STREQ(Printer::Unknown(0x6D6F6F76), "Unknown (1836019574, 0x6d6f6f76, 'moov')");
    EXPECT_STREQ(Printer::Unknown(-0x60606061L),
                 "Unknown (-1616928865, 0xffffffff9f9f9f9f, "
                 "'\x9f\x9f\x9f\x9f')");
}

TEST(PrinterUnknown, LongestValueFits) {
    EXPECT_STREQ(Printer::Unknown(LONG_MIN + 0x41414141),
                 "Unknown (-9223372035759980223, 0x8000000041414141, 'AAAA')");
}

// Characters of value 0 end the text where they stand.
TEST(PrinterUnknown, ZeroCharacterEndsTheText) {
    EXPECT_STREQ(Printer::Unknown(5), "Unknown (5, 0x00000005, '");
}

TEST(PrinterFcc, CodesAreQuotedAndNumbersAreNot) {
    EXPECT_STREQ(Printer::Fcc(0x6D6F6F76), "'moov'");
    EXPECT_STREQ(Printer::Fcc(0x70616C20), "'pal '");
    EXPECT_STREQ(Printer::Fcc(5), "0x5 (5)");
    EXPECT_STREQ(Printer::Fcc(0), "0x0 (0)");
    EXPECT_STREQ(Printer::Fcc(0xFFFF), "0xffff (65535)");
    // From 0x10000 up a value is a code, and here it starts with a character of value 0.
    EXPECT_STREQ(Printer::Fcc(0x10000), "'");
    EXPECT_STREQ(Printer::Fcc(static_cast<int>(0xA9A9A9A9u)), "'\xA9\xA9\xA9\xA9'");
}

TEST(PrinterFixedShort, BytesAroundADot) {
    EXPECT_STREQ(Printer::FixedShort(0x0102), "1.2");
    EXPECT_STREQ(Printer::FixedShort(0), "0.0");
    EXPECT_STREQ(Printer::FixedShort(0xFFFF), "255.255");
}

TEST(PrinterMatteColour, BytesInOrderUnderTheLabelsRBG) {
    EXPECT_STREQ(Printer::MatteColour({0x12, 0x34, 0x56}), "r12:b34:g56");
    EXPECT_STREQ(Printer::MatteColour({0, 1, 0xFF}), "r0:b1:gff");
    EXPECT_STREQ(Printer::MatteColour({0xFF, 0xFF, 0xFF}), "rff:bff:gff");
}

TEST(PrinterStringList, StringsAreQuotedAndBlankSeparated) {
    EXPECT_STREQ(Printer::StringList(""), "\"\"");
    EXPECT_STREQ(Printer::StringList("a\0"), "\"a\"");
    EXPECT_STREQ(Printer::StringList("a\0b\0"), "\"a\" \"b\"");
    EXPECT_STREQ(Printer::StringList("one two\0\"\0x\0"), "\"one two\" \"\"\" \"x\"");
}

TEST(PrinterStringList, ListThatFillsThePieceFits) {
    const std::string longest(1021, 'x');
    EXPECT_EQ(Printer::StringList((longest + '\0').c_str()), '"' + longest + '"');
}

TEST(PrinterStringList, LongerListIsCutAtThePiece) {
    const std::string tooLong(5000, 'x');
    EXPECT_EQ(Printer::StringList((tooLong + '\0').c_str()), '"' + std::string(1022, 'x'));
    const std::string half(600, 'y');
    EXPECT_EQ(Printer::StringList((half + '\0' + half + '\0' + half + '\0').c_str()),
              '"' + half + "\" \"" + std::string(1023 - 604, 'y'));
}

std::string Utf16(const std::vector<unsigned short>& text) {
    const kvx_test::LeakScope leaks;
    return Printer::UTF16(text.data(), static_cast<int>(text.size()));
}

TEST(PrinterUtf16, NullIsSaid) {
    EXPECT_STREQ(Printer::UTF16(nullptr, 5), "<NULL>");
}

TEST(PrinterUtf16, AsciiIsQuoted) {
    EXPECT_EQ(Utf16({'c', 'l', 'i', 'p', ' ', '1'}), "\"clip 1\"");
    const unsigned short text[] = {'a', 'b', 'c'};
    const kvx_test::LeakScope leaks;
    EXPECT_STREQ(Printer::UTF16(text), "\"\"");
    EXPECT_STREQ(Printer::UTF16(text, 2), "\"ab\"");
    EXPECT_STREQ(Printer::UTF16(text, -1), "\"\"");
}

TEST(PrinterUtf16, OtherCharactersAreQuestionMarks) {
    EXPECT_EQ(Utf16({'a', 0xE9, 0x7F, 0x80, 0x4E2D, 'z'}), "\"a?\x7F??z\"");
}

TEST(PrinterUtf16, TextIsCutAt1021Characters) {
    EXPECT_EQ(Utf16(std::vector<unsigned short>(1021, 'x')), '"' + std::string(1021, 'x') + '"');
    EXPECT_EQ(Utf16(std::vector<unsigned short>(1022, 'x')), '"' + std::string(1021, 'x') + '"');
    EXPECT_EQ(Utf16(std::vector<unsigned short>(9999, 0x3042)), '"' + std::string(1021, '?') + '"');
}

TEST(PrinterBundleName, LastPartUpToTheExtension) {
    const kvx_test::LogCapture log;
    EXPECT_STREQ(Printer::BundleName("/Library/Plug-ins/Name.bundle"), "Name");
    EXPECT_STREQ(Printer::BundleName("Name.bundle"), "Name");
    EXPECT_STREQ(Printer::BundleName("/Name.bundle/Contents"), "Contents");
    EXPECT_STREQ(Printer::BundleName("/Name.bundle/Other.bundle"), "Other");
    EXPECT_STREQ(Printer::BundleName("/a/Name"), "Name");
    EXPECT_STREQ(Printer::BundleName("Name"), "Name");
    EXPECT_STREQ(Printer::BundleName("/a/One.bundle.bundle"), "One");
    EXPECT_STREQ(Printer::BundleName("/a/One.bundled"), "One");
    EXPECT_STREQ(Printer::BundleName("/a/.bundle"), "");
    EXPECT_STREQ(Printer::BundleName("/a/Name.bundle/"), "");
    EXPECT_STREQ(Printer::BundleName(""), "");
    EXPECT_EQ(log.Raw(), "");
}

TEST(PrinterBundleName, NameBeyondTheRingIsLeftWhereItIs) {
    const std::string name = std::string(2048, 'n') + ".bundle";
    const std::string path = "/a/" + name;
    kvx_test::LogCapture log;
    EXPECT_EQ(Printer::BundleName(path.c_str()), path.c_str() + 3);
    EXPECT_EQ(log.Raw(), "Per-thread buffer of 2049 requested but limit is 2048\n");
    EXPECT_EQ(Printer::BundleName(("/a/" + std::string(2047, 'n') + ".bundle").c_str()),
              std::string(2047, 'n'));
}

TEST(PrinterRing, SixtyFourCodesAreAliveAtOnceAndTheNextTakesTheOldestPlace) {
    std::thread([] {
        std::vector<const char*> texts;
        for (int value = 0; value < 64; ++value) {
            texts.push_back(Printer::Fcc(value));
        }
        for (size_t value = 0; value < 64; ++value) {
            char expected[32];
            std::snprintf(expected, sizeof(expected), "0x%zx (%zu)", value, value);
            EXPECT_STREQ(texts[value], expected);
        }
        EXPECT_EQ(Printer::Fcc(1000), texts[0]);
        EXPECT_STREQ(texts[0], "0x3e8 (1000)");
    }).join();
}

}  // namespace
