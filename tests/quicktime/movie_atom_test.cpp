// Finding the movie atom in a file, and reading it.
#include "quicktime/movie_atom.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <string>

#include "support/atom_node.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"
#include "support/movie_file.h"
#include "support/open_descriptors.h"
#include "support/temp_directory.h"

using namespace kvx_test;
using KVX::QT::Atom;
using KVX::QT::MovieAtom;

namespace {

constexpr uint64_t kLargest = 8388608;

class FindMovieAtom : public testing::Test {
  protected:
    // Opens a file of these bytes.
    long Init(const Bytes& bytes) {
        WriteFile(mPath, bytes);
        return mMovie.Init(mPath);
    }

    // Type of the nth child.
    std::string Child(int number) {
        Atom* child = nullptr;
        const char* position =
            reinterpret_cast<const char*>(mMovie.Get()) + mMovie.Get()->HeaderLength();
        const char* const end =
            reinterpret_cast<const char*>(mMovie.Get()) + mMovie.Get()->Length();
        for (int i = 0; i <= number; ++i) {
            child = Atom::At(position, end);
            if (child == nullptr) {
                return "none";
            }
            position += child->Length();
        }
        return std::string(reinterpret_cast<const char*>(&child->mType), 4);
    }

    TempDirectory mDirectory;
    std::string mPath = mDirectory.File("movie.mov");
    LogCapture mLog;
    MovieAtom mMovie;
};

Bytes Movie(const Bytes& childType) {
    return AtomNode{"moov", {}, {{childType}}}.Serialize();
}

TEST_F(FindMovieAtom, AtTheStart) {
    EXPECT_EQ(Init(Movie("aaaa")), 0);
    EXPECT_EQ(mMovie.Get()->Type(), 0x6D6F6F76u);
    EXPECT_EQ(Child(0), "aaaa");
    EXPECT_EQ(Child(1), "none");
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(FindMovieAtom, BehindOtherAtoms) {
    AtomNode wide{"mdat", zeros(1000)};
    wide.form = AtomNode::SizeForm::Extended;
    EXPECT_EQ(Init(AtomNode{"ftyp", "qt  "}.Serialize() + AtomNode{"free"}.Serialize() +
                   wide.Serialize() + Movie("aaaa")),
              0);
    EXPECT_EQ(Child(0), "aaaa");
}

TEST_F(FindMovieAtom, FarBehindMediaData) {
    const uint64_t length = 5'000'000'000;
    AtomNode head{"mdat"};
    head.form = AtomNode::SizeForm::Extended;
    head.writtenSize = length;
    WriteSparseFile(mPath, {{0, head.Serialize()}, {length, Movie("aaaa")}});
    EXPECT_EQ(mMovie.Init(mPath), 0);
    EXPECT_EQ(Child(0), "aaaa");
}

TEST_F(FindMovieAtom, FirstOneWins) {
    EXPECT_EQ(Init(Movie("aaaa") + Movie("bbbb")), 0);
    EXPECT_EQ(Child(0), "aaaa");
}

TEST_F(FindMovieAtom, NothingBehindItIsLookedAt) {
    EXPECT_EQ(Init(Movie("aaaa") + zeros(50)), 0);
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(FindMovieAtom, MissingFile) {
    EXPECT_EQ(mMovie.Init(mPath), ENOENT);
    EXPECT_EQ(mLog.Text(), "Init: Failed to open movie file at \"" + mPath + "\"\n");
}

// Nobody writes to it, so to wait for bytes would be to wait for ever.
TEST_F(FindMovieAtom, NamedPipe) {
    ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
    EXPECT_EQ(mMovie.Init(mPath), 22);
    EXPECT_EQ(mLog.Text(), "Init: Failed to open movie file at \"" + mPath + "\"\n");
}

TEST_F(FindMovieAtom, EndOfAPipe) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string path = "/dev/fd/" + std::to_string(ends[0]);
    EXPECT_EQ(mMovie.Init(path), 22);
    EXPECT_EQ(mLog.Text(), "Init: Failed to open movie file at \"" + path + "\"\n");
    close(ends[0]);
    close(ends[1]);
}

TEST_F(FindMovieAtom, Directory) {
    EXPECT_EQ(mMovie.Init(mDirectory.Path()), 22);
    EXPECT_EQ(mLog.Text(), "Init: Failed to open movie file at \"" + mDirectory.Path() + "\"\n");
}

TEST_F(FindMovieAtom, FileThatDoesNotTellWhatItIs) {
    WriteFile(mPath, Movie("aaaa"));
    const Fault fault(SystemCall::kFstat, EIO);
    EXPECT_EQ(mMovie.Init(mPath), EIO);
    EXPECT_EQ(mLog.Text(), "Init: Failed to open movie file at \"" + mPath + "\"\n");
}

TEST_F(FindMovieAtom, FileWithoutPositions) {
    WriteFile(mPath, Movie("aaaa"));
    const Fault fault(SystemCall::kLseek, ESPIPE);
    EXPECT_EQ(mMovie.Init(mPath), ESPIPE);
    EXPECT_EQ(mLog.Text(), "Init: lseek failed: " + std::to_string(ESPIPE) + " \"" +
                               std::strerror(ESPIPE) + "\"\n");
}

TEST_F(FindMovieAtom, ReadThatFails) {
    WriteFile(mPath, Movie("aaaa"));
    const Fault fault(SystemCall::kPread, EIO);
    EXPECT_EQ(mMovie.Init(mPath), EIO);
    EXPECT_EQ(mLog.Text(), "Init: read of 16 bytes failed with " + std::to_string(EIO) + "\n");
}

// What is read is good for as long as the object lives, and so is the descriptor.
TEST_F(FindMovieAtom, KeepsItsFileOpen) {
    const std::set<int> before = OpenDescriptors();
    {
        MovieAtom movie;
        WriteFile(mPath, Movie("aaaa"));
        EXPECT_EQ(movie.Init(mPath), 0);
        EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
        EXPECT_EQ(movie.Init(mPath), 0);
        EXPECT_EQ(OpenDescriptors().size(), before.size() + 1);
        EXPECT_EQ(movie.Init(mPath + ".gone"), ENOENT);
        EXPECT_EQ(OpenDescriptors(), before);
        EXPECT_EQ(movie.Init(mDirectory.Path()), 22);
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(FindMovieAtom, NoMemory) {
    WriteFile(mPath, big32(kLargest) + "moov");
    long status = 0;
    {
        const Fault failing(SystemCall::kMalloc, ENOMEM, 1, Fault::kForever);
        status = mMovie.Init(mPath);
    }
    EXPECT_EQ(status, 12);
    EXPECT_EQ(mLog.Text(), "Init: Failed to allocated 8388608 byte buffer for 'moov' atom\n");
}

// The probe reads, and the movie atom does not.
TEST_F(FindMovieAtom, MovieAtomThatDoesNotRead) {
    WriteFile(mPath, Movie("aaaa"));
    long status = 0;
    {
        const Fault fault(SystemCall::kPread, EIO, 2);
        status = mMovie.Init(mPath);
    }
    EXPECT_EQ(status, EIO);
    EXPECT_EQ(mLog.Text(), "Init: read of 16 bytes failed with " + std::to_string(EIO) + "\n");
}

TEST_F(FindMovieAtom, EmptyFile) {
    EXPECT_EQ(Init(""), 22);
    EXPECT_EQ(mLog.Text(), "Init: read of 0 bytes failed with 22\n");
}

TEST_F(FindMovieAtom, FileShorterThanAHeader) {
    EXPECT_EQ(Init(big32(8) + "moo"), 1);
    EXPECT_EQ(mLog.Text(), "Init: Invalid atom length 8 (0x8)\n");
}

TEST_F(FindMovieAtom, ChainWithoutIt) {
    EXPECT_EQ(Init(AtomNode{"ftyp", "qt  "}.Serialize() + AtomNode{"mdat", zeros(600)}.Serialize()),
              2);
    EXPECT_EQ(mLog.Text(), "Init: 'moov' atom not found in file \"" + mPath + "\"\n");
}

TEST_F(FindMovieAtom, ChainWithAFewBytesBehindIt) {
    EXPECT_EQ(Init(AtomNode{"free"}.Serialize() + zeros(7)), 2);
    EXPECT_EQ(mLog.Text(), "Init: 'moov' atom not found in file \"" + mPath + "\"\n");
}

TEST_F(FindMovieAtom, MediaDataUpToTheEndOfTheFileIsRefused) {
    EXPECT_EQ(Init(big32(0) + "mdat" + zeros(100) + Movie("aaaa")), 1);
    EXPECT_EQ(mLog.Text(), "Init: Invalid atom length 0 (0x0)\n");
}

TEST_F(FindMovieAtom, LengthBelowAHeader) {
    EXPECT_EQ(Init(big32(7) + "free" + Movie("aaaa")), 1);
    EXPECT_EQ(mLog.Text(), "Init: Invalid atom length 7 (0x7)\n");
}

TEST_F(FindMovieAtom, LengthBeyondTheFile) {
    EXPECT_EQ(Init(big32(31) + "free" + zeros(22)), 1);
    EXPECT_EQ(mLog.Text(), "Init: Invalid atom length 31 (0x1f)\n");
}

TEST_F(FindMovieAtom, ExtendedLengthBeyondAllFiles) {
    EXPECT_EQ(Init(big32(1) + "free" + big64(-2) + zeros(100)), 1);
    EXPECT_EQ(mLog.Text(), "Init: Invalid atom length 18446744073709551614 (0xfffffffffffffffe)\n");
}

TEST_F(FindMovieAtom, ExtendedLengthCutByTheFilesEnd) {
    EXPECT_EQ(Init(AtomNode{"free"}.Serialize() + big32(1) + "mdat"), 1);
    EXPECT_EQ(mLog.Text(), "Init: Invalid atom length 0 (0x0)\n");
}

TEST_F(FindMovieAtom, EmptyOne) {
    EXPECT_EQ(Init(AtomNode{"moov"}.Serialize()), 0);
    EXPECT_EQ(Child(0), "none");
}

TEST_F(FindMovieAtom, LengthBelowEight) {
    EXPECT_EQ(Init(big32(7) + "moov" + zeros(100)), 22);
    EXPECT_EQ(mLog.Text(), "Init: 'moov' atom in file \"" + mPath + "\" has invalid length of 7\n");
}

TEST_F(FindMovieAtom, LengthOfZero) {
    EXPECT_EQ(Init(big32(0) + "moov" + zeros(100)), 22);
    EXPECT_EQ(mLog.Text(), "Init: 'moov' atom in file \"" + mPath + "\" has invalid length of 0\n");
}

TEST_F(FindMovieAtom, LongestAllowed) {
    WriteSparseFile(mPath, {{0, big32(kLargest) + "moov" + AtomNode{"aaaa"}.Serialize()},
                            {kLargest - 1, zeros(1)}});
    ASSERT_EQ(mMovie.Init(mPath), 0);
    EXPECT_EQ(mMovie.Get()->Length(), kLargest);
    EXPECT_EQ(Child(0), "aaaa");
}

TEST_F(FindMovieAtom, TooLong) {
    WriteSparseFile(mPath, {{0, big32(kLargest + 1) + "moov"}, {kLargest, zeros(1)}});
    EXPECT_EQ(mMovie.Init(mPath), 22);
    EXPECT_EQ(mLog.Text(),
              "Init: 'moov' atom in file \"" + mPath + "\" has invalid length of 8388609\n");
}

TEST_F(FindMovieAtom, ExtendedLengthThatLooksShortInThirtyTwoBits) {
    EXPECT_EQ(Init(big32(1) + "moov" + big64(0x100000010) + zeros(100)), 22);
    EXPECT_EQ(mLog.Text(),
              "Init: 'moov' atom in file \"" + mPath + "\" has invalid length of 4294967312\n");
}

TEST_F(FindMovieAtom, ExtendedLength) {
    AtomNode wide{"moov", {}, {{"aaaa"}, {"bbbb"}}};
    wide.form = AtomNode::SizeForm::Extended;
    EXPECT_EQ(Init(wide.Serialize()), 0);
    EXPECT_EQ(Child(1), "bbbb");
    EXPECT_EQ(Child(2), "none");
}

TEST_F(FindMovieAtom, ExtendedLengthOfLessThanItsHeader) {
    EXPECT_EQ(Init(big32(1) + "moov" + big64(8) + AtomNode{"aaaa"}.Serialize()), 0);
    EXPECT_EQ(Child(0), "none");
}

TEST_F(FindMovieAtom, LengthBeyondTheFileEndsWithTheFile) {
    EXPECT_EQ(
        Init(big32(5000) + "moov" + AtomNode{"aaaa"}.Serialize() + AtomNode{"bbbb"}.Serialize()),
        0);
    EXPECT_EQ(mMovie.Get()->Length(), 24u);
    EXPECT_EQ(Child(1), "bbbb");
    EXPECT_EQ(Child(2), "none");
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(FindMovieAtom, ExtendedLengthBeyondTheFileEndsWithTheFile) {
    EXPECT_EQ(Init(big32(1) + "moov" + big64(5000) + AtomNode{"aaaa"}.Serialize()), 0);
    EXPECT_EQ(mMovie.Get()->Length(), 24u);
    EXPECT_EQ(Child(0), "aaaa");
    EXPECT_EQ(Child(1), "none");
}

TEST_F(FindMovieAtom, HeaderAloneAtTheFilesEnd) {
    EXPECT_EQ(Init(AtomNode{"free"}.Serialize() + big32(100) + "moov"), 0);
    EXPECT_EQ(mMovie.Get()->Length(), 8u);
    EXPECT_EQ(Child(0), "none");
}

TEST_F(FindMovieAtom, TellsWhetherItEndsInsideATrack) {
    const Bytes track = AtomNode{"trak", zeros(100)}.Serialize();
    const Bytes inside = AtomNode{"moov", {}, {{"trak", zeros(100)}}}.Serialize();
    EXPECT_EQ(Init(inside), 0);
    EXPECT_FALSE(mMovie.EndsInsideTrack());
    for (const size_t cut : {1, 50, 100}) {
        SCOPED_TRACE(cut);
        EXPECT_EQ(Init(inside.substr(0, inside.size() - cut)), 0);
        EXPECT_TRUE(mMovie.EndsInsideTrack());
    }
    // The header of an extended track is cut, of which the first eight bytes look like any other's.
    for (uint32_t size = 16; size < 24; ++size) {
        SCOPED_TRACE(size);
        EXPECT_EQ(Init(big32(size) + "moov" + big32(1) + "trak" + zeros(size - 16)), 0);
        EXPECT_TRUE(mMovie.EndsInsideTrack());
    }
    // A child of another kind may be cut.
    const Bytes other = AtomNode{"moov", {}, {{"udta", zeros(100)}}}.Serialize();
    EXPECT_EQ(Init(other.substr(0, 50)), 0);
    EXPECT_FALSE(mMovie.EndsInsideTrack());
}

}  // namespace
