// Which path an alias record names, and which records name none.
#include "platform/portable/alias_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/alias_records.h"
#include "support/file_tools.h"

namespace {

using kvx_test::AliasItems;
using kvx_test::AliasUnicodeName;
using kvx_test::AliasVersion2;
using kvx_test::AliasVersion3;
using kvx_test::Bytes;
using kvx_test::WithAliasSize;

constexpr const char* kMalformed = "malformed";
constexpr const char* kNoPath = "no path";
constexpr const char* kUntouched = "untouched";

// The path, or why there is none. The bytes stand in a block of exactly their size, so that the
// address sanitizer sees every read outside.
std::string Read(const Bytes& bytes) {
    const std::unique_ptr<uint8_t[]> block(new uint8_t[bytes.size()]);
    std::memcpy(block.get(), bytes.data(), bytes.size());
    std::string path = kUntouched;
    const OSStatus status = KVX::Platform::ReadAliasPath(block.get(), bytes.size(), path);
    if (status == 0) {
        return path;
    }
    EXPECT_EQ(path, kUntouched);
    EXPECT_TRUE(status == -50 || status == -43) << status;
    return status == -50 ? kMalformed : kNoPath;
}

TEST(AliasRecord, ExamplesOfBothVersions) {
    EXPECT_EQ(kvx_test::AliasExampleVersion2().size(), 272u);
    EXPECT_EQ(Read(kvx_test::AliasExampleVersion2()), "/Volumes/Media/Shots/clip.mov");
    EXPECT_EQ(kvx_test::AliasExampleVersion3().size(), 172u);
    EXPECT_EQ(Read(kvx_test::AliasExampleVersion3()), "/Volumes/Media/Shots/clip.mov");
}

TEST(AliasRecord, PosixPathGoesUnderTheMountPoint) {
    const struct {
        const char* mountPoint;
        const char* path;
        const char* joined;
    } cases[] = {
        {"/", "Shots/clip.mov", "/Shots/clip.mov"},
        {"/", "/Shots/clip.mov", "/Shots/clip.mov"},
        {"/Volumes/Media", "Shots/clip.mov", "/Volumes/Media/Shots/clip.mov"},
        {"/Volumes/Media", "/Shots/clip.mov", "/Volumes/Media/Shots/clip.mov"},
        {"/Volumes/Media/", "/Shots/clip.mov", "/Volumes/Media/Shots/clip.mov"},
        {"/Volumes/\xE6\x98\xA0", "/\xF0\x9F\x98\x80:1.mov",
         "/Volumes/\xE6\x98\xA0/\xF0\x9F\x98\x80:1.mov"},
    };
    for (const auto& expected : cases) {
        // Either may come first.
        EXPECT_EQ(Read(AliasVersion2("Media",
                                     AliasItems({{18, expected.path}, {19, expected.mountPoint}}))),
                  expected.joined);
        EXPECT_EQ(
            Read(AliasVersion3(0, AliasItems({{19, expected.mountPoint}, {18, expected.path}}))),
            expected.joined);
    }
}

TEST(AliasRecord, PosixPathWithoutAMountPointIsBelowTheRoot) {
    EXPECT_EQ(Read(AliasVersion2("Media", AliasItems({{18, "Shots/clip.mov"}}))),
              "/Shots/clip.mov");
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{18, "/Shots/clip.mov"}}))), "/Shots/clip.mov");
}

TEST(AliasRecord, PosixPathCountsBeforeTheColonPath) {
    EXPECT_EQ(Read(AliasVersion2("Media", AliasItems({{18, "/long name.mov"},
                                                      {19, "/Volumes/Media"},
                                                      {2, "Media:long n#1.mov"}}))),
              "/Volumes/Media/long name.mov");
}

TEST(AliasRecord, ColonPathStandsIn) {
    EXPECT_EQ(Read(AliasVersion2("Media", AliasItems({{2, "Media:Shots:clip.mov"}}))),
              "/Volumes/Media/Shots/clip.mov");
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{2, "Media:Shots:clip.mov"}}))),
              "/Volumes/Media/Shots/clip.mov");
    EXPECT_EQ(Read(AliasVersion2(
                  "Media", AliasItems({{2, "Media:Shots:clip.mov"}, {19, "/Volumes/Media 1"}}))),
              "/Volumes/Media 1/Shots/clip.mov");
    EXPECT_EQ(Read(AliasVersion2("Disk", AliasItems({{2, "Disk:clip.mov"}, {19, "/"}}))),
              "/clip.mov");
}

