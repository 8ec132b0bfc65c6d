#include <gtest/gtest.h>

#include <vector>

#include "quicktime/track.h"
#include "support/atom_buffer.h"
#include "support/log_capture.h"
#include "support/movie_builder.h"

using namespace kvx_test;
using KVX::QT::Track;

namespace {

struct Edit {
    long long key;
    long long mediaTime;
    double rate;

    bool operator==(const Edit& other) const {
        return key == other.key && mediaTime == other.mediaTime && rate == other.rate;
    }
};

using EditRows = std::vector<Edit>;

class EditList : public testing::Test {
  protected:
    EditList() {
        mTrack.mMovieTimeScale = 600;
        mTrack.mMediaTimeScale = 48000;
    }

    long Set(const AtomNode& trak) {
        const AtomBuffer buffer(trak);
        return mTrack.SetEditList(buffer.Get());
    }

    EditRows Edits() const {
        EditRows edits;
        for (const auto& [key, edit] : mTrack.mEditRates) {
            edits.push_back({key, edit->mediaTime, edit->rate});
        }
        return edits;
    }

    Track mTrack;
    LogCapture mLog;
};

AtomNode TrackHeader(int64_t duration) {
    return {"tkhd", zeros(20) + big32(duration) + zeros(60)};
}

AtomNode ElstOf(int64_t count, const std::vector<EditEntry>& entries) {
    Bytes payload = big32(0) + big32(count);
    for (const EditEntry& entry : entries) {
        payload += big32(entry.duration) + big32(entry.mediaTime) + big32(entry.rate);
    }
    return {"edts", {}, {{"elst", payload}}};
}

AtomNode Trak(const std::vector<AtomNode>& children) {
    return {"trak", {}, children};
}

TEST_F(EditList, WithoutEditsTimeIsMediaTime) {
    EXPECT_EQ(Set(Trak({TrackHeader(600)})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 0, 1.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 48000);
}

TEST_F(EditList, EditsAtomWithoutAListCountsAsNone) {
    EXPECT_EQ(Set(Trak({TrackHeader(600), {"edts"}})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 0, 1.0}}));
}

TEST_F(EditList, NeedsATrackHeaderWithoutEdits) {
    EXPECT_EQ(Set(Trak({})), 2);
    EXPECT_EQ(mLog.Text(), "SetEditList: Failed to find a track header atom\n");
}

TEST_F(EditList, CountOfZeroCountsAsNone) {
    EXPECT_EQ(Set(Trak({ElstOf(0, {{600, 0}})})), 2);
    EXPECT_EQ(mLog.Text(), "SetEditList: Failed to find a track header atom\n");
    EXPECT_EQ(Set(Trak({ElstOf(0, {{600, 0}}), TrackHeader(300)})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 0, 1.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 24000);
}

TEST_F(EditList, NegativeCountCountsAsNone) {
    EXPECT_EQ(Set(Trak({ElstOf(-1, {{600, 0}}), TrackHeader(300)})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 0, 1.0}}));
}

