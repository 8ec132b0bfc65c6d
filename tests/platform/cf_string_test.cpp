// What CoreFoundation promises of CFString, wherever the strings come from.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/core_foundation.h"
#include "support/cf_owner.h"

namespace {

using String = kvx_test::CFOwner<CFStringRef>;

String FromUnits(const std::u16string& units) {
    return String(CFStringCreateWithCharacters(kCFAllocatorDefault,
                                               reinterpret_cast<const UniChar*>(units.data()),
                                               static_cast<CFIndex>(units.size())));
}

String FromBytes(const std::string& bytes, CFStringEncoding encoding = kCFStringEncodingUTF8,
                 bool isExternal = false) {
    return String(
        CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                static_cast<CFIndex>(bytes.size()), encoding, isExternal));
}

std::u16string Units(CFStringRef string) {
    std::u16string units(static_cast<size_t>(CFStringGetLength(string)), u'\0');
    CFStringGetCharacters(string, CFRangeMake(0, CFStringGetLength(string)),
                          reinterpret_cast<UniChar*>(units.data()));
    return units;
}

struct Pair {
    const char* name;
    std::string utf8;
    std::u16string utf16;
};

const std::vector<Pair>& Pairs() {
    static const std::vector<Pair> pairs = {
        {"empty", "", u""},
        {"ascii", "/Volumes/Media/clip.mov", u"/Volumes/Media/clip.mov"},
        {"two bytes", "\xC3\xA9\xDF\xBF", u"\u00E9\u07FF"},
        {"first and last of three", "\xE0\xA0\x80\xEF\xBF\xBF", u"\u0800\uFFFF"},
        {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000"},
        {"Japanese", "\xE6\x98\xA0\xE5\x83\x8F", u"\u6620\u50CF"},
        {"emoji", "\xF0\x9F\x98\x80", u"\xD83D\xDE00"},
        {"first and last of four", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xDBFF\xDFFF"},
        {"embedded NUL", std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
    };
    return pairs;
}

TEST(CFString, DecodesUtf8) {
    for (const Pair& pair : Pairs()) {
        const String string = FromBytes(pair.utf8);
        ASSERT_NE(string.Get(), nullptr) << pair.name;
        EXPECT_EQ(CFStringGetLength(string.Get()), static_cast<CFIndex>(pair.utf16.size()))
            << pair.name;
        EXPECT_EQ(Units(string.Get()), pair.utf16) << pair.name;
    }
}

TEST(CFString, EncodesUtf8) {
    for (const Pair& pair : Pairs()) {
        const String string = FromUnits(pair.utf16);
        const CFIndex length = static_cast<CFIndex>(pair.utf8.size());
        std::string buffer(pair.utf8.size() + 1, '#');
        EXPECT_TRUE(
            CFStringGetCString(string.Get(), buffer.data(), length + 1, kCFStringEncodingUTF8))
            << pair.name;
        EXPECT_EQ(buffer, pair.utf8 + '\0') << pair.name;
        EXPECT_FALSE(CFStringGetCString(string.Get(), buffer.data(), length, kCFStringEncodingUTF8))
            << pair.name << ": no room for the NUL";
    }
}

TEST(CFString, RefusesMalformedUtf8) {
    const std::string malformed[] = {
        "A\xC3",             // ends within a character
        "\xE2\x82",          //
        "\xF0\x9F\x98",      //
        "\x80",              // starts within a character
        "\xC3(",             // not a trailing byte
        "\xE2\x82(",         //
        "\xC0\xAF",          // longer than needed
        "\xC1\xBF",          //
        "\xE0\x9F\xBF",      //
        "\xF0\x8F\xBF\xBF",  //
        "\xED\xA0\x80",      // a surrogate
        "\xED\xBF\xBF",      //
        "\xF4\x90\x80\x80",  // above U+10FFFF
        "\xF5\x80\x80\x80",  //
        "\xF8\x88\x80\x80\x80",
        "\xFF",
    };
    for (const std::string& bytes : malformed) {
        EXPECT_EQ(FromBytes(bytes).Get(), nullptr) << testing::PrintToString(bytes);
        EXPECT_EQ(FromBytes("clip" + bytes).Get(), nullptr) << testing::PrintToString(bytes);
    }
}

TEST(CFString, AsciiHasSevenBits) {
    EXPECT_EQ(Units(FromBytes("clip\x7F", kCFStringEncodingASCII).Get()), u"clip\x7F");
    EXPECT_EQ(FromBytes("\xC3\xA9", kCFStringEncodingASCII).Get(), nullptr);
    char buffer[8];
    EXPECT_TRUE(CFStringGetCString(FromUnits(u"clip").Get(), buffer, sizeof(buffer),
                                   kCFStringEncodingASCII));
    EXPECT_STREQ(buffer, "clip");
    EXPECT_FALSE(CFStringGetCString(FromUnits(u"cl\u00EFp").Get(), buffer, sizeof(buffer),
                                    kCFStringEncodingASCII));
}

TEST(CFString, UnknownEncodingConvertsNothing) {
    constexpr CFStringEncoding kUnknown = 0x7F7F;
    char buffer[8];
    EXPECT_EQ(FromBytes("clip", kUnknown).Get(), nullptr);
    EXPECT_FALSE(CFStringGetCString(FromUnits(u"clip").Get(), buffer, sizeof(buffer), kUnknown));
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(4, kUnknown), kCFNotFound);
}

TEST(CFString, ByteOrderMarkIsSkippedOnlyInAnExternalRepresentation) {
    const std::string marked = "\xEF\xBB\xBFok";
    EXPECT_EQ(Units(FromBytes(marked, kCFStringEncodingUTF8, true).Get()), u"ok");
    EXPECT_EQ(Units(FromBytes(marked, kCFStringEncodingUTF8, false).Get()), u"\uFEFFok");
}

TEST(CFString, UnpairedSurrogatesAreKeptButHaveNoUtf8) {
    const std::u16string unpaired[] = {std::u16string(1, 0xD83D), std::u16string(1, 0xDE00),
                                       std::u16string{0xDE00, 0xD83D}, std::u16string{0xD83D, u'a'},
                                       std::u16string{0xD83D, 0xD83D}};
    for (const std::u16string& units : unpaired) {
        const String string = FromUnits(units);
        ASSERT_NE(string.Get(), nullptr);
        EXPECT_EQ(Units(string.Get()), units);
        char buffer[64];
        EXPECT_FALSE(
            CFStringGetCString(string.Get(), buffer, sizeof(buffer), kCFStringEncodingUTF8));
    }
}

TEST(CFString, MaximumSizeIsThreeBytesForEachUnitOfUtf8) {
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(0, kCFStringEncodingUTF8), 0);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(7, kCFStringEncodingUTF8), 21);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(LONG_MAX, kCFStringEncodingUTF8), kCFNotFound);
    EXPECT_EQ(CFStringGetMaximumSizeForEncoding(7, kCFStringEncodingASCII), 7);
}

