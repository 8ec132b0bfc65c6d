#include "util/text.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/cf_owner.h"

namespace {

using KVX::Util::Text::cf2u;
using KVX::Util::Text::StringStorage;
using KVX::Util::Text::u2cf;
using KVX::Util::Text::utf8_to_wide;
using KVX::Util::Text::wide_to_utf8;

std::string ToUtf8(const std::wstring& text) {
    return wide_to_utf8(text.data(), static_cast<int>(text.size()));
}

std::string OfUnits(const std::u16string& units) {
    const kvx_test::CFOwner<CFStringRef> string(CFStringCreateWithCharacters(
        kCFAllocatorDefault, reinterpret_cast<const UniChar*>(units.data()),
        static_cast<CFIndex>(units.size())));
    return cf2u(string.Get());
}

TEST(Text, EmptyStaysEmpty) {
    EXPECT_EQ(utf8_to_wide(""), L"");
    EXPECT_EQ(wide_to_utf8(L"", 0), "");
    EXPECT_EQ(wide_to_utf8(nullptr, 0), "");
    EXPECT_EQ(OfUnits(u""), "");
    const kvx_test::CFOwner<CFStringRef> string(u2cf(""));
    ASSERT_NE(string.Get(), nullptr);
    EXPECT_EQ(CFStringGetLength(string.Get()), 0);
}

TEST(Text, WideToUtf8TakesOneToFourBytes) {
    EXPECT_EQ(ToUtf8(L"A"), "A");
    EXPECT_EQ(ToUtf8(L"\u00E9"), "\xC3\xA9");
    EXPECT_EQ(ToUtf8(L"\u20AC"), "\xE2\x82\xAC");
    EXPECT_EQ(ToUtf8(L"\U0001F600"), "\xF0\x9F\x98\x80");
}

struct Pair {
    std::string utf8;
    std::wstring wide;
};

const std::vector<Pair>& Boundaries() {
    // The least and the greatest character of each length, and those beside the surrogates.
    static const std::vector<Pair> pairs = {
        {"\x01", L"\x01"},
        {"\x7F", L"\x7F"},
        {"\xC2\x80", std::wstring(1, 0x80)},
        {"\xDF\xBF", std::wstring(1, 0x7FF)},
        {"\xE0\xA0\x80", std::wstring(1, 0x800)},
        {"\xED\x9F\xBF", std::wstring(1, 0xD7FF)},
        {"\xEE\x80\x80", std::wstring(1, 0xE000)},
        {"\xEF\xBF\xBD", std::wstring(1, 0xFFFD)},
        {"\xEF\xBF\xBF", std::wstring(1, 0xFFFF)},
        {"\xF0\x90\x80\x80", std::wstring(1, 0x10000)},
        {"\xF3\xBF\xBF\xBF", std::wstring(1, 0xFFFFF)},
        {"\xF4\x8F\xBF\xBF", std::wstring(1, 0x10FFFF)},
        {"/clips/\xE6\x98\xA0.mov", std::wstring(L"/clips/\u6620.mov")},
    };
    return pairs;
}

TEST(Text, BoundariesGoBothWays) {
    for (const Pair& pair : Boundaries()) {
        EXPECT_EQ(utf8_to_wide(pair.utf8.c_str()), pair.wide) << testing::PrintToString(pair.utf8);
        EXPECT_EQ(ToUtf8(pair.wide), pair.utf8) << testing::PrintToString(pair.utf8);
    }
}

// One character by the definition of UTF-8: as many bits as its length has room for.
std::string NaiveUtf8(uint32_t codePoint) {
    const auto trailing = [codePoint](int shift) {
        return static_cast<char>(0x80 + codePoint / (1u << shift) % 64);
    };
    if (codePoint < 0x80) {
        return {static_cast<char>(codePoint)};
    }
    if (codePoint < 0x800) {
        return {static_cast<char>(0xC0 + codePoint / 64), trailing(0)};
    }
    if (codePoint < 0x10000) {
        return {static_cast<char>(0xE0 + codePoint / 4096), trailing(6), trailing(0)};
    }
    return {static_cast<char>(0xF0 + codePoint / 262144), trailing(12), trailing(6), trailing(0)};
}

TEST(Text, EveryCharacterGoesBothWays) {
    for (uint32_t codePoint = 1; codePoint < 0x110000; ++codePoint) {
        if (codePoint == 0xD800) {
            codePoint = 0xE000;
        }
        const std::string utf8 = NaiveUtf8(codePoint);
        const wchar_t wide = static_cast<wchar_t>(codePoint);
        ASSERT_EQ(wide_to_utf8(&wide, 1), utf8) << codePoint;
        ASSERT_EQ(utf8_to_wide(utf8.c_str()), std::wstring(1, wide)) << codePoint;
    }
}

TEST(Text, MalformedUtf8GivesNothingAtAll) {
    const char* const malformed[] = {
        "A\xC3",                      // ends within a character
        "A\xE2\x82",                  //
        "A\xF0\x9F\x98",              //
        "A\x80",                      // starts within a character
        "A\xBF",                      //
        "A\xC3(",                     // not a trailing byte
        "A\xE2(\x82",                 //
        "A\xE2\x82(",                 //
        "A\xF0\x9F\x98(",             //
        "A\xF0\x9F\xC0\x80",          //
        "A\xC0\xAF",                  // longer than needed
        "A\xC1\xBF",                  //
        "A\xE0\x9F\xBF",              //
        "A\xF0\x8F\xBF\xBF",          //
        "A\xED\xA0\x80",              // surrogates
        "A\xED\xBF\xBF",              //
        "A\xF4\x90\x80\x80",          // above U+10FFFF
        "A\xF5\x80\x80\x80",          //
        "A\xF7\xBF\xBF\xBF",          //
        "A\xF8\x88\x80\x80\x80",      // five and six bytes
        "A\xFC\x84\x80\x80\x80\x80",  //
        "A\xFE\x80\x80\x80\x80\x80",  //
        "A\xFF",                      //
    };
    for (const char* text : malformed) {
        EXPECT_EQ(utf8_to_wide(text), L"") << testing::PrintToString(text);
        EXPECT_EQ(utf8_to_wide((std::string(text) + "clip").c_str()), L"")
            << testing::PrintToString(text);
        EXPECT_EQ(u2cf(text), nullptr) << testing::PrintToString(text);
    }
}

// All texts of two, and all of three bytes after an ASCII one: what is refused by one decoder is
// refused by the other, which is written from another table.
TEST(Text, ShortTextsAreJudgedAsByCFString) {
    std::string text(3, '\0');
    for (unsigned int bits = 0x010101; bits <= 0xFFFFFF; bits += 7) {
        text[0] = static_cast<char>(bits >> 16);
        text[1] = static_cast<char>(bits >> 8);
        text[2] = static_cast<char>(bits);
        const size_t length = std::strlen(text.c_str());
        const kvx_test::CFOwner<CFStringRef> string(u2cf(text.substr(0, length)));
        const std::wstring wide = utf8_to_wide(text.c_str());
        ASSERT_EQ(string.Get() == nullptr, length != 0 && wide.empty()) << std::hex << bits;
    }
}

TEST(Text, WideCharactersThatAreNoneGiveNothingAtAll) {
    const wchar_t none[] = {static_cast<wchar_t>(0xD800),    static_cast<wchar_t>(0xDBFF),
                            static_cast<wchar_t>(0xDC00),    static_cast<wchar_t>(0xDFFF),
                            static_cast<wchar_t>(0x110000),  static_cast<wchar_t>(0x7FFFFFFF),
                            static_cast<wchar_t>(0xFFFFFFFF)};
    for (const wchar_t character : none) {
        EXPECT_EQ(ToUtf8(std::wstring(L"A") + character), "") << static_cast<long>(character);
        EXPECT_EQ(ToUtf8(std::wstring(L"A") + character + L"clip"), "")
            << static_cast<long>(character);
    }
}

TEST(Text, WideToUtf8TakesItsLengthNotTheNul) {
    EXPECT_EQ(wide_to_utf8(L"clip", 2), "cl");
    EXPECT_EQ(wide_to_utf8(L"a\0b", 3), std::string("a\0b", 3));
}

TEST(Text, WideToUtf8OfALengthThatCannotBeGivesNothing) {
    EXPECT_EQ(wide_to_utf8(L"clip", -1), "");
    EXPECT_EQ(wide_to_utf8(L"clip", INT_MIN), "");
    // Four bytes for each of these and four more are beyond an int; nothing is read.
    EXPECT_EQ(wide_to_utf8(L"clip", (INT_MAX - 4) / 4 + 1), "");
    EXPECT_EQ(wide_to_utf8(L"clip", INT_MAX), "");
}

TEST(Text, Utf8WhoseScratchIsBeyondAnIntGivesNothing) {
    // The text is one 32 MiB run of letters, mapped again and again.
    constexpr size_t kRun = 32 << 20;
    constexpr size_t kRuns = 16;
    const int descriptor = memfd_create("letters", 0);
    ASSERT_GE(descriptor, 0);
    ASSERT_EQ(ftruncate(descriptor, kRun), 0);
    void* const space =
        mmap(nullptr, kRun * kRuns + 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(space, MAP_FAILED);
    char* const text = static_cast<char*>(space);
    for (size_t run = 0; run < kRuns; ++run) {
        ASSERT_NE(mmap(text + run * kRun, kRun, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED,
                       descriptor, 0),
                  MAP_FAILED);
    }
    std::memset(text, 'a', kRun);
    close(descriptor);
    EXPECT_EQ(utf8_to_wide(text), L"");
    munmap(space, kRun * kRuns + 4096);
}

TEST(Text, CfStringAndUtf8AreTheSamePath) {
    const std::string path = "/Volumes/\xE6\x98\xA0\xE5\x83\x8F/caf\xC3\xA9/\xF0\x9F\x98\x80.mov";
    const kvx_test::CFOwner<CFStringRef> string(u2cf(path));
    ASSERT_NE(string.Get(), nullptr);
    EXPECT_EQ(CFGetRetainCount(string.Get()), 1);
    EXPECT_EQ(cf2u(string.Get()), path);
    EXPECT_EQ(CFGetRetainCount(string.Get()), 1);
    EXPECT_EQ(OfUnits(u"/\u6620/\xD83D\xDE00"), "/\xE6\x98\xA0/\xF0\x9F\x98\x80");
}

TEST(Text, CfStringThatHasNoUtf8GivesNothing) {
    EXPECT_EQ(OfUnits(std::u16string{u'/', u'a', 0xD83D}), "");
    EXPECT_EQ(OfUnits(std::u16string{u'/', 0xDE00, u'a'}), "");
    EXPECT_EQ(cf2u(nullptr), "");
}

TEST(Text, CfStringEndsAtItsFirstNul) {
    EXPECT_EQ(OfUnits(std::u16string(u"/a\0b", 4)), "/a");
}

// Three bytes for each unit leave no room for the NUL when every unit needs all three.
TEST(Text, CfStringOfThreeByteCharactersAloneGivesNothing) {
    EXPECT_EQ(OfUnits(u"\u6620\u50CF"), "");
    EXPECT_EQ(OfUnits(u"\u6620\u50CF/"), "\xE6\x98\xA0\xE5\x83\x8F/");
    EXPECT_EQ(OfUnits(u"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
}

TEST(Text, U2cfKeepsNulsAndByteOrderMarks) {
    const kvx_test::CFOwner<CFStringRef> string(
        u2cf(std::string("\xEF\xBB\xBF"
                         "a\0b",
                         6)));
    ASSERT_NE(string.Get(), nullptr);
    EXPECT_EQ(CFStringGetLength(string.Get()), 4);
}

TEST(TextStorage, SmallerRequestsReuseTheBlockWithItsContents) {
    StringStorage::Storage storage;
    EXPECT_EQ(storage.mBlock, nullptr);
    EXPECT_EQ(storage.mCapacity, 0u);
    char* const block = static_cast<char*>(storage.get_ptr(64));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::vector<char>(block, block + 64), std::vector<char>(64, '\0'));
    std::memset(block, 'x', 64);
    EXPECT_EQ(storage.get_ptr(16), block);
    EXPECT_EQ(storage.get_ptr(64), block);
    EXPECT_EQ(std::vector<char>(block, block + 64), std::vector<char>(64, 'x'));
    EXPECT_EQ(storage.mCapacity, 64u);
    std::free(storage.mBlock);
}

TEST(TextStorage, LargerRequestsReplaceTheBlockByZeros) {
    StringStorage::Storage storage;
    std::memset(storage.get_ptr(64), 'x', 64);
    char* const block = static_cast<char*>(storage.get_ptr(65));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::vector<char>(block, block + 65), std::vector<char>(65, '\0'));
    EXPECT_EQ(storage.mCapacity, 65u);
    std::free(storage.mBlock);
}

TEST(TextStorage, ConversionsOfOneThreadShareItsBlock) {
    void* const block = StringStorage::get_ptr(4096);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(utf8_to_wide("clip"), L"clip");
    EXPECT_EQ(StringStorage::get_ptr(1), block);
    // The scratch of the last conversion: the four wide characters.
    EXPECT_EQ(std::memcmp(block, L"clip", 4 * sizeof(wchar_t)), 0);
    EXPECT_EQ(wide_to_utf8(L"v210", 4), "v210");
    EXPECT_EQ(std::memcmp(block, "v210", 4), 0);
}

TEST(TextStorage, EachThreadHasItsOwnBlock) {
    void* const block = StringStorage::get_ptr(64);
    void* other = nullptr;
    std::thread thread([&other] {
        other = StringStorage::get_ptr(64);
        // Threads that use the scratch live as long as the process; this one cleans up itself.
        void* const storage = pthread_getspecific(StringStorage::key);
        std::free(static_cast<StringStorage::Storage*>(storage)->mBlock);
        delete static_cast<StringStorage::Storage*>(storage);
    });
    thread.join();
    EXPECT_NE(other, nullptr);
    EXPECT_NE(other, block);
    EXPECT_EQ(StringStorage::get_ptr(64), block);
}

TEST(TextStorage, NegativeSizesGetNoBlock) {
    EXPECT_EQ(StringStorage::get_ptr(-1), nullptr);
    EXPECT_EQ(StringStorage::get_ptr(INT_MIN), nullptr);
}

}  // namespace
