// How does an audio track answer to a sound sample description that it cannot use?

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "support/log_capture.h"
#include "support/movie_in_memory.h"

namespace {

using namespace kvx_test;
using KVX::QT::AudioTrack;

// Runs Init on a track that is to be of no further use, and returns its status and its log.
struct Outcome {
    long status = -1;
    std::string log;
    bool hasTables = false;
};

Outcome Init(const AtomNode& description) {
    const MovieInMemory movie = MovieOf(SoundTrackRecipe(description, 4, 100));
    AudioTrack track;
    const LogCapture log;
    Outcome outcome;
    outcome.status = track.Init(movie.Path(), movie.Moov(), movie.Trak());
    outcome.log = log.Text();
    outcome.hasTables = track.mSampleCount != 0;
    return outcome;
}

void ExpectFailure(const AtomNode& description, const std::string& line) {
    const Outcome outcome = Init(description);
    EXPECT_EQ(outcome.status, 22);
    EXPECT_EQ(outcome.log, "Init: " + line + "\n");
    EXPECT_FALSE(outcome.hasTables);
}

// The answer is 0, and the track has nothing in it.
void ExpectEmptyTrack(const AtomNode& description, const std::string& line) {
    const Outcome outcome = Init(description);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.log, "Init: " + line + "\n");
    EXPECT_FALSE(outcome.hasTables);
}

SoundDescriptionV1 Version1(std::vector<AtomNode> extensions = {}) {
    SoundDescriptionV1 sound;
    sound.format = "in24";
    sound.extensions = std::move(extensions);
    return sound;
}

SoundDescriptionV1 SixChannels(std::vector<AtomNode> extensions) {
    SoundDescriptionV1 sound = Version1(std::move(extensions));
    sound.channels = 6;
    sound.bytesPerFrame = 18;
    return sound;
}

AtomNode WithSize(AtomNode atom, uint64_t size,
                  AtomNode::SizeForm form = AtomNode::SizeForm::Short) {
    atom.form = form;
    atom.writtenSize = size;
    return atom;
}

TEST(AudioDescriptionFailure, UnknownVersions) {
    for (const int version : {3, 4, 0x7FFF, -1, -32768}) {
        AtomNode entry = Describe(SoundDescriptionV1{});
        entry.Poke(16, big16(version));
        ExpectFailure(entry, "Unsupported sound description version: " + std::to_string(version));
    }
}

TEST(AudioDescriptionFailure, Version1WithoutFrameSize) {
    SoundDescriptionV1 sound = Version1();
    sound.bytesPerFrame = 0;
    sound.bits = 7;
    ExpectEmptyTrack(Describe(sound), "Unable to determine bytes per frame");
    sound.bits = 16;
    sound.channels = 0;
    ExpectEmptyTrack(Describe(sound), "Unable to determine bytes per frame");
    sound.channels = 2;
    sound.bytesPerFrame = 0x80000000;
    ExpectEmptyTrack(Describe(sound), "Unable to determine bytes per frame");
    sound.bytesPerFrame = 0xFFFFFFFF;
    ExpectEmptyTrack(Describe(sound), "Unable to determine bytes per frame");
}

TEST(AudioDescriptionFailure, Version1WithoutChannels) {
    SoundDescriptionV1 sound = Version1();
    sound.channels = 0;
    ExpectEmptyTrack(Describe(sound), "Unable to determine number of channels");
}

TEST(AudioDescriptionFailure, EmptyTracksReachTheMovie) {
    SoundDescriptionV1 sound = Version1();
    sound.channels = 0;
    MovieRecipe recipe;
    recipe.tracks.push_back(SoundTrackRecipe(Describe(sound), 4, 100));
    const TempDirectory directory;
    const std::string path = WriteMovie(directory, recipe);
    const LogCapture log;
    const std::unique_ptr<KVX::QT::Movie> movie(KVX::QT::Movie::Create(path));
    ASSERT_NE(movie, nullptr);
    ASSERT_EQ(movie->mAudioTracks.size(), 1U);
    AudioTrack& track = *movie->mAudioTracks[0];
    EXPECT_EQ(track.mFileDescriptor, -1);
    EXPECT_EQ(track.mSampleCount, 0);
    EXPECT_EQ(track.mStreamDescription.mSampleRate, 0.0);
    EXPECT_EQ(track.mStreamDescription.mBytesPerFrame, 0U);
    EXPECT_EQ(track.mStreamDescription.mChannelsPerFrame, 0U);
    EXPECT_EQ(track.GetSampleSize(0), 0U);
    EXPECT_EQ(track.GetSampleOffset(0), 0);
    EXPECT_EQ(track.TrackSampleToContiguousSampleCount(0), 0);
}

TEST(AudioDescriptionFailure, NumbersBeyond32Bits) {
    SoundDescriptionV1 version1 = Version1();
    version1.channels = 1;
    version1.bytesPerFrame = 0x7FFFFFFF;
    ExpectFailure(Describe(version1),
                  "Invalid sound description: 2147483647 bytes per frame, 17179869176 bits per "
                  "channel");
    SoundDescriptionV2 version2;
    version2.channels = 0x80000000;
    ExpectFailure(Describe(version2),
                  "Invalid sound description: 4294967296 bytes per frame, 16 bits per channel");
    version2.channels = 0xFFFFFFFF;
    version2.bits = 0xFFFFFFFF;
    ExpectFailure(Describe(version2),
                  "Invalid sound description: 2305843004381855745 bytes per frame, 4294967295 bits "
                  "per channel");
}

