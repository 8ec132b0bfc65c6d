// The headers that every track reads, and the order in which its parts fail.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "quicktime/track.h"
#include "support/atom_buffer.h"
#include "support/log_capture.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

using namespace kvx_test;
using KVX::QT::Track;

namespace {

class TrackInit : public testing::Test {
  protected:
    long Init(const std::function<void(AtomNode&)>& change = nullptr) {
        MovieRecipe recipe;
        recipe.timeScale = 600;
        recipe.duration = 0x89ABCDEF;
        recipe.tracks = {VideoTrackRecipe({"v210", 48, 2, 24}, 256, 10)};
        recipe.tracks[0].mediaDuration = 0x98765432;
        recipe.change = change;
        AtomNode moov = BuildMoov(recipe);
        const AtomBuffer buffer(moov);
        WriteFile(mPath, "media");
        return mTrack.Init(mPath, buffer.Get(), buffer.At(OffsetOf(moov, "trak")));
    }

    TempDirectory mDirectory;
    std::string mPath = mDirectory.File("media");
    Track mTrack;
    LogCapture mLog;
};

TEST_F(TrackInit, FieldsHaveDefinedValuesBeforeIt) {
    EXPECT_EQ(mTrack.mFormat, 0);
    EXPECT_EQ(mTrack.mMediaTimeScale, 0);
    EXPECT_EQ(mTrack.mSampleDuration, 0);
    EXPECT_EQ(mTrack.mFixedSampleSize, 0u);
    EXPECT_EQ(mTrack.mFilePath, "");
    EXPECT_EQ(mTrack.mFileDescriptor, -1);
    EXPECT_EQ(mTrack.mFileSize, 0);
    EXPECT_EQ(mTrack.mMovieDuration, 0u);
    EXPECT_EQ(mTrack.mMovieTimeScale, 0);
    EXPECT_EQ(mTrack.mTrackDuration, 0);
    EXPECT_EQ(mTrack.mMediaDuration, 0u);
    EXPECT_EQ(mTrack.mSampleCount, 0);
    EXPECT_EQ(mTrack.mMaxSampleSize, 0u);
    EXPECT_EQ(mTrack.mMaxDisplayOffset, 0);
    EXPECT_EQ(mTrack.mMinDisplayOffset, 0);
    EXPECT_TRUE(mTrack.mEditRates.empty());
    EXPECT_TRUE(mTrack.mSampleDurations.empty());
    EXPECT_TRUE(mTrack.mChunkOffsets.empty());
    EXPECT_TRUE(mTrack.mSizeOffsets.empty());
    EXPECT_TRUE(mTrack.mDisplayOffsets.empty());
    EXPECT_TRUE(mTrack.mKeyFrames.empty());
}

TEST_F(TrackInit, ReadsTheHeadersAndOpensTheFile) {
    EXPECT_EQ(Init(), 0);
    EXPECT_EQ(mTrack.mMovieTimeScale, 600);
    EXPECT_EQ(mTrack.mMovieDuration, 0x89ABCDEFu);
    EXPECT_EQ(mTrack.mMediaTimeScale, 24000);
    EXPECT_EQ(mTrack.mMediaDuration, 0x98765432u);
    EXPECT_EQ(mTrack.mTrackDuration, 10000);
    EXPECT_EQ(mTrack.mSampleCount, 10);
    EXPECT_EQ(mTrack.mFilePath, mPath);
    EXPECT_GT(mTrack.mFileDescriptor, 0);
    EXPECT_EQ(mTrack.mFileSize, 5);
    EXPECT_EQ(mLog.Raw(), "");
}

TEST_F(TrackInit, TimeScalesAreSigned) {
    EXPECT_EQ(Init([](AtomNode& moov) {
                  moov.At("mvhd").Poke(20, big32(-600));
                  moov.At("trak/mdia/mdhd").Poke(20, big32(-24000));
              }),
              0);
    EXPECT_EQ(mTrack.mMovieTimeScale, -600);
    EXPECT_EQ(mTrack.mMediaTimeScale, -24000);
}

TEST_F(TrackInit, VersionByteIsNotRead) {
    EXPECT_EQ(Init([](AtomNode& moov) {
                  moov.At("mvhd").Poke(8, Bytes("\x01", 1));
                  moov.At("trak/tkhd").Poke(8, Bytes("\x01", 1));
                  moov.At("trak/mdia/mdhd").Poke(8, Bytes("\x01", 1));
              }),
              0);
    EXPECT_EQ(mTrack.mMovieTimeScale, 600);
    EXPECT_EQ(mTrack.mMediaTimeScale, 24000);
    EXPECT_EQ(mTrack.mTrackDuration, 10000);
}

struct InitFailure {
    const char* name;
    void (*change)(AtomNode& moov);
    long status;
    const char* text;
};

void PrintTo(const InitFailure& test, std::ostream* out) {
    *out << test.name;
}

class TrackInitFails : public TrackInit, public testing::WithParamInterface<InitFailure> {};

TEST_P(TrackInitFails, WithItsStatusAndLines) {
    EXPECT_EQ(Init(GetParam().change), GetParam().status);
    EXPECT_EQ(mLog.Text(), GetParam().text);
}

const InitFailure kFailures[] = {
    {"NoMovieHeader", [](AtomNode& moov) { moov.Remove("mvhd"); }, 2,
     "Init: Failed to find a movie header atom\n"},
    {"NoMedia", [](AtomNode& moov) { moov.Remove("trak/mdia"); }, 2,
     "Init: Failed to find a media atom\n"},
    {"NoMediaHeader", [](AtomNode& moov) { moov.Remove("trak/mdia/mdhd"); }, 2,
     "Init: Failed to find a media header atom\n"},
    {"ShortMovieHeader", [](AtomNode& moov) { moov.At("mvhd").payload.resize(19); }, 22,
     "Init: 'mvhd' atom of 27 bytes does not hold 4 bytes at 24\n"},
    {"ShortMediaHeader", [](AtomNode& moov) { moov.At("trak/mdia/mdhd").payload.resize(12); }, 22,
     "Init: 'mdhd' atom of 20 bytes does not hold 4 bytes at 20\n"},
    {"MovieScaleOfZero", [](AtomNode& moov) { moov.At("mvhd").Poke(20, big32(0)); }, 22,
     "Init: Invalid movie time scale 0 or media time scale 24000\n"},
    {"MediaScaleOfZero", [](AtomNode& moov) { moov.At("trak/mdia/mdhd").Poke(20, big32(0)); }, 22,
     "Init: Invalid movie time scale 600 or media time scale 0\n"},
    {"NoTrackHeader", [](AtomNode& moov) { moov.Remove("trak/tkhd"); }, 2,
     "SetEditList: Failed to find a track header atom\n"
     "Init: SetEditList returned 2\n"},
    {"NoMediaInformation", [](AtomNode& moov) { moov.Remove("trak/mdia/minf"); }, 2,
     "SetFilePath: Failed to find a media info atom\n"
     "Init: SetFilePath returned 2\n"},
    {"NoSampleTable", [](AtomNode& moov) { moov.Remove("trak/mdia/minf/stbl"); }, 2,
     "SetSampleLayout: Failed to find a sample table atom\n"
     "Init: SetSampleLayout returned 2\n"},
};

INSTANTIATE_TEST_SUITE_P(Cases, TrackInitFails, testing::ValuesIn(kFailures),
                         [](const auto& test) { return test.param.name; });

TEST_F(TrackInit, FileThatDoesNotOpenFailsLast) {
    EXPECT_EQ(Init([](AtomNode& moov) { moov.At("trak/mdia/minf/dinf/dref").SetEntryCount(0); }),
              22);
    EXPECT_EQ(mLog.Text(), "OpenFile: open returned " + std::to_string(ENOENT) +
                               "\nInit: OpenFile returned 22\n");
    EXPECT_EQ(mTrack.mSampleCount, 10);
    EXPECT_LT(mTrack.mFileDescriptor, 0);
}

}  // namespace
