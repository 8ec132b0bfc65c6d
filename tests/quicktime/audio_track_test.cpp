// What stream does a sound sample description make?

#include "quicktime/audio_track.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "support/movie_in_memory.h"

namespace {

using namespace kvx_test;
using KVX::QT::AudioTrack;

constexpr unsigned int kFloat = 1;
constexpr unsigned int kBigEndian = 2;
constexpr unsigned int kSigned = 4;

// A track of 100 frames with this description, and what its Init said.
struct Made {
    std::unique_ptr<AudioTrack> track = std::make_unique<AudioTrack>();
    long status = -1;
    std::string log;

    const AudioStreamBasicDescription& Stream() const { return track->mStreamDescription; }
};

Made Init(const TrackRecipe& recipe) {
    const MovieInMemory movie = MovieOf(recipe);
    Made made;
    const LogCapture log;
    made.status = made.track->Init(movie.Path(), movie.Moov(), movie.Trak());
    made.log = log.Text();
    return made;
}

template <typename Description>
Made Init(const Description& description) {
    return Init(SoundTrackRecipe(Describe(description), 4, 100));
}

// As Init, where nothing may go wrong.
template <typename Description>
Made Good(const Description& description) {
    Made made = Init(description);
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.log, "");
    return made;
}

SoundDescriptionV0 Version0(const Bytes& format, int channels, int bits) {
    SoundDescriptionV0 sound;
    sound.format = format;
    sound.channels = channels;
    sound.bits = bits;
    return sound;
}

SoundDescriptionV1 Version1(const Bytes& format, std::vector<AtomNode> extensions = {}) {
    SoundDescriptionV1 sound;
    sound.format = format;
    sound.extensions = std::move(extensions);
    return sound;
}

SoundDescriptionV2 Version2(const Bytes& format, std::vector<AtomNode> extensions = {}) {
    SoundDescriptionV2 sound;
    sound.format = format;
    sound.extensions = std::move(extensions);
    return sound;
}

TEST(AudioTrack, NewTracksKnowNothing) {
    const AudioTrack track;
    EXPECT_EQ(track.mEsdsData, nullptr);
    EXPECT_EQ(track.mEsdsSize, 0U);
    EXPECT_EQ(track.mSampleOrder, 6);
}

TEST(AudioTrack, Version0) {
    const Made made = Good(Version0("twos", 2, 16));
    EXPECT_EQ(made.track->mFormat, 0x74776F73);
    EXPECT_EQ(made.Stream().mSampleRate, 48000.0);
    EXPECT_EQ(made.Stream().mFormatID, 0U);
    EXPECT_EQ(made.Stream().mFormatFlags, kSigned | kBigEndian);
    EXPECT_EQ(made.Stream().mBytesPerPacket, 0U);
    EXPECT_EQ(made.Stream().mFramesPerPacket, 0U);
    EXPECT_EQ(made.Stream().mBytesPerFrame, 4U);
    EXPECT_EQ(made.Stream().mChannelsPerFrame, 2U);
    EXPECT_EQ(made.Stream().mBitsPerChannel, 16U);
    EXPECT_EQ(made.Stream().mReserved, 0U);
    EXPECT_EQ(made.track->mFixedSampleSize, 4U);
    EXPECT_EQ(made.track->mSampleOrder, 1);
    EXPECT_EQ(made.track->mSampleCount, 100);
    EXPECT_EQ(made.track->GetSampleSize(0), 4U);
}

TEST(AudioTrack, Version0FrameSizeTruncatesBits) {
    EXPECT_EQ(Good(Version0("twos", 6, 24)).Stream().mBytesPerFrame, 18U);
    EXPECT_EQ(Good(Version0("twos", 2, 15)).Stream().mBytesPerFrame, 2U);
    EXPECT_EQ(Good(Version0("twos", 2, 15)).Stream().mBitsPerChannel, 15U);
    EXPECT_EQ(Good(Version0("raw ", 1, 8)).Stream().mBytesPerFrame, 1U);
}