TEST(CFString, GetCStringWantsABuffer) {
    char buffer[1] = {'#'};
    EXPECT_FALSE(CFStringGetCString(FromUnits(u"").Get(), buffer, 0, kCFStringEncodingUTF8));
    EXPECT_FALSE(CFStringGetCString(FromUnits(u"").Get(), nullptr, 9, kCFStringEncodingUTF8));
    EXPECT_EQ(buffer[0], '#');
    EXPECT_TRUE(CFStringGetCString(FromUnits(u"").Get(), buffer, 1, kCFStringEncodingUTF8));
    EXPECT_EQ(buffer[0], '\0');
}

struct Bytes {
    CFIndex converted;
    CFIndex used;
    std::string text;
};

Bytes GetBytes(const String& string, CFRange range, CFStringEncoding encoding, char lossByte,
               CFIndex maximum) {
    std::string buffer(static_cast<size_t>(maximum) + 4, '#');
    Bytes bytes = {};
    bytes.converted =
        CFStringGetBytes(string.Get(), range, encoding, static_cast<UInt8>(lossByte), false,
                         reinterpret_cast<UInt8*>(buffer.data()), maximum, &bytes.used);
    EXPECT_EQ(buffer.substr(static_cast<size_t>(bytes.used)),
              std::string(buffer.size() - static_cast<size_t>(bytes.used), '#'));
    bytes.text = buffer.substr(0, static_cast<size_t>(bytes.used));
    return bytes;
}

