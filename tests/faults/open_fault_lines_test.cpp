// A file is opened and one of the calls of the system fails: the host's answer and the log, line by
// line, for every such call. The movie has a picture, a sound and a timecode track.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "faults/fault_rows.h"
#include "faults/module_stage.h"
#include "host/entry.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::Importer;
using kvx_test::FaultRow;
using kvx_test::HostCall;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::StatusAndLines;
using kvx_test::SystemCall;

const std::string kNoMovie =
    "xMoviePlayable: Movie::Create() failed\n"
    "OpenFile8: xMoviePlayable returned 12\n";

std::string MovieFailed(const std::string& status) {
    return "Create: Init() failed with " + status + "\n" + kNoMovie;
}

std::string TrackFailed(const std::string& className) {
    return "Init: Failed to create a new " + className + "\n" + MovieFailed("22");
}

// Of a track's own file.
std::string VideoFileFailed(const std::string& status) {
    return "Init: OpenFile returned " + status + "\nInit: Track::Init() returned " + status +
           "\nCreate: qtTrack->Init() returned " + status + "\n" + TrackFailed("VideoTrack");
}

std::string AudioFileFailed(const std::string& status) {
    return "Init: OpenFile returned " + status + "\nCreate: audioTrack->Init() returned " + status +
           "\n" + TrackFailed("AudioTrack");
}

std::string TimeCodeFileFailed(const std::string& status) {
    return "Init: OpenFile returned " + status + "\nInit: Track::Init() returned " + status +
           "\nCreate: qtTrack->Init() returned " + status + "\n" + TrackFailed("TimeCodeTrack");
}

// Where a file's movie atom is, by the sizes of the atoms in front of it.
struct MovieAtomPlace {
    int atomsBefore = 0;
    uint32_t length = 0;
};

MovieAtomPlace FindMovieAtom(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    MovieAtomPlace place;
    unsigned char header[8];
    while (file.read(reinterpret_cast<char*>(header), sizeof(header))) {
        place.length = static_cast<uint32_t>(header[0]) << 24 |
                       static_cast<uint32_t>(header[1]) << 16 |
                       static_cast<uint32_t>(header[2]) << 8 | header[3];
        if (std::string(header + 4, header + 8) == "moov") {
            return place;
        }
        file.seekg(static_cast<std::streamoff>(place.length) - 8, std::ios::cur);
        ++place.atomsBefore;
    }
    return {};
}

class OpenFaultLines : public testing::Test {
  protected:
    HostCall Open() {
        return {[this] { clip = std::make_unique<Clip>(importer, movies.picture); },
                [this] { return clip->Open(); }, [this] { clip.reset(); }};
    }

    std::vector<FaultRow> Rows() const;
    std::vector<FaultRow> ReadRows() const;

    const StageMovies movies;
    ModuleStage stage{movies};
    const Importer importer{stage.host, {&xImportEntry, &AsyncImportEntry}};
    std::unique_ptr<Clip> clip;
};