TEST(AudioDescriptionFailure, NothingToCountIsStillATrack) {
    SoundDescriptionV2 version2;
    version2.channels = 0;
    version2.bits = 0;
    const Outcome outcome = Init(Describe(version2));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.hasTables);

    SoundDescriptionV0 version0;
    version0.channels = 0;
    version0.bits = 0;
    EXPECT_EQ(Init(Describe(version0)).status, 0);
}

TEST(AudioDescriptionFailure, ShorterThanTheFixedPart) {
    const struct {
        AtomNode entry;
        std::vector<uint64_t> sizes;
        int fixedPart;
    } kCases[] = {
        {Describe(SoundDescriptionV0{}), {18, 24, 35}, 36},
        {Describe(SoundDescriptionV1{}), {18, 36, 51}, 52},
        {Describe(SoundDescriptionV2{}), {18, 52, 71}, 72},
    };
    for (const auto& entry : kCases) {
        for (const uint64_t size : entry.sizes) {
            ExpectFailure(WithSize(entry.entry, size),
                          "'" + entry.entry.type + "' atom of " + std::to_string(size) +
                              " bytes does not hold " + std::to_string(entry.fixedPart) +
                              " bytes at 0");
        }
    }
    ExpectFailure(WithSize(Describe(SoundDescriptionV0{}), 17),
                  "'twos' atom of 17 bytes does not hold 2 bytes at 16");
}

TEST(AudioDescriptionFailure, UnknownSurroundLayouts) {
    const struct {
        uint32_t tag;
        const char* text;
    } kCases[] = {
        {0x00000000, "0x00000000"},  // by channel descriptions
        {0x00010000, "0x00010000"},  // by bitmap
        {0x00780006, "0x00780006"}, {0x007D0006, "0x007d0006"}, {0xFFFFFFFF, "0xffffffff"},
    };
    for (const auto& entry : kCases) {
        const std::string line = std::string("Unrecognised 5.1 channel layout tag ") + entry.text;
        ExpectFailure(Describe(SixChannels({ChannelLayout(entry.tag)})), line);
        // A good one before or after it does not help.
        ExpectFailure(Describe(SixChannels({ChannelLayout(entry.tag), ChannelLayout(0x00790006)})),
                      line);
        ExpectFailure(Describe(SixChannels({ChannelLayout(0x00790006), ChannelLayout(entry.tag)})),
                      line);
    }
}

TEST(AudioDescriptionFailure, FieldsOutsideTheirAtom) {
    ExpectFailure(Describe(SixChannels({{"chan", big32(0)}})),
                  "'chan' atom of 12 bytes does not hold 4 bytes at 12");
    ExpectFailure(Describe(SixChannels({{"chan", big32(0) + zeros(3)}})),
                  "'chan' atom of 15 bytes does not hold 4 bytes at 12");
    ExpectFailure(Describe(Version1({Wave({{"enda", "\1"}})})),
                  "'enda' atom of 9 bytes does not hold 2 bytes at 8");
    ExpectFailure(Describe(Version1(
                      {Wave({WithSize({"esds", zeros(32)}, 15, AtomNode::SizeForm::Extended)})})),
                  "'esds' atom of 15 bytes does not hold 16 bytes at 0");
}

TEST(AudioDescriptionFailure, ShortLayoutOfOtherChannelCountsIsNotRead) {
    EXPECT_EQ(Init(Describe(Version1({{"chan"}}))).status, 0);
}

TEST(AudioDescriptionFailure, LengthsThatCannotBeSteppedByEndTheWalk) {
    for (const uint64_t size : {0U, 7U, 1000U, 0x80000000U, 0xFFFFFFFFU}) {
        const AtomNode bad = WithSize({"abcd", "12345678"}, size);
        const Outcome outcome =
            Init(Describe(SixChannels({bad, ChannelLayout(0), Wave({{"enda"}})})));
        EXPECT_EQ(outcome.status, 0) << size;
        EXPECT_EQ(outcome.log, "");
        EXPECT_TRUE(outcome.hasTables);
    }
}

TEST(AudioDescriptionFailure, EsdsOf4GiBOrMore) {
    const auto withEsds = [](uint64_t size, const std::vector<AtomNode>& before) {
        std::vector<AtomNode> children = before;
        children.push_back(WithSize({"esds", zeros(32)}, size, AtomNode::SizeForm::Extended));
        return Describe(Version1({Wave(children)}));
    };
    ExpectEmptyTrack(withEsds(0x100000010, {}),
                     "Can not allocate allocate 4294967296 byte Esds buffer");
    ExpectEmptyTrack(withEsds(0xFFFFFFFFFFFFFFFF, {{"frma", "in24"}, Endianness(true)}),
                     "Can not allocate allocate 18446744073709551599 byte Esds buffer");
    // Smaller ones that pass the end of their parent are no atoms at all.
    for (const uint64_t size : {uint64_t{49}, uint64_t{0x10000000F}}) {
        const Outcome outcome = Init(withEsds(size, {}));
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.log, "");
        EXPECT_TRUE(outcome.hasTables);
    }
    // A good one before it is the one that counts.
    EXPECT_TRUE(Init(withEsds(0x100000010, {ElementaryStream("abc")})).hasTables);
}

TEST(AudioDescriptionFailure, HugeAtomsOfOtherKindsAreNoEsds) {
    const AtomNode huge = WithSize({"frma", zeros(32)}, 0x100000010, AtomNode::SizeForm::Extended);
    EXPECT_TRUE(Init(Describe(Version1({Wave({huge})}))).hasTables);
    AtomNode cut{"wave", big32(1) + "esds" + big32(1)};  // an extended size cut short
    EXPECT_TRUE(Init(Describe(Version1({cut}))).hasTables);
}

}  // namespace
