// Tables that fill the largest movie atom there may be, and counts that say more or less than the
// table holds. What is read is bounded by the bytes that are there, never by the count.
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "quicktime/full_table.h"
#include "support/loaded_track.h"
#include "support/log_capture.h"

using namespace kvx_test;

namespace {

constexpr int64_t kHighestCount = 0x7FFFFFFF;

// Ten samples in ten chunks, each of its own size.
TrackRecipe TenSamples() {
    TrackRecipe track;
    track.durations = {{10, 1000}};
    track.sizes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    track.displayOffsets = {{10, 0}};
    track.keyFrames = {1};
    track.headerDuration = 250;
    track.PlaceSamples(1000, 1, 5);
    return track;
}

struct TableCase {
    const char* what;
    const char* path;
    size_t countOffset;
    size_t firstEntry;
    size_t entrySize;
    // Bytes of the entry `index`, 0-based, of a full table.
    Bytes (*entry)(int64_t index);
    // What the rest of the track needs so that the table alone decides.
    void (*prepare)(TrackRecipe& track);
};

void Leave(TrackRecipe&) {}
void OneSize(TrackRecipe& track) {
    track.constantSize = 8;
}
void Wide(TrackRecipe& track) {
    OneSize(track);
    track.wideChunkOffsets = true;
}

const TableCase kTables[] = {
    {"stts", "trak/mdia/minf/stbl/stts", 12, 16, 8, [](int64_t) { return big32(1) + big32(1000); },
     Leave},
    {"stsc", "trak/mdia/minf/stbl/stsc", 12, 16, 12,
     [](int64_t index) { return big32(index + 1) + big32(1) + big32(1); }, OneSize},
    {"stsz", "trak/mdia/minf/stbl/stsz", 16, 20, 4,
     [](int64_t index) { return big32(1 + index % 2); }, Leave},
    {"stco", "trak/mdia/minf/stbl/stco", 12, 16, 4,
     [](int64_t index) { return big32(1000 + 16 * index); }, OneSize},
    {"co64", "trak/mdia/minf/stbl/co64", 12, 16, 8,
     [](int64_t index) { return big64(1000 + 16 * index); }, Wide},
    {"ctts", "trak/mdia/minf/stbl/ctts", 12, 16, 8,
     [](int64_t index) { return big32(1) + big32(index % 3 * 1000); }, Leave},
    {"stss", "trak/mdia/minf/stbl/stss", 12, 16, 4, [](int64_t index) { return big32(index + 1); },
     Leave},
};

void PrintTo(const TableCase& test, std::ostream* out) {
    *out << test.what;
}

class TableCount : public testing::TestWithParam<TableCase> {
  protected:
    // A movie atom of exactly the largest length whose table is filled, with a count that differs
    // from the truth by `offBy`, or is `count` itself.
    MovieRecipe FullMovie(int64_t offBy) {
        return Movie([offBy](int64_t held) { return held + offBy; });
    }
    MovieRecipe MovieOfCount(int64_t count) {
        return Movie([count](int64_t) { return count; });
    }