TEST(AliasRecord, ColonPathLosesItsZeros) {
    EXPECT_EQ(
        Read(AliasVersion2("Media", AliasItems({{2, Bytes("Media:Shots:\0clip.mov\0\0", 23)}}))),
        "/Volumes/Media/Shots/clip.mov");
    EXPECT_EQ(Read(AliasVersion2("Media", AliasItems({{2, Bytes("\0\0\0", 3)}}))), kMalformed);
}

TEST(AliasRecord, SlashesInNamesOfAColonPathAreColonsInPosix) {
    EXPECT_EQ(Read(AliasVersion2("A/B", AliasItems({{2, "A/B:1/2:take 3/4.mov"}}))),
              "/Volumes/A:B/1:2/take 3:4.mov");
}

TEST(AliasRecord, ColonPathOnTheBootVolumeIsBelowTheRoot) {
    constexpr uint32_t kBootVolume = 0x20;
    const Bytes items = AliasItems({{2, "Disk:Shots:clip.mov"}});
    EXPECT_EQ(Read(AliasVersion3(kBootVolume, items)), "/Shots/clip.mov");
    EXPECT_EQ(Read(AliasVersion3(0x1A2, items)), "/Shots/clip.mov");
    EXPECT_EQ(Read(AliasVersion3(~kBootVolume, items)), "/Volumes/Disk/Shots/clip.mov");
}

TEST(AliasRecord, ColonPathMayBeMacRomanOrUtf8) {
    EXPECT_EQ(Read(AliasVersion2("M", AliasItems({{2, "M:caf\x8E \xA5 \xDB.mov"}}))),
              "/Volumes/M/caf\xC3\xA9 \xE2\x80\xA2 \xE2\x82\xAC.mov");
    EXPECT_EQ(Read(AliasVersion2("M", AliasItems({{2, "M:\xE6\x98\xA0.mov"}}))),
              "/Volumes/M/\xE6\x98\xA0.mov");
    EXPECT_EQ(Read(AliasVersion2("\x83t\x8E", AliasItems({{2, "\x83t\x8E:clip.mov"}}))),
              "/Volumes/\xC3\x89t\xC3\xA9/clip.mov");
}

TEST(AliasRecord, VolumeNameIsTheFullestOfThree) {
    const Bytes path = "Short:clip.mov";
    EXPECT_EQ(
        Read(AliasVersion2("Header", AliasItems({{2, path}, {15, AliasUnicodeName("Full name")}}))),
        "/Volumes/Full name/clip.mov");
    EXPECT_EQ(Read(AliasVersion2("Header", AliasItems({{2, path}}))), "/Volumes/Header/clip.mov");
    EXPECT_EQ(Read(AliasVersion2("", AliasItems({{2, path}}))), "/Volumes/Short/clip.mov");
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{2, path}}))), "/Volumes/Short/clip.mov");
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{2, path}, {15, AliasUnicodeName("")}}))),
              "/Volumes/Short/clip.mov");
    const std::string longest(27, 'v');
    EXPECT_EQ(Read(AliasVersion2(longest, AliasItems({{2, path}}))),
              "/Volumes/" + longest + "/clip.mov");
}

TEST(AliasRecord, VolumeNameInUtf16) {
    // U+6620, U+1F600
    const Bytes name("\x00\x03\x66\x20\xD8\x3D\xDE\x00", 8);
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{2, "V:clip.mov"}, {15, name}}))),
              "/Volumes/\xE6\x98\xA0\xF0\x9F\x98\x80/clip.mov");
    const Bytes unpaired("\x00\x01\xD8\x3D", 4);
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{2, "V:clip.mov"}, {15, unpaired}}))), kMalformed);
    // Not needed, not looked at.
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{18, "clip.mov"}, {15, unpaired}}))), "/clip.mov");
    const Bytes nul("\x00\x02\x00v\x00\x00", 6);
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{2, "V:clip.mov"}, {15, nul}}))), kMalformed);
}

TEST(AliasRecord, HeaderVolumeNameTooLongMattersOnlyWhenUsed) {
    Bytes record = AliasVersion2("Media", AliasItems({{2, "Media:clip.mov"}}));
    record[10] = 28;
    EXPECT_EQ(Read(record), kMalformed);
    record = AliasVersion2(std::string(27, 'v'), AliasItems({{2, "Media:clip.mov"}}));
    record[10] = 28;
    EXPECT_EQ(Read(record), kMalformed);
    record = AliasVersion2("Media", AliasItems({{2, "Media:clip.mov"}, {19, "/Volumes/Media"}}));
    record[10] = '\xFF';
    EXPECT_EQ(Read(record), "/Volumes/Media/clip.mov");
}

