// Moving and deleting, and the result codes of each failure.
#include "platform/file_manager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "platform/portable/result_codes.h"
#include "support/file_tools.h"
#include "support/temp_directory.h"

namespace {

using kvx_test::GetRef;
using kvx_test::ReadFile;
using kvx_test::ToCFString;
using kvx_test::WriteFile;

// Overwrite, and do not leave the volume.
constexpr OptionBits kOptions = 5;

TEST(FileManager, OptionsHaveThePublishedValues) {
    EXPECT_EQ(kFSFileOperationOverwrite | kFSFileOperationDoNotMoveAcrossVolumes, kOptions);
}

class FileMove : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directory(mFolder.File("shots"));
        WriteFile(mFolder.File("clip.mov"), "clip");
        ASSERT_TRUE(GetRef(mFolder.File("clip.mov"), mSource));
        ASSERT_TRUE(GetRef(mFolder.File("shots"), mDestination, true));
    }

    OSStatus MoveAs(const std::string& name, OptionBits options = kOptions) {
        return FSMoveObjectSync(&mSource, &mDestination, ToCFString(name).Get(), nullptr, options);
    }

    void ExpectNothingMoved() const {
        EXPECT_EQ(ReadFile(mFolder.File("clip.mov")), "clip");
        EXPECT_TRUE(std::filesystem::is_empty(mFolder.File("shots")));
    }

    const kvx_test::TempDirectory mFolder;
    FSRef mSource = {};
    FSRef mDestination = {};
};

