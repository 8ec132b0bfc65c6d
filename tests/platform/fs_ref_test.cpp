// From a path by way of a URL to an FSRef: which files are found, and for how long.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "platform/file_manager.h"
#include "support/file_tools.h"
#include "support/temp_directory.h"

namespace {

using kvx_test::GetRef;
using kvx_test::ToCFString;

bool Exists(const std::string& path) {
    return std::filesystem::symlink_status(path).type() != std::filesystem::file_type::not_found;
}

TEST(FSRef, HasThePublishedSize) {
    EXPECT_EQ(sizeof(FSRef), 80u);
}

TEST(FSRef, NamesWhatExists) {
    const kvx_test::TempDirectory folder;
    FSRef ref;
    EXPECT_FALSE(GetRef(folder.File("clip.mov"), ref));
    kvx_test::WriteFile(folder.File("clip.mov"), "x");
    EXPECT_TRUE(GetRef(folder.File("clip.mov"), ref));
    EXPECT_TRUE(GetRef(folder.Path(), ref, true));
    EXPECT_TRUE(GetRef(folder.Path(), ref, false));
    EXPECT_TRUE(GetRef("/", ref, true));
}

TEST(FSRef, AFileIsNoFolder) {
    const kvx_test::TempDirectory folder;
    kvx_test::WriteFile(folder.File("clip.mov"), "x");
    FSRef ref;
    EXPECT_FALSE(GetRef(folder.File("clip.mov"), ref, true));
    EXPECT_FALSE(GetRef(folder.File("clip.mov/below"), ref));
}

// The empty path names nothing, neither the root nor the current folder.
TEST(FSRef, TheEmptyPathNamesNothing) {
    FSRef ref;
    for (const bool isDirectory : {false, true}) {
        const kvx_test::CFOwner<CFURLRef> url(CFURLCreateWithFileSystemPath(
            kCFAllocatorDefault, ToCFString("").Get(), kCFURLPOSIXPathStyle, isDirectory));
        ASSERT_NE(url.Get(), nullptr);
        EXPECT_FALSE(CFURLGetFSRef(url.Get(), &ref));
    }
}

TEST(FSRef, RelativePathsAreBelowTheFolderThatWasCurrent) {
    const kvx_test::TempDirectory folder;
    kvx_test::WriteFile(folder.File("clip.mov"), "x");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    const kvx_test::CFOwner<CFURLRef> url(CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, ToCFString("clip.mov").Get(), kCFURLPOSIXPathStyle, false));
    std::filesystem::current_path(before);
    FSRef ref;
    EXPECT_TRUE(CFURLGetFSRef(url.Get(), &ref));
    EXPECT_EQ(FSDeleteObject(&ref), noErr);
    EXPECT_FALSE(Exists(folder.File("clip.mov")));
}

TEST(FSRef, PathsOfOtherScriptsAreUtf8) {
    const kvx_test::TempDirectory folder;
    const std::string path = folder.File("\xE6\x98\xA0\xE5\x83\x8F \xF0\x9F\x98\x80.mov");
    kvx_test::WriteFile(path, "x");
    FSRef ref;
    ASSERT_TRUE(GetRef(path, ref));
    EXPECT_EQ(FSDeleteObject(&ref), noErr);
    EXPECT_FALSE(Exists(path));
}

TEST(FSRef, PathsMuchLongerThanItselfAreFound) {
    const kvx_test::TempDirectory folder;
    std::string path = folder.Path();
    for (int depth = 0; depth < 12; ++depth) {
        path += "/" + std::string(200, static_cast<char>('a' + depth));
    }
    ASSERT_TRUE(std::filesystem::create_directories(path));
    path += "/clip.mov";
    kvx_test::WriteFile(path, "x");
    FSRef ref;
    ASSERT_TRUE(GetRef(path, ref));
    EXPECT_EQ(FSDeleteObject(&ref), noErr);
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(GetRef("/" + std::string(5000, 'a'), ref));
}

TEST(FSRef, TextThatIsNoPathGivesNoUrl) {
    const UniChar nul[] = {'/', 'a', 0, 'b'};
    const UniChar unpaired[] = {'/', 'a', 0xD83D, 'b'};
    for (const UniChar* units : {nul, unpaired}) {
        const kvx_test::CFOwner<CFStringRef> string(
            CFStringCreateWithCharacters(kCFAllocatorDefault, units, 4));
        EXPECT_EQ(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, string.Get(),
                                                kCFURLPOSIXPathStyle, false),
                  nullptr);
    }
}

TEST(FSRef, UrlsAreCountedLikeStrings) {
    const kvx_test::CFOwner<CFURLRef> url(CFURLCreateWithFileSystemPath(
        kCFAllocatorDefault, ToCFString("/tmp").Get(), kCFURLPOSIXPathStyle, true));
    EXPECT_EQ(CFGetRetainCount(url.Get()), 1);
    CFRetain(url.Get());
    EXPECT_EQ(CFGetRetainCount(url.Get()), 2);
    CFRelease(url.Get());
}

