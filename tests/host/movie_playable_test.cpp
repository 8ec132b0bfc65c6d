#include <memory>

#include "host/host_test.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "support/cf_owner.h"
#include "util/text.h"

namespace {

using KVX::QT::Movie;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::Sound;
using kvx_test::SoundDescriptionV0;
using kvx_test::SoundDescriptionV2;
using kvx_test::TrackRecipe;
using kvx_test::Video;

constexpr int kUntouched = 77;

struct Verdict {
    long status = kUntouched;
    int playable = kUntouched;
    int sampleType = kUntouched;
    std::unique_ptr<Movie> movie;
};

class MoviePlayable : public kvx_test::HostTest {
  protected:
    MoviePlayable() { KVX::AppIsPremiere(host.StdParms()); }

    static Verdict Judge(const std::string& path) {
        const kvx_test::CFOwner<CFStringRef> pathRef(KVX::Util::Text::u2cf(path));
        Verdict verdict;
        Movie* movie = nullptr;
        verdict.status =
            xMoviePlayable(pathRef.Get(), &verdict.playable, &movie, &verdict.sampleType);
        verdict.movie.reset(movie);
        return verdict;
    }

    Verdict Judge(const kvx_test::MovieRecipe& recipe) { return Judge(Write(recipe)); }

    void ExpectPlayable(const kvx_test::MovieRecipe& recipe, int sampleType) {
        LogCapture log;
        const Verdict verdict = Judge(recipe);
        EXPECT_EQ(verdict.status, 0);
        EXPECT_EQ(verdict.playable, 1);
        EXPECT_EQ(verdict.sampleType, sampleType);
        EXPECT_NE(verdict.movie, nullptr);
        EXPECT_EQ(log.Raw(), "");
    }

