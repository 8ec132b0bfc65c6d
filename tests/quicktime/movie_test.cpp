// What becomes of a movie's tracks.
#include "quicktime/movie.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>

#include "quicktime/audio_track.h"
#include "quicktime/timecode_track.h"
#include "quicktime/video_track.h"
#include "support/atom_buffer.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"
#include "support/movie_file.h"
#include "support/open_descriptors.h"
#include "support/temp_directory.h"

using namespace kvx_test;
using KVX::QT::Movie;
using KVX::QT::Track;

namespace {

TrackRecipe Video(const Bytes& format = "v210") {
    return VideoTrackRecipe({format, 48, 2, 24}, 256, 10);
}

TrackRecipe Sound(const Bytes& format = "twos") {
    SoundDescriptionV0 description;
    description.format = format;
    return SoundTrackRecipe(Describe(description), 4, 4800);
}

TrackRecipe OtherKind(const Bytes& mediaType) {
    TrackRecipe track = Video();
    track.mediaType = mediaType;
    return track;
}

class MovieTest : public testing::Test {
  protected:
    std::unique_ptr<Movie> Create(const std::vector<TrackRecipe>& tracks,
                                  const std::function<void(AtomNode&)>& change = nullptr) {
        MovieRecipe recipe;
        recipe.tracks = tracks;
        recipe.change = change;
        mPath = WriteMovie(mDirectory, recipe);
        return std::unique_ptr<Movie>(Movie::Create(mPath));
    }

