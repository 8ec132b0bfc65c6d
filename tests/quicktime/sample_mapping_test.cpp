// From a place on the timeline to bytes of the file.
#include <gtest/gtest.h>

#include <limits>

#include "quicktime/track.h"

using KVX::QT::Track;

namespace {

constexpr long long kLargest = std::numeric_limits<long long>::max();
constexpr long long kSmallest = std::numeric_limits<long long>::min();

// 24 samples a second, 96 of them, of ten bytes from offset 1000 on.
class SampleMapping : public testing::Test {
  protected:
    SampleMapping() {
        mTrack.mMediaTimeScale = 24000;
        mTrack.mSampleDuration = 1000;
        mTrack.mSampleCount = 96;
        mTrack.mTrackDuration = 96000;
        mTrack.mEditRates.Append(0, {0, 1.0});
        mTrack.mSampleDurations.Append(0, {0, 1000});
        mTrack.mChunkOffsets.Append(0, 1000);
        mTrack.mSizeOffsets.Append(0, {10, 1000});
    }

    void SetEdit(long long mediaTime, double rate, long long duration) {
        mTrack.mEditRates.clear();
        mTrack.mEditRates.Append(0, {mediaTime, rate});
        mTrack.mTrackDuration = duration;
    }

    Track mTrack;
};

TEST_F(SampleMapping, PlainTrackMapsOneToOne) {
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(0), 0);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(95), 95);
    EXPECT_EQ(mTrack.GetSampleSize(7), 10u);
    EXPECT_EQ(mTrack.GetSampleOffset(7), 1070);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(0), 96);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(90), 6);
}

TEST_F(SampleMapping, PositionsBeyondTheEndAreTheLastSample) {
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(96), 95);
    EXPECT_EQ(mTrack.GetSampleOffset(96), 1950);
    EXPECT_EQ(mTrack.GetSampleOffset(1000000), 1950);
    EXPECT_EQ(mTrack.GetSampleSize(1000000), 10u);
}

TEST_F(SampleMapping, EndOfTheTrackIsNotToldByTheCount) {
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(95), 1);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(96), 1);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(1000), 1);
}

TEST_F(SampleMapping, EditSkipsTheStartOfTheMedia) {
    SetEdit(48000, 1.0, 48000);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(0, nullptr), 48000);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(0), 48);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(10), 58);
    EXPECT_EQ(mTrack.GetSampleOffset(10), 1580);
    long long remaining = 0;
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(10000, &remaining), 58000);
    EXPECT_EQ(remaining, 38000);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(10), 38);
}

TEST_F(SampleMapping, ContiguousSamplesEndAtTheNextEdit) {
    mTrack.mEditRates.Append(30000, {0, 1.0});
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(0), 30);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(29), 1);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(29), 29);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(30), 0);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(30), 66);
    long long remaining = 0;
    mTrack.TrackTimeToMediaTime(29999, &remaining);
    EXPECT_EQ(remaining, 1);
    mTrack.TrackTimeToMediaTime(30000, &remaining);
    EXPECT_EQ(remaining, 66000);
}

TEST_F(SampleMapping, ContiguousSamplesEndAtABreak) {
    mTrack.mChunkOffsets.Append(40, 9000);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(0), 40);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(39), 1);
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(40), 56);
    long long contiguous = 0;
    EXPECT_EQ(mTrack.MediaSampleToFileOffset(39, &contiguous), 1390);
    EXPECT_EQ(contiguous, 1);
    EXPECT_EQ(mTrack.MediaSampleToFileOffset(41, &contiguous), 9010);
    EXPECT_EQ(contiguous, 55);
    EXPECT_EQ(mTrack.MediaSampleToFileOffset(41, nullptr), 9010);
}

TEST_F(SampleMapping, RateScalesTheTimeButNotWhatRemains) {
    SetEdit(0, 2.0, 48000);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(10), 20);
    long long remaining = 0;
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(10000, &remaining), 20000);
    EXPECT_EQ(remaining, 38000);
    // From media time 20000 to 58000, though the edit covers it up to 96000.
    EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(10), 38);
}