TEST(CFString, GetBytesPutsTheLossByteForEachUnitThatAsciiLacks) {
    const String string = FromUnits(u"caf\u00E9 \u6620 \xD83D\xDE00.");
    const Bytes bytes = GetBytes(string, CFRangeMake(0, 10), kCFStringEncodingASCII, '?', 100);
    EXPECT_EQ(bytes.text, "caf? ? ??.");
    EXPECT_EQ(bytes.converted, 10);
}

TEST(CFString, GetBytesWithoutLossByteStopsAtWhatTheEncodingLacks) {
    const Bytes ascii =
        GetBytes(FromUnits(u"caf\u00E9s"), CFRangeMake(0, 5), kCFStringEncodingASCII, 0, 100);
    EXPECT_EQ(ascii.text, "caf");
    EXPECT_EQ(ascii.converted, 3);
    const Bytes utf8 =
        GetBytes(FromUnits({u'a', 0xD83D, u'b'}), CFRangeMake(0, 3), kCFStringEncodingUTF8, 0, 100);
    EXPECT_EQ(utf8.text, "a");
    EXPECT_EQ(utf8.converted, 1);
    EXPECT_EQ(GetBytes(FromUnits({u'a', 0xD83D, u'b'}), CFRangeMake(0, 3), kCFStringEncodingUTF8,
                       '?', 100)
                  .text,
              "a?b");
}

TEST(CFString, GetBytesStopsBeforeTheCharacterThatDoesNotFit) {
    const String string = FromUnits(u"a\u6620\xD83D\xDE00z");
    const struct {
        CFIndex maximum;
        CFIndex converted;
        CFIndex used;
    } cases[] = {{0, 0, 0}, {1, 1, 1}, {3, 1, 1}, {4, 2, 4}, {7, 2, 4}, {8, 4, 8}, {9, 5, 9}};
    for (const auto& expected : cases) {
        const Bytes bytes =
            GetBytes(string, CFRangeMake(0, 5), kCFStringEncodingUTF8, 0, expected.maximum);
        EXPECT_EQ(bytes.converted, expected.converted) << expected.maximum;
        EXPECT_EQ(bytes.used, expected.used) << expected.maximum;
    }
}

TEST(CFString, GetBytesTakesARangeAndCountsWithoutABuffer) {
    const String string = FromUnits(u"/clips/\u6620.mov");
    EXPECT_EQ(GetBytes(string, CFRangeMake(7, 2), kCFStringEncodingUTF8, 0, 9).text,
              "\xE6\x98\xA0.");
    CFIndex used = 0;
    EXPECT_EQ(CFStringGetBytes(string.Get(), CFRangeMake(0, 12), kCFStringEncodingUTF8, 0, false,
                               nullptr, 0, &used),
              12);
    EXPECT_EQ(used, 14);
    EXPECT_EQ(CFStringGetBytes(string.Get(), CFRangeMake(12, 0), kCFStringEncodingUTF8, 0, false,
                               nullptr, 0, nullptr),
              0);
}

TEST(CFString, GetCharactersTakesARange) {
    UniChar units[4] = {1, 2, 3, 4};
    CFStringGetCharacters(FromUnits(u"abcdef").Get(), CFRangeMake(2, 3), units);
    EXPECT_EQ(std::vector<UniChar>(units, units + 4), (std::vector<UniChar>{'c', 'd', 'e', 4}));
}

TEST(CFString, FindSearchesFromEitherEnd) {
    const struct {
        const char16_t* text;
        const char16_t* wanted;
        CFIndex first;
        CFIndex last;
    } cases[] = {
        {u"/a/b", u"/", 0, 2},
        {u"clip.mov", u"/", kCFNotFound, kCFNotFound},
        {u"/clip", u"/", 0, 0},
        {u"dir/", u"/", 3, 3},
        {u"", u"/", kCFNotFound, kCFNotFound},
        {u"aaaa", u"aa", 0, 2},
        {u"ab", u"abc", kCFNotFound, kCFNotFound},
        {u"ab", u"", kCFNotFound, kCFNotFound},
        {u"\u2F00/", u"/", 1, 1},
    };
    for (const auto& expected : cases) {
        const String text = FromUnits(expected.text);
        const String wanted = FromUnits(expected.wanted);
        const CFRange first = CFStringFind(text.Get(), wanted.Get(), 0);
        const CFRange last = CFStringFind(text.Get(), wanted.Get(), kCFCompareBackwards);
        EXPECT_EQ(first.location, expected.first);
        EXPECT_EQ(last.location, expected.last);
        const CFIndex length = expected.first == kCFNotFound ? 0 : CFStringGetLength(wanted.Get());
        EXPECT_EQ(first.length, length);
        EXPECT_EQ(last.length, length);
    }
}