TEST(AudioTrack, RatesHaveSinglePrecision) {
    const struct {
        uint32_t fixed;
        double expected;
    } kCases[] = {
        {0xBB800000, 48000.0},
        {0xAC440000, 44100.0},
        {0x1F400000, 8000.0},
        {0x00008000, 0.5},
        {0x00000000, 0.0},
        {0xFFFF0000, 65535.0},
        // 24 bits of the 32 survive, rounded to even.
        {0xBB80007F, 48000.0},
        {0xBB800080, 48000.0},
        {0xBB800081, 48000.00390625},
        {0xBB800180, 48000.0078125},
        {0xFFFFFFFF, 65536.0},
        {0x00FFFFFF, 255.9999847412109375},
    };
    for (const auto& entry : kCases) {
        SoundDescriptionV0 version0;
        version0.rate = entry.fixed;
        EXPECT_EQ(Good(version0).Stream().mSampleRate, entry.expected) << entry.fixed;
        SoundDescriptionV1 version1;
        version1.rate = entry.fixed;
        EXPECT_EQ(Good(version1).Stream().mSampleRate, entry.expected) << entry.fixed;
    }
}

TEST(AudioTrack, Version1TakesTheStoredFrameSize) {
    SoundDescriptionV1 sound = Version1("in24");
    sound.bits = 16;  // what compressed formats write here, whatever they hold
    sound.bytesPerPacket = 18;
    sound.bytesPerFrame = 6;
    const Made made = Good(sound);
    EXPECT_EQ(made.Stream().mBytesPerFrame, 6U);
    EXPECT_EQ(made.Stream().mBitsPerChannel, 24U);
    EXPECT_EQ(made.Stream().mChannelsPerFrame, 2U);
    EXPECT_EQ(made.Stream().mBytesPerPacket, 18U);
    EXPECT_EQ(made.Stream().mFramesPerPacket, 3U);
    EXPECT_EQ(made.track->mFixedSampleSize, 6U);
}

TEST(AudioTrack, Version1ComputesAMissingFrameSize) {
    SoundDescriptionV1 sound = Version1("twos");
    sound.bytesPerFrame = 0;
    const Made made = Good(sound);
    EXPECT_EQ(made.Stream().mBytesPerFrame, 4U);
    EXPECT_EQ(made.Stream().mBitsPerChannel, 16U);
    EXPECT_EQ(made.Stream().mFramesPerPacket, 0U);  // 2 bytes per packet, of one channel
}

TEST(AudioTrack, Version1BitsAreRoundedDown) {
    SoundDescriptionV1 sound = Version1("twos");
    sound.channels = 3;
    sound.bytesPerFrame = 4;
    EXPECT_EQ(Good(sound).Stream().mBitsPerChannel, 10U);
}

TEST(AudioTrack, Version1PacketsOfSeveralSamplesLeaveSizesToTheTable) {
    SoundDescriptionV1 sound = Version1("mp4a");
    sound.samplesPerPacket = 1024;
    EXPECT_EQ(Good(sound).track->mFixedSampleSize, 1U);  // the constant of "stsz"
    sound.samplesPerPacket = 0;
    EXPECT_EQ(Good(sound).track->mFixedSampleSize, 1U);
    sound.samplesPerPacket = 1;
    EXPECT_EQ(Good(sound).track->mFixedSampleSize, 4U);
}

TEST(AudioTrack, Version2) {
    SoundDescriptionV2 sound = Version2("lpcm");
    sound.rate = 176400.5;
    sound.channels = 6;
    sound.bits = 24;
    sound.bytesPerPacket = 99;
    sound.framesPerPacket = 7;
    const Made made = Good(sound);
    EXPECT_EQ(made.Stream().mSampleRate, 176400.5);
    EXPECT_EQ(made.Stream().mBytesPerPacket, 99U);
    EXPECT_EQ(made.Stream().mFramesPerPacket, 7U);
    EXPECT_EQ(made.Stream().mBytesPerFrame, 18U);
    EXPECT_EQ(made.Stream().mChannelsPerFrame, 6U);
    EXPECT_EQ(made.Stream().mBitsPerChannel, 24U);
    EXPECT_EQ(made.Stream().mReserved, 0U);
    EXPECT_EQ(made.track->mFixedSampleSize, 18U);
    EXPECT_EQ(made.track->mSampleOrder, 6);
}

