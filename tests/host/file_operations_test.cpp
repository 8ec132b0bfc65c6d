#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "host/host_test.h"
#include "hostkit/record_block.h"
#include "hostkit/utf16.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "support/fault_injection.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::RecordBlock;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::Video;
using kvx_test::WriteFile;

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    return contents.str();
}

bool Exists(const std::string& path) {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

class FileOperations : public kvx_test::HostTest {
  protected:
    FileOperations() {
        WriteFile(mSource, "what is moved");
        std::filesystem::create_directory(mFolder);
    }

    std::string In(const std::string& name) const { return mFolder + "/" + name; }

    void ExpectStays() const { EXPECT_EQ(Read(mSource), "what is moved"); }

    const std::string mSource = directory.File("source.mov");
    const std::string mFolder = directory.File("folder");
};

TEST_F(FileOperations, Move) {
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(mSource, In("moved.mov")), 0);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_FALSE(Exists(mSource));
    EXPECT_EQ(Read(In("moved.mov")), "what is moved");
}

TEST_F(FileOperations, MoveReplacesWhatIsThere) {
    WriteFile(In("moved.mov"), "what was there before, and longer");
    EXPECT_EQ(importer.SaveFile(mSource, In("moved.mov")), 0);
    EXPECT_FALSE(Exists(mSource));
    EXPECT_EQ(Read(In("moved.mov")), "what is moved");
}

TEST_F(FileOperations, Rename) {
    EXPECT_EQ(importer.SaveFile(mSource, directory.File("renamed")), 0);
    EXPECT_FALSE(Exists(mSource));
    EXPECT_EQ(Read(directory.File("renamed")), "what is moved");
}

TEST_F(FileOperations, MoveOntoItself) {
    EXPECT_EQ(importer.SaveFile(mSource, mSource), 0);
    ExpectStays();
}

TEST_F(FileOperations, NamesOfAnyScript) {
    const std::string names[] = {"日本語のファイル名.mov",
                                 "🎬🎞️ é ü.mov",
                                 "space and \"quotes\"",
                                 "colon:name",
                                 "back\\slash",
                                 std::string(255, 'n')};
    std::string from = mSource;
    for (const std::string& name : names) {
        LogCapture log;
        EXPECT_EQ(importer.SaveFile(from, In(name)), 0) << name;
        EXPECT_EQ(log.Raw(), "");
        EXPECT_FALSE(Exists(from));
        EXPECT_EQ(Read(In(name)), "what is moved") << name;
        from = In(name);
    }
    for (const std::string& name : names) {
        WriteFile(In(name), "what is deleted");
        LogCapture log;
        EXPECT_EQ(importer.DeleteFile(In(name)), 0) << name;
        EXPECT_EQ(log.Raw(), "");
        EXPECT_FALSE(Exists(In(name))) << name;
    }
}

// The last slash is found by units, of which the characters before it may have two.
TEST_F(FileOperations, FoldersOfAnyScript) {
    const std::string folder = In("🎬 映像");
    std::filesystem::create_directories(folder + "/😀");
    EXPECT_EQ(importer.SaveFile(mSource, folder + "/😀/日本.mov"), 0);
    EXPECT_EQ(Read(folder + "/😀/日本.mov"), "what is moved");
    EXPECT_EQ(importer.DeleteFile(folder + "/😀/日本.mov"), 0);
    EXPECT_TRUE(std::filesystem::is_empty(folder + "/😀"));
}

TEST_F(FileOperations, MissingSource) {
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(directory.File("missing"), In("moved.mov")), 2);
    EXPECT_EQ(log.Text(), "SaveFile8: CFURLGetFSRef failed\n");
    EXPECT_FALSE(Exists(In("moved.mov")));
}

TEST_F(FileOperations, SourceIsLookedForFirst) {
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(directory.File("missing"), "no slash"), 2);
    EXPECT_EQ(log.Text(), "SaveFile8: CFURLGetFSRef failed\n");
}

TEST_F(FileOperations, DestinationWithoutASlash) {
    for (const char* destination : {"moved.mov", "", "日本"}) {
        LogCapture log;
        EXPECT_EQ(importer.SaveFile(mSource, destination), 2);
        EXPECT_EQ(log.Text(), "SaveFile8: CFStringFind failed\n");
        ExpectStays();
    }
}

TEST_F(FileOperations, MissingFolder) {
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(mSource, directory.File("missing/moved.mov")), 2);
    EXPECT_EQ(log.Text(), "SaveFile8: CFURLGetFSRef failed\n");
    ExpectStays();
}

