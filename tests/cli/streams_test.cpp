#include "cli/movie/streams.h"

#include <gtest/gtest.h>

namespace {

using Streams = std::vector<imFileInfoRec8>;

imFileInfoRec8 Stream(bool hasVideo, bool hasAudio, int32_t width = 0) {
    imFileInfoRec8 stream = {};
    stream.hasVideo = hasVideo ? 1 : 0;
    stream.hasAudio = hasAudio ? 1 : 0;
    stream.width = width;
    return stream;
}

TEST(CliStreams, VideoIsTheFirstStreamThatHasSome) {
    EXPECT_EQ(kvx_cli::FindVideo({}), nullptr);
    const Streams sound = {Stream(false, true)};
    EXPECT_EQ(kvx_cli::FindVideo(sound), nullptr);
    const Streams both = {Stream(false, true), Stream(true, true, 16), Stream(true, false, 8)};
    EXPECT_EQ(kvx_cli::FindVideo(both), &both[1]);
}

TEST(CliStreams, SoundsAreTheFirstOnes) {
    EXPECT_EQ(kvx_cli::SoundStreamCount({}), 0u);
    EXPECT_EQ(kvx_cli::SoundStreamCount({Stream(true, false)}), 0u);
    EXPECT_EQ(kvx_cli::SoundStreamCount({Stream(true, true), Stream(false, true)}), 2u);
    EXPECT_EQ(kvx_cli::SoundStreamCount({Stream(true, true), Stream(true, false)}), 1u);
}

TEST(CliStreams, FramesOfTheDuration) {
    imFileInfoRec8 video = Stream(true, false);
    video.videoDuration = 3003;
    video.videoSampleSize = 1001;
    EXPECT_EQ(kvx_cli::FrameCount(video), 3);
    video.videoDuration = 3002;
    EXPECT_EQ(kvx_cli::FrameCount(video), 2);
    for (const int32_t length : {0, -1}) {
        video.videoSampleSize = length;
        EXPECT_EQ(kvx_cli::FrameCount(video), 0);
    }
}

}  // namespace