TEST(AliasRecord, ZerosInTheHeaderVolumeNameAreRefused) {
    EXPECT_EQ(Read(AliasVersion2(std::string("Me\0ia", 5), AliasItems({{2, "Media:clip.mov"}}))),
              kMalformed);
}

// The target's name is part of no path, the volume's only of one that a colon path gives.
TEST(AliasRecord, DamagedUtf16NamesMatterOnlyWhenUsed) {
    for (const Bytes& damaged :
         {Bytes(), Bytes("\x00", 1), Bytes("\x00\x01", 2), Bytes("\x00\x01\x00", 3),
          Bytes("\x00\x01\x00v\x00w", 6), Bytes("\xFF\xFF\x00v", 4)}) {
        const struct {
            Bytes record;
            std::string path;
        } kRows[] = {
            {AliasVersion3(0, AliasItems({{14, damaged}, {18, "clip.mov"}})), "/clip.mov"},
            {AliasVersion3(0, AliasItems({{2, "V:clip.mov"}, {14, damaged}})),
             "/Volumes/V/clip.mov"},
            {AliasVersion3(0, AliasItems({{15, damaged}, {18, "clip.mov"}})), "/clip.mov"},
            {AliasVersion3(0, AliasItems({{15, damaged}, {2, "V:clip.mov"}, {19, "/V"}})),
             "/V/clip.mov"},
            {AliasVersion3(0x20, AliasItems({{15, damaged}, {2, "V:clip.mov"}})), "/clip.mov"},
            {AliasVersion2("V", AliasItems({{15, damaged}, {18, "clip.mov"}})), "/clip.mov"},
            {AliasVersion3(0, AliasItems({{15, damaged}, {2, "V:clip.mov"}})), kMalformed},
            {AliasVersion2("V", AliasItems({{15, damaged}, {2, "V:clip.mov"}})), kMalformed},
            // The last of a repeated item counts, sound or not.
            {AliasVersion3(
                 0, AliasItems(
                        {{15, damaged}, {15, kvx_test::AliasUnicodeName("W")}, {2, "V:clip.mov"}})),
             "/Volumes/W/clip.mov"},
        };
        for (const auto& row : kRows) {
            EXPECT_EQ(Read(row.record), row.path) << damaged.size() << " bytes";
        }
    }
}

TEST(AliasRecord, PathsThatAreNoneAreRefused) {
    const std::vector<std::vector<kvx_test::AliasItem>> cases = {
        {{18, ""}},
        {{18, ""}, {2, "Media:clip.mov"}},
        {{18, Bytes("Shots\0clip.mov", 14)}},
        {{18, Bytes("clip.mov\0", 9)}},
        {{18, "caf\x8E.mov"}},
        {{18, "clip.mov"}, {19, ""}},
        {{18, "clip.mov"}, {19, Bytes("/Volumes\0", 9)}},
        {{18, "clip.mov"}, {19, "Volumes/Media"}},
        {{18, "clip.mov"}, {19, "/Volumes/\xFF"}},
        {{2, "Media:clip.mov"}, {19, ""}},
        {{2, "Media:clip.mov"}, {19, "Volumes"}},
        {{2, ""}},
        {{2, "Media"}},
        {{2, "Media:"}},
        {{2, ":"}},
    };
    for (const std::vector<kvx_test::AliasItem>& items : cases) {
        EXPECT_EQ(Read(AliasVersion2("Media", AliasItems(items))), kMalformed)
            << testing::PrintToString(items);
    }
    EXPECT_EQ(Read(AliasVersion3(0, AliasItems({{2, ":clip.mov"}}))), kMalformed)
        << "a volume without a name";
}

TEST(AliasRecord, WithoutAnyPathNothingCanBeSaid) {
    EXPECT_EQ(Read(AliasVersion2("Media", Bytes())), kNoPath);
    EXPECT_EQ(Read(AliasVersion3(0, Bytes())), kNoPath);
    EXPECT_EQ(Read(AliasVersion2("Media", AliasItems({{0, "Shots"},
                                                      {14, AliasUnicodeName("clip.mov")},
                                                      {15, AliasUnicodeName("Media")},
                                                      {19, "/Volumes/Media"}}))),
              kNoPath);
}