TEST(AudioTrack, FlagsOfVersion0) {
    EXPECT_EQ(Good(Version0("raw ", 1, 8)).Stream().mFormatFlags, 0U);
    EXPECT_EQ(Good(Version0("twos", 1, 16)).Stream().mFormatFlags, kSigned | kBigEndian);
    EXPECT_EQ(Good(Version0("sowt", 1, 16)).Stream().mFormatFlags, kSigned);
    EXPECT_EQ(Good(Version0("fl32", 1, 32)).Stream().mFormatFlags, kFloat);
    EXPECT_EQ(Good(Version0("fl64", 1, 64)).Stream().mFormatFlags, kFloat);
    EXPECT_EQ(Good(Version0("in24", 1, 24)).Stream().mFormatFlags, kSigned);
    EXPECT_EQ(Good(Version0("NONE", 1, 16)).Stream().mFormatFlags, kSigned);
}

TEST(AudioTrack, Version0HasNoExtensions) {
    SoundDescriptionV0 sound = Version0("in24", 6, 24);
    sound.extensions = {Wave({Endianness(false), ElementaryStream("abc")}),
                        ChannelLayout(0x00790006), ChannelLayout(0)};
    const Made made = Good(sound);
    EXPECT_EQ(made.Stream().mFormatFlags, kSigned);
    EXPECT_EQ(made.track->mEsdsData, nullptr);
    EXPECT_EQ(made.track->mSampleOrder, 6);
}

TEST(AudioTrack, ByteOrderBehindAWave) {
    const AtomNode big = Wave({Endianness(false)});
    const AtomNode little = Wave({{"frma", "in24"}, Endianness(true)});
    const AtomNode silent = Wave({{"frma", "in24"}});
    const AtomNode other = {"abcd", "12345678"};
    const struct {
        const char* format;
        std::vector<AtomNode> extensions;
        unsigned int expected;
    } kCases[] = {
        {"in24", {big}, kSigned | kBigEndian},
        {"in24", {little}, kSigned},
        {"in24", {silent}, kSigned | kBigEndian},
        {"in24", {other}, kSigned | kBigEndian},
        {"in24", {other, little}, kSigned},
        {"in24", {big, little}, kSigned | kBigEndian},  // the first one counts
        {"fl32", {little}, kFloat},
        {"fl64", {big}, kFloat | kBigEndian},
        // The name alone decides for these.
        {"twos", {little}, kSigned | kBigEndian},
        {"sowt", {big}, kSigned},
        {"raw ", {big}, 0},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.format);
        EXPECT_EQ(Good(Version1(entry.format, entry.extensions)).Stream().mFormatFlags,
                  entry.expected);
        SoundDescriptionV2 version2 = Version2(entry.format, entry.extensions);
        version2.structSize = 0;
        EXPECT_EQ(Good(version2).Stream().mFormatFlags, entry.expected);
    }
}

TEST(AudioTrack, EndaIsAnyNonZeroWord) {
    for (const int word : {1, 2, 0x100, 0x8000}) {
        EXPECT_EQ(Good(Version1("in24", {Wave({{"enda", big16(word)}})})).Stream().mFormatFlags,
                  kSigned);
    }
}

TEST(AudioTrack, ExtensionsNeedAnEntryAboveTheBaseSize) {
    // Version 1: 60 bytes, of which 52 are the fixed part.
    EXPECT_EQ(Good(Version1("fl32")).Stream().mFormatFlags, kFloat);
    EXPECT_EQ(Good(Version1("fl32", {{"abcd"}})).Stream().mFormatFlags, kFloat);
    EXPECT_EQ(Good(Version1("fl32", {{"abcd", "1"}})).Stream().mFormatFlags, kFloat | kBigEndian);
    // Version 2: 8 more than the structure says of itself.
    EXPECT_EQ(Good(Version2("fl32")).Stream().mFormatFlags, kFloat);
    EXPECT_EQ(Good(Version2("fl32", {{"abcd"}})).Stream().mFormatFlags, kFloat);
    EXPECT_EQ(Good(Version2("fl32", {{"abcd", "1"}})).Stream().mFormatFlags, kFloat | kBigEndian);
    SoundDescriptionV2 small = Version2("fl32");
    small.structSize = 63;
    EXPECT_EQ(Good(small).Stream().mFormatFlags, kFloat | kBigEndian);
    small.structSize = 64;
    EXPECT_EQ(Good(small).Stream().mFormatFlags, kFloat);
    SoundDescriptionV2 huge = Version2("fl32", {{"abcd", "1"}});
    huge.structSize = 0xFFFFFFFF;
    EXPECT_EQ(Good(huge).Stream().mFormatFlags, kFloat);
}