    TempDirectory mDirectory;
    std::string mPath = mDirectory.File("movie.mov");
    LogCapture mLog;
};

TEST_F(MovieTest, TracksStandInFileOrderByKind) {
    const auto movie = Create({Sound("sowt"), Video("v210"), Sound("twos"), Video("2vuy")});
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(movie->mMoviePath, mPath);
    ASSERT_EQ(movie->mVideoTracks.size(), 2u);
    EXPECT_EQ(movie->mVideoTracks[0]->mFormat, 0x76323130);
    EXPECT_EQ(movie->mVideoTracks[1]->mFormat, 0x32767579);
    ASSERT_EQ(movie->mAudioTracks.size(), 2u);
    EXPECT_EQ(movie->mAudioTracks[0]->mFormat, 0x736F7774);
    EXPECT_EQ(movie->mAudioTracks[1]->mFormat, 0x74776F73);
    EXPECT_TRUE(movie->mTimeCodeTracks.empty());
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(MovieTest, EveryTrackHasAnOpenFileOfItsOwn) {
    const auto movie = Create({Video(), Sound()});
    ASSERT_NE(movie, nullptr);
    const int video = movie->mVideoTracks.at(0)->mFileDescriptor;
    const int sound = movie->mAudioTracks.at(0)->mFileDescriptor;
    EXPECT_GT(video, 0);
    EXPECT_GT(sound, 0);
    EXPECT_NE(video, sound);
}

TEST_F(MovieTest, OtherKindsArePassedOver) {
    const auto movie = Create({OtherKind("text"), Video(), OtherKind(zeros(4))});
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(movie->mVideoTracks.size(), 1u);
    EXPECT_EQ(mLog.Raw(), "skipping track type 'text'\nskipping track type 0x0 (0)\n");
}

TEST_F(MovieTest, MovieOfOtherKindsAloneIsAMovie) {
    const auto movie = Create({OtherKind("text")});
    ASSERT_NE(movie, nullptr);
    EXPECT_TRUE(movie->mVideoTracks.empty());
    EXPECT_TRUE(movie->mAudioTracks.empty());
    EXPECT_TRUE(movie->mTimeCodeTracks.empty());
    EXPECT_EQ(mLog.Raw(), "skipping track type 'text'\n");
}

TEST_F(MovieTest, MovieWithoutTracksIsAMovie) {
    WriteFile(mPath, AtomNode{"moov"}.Serialize());
    const std::unique_ptr<Movie> movie(Movie::Create(mPath));
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(movie->mMoviePath, mPath);
    EXPECT_TRUE(movie->mVideoTracks.empty());
}

TEST_F(MovieTest, FileThatFailsLeavesATrail) {
    EXPECT_EQ(Movie::Create(mPath), nullptr);
    EXPECT_EQ(mLog.Text(), "Init: Failed to open movie file at \"" + mPath +
                               "\"\nCreate: Init() failed with 2\n");
}

TEST_F(MovieTest, NoMemory) {
    const Movie* movie = nullptr;
    {
        const Fault failing(SystemCall::kNewNothrow, ENOMEM, 1, Fault::kForever);
        movie = Movie::Create(mPath);
    }
    EXPECT_EQ(movie, nullptr);
    EXPECT_EQ(mLog.Text(), "Create: Failed to create a new Movie object\n");
}

TEST_F(MovieTest, OneBadVideoTrackFailsTheMovie) {
    EXPECT_EQ(Create({Video(), Sound(), Video()},
                     [](AtomNode& moov) { moov.Remove("trak[2]/mdia/minf/stbl/stts"); }),
              nullptr);
    EXPECT_EQ(mLog.Text(),
              "SetSampleLayout: Failed to find a time to sample number atom in track\n"
              "Init: SetSampleLayout returned 22\n"
              "Init: Track::Init() returned 22\n"
              "Create: qtTrack->Init() returned 22\n"
              "Init: Failed to create a new VideoTrack\n"
              "Create: Init() failed with 22\n");
}

TEST_F(MovieTest, OneBadSoundTrackFailsTheMovie) {
    EXPECT_EQ(Create({Video(), Sound()},
                     [](AtomNode& moov) { moov.Remove("trak[1]/mdia/minf/stbl/stsc"); }),
              nullptr);
    EXPECT_EQ(mLog.Text(),
              "SetSampleLayout: Failed to find a sample to chunk atom in track\n"
              "Init: SetSampleLayout returned 22\n"
              "Create: audioTrack->Init() returned 22\n"
              "Init: Failed to create a new AudioTrack\n"
              "Create: Init() failed with 22\n");
}

TEST_F(MovieTest, TrackWithoutAKindFailsTheMovie) {
    EXPECT_EQ(Create({Video(), Video()}, [](AtomNode& moov) { moov.Remove("trak[1]/mdia"); }),
              nullptr);
    EXPECT_EQ(mLog.Text(),
              "GetMediaType: Failed to find media atom in track\n"
              "Init: Failed to get media type for track\n"
              "Create: Init() failed with 22\n");
}

TEST_F(MovieTest, TrackCutByTheFilesEndFailsTheMovie) {
    MovieRecipe recipe;
    recipe.tracks = {Video(), Sound()};
    const Bytes moov = BuildMoov(recipe).Serialize();
    WriteFile(mPath, moov.substr(0, moov.size() - 1));
    EXPECT_EQ(Movie::Create(mPath), nullptr);
    EXPECT_EQ(mLog.Text(),
              "Init: The last track atom passes the end of the movie atom\n"
              "Create: Init() failed with 22\n");
}

TEST_F(MovieTest, MovieCutBehindItsLastTrackIsAMovie) {
    MovieRecipe recipe;
    recipe.tracks = {Video(), Sound()};
    recipe.change = [](AtomNode& moov) { moov.children.push_back({"udta", zeros(100)}); };
    const Bytes moov = BuildMoov(recipe).Serialize();
    WriteFile(mPath, moov.substr(0, moov.size() - 50));
    const std::unique_ptr<Movie> movie(Movie::Create(mPath));
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(movie->mVideoTracks.size(), 1u);
    EXPECT_EQ(movie->mAudioTracks.size(), 1u);
}

TEST_F(MovieTest, FilesCloseAndOpenAgain) {
    const auto movie = Create({Video(), Sound()});
    ASSERT_NE(movie, nullptr);
    movie->CloseFile();
    EXPECT_EQ(movie->mVideoTracks[0]->mFileDescriptor, -2);
    EXPECT_EQ(movie->mAudioTracks[0]->mFileDescriptor, -2);
    EXPECT_EQ(movie->OpenFile(), 0);
    const int video = movie->mVideoTracks[0]->mFileDescriptor;
    EXPECT_GT(video, 0);
    EXPECT_GT(movie->mAudioTracks[0]->mFileDescriptor, 0);
    EXPECT_EQ(movie->OpenFile(), 0);
    EXPECT_EQ(movie->mVideoTracks[0]->mFileDescriptor, video);
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(MovieTest, OpenFileStopsAtTheFirstFailure) {
    const auto movie = Create({Video(), Sound(), Video(), Sound()});
    ASSERT_NE(movie, nullptr);
    const std::string noEntry = std::to_string(ENOENT);
    movie->CloseFile();
    movie->mVideoTracks[1]->mFilePath = mDirectory.File("gone");
    EXPECT_EQ(movie->OpenFile(), 22);
    EXPECT_EQ(mLog.Text(), "OpenFile: open returned " + noEntry +
                               "\nOpenFile: Got error 22 opening video track file\n");
    // Sound comes first, and what is open stays open.
    EXPECT_GT(movie->mAudioTracks[0]->mFileDescriptor, 0);
    EXPECT_GT(movie->mAudioTracks[1]->mFileDescriptor, 0);
    EXPECT_GT(movie->mVideoTracks[0]->mFileDescriptor, 0);
    EXPECT_LT(movie->mVideoTracks[1]->mFileDescriptor, 0);
}

TEST_F(MovieTest, SoundThatDoesNotOpenIsNamed) {
    const auto movie = Create({Video(), Sound()});
    ASSERT_NE(movie, nullptr);
    movie->CloseFile();
    movie->mAudioTracks[0]->mFilePath = mDirectory.File("gone");
    EXPECT_EQ(movie->OpenFile(), 22);
    EXPECT_EQ(mLog.Text(), "OpenFile: open returned " + std::to_string(ENOENT) +
                               "\nOpenFile: Got error 22 opening audio track file\n");
    EXPECT_EQ(movie->mVideoTracks[0]->mFileDescriptor, -2);
}

TEST_F(MovieTest, TimecodeThatDoesNotOpenIsNamed) {
    const auto movie = Create({TimeCodeTrackRecipe({}, 10)});
    ASSERT_NE(movie, nullptr);
    ASSERT_EQ(movie->mTimeCodeTracks.size(), 1u);
    movie->CloseFile();
    EXPECT_EQ(movie->mTimeCodeTracks[0]->mFileDescriptor, -2);
    movie->mTimeCodeTracks[0]->mFilePath = mDirectory.File("gone");
    EXPECT_EQ(movie->OpenFile(), 22);
    EXPECT_EQ(mLog.Text(), "OpenFile: open returned " + std::to_string(ENOENT) +
                               "\nOpenFile: Got error 22 opening timecode track file\n");
}

TEST_F(MovieTest, OneBadTimecodeTrackFailsTheMovie) {
    EXPECT_EQ(Create({TimeCodeTrackRecipe({}, 10)},
                     [](AtomNode& moov) { moov.Remove("trak/mdia/minf/stbl/stsz"); }),
              nullptr);
    EXPECT_EQ(mLog.Text(),
              "SetSampleLayout: Failed to find a sample size atom in track\n"
              "Init: SetSampleLayout returned 22\n"
              "Init: Track::Init() returned 22\n"
              "Create: qtTrack->Init() returned 22\n"
              "Init: Failed to create a new TimeCodeTrack\n"
              "Create: Init() failed with 22\n");
}

// The media was moved away between two uses of the movie, and something else is in its place.
TEST_F(MovieTest, NamedPipeInPlaceOfTheMedia) {
    const auto movie = Create({Video()});
    ASSERT_NE(movie, nullptr);
    movie->CloseFile();
    std::remove(mPath.c_str());
    ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
    EXPECT_EQ(movie->OpenFile(), 22);
    EXPECT_EQ(mLog.Text(),
              "OpenFile: open returned 22\nOpenFile: Got error 22 opening video track file\n");
    EXPECT_EQ(movie->mVideoTracks[0]->mFileDescriptor, -2);
}

TEST_F(MovieTest, NamedPipe) {
    ASSERT_EQ(mkfifo(mPath.c_str(), 0600), 0);
    EXPECT_EQ(Movie::Create(mPath), nullptr);
    EXPECT_EQ(mLog.Text(), "Init: Failed to open movie file at \"" + mPath +
                               "\"\nCreate: Init() failed with 22\n");
}

// To a track, descriptor 0 stands for a file that is not open: it would not be closed.
TEST_F(MovieTest, NoTrackGetsDescriptorZero) {
    const int input = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10);
    close(STDIN_FILENO);
    const std::set<int> before = OpenDescriptors();
    const auto movie = Create({Video(), Sound(), TimeCodeTrackRecipe({}, 10)});
    const std::set<int> during = OpenDescriptors();
    if (movie != nullptr) {
        EXPECT_GT(movie->mVideoTracks.at(0)->mFileDescriptor, 0);
        EXPECT_GT(movie->mAudioTracks.at(0)->mFileDescriptor, 0);
        EXPECT_GT(movie->mTimeCodeTracks.at(0)->mFileDescriptor, 0);
        EXPECT_EQ(movie->OpenFile(), 0);
        EXPECT_EQ(OpenDescriptors(), during) << "opened again";
        movie->CloseFile();
    }
    const std::set<int> after = OpenDescriptors();
    if (input >= 0) {
        dup2(input, STDIN_FILENO);
        close(input);
    }
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(before.count(STDIN_FILENO), 0u);
    EXPECT_EQ(during.count(STDIN_FILENO), 0u);
    EXPECT_EQ(during.size(), before.size() + 3);
    EXPECT_EQ(after, before);
}

TEST_F(MovieTest, TimecodeIsNotWritten) {
    const auto movie = Create({});
    ASSERT_NE(movie, nullptr);
    EXPECT_EQ(movie->SetTimecode(1, 2, 3, 4, true, 30000, 1001), 45);
    EXPECT_EQ(movie->SetTimecode(0, 0, 0, 0, false, 0, 0), 45);
    EXPECT_EQ(mLog.Raw(), "");
}

TEST(GetMediaType, IsTheComponentSubtypeOfTheMediaHandler) {
    // The component type, and the data handler of the "minf", are not looked at.
    TrackRecipe recipe = Sound();
    recipe.dataHandler = {"dhlr", "alis"};
    AtomNode trak = BuildTrak(recipe);
    trak.At("mdia/hdlr").Poke(12, "????");
    const AtomBuffer buffer(trak);
    int mediaType = 1;
    EXPECT_EQ(Track::GetMediaType(buffer.Get(), mediaType), 0);
    EXPECT_EQ(mediaType, 0x736F756E);
}

TEST(GetMediaType, FailsWithoutATrack) {
    LogCapture log;
    int mediaType = 1;
    EXPECT_EQ(Track::GetMediaType(nullptr, mediaType), 22);
    EXPECT_EQ(mediaType, 0);
    EXPECT_EQ(log.Text(), "GetMediaType: Invalid trakAtom pointer\n");
}

struct BadHandler {
    const char* name;
    std::function<void(AtomNode&)> change;
    const char* text;
};

void PrintTo(const BadHandler& test, std::ostream* out) {
    *out << test.name;
}

class GetMediaTypeFails : public testing::TestWithParam<BadHandler> {};

TEST_P(GetMediaTypeFails, WithOneLine) {
    AtomNode trak = BuildTrak(Video());
    GetParam().change(trak);
    const AtomBuffer buffer(trak);
    LogCapture log;
    int mediaType = 1;
    EXPECT_EQ(Track::GetMediaType(buffer.Get(), mediaType), 22);
    EXPECT_EQ(mediaType, 0);
    EXPECT_EQ(log.Text(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, GetMediaTypeFails,
    testing::Values(BadHandler{"NoMedia", [](AtomNode& trak) { trak.Remove("mdia"); },
                               "GetMediaType: Failed to find media atom in track\n"},
                    BadHandler{"NoHandler", [](AtomNode& trak) { trak.Remove("mdia/hdlr"); },
                               "GetMediaType: Failed to find handler atom in track\n"},
                    BadHandler{"ShortHandler",
                               [](AtomNode& trak) { trak.At("mdia/hdlr").payload.resize(11); },
                               "GetMediaType: 'hdlr' atom of 19 bytes does not hold 4 bytes at "
                               "16\n"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