TEST(CFString, CreateCopiesAndNoCopyDoesNot) {
    UniChar units[] = {'a', 'b'};
    const String copy(CFStringCreateWithCharacters(kCFAllocatorDefault, units, 2));
    const String view(
        CFStringCreateWithCharactersNoCopy(kCFAllocatorDefault, units, 2, kCFAllocatorNull));
    units[0] = 'x';
    EXPECT_EQ(Units(copy.Get()), u"ab");
    EXPECT_EQ(Units(view.Get()), u"xb");
}

TEST(CFString, NoCopyFreesWithTheDeallocator) {
    // Seen by the leak and double-free checks of the address sanitizer.
    UniChar* units = static_cast<UniChar*>(std::malloc(2 * sizeof(UniChar)));
    units[0] = units[1] = 'a';
    const String string(
        CFStringCreateWithCharactersNoCopy(kCFAllocatorDefault, units, 2, kCFAllocatorDefault));
    EXPECT_EQ(Units(string.Get()), u"aa");
}

TEST(CFString, CreateRefusesNegativeLengthsAndMissingText) {
    const UniChar units[] = {'a'};
    const UInt8 bytes[] = {'a'};
    EXPECT_EQ(CFStringCreateWithCharacters(kCFAllocatorDefault, units, -1), nullptr);
    EXPECT_EQ(CFStringCreateWithCharacters(kCFAllocatorDefault, units, LONG_MAX), nullptr);
    EXPECT_EQ(CFStringCreateWithCharacters(kCFAllocatorDefault, nullptr, 1), nullptr);
    EXPECT_EQ(CFStringCreateWithCharactersNoCopy(kCFAllocatorDefault, units, -1, kCFAllocatorNull),
              nullptr);
    EXPECT_EQ(CFStringCreateWithBytes(kCFAllocatorDefault, bytes, -1, kCFStringEncodingUTF8, false),
              nullptr);
    EXPECT_EQ(
        CFStringCreateWithBytes(kCFAllocatorDefault, nullptr, 1, kCFStringEncodingUTF8, false),
        nullptr);
    const String empty(CFStringCreateWithCharacters(kCFAllocatorDefault, nullptr, 0));
    ASSERT_NE(empty.Get(), nullptr);
    EXPECT_EQ(CFStringGetLength(empty.Get()), 0);
}

TEST(CFString, CountsReferences) {
    const String string = FromUnits(u"clip");
    EXPECT_EQ(CFGetRetainCount(string.Get()), 1);
    EXPECT_EQ(CFRetain(string.Get()), string.Get());
    EXPECT_EQ(CFGetRetainCount(string.Get()), 2);
    CFRelease(string.Get());
    EXPECT_EQ(CFGetRetainCount(string.Get()), 1);
}

TEST(CFString, ReferencesAreCountedAcrossThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    const String string = FromUnits(u"clip");
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&string] {
            for (int round = 0; round < kRounds; ++round) {
                CFRetain(string.Get());
                CFRetain(string.Get());
                CFRelease(string.Get());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(CFGetRetainCount(string.Get()), 1 + kThreads * kRounds);
    for (int index = 0; index < kThreads * kRounds; ++index) {
        CFRelease(string.Get());
    }
    EXPECT_EQ(CFGetRetainCount(string.Get()), 1);
}

// Not a constant, or the static analyzer sees the mistake that is tested.
CFTypeRef sNoObject = nullptr;

TEST(CFStringDeathTest, BrokenPreconditionsStopTheProcess) {
    const String string = FromUnits(u"clip");
    UniChar units[8];
    EXPECT_DEATH(CFRelease(sNoObject), "");
    EXPECT_DEATH(CFRetain(sNoObject), "");
    EXPECT_DEATH(CFStringGetLength(nullptr), "");
    EXPECT_DEATH(CFStringGetCharacters(string.Get(), CFRangeMake(2, 3), units), "");
    EXPECT_DEATH(CFStringGetCharacters(string.Get(), CFRangeMake(-1, 1), units), "");
}

}  // namespace
