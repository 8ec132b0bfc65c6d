// How do the track classes answer when there is no memory?

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "quicktime/audio_track.h"
#include "quicktime/timecode_track.h"
#include "quicktime/video_track.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"
#include "support/movie_in_memory.h"

namespace {

using namespace kvx_test;

// The log of a Create that must return null while the call fails after `skip` good ones.
template <typename TrackType>
std::string LogOfFailingCreate(const TrackRecipe& recipe, SystemCall call, int skip = 0) {
    const MovieInMemory movie = MovieOf(recipe);
    const LogCapture log;
    TrackType* track = nullptr;
    {
        const Fault fail(call, ENOMEM, skip + 1, Fault::kForever);
        track = TrackType::Create(movie.Path(), movie.Moov(), movie.Trak());
    }
    EXPECT_EQ(track, nullptr);
    return log.Text();
}

TrackRecipe AvcRecipe() {
    VideoDescription video;
    video.format = "avc1";
    video.extensions = {{"avcC", "12345"}};
    return VideoTrackRecipe(video, 64, 5);
}

TrackRecipe EsdsRecipe() {
    SoundDescriptionV1 sound;
    sound.format = "mp4a";
    sound.extensions = {Wave({ElementaryStream("1234567")})};
    return SoundTrackRecipe(Describe(sound), 4, 100);
}

TEST(TrackMemory, NoneForTheTrack) {
    EXPECT_EQ(LogOfFailingCreate<KVX::QT::VideoTrack>(AvcRecipe(), SystemCall::kNewNothrow),
              "Create: Failed to create a new VideoTrack object\n");
    EXPECT_EQ(LogOfFailingCreate<KVX::QT::AudioTrack>(EsdsRecipe(), SystemCall::kNewNothrow),
              "Create: Failed to create a new AudioTrack object\n");
    EXPECT_EQ(LogOfFailingCreate<KVX::QT::TimeCodeTrack>(TimeCodeTrackRecipe({}, 10),
                                                         SystemCall::kNewNothrow),
              "Create: Failed to create a new TimeCodeTrack object\n");
}

TEST(TrackMemory, NoneForTheImageDescription) {
    EXPECT_EQ(LogOfFailingCreate<KVX::QT::VideoTrack>(AvcRecipe(), SystemCall::kMalloc),
              "Init: Failed to allocate 99 byte image description buffer\n"
              "Create: qtTrack->Init() returned 12\n");
}

TEST(TrackMemory, NoneForTheAvcc) {
    EXPECT_EQ(LogOfFailingCreate<KVX::QT::VideoTrack>(AvcRecipe(), SystemCall::kMalloc, 1),
              "Init: Failed to allocate 5 byte Avcc buffer\n"
              "Create: qtTrack->Init() returned 12\n");
}

TEST(TrackMemory, NoneForTheEsds) {
    EXPECT_EQ(LogOfFailingCreate<KVX::QT::AudioTrack>(EsdsRecipe(), SystemCall::kMalloc),
              "Init: Failed to allocate 7 byte Esds buffer\n"
              "Create: audioTrack->Init() returned 12\n");
}

}  // namespace