TEST_F(FileOperations, FileForAFolder) {
    WriteFile(In("file"), "");
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(mSource, In("file") + "/moved.mov"), 2);
    EXPECT_EQ(log.Text(), "SaveFile8: CFURLGetFSRef failed\n");
    ExpectStays();
}

TEST_F(FileOperations, EmptyNewName) {
    // The File Manager's word for a missing name, as it stands.
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(mSource, mFolder + "/"), -1411);
    EXPECT_EQ(log.Text(), "SaveFile8: FSMoveObjectSync returned -1411\n");
    ExpectStays();
}

TEST_F(FileOperations, FolderInTheWay) {
    std::filesystem::create_directory(In("moved.mov"));
    LogCapture log;
    const long result = importer.SaveFile(mSource, In("moved.mov"));
    EXPECT_LT(result, 0);
    EXPECT_EQ(log.Text(), "SaveFile8: FSMoveObjectSync returned " + std::to_string(result) + "\n");
    ExpectStays();
}

TEST_F(FileOperations, DirectlyUnderTheRoot) {
    // The folder is the empty string, which names nothing.
    const std::string destination = "/kvx-moved-" + std::to_string(getpid()) + ".mov";
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(mSource, destination), 2);
    EXPECT_EQ(log.Text(), "SaveFile8: CFURLGetFSRef failed\n");
    ExpectStays();
    EXPECT_FALSE(std::filesystem::remove(destination));
}

TEST_F(FileOperations, OtherVolume) {
    struct stat here = {};
    struct stat there = {};
    if (stat(directory.Path().c_str(), &here) != 0 || stat("/dev/shm", &there) != 0 ||
        here.st_dev == there.st_dev || access("/dev/shm", W_OK) != 0) {
        GTEST_SKIP() << "no second volume to write to";
    }
    const std::string destination = "/dev/shm/kvx-moved-" + std::to_string(getpid()) + ".mov";
    LogCapture log;
    EXPECT_EQ(importer.SaveFile(mSource, destination), -1303);
    EXPECT_EQ(log.Text(), "SaveFile8: FSMoveObjectSync returned -1303\n");
    ExpectStays();
    EXPECT_FALSE(std::filesystem::remove(destination));
}

TEST_F(FileOperations, NullPathsAreEmpty) {
    RecordBlock<imSaveFileRec8> save;
    {
        LogCapture log;
        EXPECT_EQ(importer.Call(imSaveFile8, save.Get(), nullptr), 2);
        EXPECT_EQ(log.Text(), "SaveFile8: CFURLGetFSRef failed\n");
    }
    const auto source = kvx_hostkit::ToHostPath(mSource);
    save->sourcePath = source.data();
    {
        LogCapture log;
        EXPECT_EQ(importer.Call(imSaveFile8, save.Get(), nullptr), 2);
        EXPECT_EQ(log.Text(), "SaveFile8: CFStringFind failed\n");
    }
    RecordBlock<imDeleteFileRec8> erase;
    LogCapture log;
    EXPECT_EQ(importer.Call(imDeleteFile8, erase.Get(), nullptr), 2);
    EXPECT_EQ(log.Text(), "DeleteFile8: CFURLGetFSRef failed\n");
}

TEST_F(FileOperations, UnpairedSurrogateIsNoPath) {
    const prUTF16Char broken[] = {'/', 'a', 0xD800, 'b', 0};
    const auto source = kvx_hostkit::ToHostPath(mSource);
    RecordBlock<imSaveFileRec8> save;
    save->sourcePath = broken;
    save->destinationPath = source.data();
    {
        LogCapture log;
        EXPECT_EQ(importer.Call(imSaveFile8, save.Get(), nullptr), 4);
        EXPECT_EQ(log.Text(), "SaveFile8: CFURLCreateWithFileSystemPath failed\n");
    }
    RecordBlock<imDeleteFileRec8> erase;
    erase->deleteFilePath = broken;
    LogCapture log;
    EXPECT_EQ(importer.Call(imDeleteFile8, erase.Get(), nullptr), 4);
    EXPECT_EQ(log.Text(), "DeleteFile8: CFURLCreateWithFileSystemPath failed\n");
}

TEST_F(FileOperations, UnpairedSurrogateInTheFolder) {
    const prUTF16Char broken[] = {'/', 0xDC00, '/', 'b', 0};
    const auto source = kvx_hostkit::ToHostPath(mSource);
    RecordBlock<imSaveFileRec8> save;
    save->sourcePath = source.data();
    save->destinationPath = broken;
    LogCapture log;
    EXPECT_EQ(importer.Call(imSaveFile8, save.Get(), nullptr), 4);
    EXPECT_EQ(log.Text(), "SaveFile8: CFURLCreateWithFileSystemPath failed\n");
    ExpectStays();
}