std::vector<FaultRow> OpenFaultLines::Rows() const {
    const std::string lockFailed = "Lock: pthread_mutex_lock returned 35\nLock: Lock returned 35\n";
    const std::string length = std::to_string(FindMovieAtom(movies.picture).length);
    return {
        // The registry. One that cannot be asked knows of nothing, and the file is opened afresh.
        {"asking the registry", SystemCall::kOnce, 1, 22, 0,
         "Call: pthread_once returned 22\n"
         "GetInstanceForIndex: Skipping because static initialisation failed\n"},
        {"locking the registry to ask", SystemCall::kMutexLock, 1, 35, 0,
         lockFailed + "GetInstanceForIndex: Lock returned 35\n"},
        {"entering the registry", SystemCall::kOnce, 2, 22, 22,
         "Call: pthread_once returned 22\nInit: Skipping because static initialisation failed\n"
         "Init: Indexed<long>::Init() returned 22\nOpenFile8: Init() returned 22\n"},
        {"locking the registry to enter", SystemCall::kMutexLock, 2, 35, 35,
         lockFailed + "Init: Lock returned 35\nInit: Indexed<long>::Init() returned 35\n"
                      "OpenFile8: Init() returned 35\n"},

        // The module and the path.
        {"the path's text", SystemCall::kMalloc, 1, ENOMEM, 2,
         "OpenFile8: CFStringCreateWithCharacters failed\n"},
        {"the path's string", SystemCall::kNewNothrow, 1, ENOMEM, 2,
         "OpenFile8: CFStringCreateWithCharacters failed\n"},
        {"the module", SystemCall::kNewNothrow, 2, ENOMEM, 2,
         "OpenFile8: Failed to allocate new FileImportModule object\n"},
        // Text that cannot be converted is empty.
        {"the path in UTF-8", SystemCall::kMalloc, 2, ENOMEM, 12,
         "Init: Failed to open movie file at \"\"\n" + MovieFailed("2")},

        // The movie's file and its movie atom.
        {"the movie", SystemCall::kNewNothrow, 3, ENOMEM, 12,
         "Create: Failed to create a new Movie object\n" + kNoMovie},
        {"opening", SystemCall::kOpen, 1, EACCES, 12,
         "Init: Failed to open movie file at \"" + movies.picture + "\"\n" + MovieFailed("13")},
        {"opening without a free descriptor", SystemCall::kOpen, 1, EMFILE, 12,
         "Init: Failed to open movie file at \"" + movies.picture + "\"\n" + MovieFailed("24")},
        {"telling a file from a pipe", SystemCall::kFstat, 1, EIO, 12,
         "Init: Failed to open movie file at \"" + movies.picture + "\"\n" + MovieFailed("5")},
        {"seeking to the end", SystemCall::kLseek, 1, EIO, 12,
         "Init: lseek failed: 5 \"Input/output error\"\n" + MovieFailed("5")},
        {"seeking back", SystemCall::kLseek, 2, EIO, 12,
         "Init: lseek failed: 5 \"Input/output error\"\n" + MovieFailed("5")},
        {"the atom's buffer", SystemCall::kMalloc, 3, ENOMEM, 12,
         "Init: Failed to allocated " + length + " byte buffer for 'moov' atom\n" +
             MovieFailed("12")},
        {"closing", SystemCall::kClose, 1, EIO, 0, ""},

        // The tracks.
        {"the video track", SystemCall::kNewNothrow, 4, ENOMEM, 12,
         "Create: Failed to create a new VideoTrack object\n" + TrackFailed("VideoTrack")},
        {"the audio track", SystemCall::kNewNothrow, 5, ENOMEM, 12,
         "Create: Failed to create a new AudioTrack object\n" + TrackFailed("AudioTrack")},
        {"the timecode track", SystemCall::kNewNothrow, 6, ENOMEM, 12,
         "Create: Failed to create a new TimeCodeTrack object\n" + TrackFailed("TimeCodeTrack")},
        {"the image description", SystemCall::kMalloc, 4, ENOMEM, 12,
         "Init: Failed to allocate 86 byte image description buffer\n"
         "Create: qtTrack->Init() returned 12\n" +
             TrackFailed("VideoTrack")},
        // The number of a failed open stays in the track.
        {"the video track's file", SystemCall::kOpen, 2, EACCES, 12,
         "OpenFile: open returned 13\n" + VideoFileFailed("22")},
        {"the audio track's file", SystemCall::kOpen, 3, EACCES, 12,
         "OpenFile: open returned 13\n" + AudioFileFailed("22")},
        {"the timecode track's file", SystemCall::kOpen, 4, EMFILE, 12,
         "OpenFile: open returned 24\n" + TimeCodeFileFailed("22")},
        {"the video file's size", SystemCall::kFstat, 2, EIO, 12,
         "OpenFile: fstat returned 5\n" + VideoFileFailed("-1")},
        {"the audio file's size", SystemCall::kFstat, 3, EIO, 12,
         "OpenFile: fstat returned 5\n" + AudioFileFailed("-1")},
        {"the timecode file's size", SystemCall::kFstat, 4, EIO, 12,
         "OpenFile: fstat returned 5\n" + TimeCodeFileFailed("-1")},
        {"uncached reads of the video file", SystemCall::kFileAdvice, 1, 22, 12,
         "OpenFile: fcntl returned 22\n" + VideoFileFailed("22")},
        {"uncached reads of the audio file", SystemCall::kFileAdvice, 2, 22, 12,
         "OpenFile: fcntl returned 22\n" + AudioFileFailed("22")},
        {"uncached reads of the timecode file", SystemCall::kFileAdvice, 3, 22, 12,
         "OpenFile: fcntl returned 22\n" + TimeCodeFileFailed("22")},
    };
}

