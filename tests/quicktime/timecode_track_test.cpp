// Which timecode does a movie start with?

#include "quicktime/timecode_track.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "quicktime/movie.h"
#include "support/log_capture.h"
#include "support/movie_file.h"
#include "support/movie_in_memory.h"
#include "timecode/ctimecode.h"

namespace {

using namespace kvx_test;
using KVX::QT::Movie;
using KVX::QT::TimeCodeTrack;
using KVX::Util::CTimeCode;

TimeCodeDescription Counting(uint32_t flags, uint32_t timeScale, uint32_t frameDuration,
                             int framesPerSecond) {
    TimeCodeDescription description;
    description.flags = flags;
    description.timeScale = timeScale;
    description.frameDuration = frameDuration;
    description.framesPerSecond = framesPerSecond;
    return description;
}

// A movie file of one timecode track whose first sample is `sample`.
class TimeCodeMovie {
  public:
    TimeCodeMovie(const TimeCodeDescription& description, const Bytes& sample) {
        MovieRecipe recipe;
        // The time scale of the media is none of the timecode's.
        TrackRecipe track = TimeCodeTrackRecipe({}, 10);
        track.descriptions = {Describe(description)};
        recipe.tracks.push_back(track);
        const std::string path = mDirectory.File("timecode.mov");
        WriteMovieFile(path, BuildMoov(recipe), {{kMediaOffset, sample}}, {kMediaOffset, true});
        mMovie.reset(Movie::Create(path));
    }

    Movie& operator*() const { return *mMovie; }
    TimeCodeTrack& Track() const { return *mMovie->mTimeCodeTracks.at(0); }

    // The first timecode as text, or "none".
    std::string First() const {
        CTimeCode timeCode(KVX::Util::tcfNone);
        if (!Track().GetFirstTimeCode(timeCode)) {
            EXPECT_EQ(timeCode.format, KVX::Util::tcfNone);
            EXPECT_TRUE(timeCode.IsZero());
            return "none";
        }
        return timeCode.ToString(false);
    }

    bool IsValid() const {
        int numbers[] = {-1, -2, -3, -4};
        const bool valid = Track().GetFirstTimeCode(numbers[0], numbers[1], numbers[2], numbers[3]);
        EXPECT_EQ(numbers[0], -1);
        EXPECT_EQ(numbers[1], -2);
        EXPECT_EQ(numbers[2], -3);
        EXPECT_EQ(numbers[3], -4);
        return valid;
    }