TEST_F(SampleMapping, RateOfZeroStaysOnOneTime) {
    SetEdit(5000, 0.0, 48000);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(0), 5);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(40), 5);
}

TEST_F(SampleMapping, MediaTimesAreTruncatedTowardZero) {
    SetEdit(0, 0.5, 96000);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(3, nullptr), 1);
    SetEdit(-10, 0.5, 96000);
    // -10 + 1.5
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(3, nullptr), -8);
}

TEST_F(SampleMapping, TimeBeyondTheLastEditExtendsIt) {
    SetEdit(100, 1.0, 5000);
    long long remaining = 0;
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(7000, &remaining), 7100);
    EXPECT_EQ(remaining, -2000);
}

TEST_F(SampleMapping, LongMediaIsExactAtRateOne) {
    SetEdit(1, 1.0, 0);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime((1LL << 53) - 2, nullptr), (1LL << 53) - 1);
}

TEST_F(SampleMapping, TimesThatDoNotFitAreTheNearestOnes) {
    SetEdit(0, 65535.0, 0);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(kLargest, nullptr), kLargest);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(kSmallest, nullptr), kSmallest);
}

// As doubles the times at both ends of 64 bits are 2^63 and -2^63, the first of which 64 bits do
// not hold.
TEST_F(SampleMapping, TheEndsOfTimeAtRateOne) {
    SetEdit(0, 1.0, 0);
    const struct {
        long long trackTime;
        long long mediaTime;
    } kRows[] = {
        {kLargest, kLargest},
        {kLargest - 511, kLargest},         // half-way, and to the even one
        {kLargest - 512, kLargest - 1023},  // to the next below 2^63
        {kLargest - 1023, kLargest - 1023},
        {1LL << 62, 1LL << 62},
        {kSmallest + 1024, kSmallest + 1024},
        {kSmallest + 1, kSmallest},
        {kSmallest, kSmallest},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(mTrack.TrackTimeToMediaTime(row.trackTime, nullptr), row.mediaTime)
            << row.trackTime;
    }
    // Where the media begins counts as well.
    SetEdit(kLargest, 1.0, 0);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(0, nullptr), kLargest);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(kLargest, nullptr), kLargest);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(-1024, nullptr), kLargest - 1023);
    SetEdit(kSmallest, 1.0, 0);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(0, nullptr), kSmallest);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(-4096, nullptr), kSmallest);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(1024, nullptr), kSmallest + 1024);
}

TEST_F(SampleMapping, EmptyEditBeginsOnTheFirstSample) {
    SetEdit(-1, 1.0, 48000);
    EXPECT_EQ(mTrack.TrackTimeToMediaTime(0, nullptr), -1);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(0), 0);
    EXPECT_EQ(mTrack.GetSampleOffset(0), 1000);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(2), 1);
}

TEST_F(SampleMapping, TimesInFrontOfTheMediaAreTheFirstSample) {
    SetEdit(-50000, 1.0, 48000);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(0), 0);
    EXPECT_EQ(mTrack.GetSampleOffset(0), 1000);
    EXPECT_EQ(mTrack.GetSampleSize(0), 10u);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(-50000, false), 0);
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(-7), 0);
    long long contiguous = 0;
    EXPECT_EQ(mTrack.MediaSampleToFileOffset(-5, &contiguous), 1000);
    EXPECT_EQ(contiguous, 96);
}

TEST_F(SampleMapping, TimeOnARunsKeyIsItsFirstSample) {
    mTrack.mSampleDurations.Append(50000, {50, 500});
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(49999, true), 49);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(50000, true), 50);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(50499, true), 50);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(50500, true), 51);
}

TEST_F(SampleMapping, TimeInsideASampleIsThatSample) {
    mTrack.mSampleDurations.clear();
    mTrack.mSampleDurations.Append(0, {0, 1001});
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(1000, false), 0);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(1001, false), 1);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(2001, false), 1);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(2002, false), 2);
}

TEST_F(SampleMapping, ClampEndsAtTheLastSample) {
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(95999, true), 95);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(96000, true), 95);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(96000, false), 96);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(196000, false), 196);
}