std::vector<FaultRow> OpenFaultLines::ReadRows() const {
    const MovieAtomPlace place = FindMovieAtom(movies.picture);
    std::vector<FaultRow> rows;
    for (int probe = 1; probe <= place.atomsBefore + 1; ++probe) {
        for (const int error : {EIO, EINTR, EBADF, 70}) {
            const std::string number = std::to_string(error);
            rows.push_back(
                {"a probe", SystemCall::kPread, probe, error, 12,
                 "Init: read of 512 bytes failed with " + number + "\n" + MovieFailed(number)});
        }
        rows.push_back({"a probe of nothing", SystemCall::kReadShort, probe, 0, 12,
                        "Init: read of 512 bytes failed with 22\n" + MovieFailed("22")});
        // Only the size and the type are looked at.
        rows.push_back({"all but a byte of a probe", SystemCall::kReadShort, probe, -1, 0, ""});
    }
    const int atom = place.atomsBefore + 2;
    const std::string length = std::to_string(place.length);
    for (const int error : {EIO, EINTR, EBADF, 70}) {
        const std::string number = std::to_string(error);
        rows.push_back({"the movie atom", SystemCall::kPread, atom, error, 12,
                        "Init: read of " + length + " bytes failed with " + number + "\n" +
                            MovieFailed(number)});
    }
    rows.push_back({"nothing of the movie atom", SystemCall::kReadShort, atom, 0, 12,
                    "Init: read of " + length + " bytes failed with 22\n" + MovieFailed("22")});
    // No failure: a movie without tracks, which is not playable.
    rows.push_back({"a byte of the movie atom", SystemCall::kReadShort, atom, 1, 2, ""});
    return rows;
}

TEST_F(OpenFaultLines, EveryCallHasARow) {
    std::vector<FaultRow> rows = Rows();
    const std::vector<FaultRow> reads = ReadRows();
    rows.insert(rows.end(), reads.begin(), reads.end());
    ASSERT_EQ(Clip(importer, movies.good).Open(), 0);
    ExpectARowForEveryCall(Open(), rows, {SystemCall::kNew});
}

TEST_F(OpenFaultLines, Rows) {
    ASSERT_EQ(Clip(importer, movies.good).Open(), 0);
    ExpectRows(Open(), Rows());
}

TEST_F(OpenFaultLines, Reads) {
    ASSERT_EQ(Clip(importer, movies.good).Open(), 0);
    ExpectRows(Open(), ReadRows());
}

// Lists, maps and strings that cannot grow. How many there are is the library's affair. The first
// is the registry's entry, the last that of the stream.
TEST_F(OpenFaultLines, Containers) {
    ASSERT_EQ(Clip(importer, movies.good).Open(), 0);
    const std::string ofTheModule =
        StatusAndLines(4, "xImportEntry: Selector 39 ended with an exception\n");
    const std::string ofThePath = StatusAndLines(12, "OpenFile8: xMoviePlayable returned 12\n");
    const std::string ofTheMovie = StatusAndLines(12, MovieFailed("12"));
    // Tables that cannot move to smaller memory stay where they are.
    const std::string none = StatusAndLines(0, "");
    std::vector<std::string> said;
    for (;;) {
        const std::string answer =
            StatusAndLines(Open(), SystemCall::kNew, ENOMEM, static_cast<int>(said.size()) + 1);
        if (answer.empty()) {
            break;
        }
        said.push_back(answer);
    }
    ASSERT_GE(said.size(), 3U);
    EXPECT_EQ(said.front(), ofTheModule);
    EXPECT_EQ(said.back(), ofTheModule);
    int ofMovies = 0;
    for (size_t nth = 1; nth + 1 < said.size(); ++nth) {
        EXPECT_TRUE(said[nth] == ofThePath || said[nth] == ofTheMovie || said[nth] == none)
            << "number " << nth + 1 << ": " << said[nth];
        ofMovies += said[nth] == ofTheMovie ? 1 : 0;
    }
    EXPECT_GE(ofMovies, 3) << "the list of each kind of track";
}

// A further stream only asks the registry; one that cannot be asked makes it a file of its own.
TEST_F(OpenFaultLines, OfAFurtherStream) {
    const HostCall further = {[this] {
                                  clip = std::make_unique<Clip>(importer, movies.picture);
                                  ASSERT_EQ(clip->Open(), 0);
                              },
                              [this] { return clip->Open(); }, [this] { clip.reset(); }};
    const std::vector<FaultRow> rows = {{"the stream's entry", SystemCall::kNew, 1, ENOMEM, 4,
                                         "xImportEntry: Selector 39 ended with an exception\n"}};
    ExpectRows(further, rows);
    ExpectARowForEveryCall(further, rows, {SystemCall::kOnce, SystemCall::kMutexLock});
}

}  // namespace