TEST_F(EditList, OneEditNeedsNoTrackHeader) {
    EXPECT_EQ(Set(Trak({ElstOf(1, {{600, 1234}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 1234, 1.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 48000);
}

TEST_F(EditList, EditsWinOverTheTrackHeader) {
    EXPECT_EQ(Set(Trak({TrackHeader(1), ElstOf(1, {{600, 0}})})), 0);
    EXPECT_EQ(mTrack.mTrackDuration, 48000);
}

TEST_F(EditList, SeveralEditsFollowEachOther) {
    EXPECT_EQ(Set(Trak({ElstOf(3, {{100, 5000}, {50, 0, 0x8000}, {25, 700, 0x20000}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 5000, 1.0}, {8000, 0, 0.5}, {12000, 700, 2.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 14000);
}

TEST_F(EditList, KeysAreTruncatedTowardZero) {
    mTrack.mMovieTimeScale = 7;
    mTrack.mMediaTimeScale = 10;
    EXPECT_EQ(Set(Trak({ElstOf(3, {{1, 0}, {1, 0}, {1, 0}})})), 0);
    // 10/7 and 20/7 and 30/7
    EXPECT_EQ(Edits(), EditRows({{0, 0, 1.0}, {1, 0, 1.0}, {2, 0, 1.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 4);
}

TEST_F(EditList, LaterEditTakesTheKeyOver) {
    EXPECT_EQ(Set(Trak({ElstOf(3, {{0, 1}, {0, 2}, {600, 3}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 3, 1.0}}));
}

TEST_F(EditList, EmptyEditIsStoredAsItStands) {
    EXPECT_EQ(Set(Trak({ElstOf(2, {{600, -1}, {600, 0}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, -1, 1.0}, {48000, 0, 1.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 96000);
}

TEST_F(EditList, RateIsUnsigned) {
    EXPECT_EQ(Set(Trak({ElstOf(1, {{600, 0, 0xFFFFFFFF}})})), 0);
    EXPECT_EQ(mTrack.mEditRates.begin()->second->rate, 65535.9999847412109375);
    EXPECT_EQ(Set(Trak({ElstOf(1, {{600, 0, 0}})})), 0);
    EXPECT_EQ(mTrack.mEditRates.begin()->second->rate, 0.0);
}

TEST_F(EditList, LengthDecidesHowManyEntriesThereAre) {
    EXPECT_EQ(Set(Trak({ElstOf(1, {{600, 1}, {600, 2}, {600, 3}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 1, 1.0}, {48000, 2, 1.0}, {96000, 3, 1.0}}));
    EXPECT_EQ(Set(Trak({ElstOf(0x7FFFFFFF, {{600, 1}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 1, 1.0}}));
}

TEST_F(EditList, EndsBehindTheLastWholeEntry) {
    const EditRows one = {{0, 1, 1.0}};
    const EditRows two = {{0, 1, 1.0}, {48000, 2, 1.0}};
    for (size_t bytes = 12; bytes <= 24 + 11; ++bytes) {
        SCOPED_TRACE(bytes);
        AtomNode trak = Trak({ElstOf(2, {{600, 1}, {600, 2}, {600, 3}})});
        trak.At("edts/elst").payload.resize(8 + bytes);
        EXPECT_EQ(Set(trak), 0);
        EXPECT_EQ(Edits(), bytes < 24 ? one : two);
        EXPECT_EQ(mTrack.mTrackDuration, bytes < 24 ? 48000 : 96000);
    }
    EXPECT_EQ(mLog.Raw(), "");
}

// Entries of version 1 have 20 bytes, and are read as those of version 0 are: a duration of 64 bits
// below 2^32 gives an edit without a duration, whose media time is the low half. What is left of
// the entry is too short for another one.
TEST_F(EditList, ListOfVersionOne) {
    const Bytes entry = big64(600) + big64(1234) + big32(0x00010000);
    EXPECT_EQ(Set(Trak({{"edts", {}, {{"elst", big32(0x01000000) + big32(1) + entry}}}})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 600, 0.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 0);
}

TEST_F(EditList, CountWithoutAWholeEntryFails) {
    for (size_t bytes = 0; bytes < 12; ++bytes) {
        AtomNode trak = Trak({ElstOf(1, {{600, 1}})});
        trak.At("edts/elst").payload.resize(8 + bytes);
        LogCapture log;
        EXPECT_EQ(Set(trak), 22);
        EXPECT_EQ(log.Text(), "SetEditList: 'elst' atom of " + std::to_string(16 + bytes) +
                                  " bytes does not hold 12 bytes at 16\n");
    }
}

TEST_F(EditList, ListWithoutACountFails) {
    EXPECT_EQ(Set(Trak({{"edts", {}, {{"elst", zeros(7)}}}})), 22);
    EXPECT_EQ(mLog.Text(), "SetEditList: 'elst' atom of 15 bytes does not hold 4 bytes at 12\n");
}

TEST_F(EditList, TrackHeaderWithoutADurationFails) {
    EXPECT_EQ(Set(Trak({{"tkhd", zeros(23)}})), 22);
    EXPECT_EQ(mLog.Text(), "SetEditList: 'tkhd' atom of 31 bytes does not hold 4 bytes at 28\n");
}

TEST_F(EditList, CanBeSetAgain) {
    EXPECT_EQ(Set(Trak({ElstOf(2, {{600, 1}, {600, 2}})})), 0);
    EXPECT_EQ(Set(Trak({ElstOf(1, {{300, 7}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{0, 7, 1.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 24000);
}

TEST_F(EditList, TrackDurationIsSigned) {
    EXPECT_EQ(Set(Trak({TrackHeader(-600)})), 0);
    EXPECT_EQ(mTrack.mTrackDuration, -48000);
}

TEST_F(EditList, NegativeDurationsPutTheEditsInOrder) {
    EXPECT_EQ(Set(Trak({ElstOf(3, {{600, 1}, {-1200, 2}, {600, 3}})})), 0);
    EXPECT_EQ(Edits(), EditRows({{-48000, 3, 1.0}, {0, 1, 1.0}, {48000, 2, 1.0}}));
    EXPECT_EQ(mTrack.mTrackDuration, 0);
}

TEST_F(EditList, ProductsBeyondSixtyFourBitsAreDefined) {
    // -2^63 / -1 is the one quotient that has no place in 64 bits.
    mTrack.mMovieTimeScale = -1;
    mTrack.mMediaTimeScale = -(1LL << 61);
    EXPECT_EQ(Set(Trak({TrackHeader(4)})), 0);
    EXPECT_EQ(mTrack.mTrackDuration, -9223372036854775807LL - 1);
}

}  // namespace