TEST_F(SampleMapping, RunOfNoDurationStaysOnItsFirstSample) {
    mTrack.mSampleDurations.Append(50000, {50, 0});
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(50000, true), 50);
    EXPECT_EQ(mTrack.MediaTimeToMediaSample(90000, true), 50);
    mTrack.mSampleDuration = 0;
    EXPECT_EQ(mTrack.TrackSampleToMediaSample(90), 0);
}

// Sizes 100, 100, 50, 50, 50; the second chunk begins at sample 3.
class TwoChunks : public testing::Test {
  protected:
    TwoChunks() {
        mTrack.mSampleDuration = 1;
        mTrack.mSampleCount = 5;
        mTrack.mTrackDuration = 5;
        mTrack.mEditRates.Append(0, {0, 1.0});
        mTrack.mSampleDurations.Append(0, {0, 1});
        mTrack.mChunkOffsets.Append(0, 1000);
        mTrack.mChunkOffsets.Append(3, 9000);
        mTrack.mSizeOffsets.Append(0, {100, 1000});
        mTrack.mSizeOffsets.Append(2, {50, 1200});
    }

    Track mTrack;
};

TEST_F(TwoChunks, LaterRunDecidesTheOffset) {
    const long long offsets[] = {1000, 1100, 1200, 9000, 9050};
    const unsigned int sizes[] = {100, 100, 50, 50, 50};
    for (long long sample = 0; sample < 5; ++sample) {
        EXPECT_EQ(mTrack.GetSampleOffset(sample), offsets[sample]) << sample;
        EXPECT_EQ(mTrack.GetSampleSize(sample), sizes[sample]) << sample;
    }
}

TEST_F(TwoChunks, ContiguousSamplesCrossSizeRuns) {
    const long long counts[] = {3, 2, 1, 2, 1};
    for (long long sample = 0; sample < 5; ++sample) {
        EXPECT_EQ(mTrack.TrackSampleToContiguousSampleCount(sample), counts[sample]) << sample;
    }
}

TEST_F(TwoChunks, ChunkRunDecidesWhenBothBeginTogether) {
    mTrack.mSizeOffsets.Append(3, {60, 7777});
    EXPECT_EQ(mTrack.GetSampleOffset(3), 9000);
    EXPECT_EQ(mTrack.GetSampleOffset(4), 9060);
}

TEST(TrackWithoutTables, AnswersNothingAnywhere) {
    const Track track;
    for (const long long position : {kSmallest, -1LL, 0LL, 1LL, kLargest}) {
        SCOPED_TRACE(position);
        long long out = 7;
        EXPECT_EQ(track.GetSampleSize(position), 0u);
        EXPECT_EQ(track.GetSampleOffset(position), 0);
        EXPECT_EQ(track.TrackSampleToMediaSample(position), 0);
        EXPECT_EQ(track.TrackSampleToContiguousSampleCount(position), 0);
        EXPECT_EQ(track.TrackTimeToMediaTime(position, &out), 0);
        EXPECT_EQ(out, 0);
        EXPECT_EQ(track.TrackTimeToMediaTime(position, nullptr), 0);
        EXPECT_EQ(track.MediaTimeToMediaSample(position, true), 0);
        EXPECT_EQ(track.MediaTimeToMediaSample(position, false), 0);
        out = 7;
        EXPECT_EQ(track.MediaSampleToFileOffset(position, &out), 0);
        EXPECT_EQ(out, 0);
        EXPECT_EQ(track.GetNextKeyFrame(position), -1);
        EXPECT_EQ(track.GetPrecedingKeyFrame(position), -1);
        EXPECT_EQ(track.DecodeSampleToDisplaySample(position), position);
    }
}

TEST(TrackWithoutChunks, LocatesNothing) {
    Track track;
    track.mSampleCount = 5;
    track.mTrackDuration = 5;
    track.mSampleDuration = 1;
    track.mEditRates.Append(0, {0, 1.0});
    track.mSampleDurations.Append(0, {0, 1});
    track.mSizeOffsets.Append(0, {10, 0});
    EXPECT_EQ(track.GetSampleOffset(3), 0);
    EXPECT_EQ(track.TrackSampleToContiguousSampleCount(3), 0);
}

}  // namespace