TEST(AliasRecord, OtherItemsAreSteppedOver) {
    EXPECT_EQ(Read(AliasVersion2("Media", AliasItems({{0, "odd"},
                                                      {9, Bytes(300, '\xFF')},
                                                      {20, "no record at all"},
                                                      {0x7777, ""},
                                                      {0xFFFE, "nothing"},
                                                      {18, "/clip.mov"},
                                                      {21, Bytes(2, '\0')}}))),
              "/clip.mov");
}

TEST(AliasRecord, TheLastOfARepeatedItemCounts) {
    EXPECT_EQ(Read(AliasVersion2("Media", AliasItems({{18, "/first.mov"},
                                                      {19, "/Volumes/First"},
                                                      {18, "/last.mov"},
                                                      {19, "/Volumes/Last"}}))),
              "/Volumes/Last/last.mov");
}

TEST(AliasRecord, NothingBehindTheEndItemCounts) {
    const Bytes items = AliasItems({{18, "/clip.mov"}});
    EXPECT_EQ(Read(AliasVersion2("Media", items + AliasItems({{18, "/other.mov"}}))), "/clip.mov");
    EXPECT_EQ(Read(AliasVersion2("Media", items + "\xFF")), "/clip.mov");
}

TEST(AliasRecord, BytesBehindTheRecordDoNotCount) {
    EXPECT_EQ(Read(kvx_test::AliasExampleVersion2() + AliasItems({{18, "/other.mov"}})),
              "/Volumes/Media/Shots/clip.mov");
    // The end item may be missing, and what follows is no part of the record.
    const Bytes record = AliasVersion2("Media", AliasItems({{18, "/clip.mov"}}));
    EXPECT_EQ(Read(WithAliasSize(record, record.size() - 4) + AliasItems({{18, "/other.mov"}})),
              "/clip.mov");
}

TEST(AliasRecord, VersionsOtherThanTwoAndThreeAreRefused) {
    for (const int version : {0, 1, 4, 0x0200, 0x0300, 0xFFFF}) {
        for (Bytes record : {kvx_test::AliasExampleVersion2(), kvx_test::AliasExampleVersion3()}) {
            EXPECT_EQ(Read(record.replace(6, 2, kvx_test::big16(version))), kMalformed) << version;
        }
    }
}

TEST(AliasRecord, SizesThatCannotBeAreRefused) {
    for (const int size : {0, 7, 8, 149, 273, 0x8000, 0xFFFF}) {
        EXPECT_EQ(Read(WithAliasSize(kvx_test::AliasExampleVersion2(), static_cast<size_t>(size))),
                  kMalformed)
            << size;
    }
    for (const int size : {0, 7, 8, 57, 173, 0xFFFF}) {
        EXPECT_EQ(Read(WithAliasSize(kvx_test::AliasExampleVersion3(), static_cast<size_t>(size))),
                  kMalformed)
            << size;
    }
}

TEST(AliasRecord, ItemsThatLeaveTheRecordAreRefused) {
    const Bytes path = AliasItems({{18, "/clip.mov"}});
    const Bytes open = path.substr(0, path.size() - 4);
    EXPECT_EQ(Read(AliasVersion2("Media", open)), "/clip.mov");
    for (const Bytes& rest : {Bytes("\x00", 1), Bytes("\x00\x01", 2), Bytes("\x00\x01\x00", 3),
                              Bytes("\x00\x01\x00\x01", 4), Bytes("\x00\x01\xFF\xFF", 4),
                              Bytes("\xFF\xFF", 2), Bytes("\xFF\xFF\x00", 3)}) {
        EXPECT_EQ(Read(AliasVersion2("Media", open + rest)), kMalformed);
        // Not even when more bytes follow outside the record.
        const Bytes record = AliasVersion2("Media", open + rest);
        EXPECT_EQ(Read(record + Bytes(70000, '\0')), kMalformed);
    }
}

TEST(AliasRecord, EveryTruncationIsRefused) {
    for (const Bytes& record :
         {kvx_test::AliasExampleVersion2(), kvx_test::AliasExampleVersion3()}) {
        for (size_t size = 0; size < record.size(); ++size) {
            ASSERT_EQ(Read(record.substr(0, size)), kMalformed) << size;
        }
    }
}