    void ExpectRefused(const kvx_test::MovieRecipe& recipe) {
        LogCapture log;
        const Verdict verdict = Judge(recipe);
        EXPECT_EQ(verdict.status, 0);
        EXPECT_EQ(verdict.playable, 0);
        EXPECT_EQ(verdict.sampleType, kUntouched);
        EXPECT_EQ(verdict.movie, nullptr);
        EXPECT_EQ(log.Raw(), "");
    }
};

TrackRecipe Linear(const std::string& format, int bits, bool littleEndian = false) {
    SoundDescriptionV2 description;
    description.format = format;
    description.bits = static_cast<uint32_t>(bits);
    description.extensions = {kvx_test::Wave({kvx_test::Endianness(littleEndian)})};
    return kvx_test::SoundTrackRecipe(kvx_test::Describe(description),
                                      static_cast<uint32_t>(2 * bits / 8), 100, 48000,
                                      2 * kvx_test::kMediaOffset);
}

TrackRecipe Plain(const std::string& format, int bits) {
    SoundDescriptionV0 description;
    description.format = format;
    description.bits = bits;
    return Sound(description, 100);
}

TEST_F(MoviePlayable, InvalidArguments) {
    const kvx_test::CFOwner<CFStringRef> path(KVX::Util::Text::u2cf("/nowhere"));
    int playable = kUntouched;
    Movie* const stale = KVX::PointerFromWord<Movie>(1);
    Movie* movie = stale;
    char expected[200];
    {
        LogCapture log;
        EXPECT_EQ(xMoviePlayable(nullptr, &playable, &movie, nullptr), 22);
        std::snprintf(expected, sizeof(expected),
                      "xMoviePlayable: Invalid arguments: pathRef %p, playable %p\n",
                      static_cast<void*>(nullptr), static_cast<void*>(&playable));
        EXPECT_EQ(log.Text(), expected);
        EXPECT_EQ(movie, nullptr);
        EXPECT_EQ(playable, kUntouched);
    }
    {
        LogCapture log;
        movie = stale;
        EXPECT_EQ(xMoviePlayable(path.Get(), nullptr, &movie, nullptr), 22);
        std::snprintf(expected, sizeof(expected),
                      "xMoviePlayable: Invalid arguments: pathRef %p, playable %p\n",
                      static_cast<const void*>(path.Get()), static_cast<void*>(nullptr));
        EXPECT_EQ(log.Text(), expected);
        EXPECT_EQ(movie, nullptr);
    }
}

TEST_F(MoviePlayable, NothingIsPlayableForAnotherHost) {
    const std::string path = Write(MovieOf({Video()}));
    KVX::gAppIsPremiere = 0;
    LogCapture log;
    const Verdict verdict = Judge(path);
    EXPECT_EQ(verdict.status, 0);
    EXPECT_EQ(verdict.playable, 0);
    EXPECT_EQ(verdict.movie, nullptr);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(MoviePlayable, HostThatWasNeverAskedCountsAsTheRightOne) {
    const std::string path = Write(MovieOf({Video()}));
    ForgetHost();
    LogCapture log;
    const Verdict verdict = Judge(path);
    EXPECT_EQ(verdict.playable, 1);
    EXPECT_EQ(log.Text(),
              "AppIsPremiere: AppIsPremiere requires a valid pointer on first invocation\n");
}

TEST_F(MoviePlayable, FileThatIsNoMovie) {
    const std::string garbage = directory.File("garbage.mov");
    kvx_test::WriteFile(garbage, "This is no QuickTime file at all, whatever its name says.");
    for (const std::string& path : {garbage, directory.File("missing.mov"), directory.Path()}) {
        LogCapture log;
        const Verdict verdict = Judge(path);
        EXPECT_EQ(verdict.status, 12);
        EXPECT_EQ(verdict.playable, 0);
        EXPECT_EQ(verdict.movie, nullptr);
        const std::string trail = log.Text();
        const std::string last = "xMoviePlayable: Movie::Create() failed\n";
        ASSERT_GE(trail.size(), last.size());
        EXPECT_EQ(trail.substr(trail.size() - last.size()), last);
    }
}

TEST_F(MoviePlayable, ExactlyOneVideoTrack) {
    ExpectPlayable(MovieOf({Video()}), -1);
    ExpectRefused(MovieOf({}));
    ExpectRefused(MovieOf({Plain("twos", 16)}));
    ExpectRefused(MovieOf({Video(), Video("2vuy", 16, 8, 2 * kvx_test::kMediaOffset)}));
}

TEST_F(MoviePlayable, VideoFormats) {
    for (const char* format : {"2vuy", "2Vuy", "r210", "v210"}) {
        SCOPED_TRACE(format);
        ExpectPlayable(MovieOf({Video(format)}), -1);
    }
    for (const char* format : {"dvcp", "dvsd", "apcn", "ap4h", "jpeg", "v216", "R210"}) {
        SCOPED_TRACE(format);
        ExpectRefused(MovieOf({Video(format)}));
    }
}

struct SampleTypeCase {
    const char* name;
    TrackRecipe track;
    int sampleType;
};

TEST_F(MoviePlayable, SampleTypes) {
    const SampleTypeCase cases[] = {
        {"8 bit unsigned", Plain("raw ", 8), 1},
        {"8 bit signed", Plain("twos", 8), 2},
        {"16 bit little-endian", Plain("sowt", 16), 3},
        {"16 bit unsigned", Plain("raw ", 16), 3},
        {"16 bit big-endian", Plain("twos", 16), 8},
        {"24 bit little-endian", Linear("in24", 24, true), 4},
        {"24 bit big-endian", Linear("in24", 24), 9},
        {"32 bit little-endian", Linear("in32", 32, true), 5},
        {"32 bit big-endian", Linear("in32", 32), 10},
        {"32 bit float, little-endian", Linear("fl32", 32, true), 6},
        {"32 bit float, big-endian", Linear("fl32", 32), 11},
        {"64 bit float, little-endian", Linear("fl64", 64, true), 7},
        {"64 bit float, big-endian", Linear("fl64", 64), 7},
    };
    for (const SampleTypeCase& each : cases) {
        SCOPED_TRACE(each.name);
        ExpectPlayable(MovieOf({Video(), each.track}), each.sampleType);
    }
}

TEST_F(MoviePlayable, SampleSizesWithoutAType) {
    for (const int bits : {1, 4, 7, 12, 15, 20, 40, 48, 128}) {
        SCOPED_TRACE(bits);
        ExpectRefused(MovieOf({Video(), Plain("twos", bits)}));
    }
    ExpectRefused(MovieOf({Video(), Linear("in64", 64)}));
}

TEST_F(MoviePlayable, AudioTracksShareOneType) {
    TrackRecipe second = Plain("twos", 16);
    second.PlaceSamples(3 * kvx_test::kMediaOffset, 100);
    ExpectPlayable(MovieOf({Video(), Plain("twos", 16), second}), 8);
    ExpectPlayable(MovieOf({Plain("twos", 16), Video(), second}), 8);
    ExpectRefused(MovieOf({Video(), Plain("sowt", 16), second}));
    ExpectRefused(MovieOf({Video(), Plain("twos", 8), second}));
    ExpectRefused(MovieOf({Video(), second, Plain("twos", 12)}));
}

TEST_F(MoviePlayable, ResultsMayBeLeftOut) {
    const std::string path = Write(MovieOf({Video(), Plain("twos", 16)}));
    const kvx_test::CFOwner<CFStringRef> pathRef(KVX::Util::Text::u2cf(path));
    int playable = kUntouched;
    int sampleType = kUntouched;
    EXPECT_EQ(xMoviePlayable(pathRef.Get(), &playable, nullptr, nullptr), 0);
    EXPECT_EQ(playable, 1);

    // No movie to go with it.
    playable = kUntouched;
    EXPECT_EQ(xMoviePlayable(pathRef.Get(), &playable, nullptr, &sampleType), 0);
    EXPECT_EQ(playable, 1);
    EXPECT_EQ(sampleType, kUntouched);

    Movie* movie = nullptr;
    EXPECT_EQ(xMoviePlayable(pathRef.Get(), &playable, &movie, nullptr), 0);
    const std::unique_ptr<Movie> owned(movie);
    ASSERT_NE(owned, nullptr);
    EXPECT_EQ(owned->mMoviePath, path);
    EXPECT_EQ(owned->mVideoTracks.size(), 1u);
    EXPECT_EQ(owned->mAudioTracks.size(), 1u);
}

TEST_F(MoviePlayable, PathsOfAnyScript) {
    for (const char* name : {"ムービー.mov", "🎬 scène.mov", "a b\"c.mov"}) {
        const std::string path = Write(MovieOf({Video()}), name);
        EXPECT_EQ(Judge(path).playable, 1) << name;
    }
}

}  // namespace