TEST(FSRef, NamesALinkAndNotItsTarget) {
    const kvx_test::TempDirectory folder;
    kvx_test::WriteFile(folder.File("clip.mov"), "x");
    std::filesystem::create_symlink("clip.mov", folder.File("link.mov"));
    std::filesystem::create_symlink("nowhere", folder.File("dangling.mov"));
    FSRef ref;
    ASSERT_TRUE(GetRef(folder.File("dangling.mov"), ref));
    ASSERT_TRUE(GetRef(folder.File("link.mov"), ref));
    EXPECT_EQ(FSDeleteObject(&ref), noErr);
    EXPECT_FALSE(Exists(folder.File("link.mov")));
    EXPECT_EQ(kvx_test::ReadFile(folder.File("clip.mov")), "x");
}

TEST(FSRef, AFolderMayBeReachedThroughALink) {
    const kvx_test::TempDirectory folder;
    std::filesystem::create_directory(folder.File("shots"));
    std::filesystem::create_directory_symlink("shots", folder.File("link"));
    kvx_test::WriteFile(folder.File("clip.mov"), "x");
    FSRef source, destination;
    ASSERT_TRUE(GetRef(folder.File("clip.mov"), source));
    ASSERT_TRUE(GetRef(folder.File("link"), destination, true));
    EXPECT_EQ(FSMoveObjectSync(&source, &destination, nullptr, nullptr, 5), noErr);
    EXPECT_EQ(kvx_test::ReadFile(folder.File("shots/clip.mov")), "x");
}

TEST(FSRef, KnowsItsFileFromAnotherOfTheSameName) {
    const kvx_test::TempDirectory folder;
    kvx_test::WriteFile(folder.File("clip.mov"), "old");
    kvx_test::WriteFile(folder.File("new.mov"), "new");
    FSRef ref;
    ASSERT_TRUE(GetRef(folder.File("clip.mov"), ref));
    std::filesystem::rename(folder.File("new.mov"), folder.File("clip.mov"));
    EXPECT_EQ(FSDeleteObject(&ref), fnfErr);
    EXPECT_EQ(kvx_test::ReadFile(folder.File("clip.mov")), "new");
}

TEST(FSRef, IsCopiedFreely) {
    const kvx_test::TempDirectory folder;
    kvx_test::WriteFile(folder.File("clip.mov"), "x");
    FSRef ref;
    ASSERT_TRUE(GetRef(folder.File("clip.mov"), ref));
    const FSRef copy = ref;
    EXPECT_EQ(FSDeleteObject(&copy), noErr);
    EXPECT_EQ(FSDeleteObject(&ref), fnfErr);
}

TEST(FSRef, BytesThatAreNoneAreRefused) {
    FSRef ref = {};
    EXPECT_EQ(FSDeleteObject(&ref), errFSBadFSRef);
    std::memset(ref.hidden, 0xFF, sizeof(ref.hidden));
    EXPECT_EQ(FSDeleteObject(&ref), errFSBadFSRef);
}

TEST(FSRef, TheLast256AreKnown) {
    const kvx_test::TempDirectory folder;
    kvx_test::WriteFile(folder.File("clip.mov"), "x");
    FSRef first, second, other;
    ASSERT_TRUE(GetRef(folder.File("clip.mov"), first));
    ASSERT_TRUE(GetRef(folder.File("clip.mov"), second));
    for (int count = 0; count < 255; ++count) {
        ASSERT_TRUE(GetRef(folder.Path(), other));
    }
    EXPECT_EQ(FSDeleteObject(&first), errFSBadFSRef);
    EXPECT_EQ(kvx_test::ReadFile(folder.File("clip.mov")), "x");
    EXPECT_EQ(FSDeleteObject(&second), noErr);
    EXPECT_FALSE(Exists(folder.File("clip.mov")));
}

TEST(FSRef, ThreadsDoNotDisturbEachOther) {
    const kvx_test::TempDirectory folder;
    constexpr int kThreads = 4;
    constexpr int kFiles = 200;
    std::vector<int> deleted(kThreads);
    // As many refs at a time as there are threads: of more than kFSRefsAlive the oldest would go.
    std::atomic<int> done{0};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&folder, &deleted, &done, index] {
            const std::string path = folder.File(std::to_string(index) + ".mov");
            for (int file = 0; file < kFiles; ++file) {
                while (done < file * kThreads) {
                    std::this_thread::yield();
                }
                kvx_test::WriteFile(path, "x");
                FSRef ref;
                deleted[static_cast<size_t>(index)] +=
                    GetRef(path, ref) && FSDeleteObject(&ref) == noErr && !Exists(path);
                ++done;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(deleted, std::vector<int>(kThreads, kFiles));
}

}  // namespace