TEST_F(FileMove, TakesTheFileToItsNewName) {
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat(mFolder.File("clip.mov").c_str(), &before), 0);
    EXPECT_EQ(MoveAs("new.mov"), 0);
    ASSERT_EQ(stat(mFolder.File("shots/new.mov").c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(ReadFile(mFolder.File("clip.mov")), "<no file>");
}

TEST_F(FileMove, NamesMayBeOfAnyScript) {
    const std::string name = "\xE6\x98\xA0\xE5\x83\x8F \xF0\x9F\x98\x80:1.mov";
    EXPECT_EQ(MoveAs(name), 0);
    EXPECT_EQ(ReadFile(mFolder.File("shots/" + name)), "clip");
}

TEST_F(FileMove, WithoutANameTheFileKeepsItsOwn) {
    EXPECT_EQ(FSMoveObjectSync(&mSource, &mDestination, nullptr, nullptr, kOptions), 0);
    EXPECT_EQ(ReadFile(mFolder.File("shots/clip.mov")), "clip");
}

TEST_F(FileMove, ReplacesAnExistingFile) {
    WriteFile(mFolder.File("shots/new.mov"), "in the way");
    EXPECT_EQ(MoveAs("new.mov"), 0);
    EXPECT_EQ(ReadFile(mFolder.File("shots/new.mov")), "clip");
    EXPECT_EQ(ReadFile(mFolder.File("clip.mov")), "<no file>");
}

TEST_F(FileMove, WithoutOverwriteAnExistingFileStays) {
    WriteFile(mFolder.File("shots/new.mov"), "in the way");
    EXPECT_EQ(MoveAs("new.mov", kFSFileOperationDoNotMoveAcrossVolumes), -48);
    EXPECT_EQ(ReadFile(mFolder.File("shots/new.mov")), "in the way");
    EXPECT_EQ(ReadFile(mFolder.File("clip.mov")), "clip");
    EXPECT_EQ(MoveAs("other.mov", kFSFileOperationDoNotMoveAcrossVolumes), 0);
    EXPECT_EQ(ReadFile(mFolder.File("shots/other.mov")), "clip");
}

TEST_F(FileMove, OntoItselfChangesNothing) {
    ASSERT_TRUE(GetRef(mFolder.Path(), mDestination, true));
    EXPECT_EQ(MoveAs("clip.mov"), 0);
    EXPECT_EQ(ReadFile(mFolder.File("clip.mov")), "clip");
}

TEST_F(FileMove, TheResultIsNamed) {
    FSRef moved = {};
    EXPECT_EQ(
        FSMoveObjectSync(&mSource, &mDestination, ToCFString("new.mov").Get(), &moved, kOptions),
        0);
    EXPECT_EQ(FSDeleteObject(&moved), 0);
    EXPECT_TRUE(std::filesystem::is_empty(mFolder.File("shots")));
}

TEST_F(FileMove, AFolderIsMovedWhole) {
    std::filesystem::create_directory(mFolder.File("other"));
    WriteFile(mFolder.File("shots/a.mov"), "a");
    FSRef folder, destination;
    ASSERT_TRUE(GetRef(mFolder.File("shots"), folder, true));
    ASSERT_TRUE(GetRef(mFolder.File("other"), destination, true));
    EXPECT_EQ(FSMoveObjectSync(&folder, &destination, nullptr, nullptr, kOptions), 0);
    EXPECT_EQ(ReadFile(mFolder.File("other/shots/a.mov")), "a");
}

TEST_F(FileMove, AnEmptyNameIsMissing) {
    EXPECT_EQ(MoveAs(""), -1411);
    ExpectNothingMoved();
}

TEST_F(FileMove, NamesThatLeadElsewhereAreRefused) {
    EXPECT_EQ(MoveAs("."), -37);
    EXPECT_EQ(MoveAs(".."), -37);
    EXPECT_EQ(MoveAs("../new.mov"), -37);
    EXPECT_EQ(MoveAs(std::string("new\0.mov", 8)), -37);
    const UniChar unpaired[] = {'a', 0xD83D};
    const kvx_test::CFOwner<CFStringRef> name(
        CFStringCreateWithCharacters(kCFAllocatorDefault, unpaired, 2));
    EXPECT_EQ(FSMoveObjectSync(&mSource, &mDestination, name.Get(), nullptr, kOptions), -37);
    ExpectNothingMoved();
}

TEST_F(FileMove, NamesHaveALongestLength) {
    EXPECT_EQ(MoveAs(std::string(256, 'n')), -1410);
    ExpectNothingMoved();
    EXPECT_EQ(MoveAs(std::string(255, 'n')), 0);
}

TEST_F(FileMove, ASourceThatIsGoneIsNotFound) {
    unlink(mFolder.File("clip.mov").c_str());
    EXPECT_EQ(MoveAs("new.mov"), -43);
}

TEST_F(FileMove, ADestinationThatIsGoneIsNotFound) {
    rmdir(mFolder.File("shots").c_str());
    EXPECT_EQ(MoveAs("new.mov"), -43);
    EXPECT_EQ(ReadFile(mFolder.File("clip.mov")), "clip");
}

TEST_F(FileMove, ADestinationThatIsAFileIsNoFolder) {
    WriteFile(mFolder.File("file"), "file");
    ASSERT_TRUE(GetRef(mFolder.File("file"), mDestination));
    EXPECT_EQ(MoveAs("new.mov"), -1407);
    ExpectNothingMoved();
}

TEST_F(FileMove, AFolderInTheWayStays) {
    std::filesystem::create_directory(mFolder.File("shots/new.mov"));
    EXPECT_EQ(MoveAs("new.mov"), -1302);
    EXPECT_EQ(ReadFile(mFolder.File("clip.mov")), "clip");
}

TEST_F(FileMove, AFolderIsNotMovedIntoItself) {
    FSRef folder;
    ASSERT_TRUE(GetRef(mFolder.File("shots"), folder));
    EXPECT_EQ(FSMoveObjectSync(&folder, &mDestination, nullptr, nullptr, kOptions), -50);
}

TEST_F(FileMove, RefsAreNeeded) {
    EXPECT_EQ(FSMoveObjectSync(nullptr, &mDestination, nullptr, nullptr, kOptions), -50);
    EXPECT_EQ(FSMoveObjectSync(&mSource, nullptr, nullptr, nullptr, kOptions), -50);
    const FSRef none = {};
    EXPECT_EQ(FSMoveObjectSync(&none, &mDestination, nullptr, nullptr, kOptions), -1401);
    EXPECT_EQ(FSMoveObjectSync(&mSource, &none, nullptr, nullptr, kOptions), -1401);
    ExpectNothingMoved();
}

TEST_F(FileMove, AnotherVolumeIsRefused) {
    char other[] = "/dev/shm/kvx-test-XXXXXX";
    if (mkdtemp(other) == nullptr) {
        GTEST_SKIP() << "no folder can be made in /dev/shm";
    }
    struct stat here = {};
    struct stat there = {};
    ASSERT_EQ(stat(mFolder.Path().c_str(), &here), 0);
    ASSERT_EQ(stat(other, &there), 0);
    const std::string elsewhere = other;
    FSRef destination;
    const bool found = GetRef(elsewhere, destination, true);
    const OSStatus status =
        FSMoveObjectSync(&mSource, &destination, ToCFString("new.mov").Get(), nullptr, kOptions);
    const bool isEmpty = std::filesystem::is_empty(elsewhere);
    std::filesystem::remove_all(elsewhere);
    if (here.st_dev == there.st_dev) {
        GTEST_SKIP() << "/dev/shm and the temporary folder are one volume";
    }
    EXPECT_TRUE(found);
    EXPECT_EQ(status, -1303);
    EXPECT_TRUE(isEmpty);
    ExpectNothingMoved();
}

TEST(FileDelete, TakesFilesAndEmptyFolders) {
    const kvx_test::TempDirectory folder;
    std::filesystem::create_directory(folder.File("shots"));
    WriteFile(folder.File("shots/clip.mov"), "x");
    FSRef shots, clip;
    ASSERT_TRUE(GetRef(folder.File("shots"), shots, true));
    ASSERT_TRUE(GetRef(folder.File("shots/clip.mov"), clip));
    EXPECT_EQ(FSDeleteObject(&shots), -47);
    EXPECT_EQ(ReadFile(folder.File("shots/clip.mov")), "x");
    EXPECT_EQ(FSDeleteObject(&clip), 0);
    EXPECT_EQ(FSDeleteObject(&clip), -43);
    EXPECT_EQ(FSDeleteObject(&shots), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(FileDelete, WithoutPermissionTheFileStays) {
    FSRef ref;
    if (!GetRef("/proc/self/status", ref)) {
        GTEST_SKIP() << "no /proc here";
    }
    EXPECT_EQ(FSDeleteObject(&ref), -54);
}

TEST(FileDelete, ARefIsNeeded) {
    EXPECT_EQ(FSDeleteObject(nullptr), -50);
}

TEST(ResultCodes, AreThoseOfTheFileManager) {
    const struct {
        int error;
        OSStatus code;
    } expected[] = {
        {0, 0},         {EACCES, -54},    {EPERM, -54},   {ENOENT, -43},   {EEXIST, -48},
        {EXDEV, -1303}, {EIO, -36},       {ENOSPC, -34},  {EDQUOT, -34},   {EROFS, -44},
        {EBUSY, -47},   {ENOTEMPTY, -47}, {ETXTBSY, -47}, {ENOTDIR, -120}, {EISDIR, -1302},
        {EMFILE, -42},  {ENFILE, -42},    {ENOMEM, -108}, {EINVAL, -50},   {ENAMETOOLONG, -1410},
        {ELOOP, -36},   {99999, -36},
    };
    for (const auto& pair : expected) {
        EXPECT_EQ(KVX::Platform::ResultCode(pair.error), pair.code) << pair.error;
    }
}

TEST(Handles, HoldTheirBytes) {
    const Handle handle = NewHandle(1000);
    ASSERT_NE(handle, nullptr);
    ASSERT_NE(*handle, nullptr);
    std::memset(*handle, 0x5A, 1000);
    EXPECT_EQ(GetHandleSize(handle), 1000);
    DisposeHandle(handle);
}

TEST(Handles, MayBeEmptyButNotNegative) {
    const Handle handle = NewHandle(0);
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(*handle, nullptr);
    EXPECT_EQ(GetHandleSize(handle), 0);
    DisposeHandle(handle);
    EXPECT_EQ(NewHandle(-1), nullptr);
}

}  // namespace