TEST(AudioTrack, EsdsIsKept) {
    const Made made =
        Good(Version1("mp4a", {Wave({{"frma", "mp4a"}, ElementaryStream("\3\2\1"), {"mp4a"}})}));
    EXPECT_EQ(made.track->mEsdsSize, 3U);
    char* data = nullptr;
    long size = 0;
    ASSERT_TRUE(made.track->GetEsdsData(&data, &size));
    EXPECT_EQ(Bytes(data, static_cast<size_t>(size)), "\3\2\1");
    EXPECT_EQ(static_cast<void*>(data), made.track->mEsdsData);
    EXPECT_FALSE(made.track->GetEsdsData(nullptr, &size));
    EXPECT_FALSE(made.track->GetEsdsData(&data, nullptr));
    EXPECT_EQ(made.Stream().mFormatFlags, kSigned | kBigEndian);
}

TEST(AudioTrack, EsdsIsNotLookedForWhereTheNameDecides) {
    for (const char* format : {"twos", "sowt", "raw "}) {
        const Made made = Good(Version1(format, {Wave({ElementaryStream("abc")})}));
        EXPECT_EQ(made.track->mEsdsData, nullptr);
        char* data = nullptr;
        long size = -1;
        EXPECT_FALSE(made.track->GetEsdsData(&data, &size));
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(size, -1);
    }
}

TEST(AudioTrack, InitMayRunAgain) {
    const MovieInMemory movie = MovieOf(
        SoundTrackRecipe(Describe(Version1("mp4a", {Wave({ElementaryStream("abc")})})), 4, 100));
    AudioTrack track;
    ASSERT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 0);
    ASSERT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 0);
    EXPECT_EQ(track.mEsdsSize, 3U);

    const MovieInMemory plain =
        MovieOf(SoundTrackRecipe(Describe(Version0("twos", 2, 16)), 4, 100));
    ASSERT_EQ(track.Init(plain.Path(), plain.Moov(), plain.Trak()), 0);
    EXPECT_EQ(track.mEsdsData, nullptr);
    EXPECT_EQ(track.mEsdsSize, 0U);
}

TEST(AudioTrack, SampleOrderFollowsChannelsAndLayout) {
    const std::vector<AtomNode> a = {ChannelLayout(0x00790006)};
    const std::vector<AtomNode> b = {{"abcd", "1"}, ChannelLayout(0x007A0006)};
    const std::vector<AtomNode> c = {ChannelLayout(0x007B0006), {"abcd", "1"}};
    const std::vector<AtomNode> d = {ChannelLayout(0x007C0006)};
    const std::vector<AtomNode> several = {ChannelLayout(0x00790006), ChannelLayout(0x007C0006)};
    const std::vector<AtomNode> unknown = {ChannelLayout(0x12345678)};
    const struct {
        int channels;
        std::vector<AtomNode> extensions;
        int expected;
    } kCases[] = {
        {1, {}, 0},
        {2, {}, 1},
        {6, {}, 6},
        {6, a, 2},
        {6, b, 3},
        {6, c, 4},
        {6, d, 5},
        {3, {}, 6},
        {6, several, 5},
        {0x7FFF, {}, 6},
        // Elsewhere the tag is not read.
        {1, unknown, 0},
        {2, d, 1},
        {4, a, 6},
        {4, unknown, 6},
        {8, unknown, 6},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(entry.channels);
        SoundDescriptionV1 version1 = Version1("twos", entry.extensions);
        version1.channels = entry.channels;
        EXPECT_EQ(Good(version1).track->mSampleOrder, entry.expected);
        SoundDescriptionV2 version2 = Version2("lpcm", entry.extensions);
        version2.channels = static_cast<uint32_t>(entry.channels);
        EXPECT_EQ(Good(version2).track->mSampleOrder, entry.expected);
    }
}

}  // namespace
