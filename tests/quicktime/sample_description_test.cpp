// How do the track classes answer when there is no sample description to be read, or a broken one?

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "core/four_char_code.h"
#include "quicktime/audio_track.h"
#include "quicktime/timecode_track.h"
#include "quicktime/video_track.h"
#include "support/log_capture.h"
#include "support/movie_in_memory.h"

namespace {

using namespace kvx_test;

constexpr unsigned int kTrak = KVX::Core::FourCharCode("trak");
const char* const kStbl = "trak/mdia/minf/stbl";
const char* const kStsd = "trak/mdia/minf/stbl/stsd";

struct Video {
    using Track = KVX::QT::VideoTrack;
    static TrackRecipe Recipe() { return VideoTrackRecipe({}, 64, 5); }
    static constexpr const char* kOtherType = "soun";
    static constexpr const char* kUnsupported =
        "Create: Unsupported video track media type 'soun'\n";
    static constexpr const char* kInitReturned22 = "Create: qtTrack->Init() returned 22\n";
    static constexpr const char* kTrackInitReturned22 = "Init: Track::Init() returned 22\n";
};

struct Audio {
    using Track = KVX::QT::AudioTrack;
    static TrackRecipe Recipe() {
        return SoundTrackRecipe(Describe(SoundDescriptionV0{}), 4, 48000);
    }
    static constexpr const char* kOtherType = "vide";
    static constexpr const char* kUnsupported =
        "Create: Unsupported audio track media type 'vide'\n";
    static constexpr const char* kInitReturned22 = "Create: audioTrack->Init() returned 22\n";
    // The one class whose Init leaves this line out.
    static constexpr const char* kTrackInitReturned22 = "";
};

struct TimeCode {
    using Track = KVX::QT::TimeCodeTrack;
    static TrackRecipe Recipe() { return TimeCodeTrackRecipe({}, 10); }
    static constexpr const char* kOtherType = "vide";
    static constexpr const char* kUnsupported =
        "Create: Unsupported time code track media type 'vide'\n";
    static constexpr const char* kInitReturned22 = "Create: qtTrack->Init() returned 22\n";
    static constexpr const char* kTrackInitReturned22 = "Init: Track::Init() returned 22\n";
};

MovieInMemory Movie(const TrackRecipe& track, const std::function<void(AtomNode&)>& change) {
    MovieRecipe recipe;
    recipe.tracks.push_back(track);
    recipe.change = change;
    return MovieInMemory(recipe);
}

// The log of an Init that must return 22.
template <typename Kind>
std::string LogOfFailingInit(const std::function<void(AtomNode&)>& change) {
    const MovieInMemory movie = Movie(Kind::Recipe(), change);
    typename Kind::Track track;
    const LogCapture log;
    EXPECT_EQ(track.Init(movie.Path(), movie.Moov(), movie.Trak()), 22);
    return log.Text();
}

template <typename Kind>
class SampleDescription : public testing::Test {};

struct KindNames {
    template <typename Kind>
    static std::string GetName(int index) {
        const char* const kNames[] = {"Video", "Audio", "TimeCode"};
        return kNames[index];
    }
};
using Kinds = testing::Types<Video, Audio, TimeCode>;
TYPED_TEST_SUITE(SampleDescription, Kinds, KindNames);

TYPED_TEST(SampleDescription, WellFormedTracksAreCreatedSilently) {
    const MovieInMemory movie = Movie(TypeParam::Recipe(), nullptr);
    const LogCapture log;
    const std::unique_ptr<typename TypeParam::Track> track(
        TypeParam::Track::Create(movie.Path(), movie.Moov(), movie.Trak()));
    EXPECT_NE(track, nullptr);
    EXPECT_EQ(log.Raw(), "");
}

TYPED_TEST(SampleDescription, EachMissingAtomHasItsLine) {
    const auto without = [](const char* path) {
        return LogOfFailingInit<TypeParam>([=](AtomNode& moov) { moov.Remove(path); });
    };
    EXPECT_EQ(without("trak/mdia"), "Init: Failed to find media atom in track\n");
    EXPECT_EQ(without("trak/mdia/minf"), "Init: Failed to find media info atom in track\n");
    EXPECT_EQ(without(kStbl), "Init: Failed to find sample table atom in track\n");
    EXPECT_EQ(without(kStsd),
              "Init: Failed to find sample table sample description atom in track\n");
}

TYPED_TEST(SampleDescription, EntryCountMustBeAboveZero) {
    for (const int count : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(
            LogOfFailingInit<TypeParam>(
                [=](AtomNode& moov) { moov.At(kStsd).SetEntryCount(count); }),
            "Init: Invalid number of sample description entries: " + std::to_string(count) + "\n");
    }
}

TYPED_TEST(SampleDescription, TableTooShortForItsCount) {
    EXPECT_EQ(LogOfFailingInit<TypeParam>([](AtomNode& moov) {
                  moov.At(kStsd).payload = zeros(4);
                  moov.At(kStsd).children.clear();
              }),
              "Init: 'stsd' atom of 12 bytes does not hold 4 bytes at 12\n");
}

TYPED_TEST(SampleDescription, CountWithoutEntriesFailsWithOneLine) {
    const std::string log =
        LogOfFailingInit<TypeParam>([](AtomNode& moov) { moov.At(kStsd).children.clear(); });
    EXPECT_EQ(log.find('\n'), log.size() - 1) << log;
    EXPECT_EQ(log.find("Init: 'stsd' atom of 16 bytes does not hold "), 0U) << log;
}

TYPED_TEST(SampleDescription, CreateRefusesOtherMediaTypes) {
    const MovieInMemory movie = Movie(TypeParam::Recipe(), [](AtomNode& moov) {
        moov.At("trak/mdia/hdlr").Poke(16, TypeParam::kOtherType);
    });
    const LogCapture log;
    EXPECT_EQ(TypeParam::Track::Create(movie.Path(), movie.Moov(), movie.Trak()), nullptr);
    EXPECT_EQ(log.Text(), TypeParam::kUnsupported);
}

TYPED_TEST(SampleDescription, CreatePassesOnTheMediaTypesFailure) {
    const MovieInMemory movie =
        Movie(TypeParam::Recipe(), [](AtomNode& moov) { moov.Remove("trak/mdia/hdlr"); });
    const LogCapture log;
    EXPECT_EQ(TypeParam::Track::Create(movie.Path(), movie.Moov(), movie.Trak()), nullptr);
    EXPECT_EQ(log.Text(),
              "GetMediaType: Failed to find handler atom in track\n"
              "Create: GetMediaType returned 22\n");
}

TYPED_TEST(SampleDescription, CreatePassesOnInitsFailure) {
    const MovieInMemory movie =
        Movie(TypeParam::Recipe(), [](AtomNode& moov) { moov.Remove(kStsd); });
    const LogCapture log;
    EXPECT_EQ(TypeParam::Track::Create(movie.Path(), movie.Moov(), movie.Trak()), nullptr);
    EXPECT_EQ(log.Text(),
              std::string("Init: Failed to find sample table sample description atom in track\n") +
                  TypeParam::kInitReturned22);
}

TYPED_TEST(SampleDescription, FailuresOfTheTrackItselfLeaveATrail) {
    const MovieInMemory movie = Movie(
        TypeParam::Recipe(), [](AtomNode& moov) { moov.Remove(std::string(kStbl) + "/stts"); });
    const LogCapture log;
    EXPECT_EQ(TypeParam::Track::Create(movie.Path(), movie.Moov(), movie.Trak()), nullptr);
    EXPECT_EQ(log.Text(),
              std::string("SetSampleLayout: Failed to find a time to sample number atom in track\n"
                          "Init: SetSampleLayout returned 22\n") +
                  TypeParam::kTrackInitReturned22 + TypeParam::kInitReturned22);
}

// Any byte of the movie atom may be anything: the answer is a track or none, and nothing outside
// the buffer is read.
TYPED_TEST(SampleDescription, AnyByteMayLie) {
    MovieRecipe recipe;
    recipe.tracks.push_back(TypeParam::Recipe());
    const Bytes good = BuildMoov(recipe).Serialize();
    const MovieInMemory movie(good);
    char* const bytes = reinterpret_cast<char*>(movie.Moov());
    const LogCapture log;
    for (size_t at = 8; at < good.size(); ++at) {
        for (const int value : {0x00, 0x01, 0x07, 0x7F, 0x80, 0xFF}) {
            bytes[at] = static_cast<char>(value);
            if (KVX::QT::Atom* const trak = movie.Moov()->FindNextChildOfType(kTrak, nullptr)) {
                delete TypeParam::Track::Create(movie.Path(), movie.Moov(), trak);
            }
        }
        bytes[at] = good[at];
    }
}

// The video and sound classes read the first entry by its own size.
template <typename Kind>
class SampleDescriptionEntry : public testing::Test {};
using KindsWithEntries = testing::Types<Video, Audio>;
TYPED_TEST_SUITE(SampleDescriptionEntry, KindsWithEntries, KindNames);

TYPED_TEST(SampleDescriptionEntry, SizeThatIsNoSize) {
    for (const uint64_t size : {0U, 1U, 7U, 5000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(LogOfFailingInit<TypeParam>(
                      [=](AtomNode& moov) { moov.At(kStsd).children.at(0).writtenSize = size; }),
                  "Init: Invalid sample description entry size: " + std::to_string(size) + "\n");
    }
}

TYPED_TEST(SampleDescriptionEntry, ExtendedSize) {
    EXPECT_EQ(LogOfFailingInit<TypeParam>([](AtomNode& moov) {
                  moov.At(kStsd).children.at(0).form = AtomNode::SizeForm::Extended;
              }),
              "Init: Invalid sample description entry size: 1\n");
}

TEST(SampleDescriptionEntry, VideoShorterThanItsFixedPart) {
    for (const uint64_t size : {8U, 32U, 85U}) {
        EXPECT_EQ(LogOfFailingInit<Video>(
                      [=](AtomNode& moov) { moov.At(kStsd).children.at(0).writtenSize = size; }),
                  "Init: '2vuy' atom of " + std::to_string(size) +
                      " bytes does not hold 86 bytes at 0\n");
    }
}

}  // namespace
