#include "end_to_end/movie_checks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <string>

#include "end_to_end/module_under_test.h"
#include "hostkit/clip.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

namespace kvx_test {

namespace {

using kvx_hostkit::Clip;

const std::map<std::string, int> kSampleTypes = {
    {"pcm_u8", 1},    {"pcm_s8", 2},     {"pcm_s16le", 3}, {"pcm_s16be", 8},
    {"pcm_s24le", 4}, {"pcm_s24be", 9},  {"pcm_s32le", 5}, {"pcm_s32be", 10},
    {"pcm_f32le", 6}, {"pcm_f32be", 11}, {"pcm_f64le", 7}, {"pcm_f64be", 7},
};

// Which field is shown first. ffprobe's words name the field that is coded first and then the one
// that is shown first.
const std::map<std::string, int> kFieldTypes = {
    {"progressive", 0}, {"tt", 1}, {"bt", 1}, {"bb", 2}, {"tb", 2}};

// The four characters in the order of a QuickTime code.
int32_t CodeOf(const std::string& text) {
    return static_cast<int32_t>(
        static_cast<uint32_t>(text.at(0)) << 24 | static_cast<uint32_t>(text.at(1)) << 16 |
        static_cast<uint32_t>(text.at(2)) << 8 | static_cast<uint32_t>(text.at(3)));
}

// The host's codes have their first character in the lowest byte.
PrPixelFormat PixelFormatOf(const std::string& text) {
    return __builtin_bswap32(static_cast<uint32_t>(CodeOf(text)));
}

void ExpectSameVideo(const VideoFacts& facts, const imFileInfoRec8& info) {
    EXPECT_EQ(int{info.hasVideo}, 1);
    EXPECT_EQ(int32_t{info.subType}, CodeOf(facts.format));
    EXPECT_EQ(int32_t{info.width}, facts.width);
    EXPECT_EQ(int32_t{info.height}, facts.height);

    const int64_t scale = info.videoScale;
    const int64_t frameLength = info.videoSampleSize;
    const int64_t duration = info.videoDuration;
    ASSERT_GT(scale, 0);
    ASSERT_GT(frameLength, 0);
    EXPECT_EQ(scale * facts.rate.denominator, frameLength * facts.rate.numerator) << "rate";
    EXPECT_EQ(scale, facts.timeBase.denominator);
    EXPECT_EQ(facts.timeBase.numerator, 1);
    EXPECT_EQ(duration, facts.duration);

    if (facts.fieldOrder != "unknown") {
        EXPECT_EQ(int{info.fieldType}, kFieldTypes.at(facts.fieldOrder)) << facts.fieldOrder;
    }
    // ffprobe takes the lack of a "pasp" for square pixels; the importer passes 0:0 on.
    if (const uint32_t numerator = info.pixelAspectNumerator; numerator != 0) {
        EXPECT_EQ(std::to_string(numerator) + ":" + std::to_string(info.pixelAspectDenominator),
                  facts.pixelAspect);
    }
}

void ExpectSameFormats(const VideoFacts& facts, const Clip& clip) {
    const bool highDefinition = facts.width > 720;
    const std::map<std::string, PrPixelFormat> decoded = {
        {"2vuy", PixelFormatOf(highDefinition ? "uyv7" : "uyvy")},
        {"v210", PixelFormatOf(highDefinition ? "v211" : "v210")},
        {"r210", PixelFormatOf("RGB1")},
    };
    const std::vector<PrPixelFormat> expected = {PixelFormatOf("_KCP"), decoded.at(facts.format)};
    EXPECT_EQ(clip.PixelFormats(), expected);
}

void ExpectSameSoundInfo(const SoundFacts& facts, const imFileInfoRec8& info) {
    EXPECT_EQ(int{info.hasAudio}, 1);
    EXPECT_EQ(int32_t{info.audioChannels}, facts.channels);
    EXPECT_EQ(float{info.audioSampleRate}, static_cast<float>(facts.rate));
    EXPECT_EQ(int32_t{info.audioSampleType}, kSampleTypes.at(facts.codec)) << facts.codec;
    EXPECT_EQ(int64_t{info.audioDuration}, facts.duration);
}

// Counts differences and tells the first, since a wrong conversion differs everywhere.
void ExpectPlanes(const SoundFacts& facts, const std::vector<std::vector<float>>& planes,
                  size_t firstFrame, size_t frames, const PlaneOrder& planesOfSix) {
    const size_t channels = static_cast<size_t>(facts.channels);
    size_t wrong = 0;
    std::string first;
    for (size_t frame = 0; frame < frames; ++frame) {
        for (size_t channel = 0; channel < channels; ++channel) {
            const size_t plane =
                channels == 6 ? static_cast<size_t>(planesOfSix[channel]) : channel;
            const float expected =
                PlaneSample(facts.codec, facts.samples[(firstFrame + frame) * channels + channel]);
            if (planes[plane][frame] != expected && wrong++ == 0) {
                first = "frame " + std::to_string(firstFrame + frame) + ", channel " +
                        std::to_string(channel) + ": " + std::to_string(planes[plane][frame]) +
                        " instead of " + std::to_string(expected);
            }
        }
    }
    EXPECT_EQ(wrong, 0u) << first;
}

void ExpectSameSamples(const SoundFacts& facts, const Clip& clip, int32_t stream, size_t firstFrame,
                       size_t frames, const PlaneOrder& planesOfSix) {
    std::vector<std::vector<float>> planes(static_cast<size_t>(facts.channels),
                                           std::vector<float>(frames, NAN));
    std::vector<float*> pointers;
    for (std::vector<float>& plane : planes) {
        pointers.push_back(plane.data());
    }
    ASSERT_EQ(clip.ReadAudio(stream, static_cast<int64_t>(firstFrame),
                             static_cast<uint32_t>(frames), pointers.data()),
              imNoErr);
    ExpectPlanes(facts, planes, firstFrame, frames, planesOfSix);
}

}  // namespace

float PlaneSample(const std::string& codec, double decoded) {
    const std::string kind = codec.substr(4, 3);
    if (kind == "f32" || kind == "f64") {
        return static_cast<float>(decoded);
    }
    if (kind == "s32") {
        // Through float first, as the host's format has no more bits to give.
        const float value = static_cast<float>(decoded * 2147483648.0);
        return static_cast<float>(static_cast<double>(value) / 2147483647.0);
    }
    const float fullScale = kind == "s24" ? 8388608.0f : kind == "s16" ? 32768.0f : 128.0f;
    return static_cast<float>(decoded * fullScale) / (fullScale - 1.0f);
}

void ExpectSameInfo(const RealMovie& movie) {
    Clip clip(ModuleUnderTest(), movie.path);
    ASSERT_EQ(clip.Open(), imNoErr);
    long result = -1;
    const std::vector<imFileInfoRec8> streams = clip.Streams(&result);
    EXPECT_EQ(result, imNoErr);
    ASSERT_EQ(streams.size(), std::max<size_t>(1, movie.sounds.size()));
    ASSERT_EQ(movie.videos.size(), 1u);
    ExpectSameVideo(movie.videos[0], streams[0]);
    ExpectSameFormats(movie.videos[0], clip);
    for (size_t index = 0; index < streams.size(); ++index) {
        SCOPED_TRACE("stream " + std::to_string(index));
        EXPECT_EQ(int{streams[index].hasVideo}, index == 0 ? 1 : 0);
        EXPECT_EQ(int{streams[index].hasAudio}, index < movie.sounds.size() ? 1 : 0);
        if (index < movie.sounds.size()) {
            ExpectSameSoundInfo(movie.sounds[index], streams[index]);
        }
    }
}

void ExpectSamePlaces(const RealMovie& movie) {
    const std::unique_ptr<KVX::QT::Movie> parsed(KVX::QT::Movie::Create(movie.path));
    ASSERT_NE(parsed, nullptr);
    ASSERT_EQ(parsed->mVideoTracks.size(), movie.videos.size());
    ASSERT_EQ(parsed->mAudioTracks.size(), movie.sounds.size());
    for (size_t index = 0; index < movie.videos.size(); ++index) {
        KVX::QT::VideoTrack* track = parsed->mVideoTracks[index];
        long long frame = 0;
        for (const Packet& packet : movie.videos[index].packets) {
            if (packet.time < 0) {
                continue;
            }
            ASSERT_EQ(packet.time, frame * track->mSampleDuration);
            EXPECT_EQ(track->GetSampleOffset(frame), packet.offset) << "frame " << frame;
            EXPECT_EQ(track->GetSampleSize(frame), packet.size) << "frame " << frame;
            ++frame;
        }
        EXPECT_GT(frame, 0);
        EXPECT_EQ(track->mTrackDuration, frame * track->mSampleDuration);
    }
    for (size_t index = 0; index < movie.sounds.size(); ++index) {
        for (const Packet& packet : movie.sounds[index].packets) {
            if (packet.time >= 0) {
                EXPECT_EQ(parsed->mAudioTracks[index]->GetSampleOffset(packet.time), packet.offset)
                    << "sound " << index << ", frame " << packet.time;
            }
        }
    }
}

void ExpectSameSound(const RealMovie& movie, const PlaneOrder& planesOfSix) {
    Clip clip(ModuleUnderTest(), movie.path);
    ASSERT_EQ(clip.Open(), imNoErr);
    for (size_t index = 0; index < movie.sounds.size(); ++index) {
        SCOPED_TRACE("sound " + std::to_string(index));
        const SoundFacts& facts = movie.sounds[index];
        const size_t frames = facts.samples.size() / static_cast<size_t>(facts.channels);
        ASSERT_GT(frames, 2000u);
        const int32_t stream = static_cast<int32_t>(index);
        ExpectSameSamples(facts, clip, stream, 0, frames, planesOfSix);
        ExpectSameSamples(facts, clip, stream, 1021, 733, planesOfSix);
    }
}

void ExpectSameInAll(const RealMovie& movie, const PlaneOrder& planesOfSix) {
    ExpectSameInfo(movie);
    ExpectSamePlaces(movie);
    ExpectSameSound(movie, planesOfSix);
}

}  // namespace kvx_test