// With the size in the header made right, a record may end between two items, before the padding
// of the last, or after the fixed part.
void ExpectTruncations(const Bytes& record, const std::map<size_t, std::string>& wellFormed) {
    for (size_t size = 8; size <= record.size(); ++size) {
        const auto known = wellFormed.find(size);
        ASSERT_EQ(Read(WithAliasSize(record.substr(0, size), size)),
                  known == wellFormed.end() ? kMalformed : known->second)
            << size;
    }
}

TEST(AliasRecord, TruncationsOfVersion2BetweenItemsKeepTheRest) {
    const std::string whole = "/Volumes/Media/Shots/clip.mov";
    ExpectTruncations(kvx_test::AliasExampleVersion2(), {{150, kNoPath},
                                                         {159, kNoPath},
                                                         {160, kNoPath},
                                                         {168, kNoPath},
                                                         {192, whole},
                                                         {214, whole},
                                                         {230, whole},
                                                         {249, "/Shots/clip.mov"},
                                                         {250, "/Shots/clip.mov"},
                                                         {268, whole},
                                                         {272, whole}});
}

TEST(AliasRecord, TruncationsOfVersion3BetweenItemsKeepTheRest) {
    const std::string whole = "/Volumes/Media/Shots/clip.mov";
    ExpectTruncations(kvx_test::AliasExampleVersion3(), {{58, kNoPath},
                                                         {67, kNoPath},
                                                         {68, kNoPath},
                                                         {92, whole},
                                                         {114, whole},
                                                         {130, whole},
                                                         {149, "/Shots/clip.mov"},
                                                         {150, "/Shots/clip.mov"},
                                                         {168, whole},
                                                         {172, whole}});
}

// What a caller may rely on, whatever the bytes were.
void ExpectSoundOutcome(const std::string& outcome) {
    if (outcome == kMalformed || outcome == kNoPath) {
        return;
    }
    ASSERT_FALSE(outcome.empty());
    ASSERT_EQ(outcome.front(), '/');
    ASSERT_EQ(outcome.find('\0'), std::string::npos);
    ASSERT_NE(kvx_test::ToCFString(outcome).Get(), nullptr) << "not UTF-8";
}

TEST(AliasRecord, OneWrongByteNeverDoesHarm) {
    for (const Bytes& record :
         {kvx_test::AliasExampleVersion2(), kvx_test::AliasExampleVersion3()}) {
        for (size_t place = 0; place < record.size(); ++place) {
            for (int change = 1; change < 256; ++change) {
                Bytes wrong = record;
                wrong[place] = static_cast<char>(wrong[place] ^ change);
                ExpectSoundOutcome(Read(wrong));
                ASSERT_FALSE(HasFatalFailure()) << place << " ^ " << change;
            }
        }
    }
}

// Of the fixed part only size and version matter to a record that has its path in POSIX form.
TEST(AliasRecord, OneWrongByteOfTheOtherFieldsChangesNothing) {
    const auto expectUnchanged = [](const Bytes& record, size_t fixedSize) {
        for (size_t place = 0; place < fixedSize; ++place) {
            if (place >= 4 && place < 8) {
                continue;
            }
            for (const int change : {0x01, 0x80, 0xFF}) {
                Bytes wrong = record;
                wrong[place] = static_cast<char>(wrong[place] ^ change);
                ASSERT_EQ(Read(wrong), "/Volumes/Media/Shots/clip.mov") << place;
            }
        }
    };
    expectUnchanged(kvx_test::AliasExampleVersion2(), 150);
    expectUnchanged(kvx_test::AliasExampleVersion3(), 58);
}

TEST(AliasRecord, RandomItemsNeverDoHarm) {
    std::mt19937 random(20120304);
    const int tags[] = {0, 1, 2, 14, 15, 18, 19, 20, 0xFFFE, 0xFFFF};
    for (int round = 0; round < 20000; ++round) {
        Bytes items;
        for (unsigned int count = random() % 6; count > 0; --count) {
            const size_t size = random() % 24;
            items += kvx_test::big16(tags[random() % 10]);
            // One in eight lies about its size.
            items += kvx_test::big16(static_cast<int64_t>(random() % 8 == 0 ? random() : size));
            for (size_t index = 0; index < size + size % 2; ++index) {
                items += "\0\x01:/aM\x8E\xC3\xA9\xD8"[random() % 10];
            }
        }
        ExpectSoundOutcome(Read(random() % 2 == 0 ? AliasVersion2("Media", items)
                                                  : AliasVersion3(random(), items)));
        ASSERT_FALSE(HasFatalFailure()) << round;
    }
}

}  // namespace