  private:
    TempDirectory mDirectory;
    std::unique_ptr<Movie> mMovie;
};

TEST(TimeCodeTrack, TakesTheDescription) {
    const TimeCodeMovie movie(Counting(0x80000003, 30000, 1001, 30), big32(0));
    ASSERT_EQ((*movie).mTimeCodeTracks.size(), 1U);
    EXPECT_EQ(movie.Track().mTimeCodeFlags, 0x80000003U);
    EXPECT_EQ(movie.Track().mTimeCodeTimeScale, 30000U);
    EXPECT_EQ(movie.Track().mFrameDuration, 1001U);
    EXPECT_EQ(movie.Track().mFramesPerSecond, 30);
    EXPECT_EQ(movie.Track().mFormat, 0);
    EXPECT_GT(movie.Track().mFileDescriptor, 0);
}

TEST(TimeCodeTrack, NewTracksCountNothing) {
    const TimeCodeTrack track;
    EXPECT_EQ(track.mTimeCodeFlags, 0U);
    EXPECT_EQ(track.mTimeCodeTimeScale, 0U);
    EXPECT_EQ(track.mFrameDuration, 0U);
    EXPECT_EQ(track.mFramesPerSecond, 0);
}

TEST(TimeCodeTrack, FirstTimeCode) {
    const struct {
        TimeCodeDescription description;
        int64_t frame;
        const char* expected;
    } kCases[] = {
        {Counting(0, 25, 1, 25), 90000, "01:00:00:00"},
        {Counting(0, 25, 1, 25), 0, "00:00:00:00"},
        {Counting(0, 2500, 100, 25), 90012, "01:00:00:12"},
        {Counting(0, 24000, 1001, 24), 86400, "01:00:00:00"},
        {Counting(0, 24000, 1001, 23), 86423, "01:00:00:23"},
        {Counting(0, 30000, 1001, 30), 1800, "00:01:00:00"},
        // Drop frame: the flag alone decides.
        {Counting(1, 30000, 1001, 30), 1800, "00:01:00;02"},
        {Counting(1, 30000, 1001, 29), 107894, "01:00:00;02"},
        {Counting(1, 60000, 1001, 60), 3600, "00:01:00;04"},
        // Rates without a drop variant ignore the flag; other flags mean nothing here.
        {Counting(1, 25, 1, 25), 1500, "00:01:00:00"},
        {Counting(0xFFFFFFFE, 30000, 1001, 30), 1800, "00:01:00:00"},
        // A counter at half the frame rate.
        {Counting(0, 50, 1, 25), 25, "00:00:01:00"},
        {Counting(0, 50, 1, 50), 25, "00:00:00:25"},
        {Counting(1, 60000, 1001, 30), 1800, "00:01:00;02"},
        // Frame numbers are signed, and wrap into the day.
        {Counting(0, 25, 1, 25), -1, "23:59:59:24"},
        {Counting(0, 25, 1, 25), 2160000, "00:00:00:00"},
    };
    for (const auto& entry : kCases) {
        SCOPED_TRACE(testing::Message()
                     << entry.description.timeScale << " / " << entry.description.frameDuration
                     << ", frame " << entry.frame);
        const TimeCodeMovie movie(entry.description, big32(entry.frame));
        EXPECT_EQ(movie.First(), entry.expected);
        EXPECT_TRUE(movie.IsValid());
    }
}

TEST(TimeCodeTrack, CounterOf255SwitchesTheComparisonOff) {
    // Read as -1: the rate stands as it is, while any other mismatch takes half of it.
    EXPECT_EQ(TimeCodeMovie(Counting(0, 50, 1, 255), big32(75)).First(), "00:00:01:25");
    EXPECT_EQ(TimeCodeMovie(Counting(0, 50, 1, 128), big32(75)).First(), "00:00:03:00");
    EXPECT_EQ(TimeCodeMovie(Counting(0, 50, 1, 128), big32(0)).Track().mFramesPerSecond, -128);
}

TEST(TimeCodeTrack, UnknownRatesHaveNoTimeCode) {
    const TimeCodeDescription kUnknown[] = {
        Counting(0, 25, 0, 25),
        Counting(0, 0, 0, 0),
        Counting(0, 0, 1, 25),
        Counting(0, 15, 1, 15),
        Counting(0, 0xFFFFFFFF, 1, 25),
        Counting(0, 25, 0xFFFFFFFF, 25),
        Counting(1, 0x80000000, 0xFFFFFFFF, 30),
    };
    for (const TimeCodeDescription& description : kUnknown) {
        const TimeCodeMovie movie(description, big32(1000));
        EXPECT_EQ(movie.First(), "none");
        EXPECT_FALSE(movie.IsValid());
    }
}

TEST(TimeCodeTrack, ClosedFileHasNoTimeCode) {
    const TimeCodeMovie movie(Counting(0, 25, 1, 25), big32(1));
    EXPECT_TRUE(movie.IsValid());
    (*movie).CloseFile();
    EXPECT_EQ(movie.Track().mFileDescriptor, -2);
    EXPECT_FALSE(movie.IsValid());
    EXPECT_EQ(movie.First(), "none");
    EXPECT_EQ((*movie).OpenFile(), 0);
    EXPECT_EQ(movie.First(), "00:00:00:01");
}

TEST(TimeCodeTrack, SampleCutShortHasNoTimeCode) {
    for (size_t count = 0; count < 4; ++count) {
        const TimeCodeMovie movie(Counting(0, 25, 1, 25), zeros(count));
        EXPECT_FALSE(movie.IsValid()) << count;
        EXPECT_EQ(movie.First(), "none");
    }
}

TEST(TimeCodeTrack, OnlyTheFirstSampleCounts) {
    MovieRecipe recipe;
    TrackRecipe track = TimeCodeTrackRecipe(Counting(0, 25, 1, 25), 10);
    track.durations = {{2, 1}};
    track.chunkOffsets.clear();
    track.PlaceSamples(kMediaOffset, 1, 100);
    recipe.tracks.push_back(track);
    const TempDirectory directory;
    const std::string path = directory.File("samples.mov");
    WriteMovieFile(path, BuildMoov(recipe),
                   {{kMediaOffset, big32(1)}, {kMediaOffset + 104, big32(77)}});
    const std::unique_ptr<Movie> movie(Movie::Create(path));
    ASSERT_NE(movie, nullptr);
    CTimeCode timeCode(KVX::Util::tcfNone);
    ASSERT_TRUE(movie->mTimeCodeTracks.at(0)->GetFirstTimeCode(timeCode));
    EXPECT_EQ(timeCode.ToString(false), "00:00:00:01");
}

TEST(TimeCodeTrack, FirstSampleIsFoundThroughTheEditList) {
    MovieRecipe recipe;
    TrackRecipe track = TimeCodeTrackRecipe(Counting(0, 25, 1, 25), 10);
    track.durations = {{2, 250}};
    track.chunkOffsets.clear();
    track.PlaceSamples(kMediaOffset, 1, 100);
    track.edits = {{6000, 250, 0x00010000}};
    recipe.tracks.push_back(track);
    const TempDirectory directory;
    const std::string path = directory.File("edited.mov");
    WriteMovieFile(path, BuildMoov(recipe),
                   {{kMediaOffset, big32(1)}, {kMediaOffset + 104, big32(77)}});
    const std::unique_ptr<Movie> movie(Movie::Create(path));
    ASSERT_NE(movie, nullptr);
    CTimeCode timeCode(KVX::Util::tcfNone);
    ASSERT_TRUE(movie->mTimeCodeTracks.at(0)->GetFirstTimeCode(timeCode));
    EXPECT_EQ(timeCode.ToString(false), "00:00:03:02");
}

// Nothing after the number of frames is read, and neither is the entry's own size.
TEST(TimeCodeTrack, DescriptionMayEndBehindTheNumberOfFrames) {
    const auto initStatus = [](size_t length) {
        TrackRecipe recipe = TimeCodeTrackRecipe(Counting(0, 25, 1, 25), 10);
        MovieRecipe movieRecipe;
        movieRecipe.tracks = {recipe};
        movieRecipe.change = [=](AtomNode& moov) {
            AtomNode& stsd = moov.At("trak/mdia/minf/stbl/stsd");
            stsd.children[0].writtenSize = 0;
            stsd.payload = stsd.Serialize().substr(8, length - 8);
            stsd.children.clear();
        };
        const MovieInMemory movie(movieRecipe);
        TimeCodeTrack track;
        return track.Init(movie.Path(), movie.Moov(), movie.Trak());
    };
    EXPECT_EQ(initStatus(49), 0);
    const LogCapture log;
    for (const size_t length : {36U, 40U, 44U, 48U}) {
        EXPECT_EQ(initStatus(length), 22) << length;
    }
    EXPECT_EQ(log.Text(),
              "Init: 'stsd' atom of 36 bytes does not hold 4 bytes at 36\n"
              "Init: 'stsd' atom of 40 bytes does not hold 4 bytes at 40\n"
              "Init: 'stsd' atom of 44 bytes does not hold 4 bytes at 44\n"
              "Init: 'stsd' atom of 48 bytes does not hold 1 bytes at 48\n");
}

TEST(TimeCodeTrack, BrokenTrackFailsTheMovie) {
    MovieRecipe recipe;
    recipe.tracks.push_back(TimeCodeTrackRecipe({}, 10));
    recipe.change = [](AtomNode& moov) { moov.Remove("trak/mdia/minf/stbl/stsz"); };
    const TempDirectory directory;
    const std::string path = directory.File("broken.mov");
    WriteMovieFile(path, BuildMoov(recipe), {{kMediaOffset, big32(0)}});
    const LogCapture log;
    EXPECT_EQ(Movie::Create(path), nullptr);
    EXPECT_EQ(log.Text(),
              "SetSampleLayout: Failed to find a sample size atom in track\n"
              "Init: SetSampleLayout returned 22\n"
              "Init: Track::Init() returned 22\n"
              "Create: qtTrack->Init() returned 22\n"
              "Init: Failed to create a new TimeCodeTrack\n"
              "Create: Init() failed with 22\n");
}

TEST(TimeCodeTrack, VanishedFileFailsTheMoviesOpen) {
    const TempDirectory directory;
    MovieRecipe recipe;
    recipe.tracks.push_back(TimeCodeTrackRecipe({}, 10));
    const std::string path = WriteMovie(directory, recipe);
    const std::unique_ptr<Movie> movie(Movie::Create(path));
    ASSERT_NE(movie, nullptr);
    movie->CloseFile();
    ASSERT_EQ(std::remove(path.c_str()), 0);
    const LogCapture log;
    EXPECT_EQ(movie->OpenFile(), 22);
    EXPECT_EQ(log.Text(),
              "OpenFile: open returned 2\n"
              "OpenFile: Got error 22 opening timecode track file\n");
}

}  // namespace