TEST_F(FileOperations, LackOfMemoryAtEachString) {
    const auto source = kvx_hostkit::ToHostPath(mSource);
    const auto destination = kvx_hostkit::ToHostPath(In("moved.mov"));
    RecordBlock<imSaveFileRec8> save;
    save->sourcePath = source.data();
    save->destinationPath = destination.data();
    // The strings in their order: source, destination, the slash to look for, folder, name.
    const char* const lines[] = {
        "SaveFile8: CFStringCreateWithCharacters failed\n",
        "SaveFile8: CFStringCreateWithCharacters failed\n",
        "SaveFile8: CFStringFind failed\n",
        "SaveFile8: CFStringCreateWithCharacters failed\n",
        "SaveFile8: CFStringCreateWithCharacters failed\n",
    };
    for (int string = 0; string < 5; ++string) {
        LogCapture log;
        long result = 0;
        {
            const kvx_test::Fault failing(kvx_test::SystemCall::kNewNothrow, ENOMEM, string + 1,
                                          kvx_test::Fault::kForever);
            result = importer.Call(imSaveFile8, save.Get(), nullptr);
        }
        EXPECT_EQ(result, string == 2 ? 2 : 4) << string;
        EXPECT_EQ(log.Text(), lines[string]) << string;
        ExpectStays();
    }
    RecordBlock<imDeleteFileRec8> erase;
    erase->deleteFilePath = source.data();
    LogCapture log;
    long result = 0;
    {
        const kvx_test::Fault failing(kvx_test::SystemCall::kNewNothrow, ENOMEM, 1,
                                      kvx_test::Fault::kForever);
        result = importer.Call(imDeleteFile8, erase.Get(), nullptr);
    }
    EXPECT_EQ(result, 4);
    EXPECT_EQ(log.Text(), "DeleteFile8: CFStringCreateWithCharacters failed\n");
    ExpectStays();
}

TEST_F(FileOperations, Delete) {
    LogCapture log;
    EXPECT_EQ(importer.DeleteFile(mSource), 0);
    EXPECT_EQ(log.Raw(), "");
    EXPECT_FALSE(Exists(mSource));
}

TEST_F(FileOperations, DeleteOfAMissingFile) {
    LogCapture log;
    EXPECT_EQ(importer.DeleteFile(directory.File("missing")), 2);
    EXPECT_EQ(log.Text(), "DeleteFile8: CFURLGetFSRef failed\n");
}

TEST_F(FileOperations, DeleteOfAFolderThatIsNotEmpty) {
    WriteFile(In("file"), "");
    LogCapture log;
    const long result = importer.DeleteFile(mFolder);
    EXPECT_LT(result, 0);
    EXPECT_GE(result, INT16_MIN);
    EXPECT_EQ(log.Text(), "DeleteFile8: FSDeleteObject returned " + std::to_string(result) + "\n");
    EXPECT_TRUE(Exists(In("file")));
}

TEST_F(FileOperations, OpenMovieKeepsItsFileAndItsOldPath) {
    const std::string path = Write(MovieOf({Video()}));
    const std::string movedPath = In("moved.mov");
    Clip clip(importer, path);
    ASSERT_EQ(clip.Open(), 0);
    KVX::QT::VideoTrack& track = *ModuleOf(clip)->mMovie->mVideoTracks[0];
    const int descriptor = track.mFileDescriptor;

    ASSERT_EQ(importer.SaveFile(path, movedPath), 0);
    EXPECT_EQ(track.mFileDescriptor, descriptor);
    EXPECT_EQ(track.mFilePath, path);
    char first = 0;
    EXPECT_EQ(pread(descriptor, &first, 1, kvx_test::kMediaOffset), 1);

    // A quiet stream that comes back looks for the old path.
    ASSERT_EQ(clip.Quiet(), 0);
    {
        LogCapture log;
        EXPECT_EQ(clip.Reopen(), 0);
        EXPECT_LT(track.mFileDescriptor, 0);
    }
    ASSERT_EQ(importer.SaveFile(movedPath, path), 0);
    ASSERT_EQ(clip.Quiet(), 0);
    EXPECT_EQ(clip.Reopen(), 0);
    EXPECT_GE(track.mFileDescriptor, 0);

    ASSERT_EQ(importer.DeleteFile(path), 0);
    EXPECT_EQ(pread(track.mFileDescriptor, &first, 1, kvx_test::kMediaOffset), 1);
}

}  // namespace