  private:
    MovieRecipe Movie(const std::function<int64_t(int64_t)>& countFor) {
        const TableCase& table = GetParam();
        MovieRecipe recipe;
        recipe.tracks = {TenSamples()};
        table.prepare(recipe.tracks[0]);
        recipe.change = [&table, countFor](AtomNode& moov) {
            AtomNode& atom = moov.At(table.path);
            const int64_t held =
                FillTable(moov, atom, table.firstEntry, table.entrySize, table.entry);
            atom.Poke(table.countOffset, big32(countFor(held)));
        };
        return recipe;
    }
};

TEST_P(TableCount, AFullTableIsRead) {
    LoadedTrack track(FullMovie(0));
    EXPECT_EQ(track.Status(), 0);
}

TEST_P(TableCount, OneLessIsRead) {
    LoadedTrack track(FullMovie(-1));
    EXPECT_EQ(track.Status(), 0);
}

TEST_P(TableCount, OneMoreIsRefused) {
    LogCapture log;
    EXPECT_EQ(LoadedTrack(FullMovie(1)).Status(), 22);
    EXPECT_NE(log.Raw(), "");
}

TEST_P(TableCount, TheHighestCountIsRefused) {
    LogCapture log;
    EXPECT_EQ(LoadedTrack(MovieOfCount(kHighestCount)).Status(), 22);
    EXPECT_NE(log.Raw(), "");
}

TEST_P(TableCount, NegativeCountsAreNoEntries) {
    LogCapture log;
    LoadedTrack track(MovieOfCount(-1));
    EXPECT_EQ(track.Status(), 0) << log.Raw();
}

INSTANTIATE_TEST_SUITE_P(Tables, TableCount, testing::ValuesIn(kTables),
                         [](const auto& info) { return info.param.what; });

// The count of an edit list says only that there are entries; its length says how many.
TEST(TableCountOfEdits, LengthDecides) {
    MovieRecipe recipe;
    recipe.tracks = {TenSamples()};
    recipe.tracks[0].edits = {{100, 0}, {50, 1000}, {25, 2000}};
    for (const int64_t count : {int64_t{1}, int64_t{3}, int64_t{4}, kHighestCount}) {
        recipe.change = [count](AtomNode& moov) { moov.At("trak/edts/elst").SetEntryCount(count); };
        LoadedTrack track(recipe);
        ASSERT_EQ(track.Status(), 0);
        EXPECT_EQ(track->mEditRates.size(), 3u);
        EXPECT_EQ(track->mTrackDuration, 175 * 24000 / 600);
    }
}

// So it is with data references: the walk ends with the atom, or before it when the count is less.
TEST(TableCountOfReferences, WalkEndsWithTheAtomOrTheCount) {
    MovieRecipe recipe;
    recipe.tracks = {TenSamples()};
    recipe.tracks[0].dataReferences = {SelfReference(), UrlReference("file:///elsewhere.mov")};
    const auto logged = [&recipe](int64_t count) {
        recipe.change = [count](AtomNode& moov) {
            moov.At("trak/mdia/minf/dinf/dref").SetEntryCount(count);
        };
        LogCapture log;
        EXPECT_EQ(LoadedTrack(recipe).Status(), 0);
        return log.Text();
    };
    const std::string refusal = "SetFilePath: URL data references not supported\n";
    EXPECT_EQ(logged(1), "");
    EXPECT_EQ(logged(2), refusal);
    EXPECT_EQ(logged(3), refusal);
    EXPECT_EQ(logged(kHighestCount), refusal);
}

// Samples of one size need no table, whatever the count says, and no time either.
TEST(TableCountOfSizes, OneSizeNeedsNoTable) {
    MovieRecipe recipe;
    recipe.tracks = {TenSamples()};
    TrackRecipe& track = recipe.tracks[0];
    track.sizes = {};
    track.sizeCount = kHighestCount;
    track.constantSize = 8;
    LoadedTrack constant(recipe);
    EXPECT_EQ(constant.Status(), 0);
    EXPECT_EQ(constant->mMaxSampleSize, 8u);

    // The size comes from the sample description, and the "stsz" atom leaves it to its table.
    track.constantSize = 0;
    track.frameSize = 4;
    LoadedTrack described(recipe);
    EXPECT_EQ(described.Status(), 0);
    EXPECT_EQ(described->mMaxSampleSize, 4u);
    EXPECT_EQ(described->mSizeOffsets.size(), 1u);
    EXPECT_EQ(described->GetSampleSize(9), 4u);
}

// Entries that go back to an earlier chunk again and again would read the chunk table as often.
TEST(TableCountOfChunks, EntriesThatGoBackAreRefused) {
    MovieRecipe recipe;
    recipe.tracks = {TenSamples()};
    TrackRecipe& track = recipe.tracks[0];
    track.constantSize = 8;
    track.chunkRuns.clear();
    track.chunkOffsets.clear();
    for (int64_t i = 0; i < 300000; ++i) {
        track.chunkRuns.push_back({2 - i % 2, 1});
    }
    for (uint64_t i = 0; i < 1000000; ++i) {
        track.chunkOffsets.push_back(1000 + 16 * i);
    }
    LogCapture log;
    EXPECT_EQ(LoadedTrack(recipe).Status(), 22);
    EXPECT_NE(log.Raw(), "");
}

}  // namespace
