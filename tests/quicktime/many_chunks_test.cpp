// Tables of many chunks, which are read a block at a time, against the same tables told sample by
// sample.
#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "quicktime/sample_layout_fixture.h"
#include "support/random.h"

using namespace kvx_test;

namespace {

// What stretches of a table are like.
enum class Change { kNever, kAlways, kNowAndThen };

Change AnyChange(Random& random) {
    return random.AnyOf(std::vector<Change>{Change::kNever, Change::kAlways, Change::kNowAndThen});
}

bool IsChange(Change change, Random& random) {
    return change == Change::kAlways || (change == Change::kNowAndThen && random.OneIn(5));
}

class ManyChunks : public SampleLayout {
  protected:
    using Offsets = std::map<long long, long long>;
    using Sizes = std::map<long long, std::pair<unsigned int, long long>>;

    // Chunks with stretches of every kind, which begin anywhere in a block.
    void Make(Random& random, int64_t chunks, int64_t samplesPerChunk, uint64_t offset) {
        mRecipe.chunkRuns = {{1, samplesPerChunk}};
        mRecipe.chunkOffsets.clear();
        mRecipe.sizes.clear();
        Change breaks = Change::kNever;
        Change sizes = Change::kNever;
        int64_t left = 0;
        uint32_t size = 100;
        for (int64_t chunk = 0; chunk < chunks; ++chunk) {
            if (left-- == 0) {
                breaks = AnyChange(random);
                sizes = AnyChange(random);
                left = random.Pick(0, 600);
            }
            if (IsChange(breaks, random)) {
                offset += static_cast<uint64_t>(random.Pick(1, 1000));
            }
            mRecipe.chunkOffsets.push_back(offset);
            for (int64_t sample = 0; sample < samplesPerChunk; ++sample) {
                if (mRecipe.constantSize == 0) {
                    size += IsChange(sizes, random) ? 1 + size % 2 : 0;
                    mRecipe.sizes.push_back(size);
                }
                offset += mRecipe.constantSize == 0 ? size : mRecipe.constantSize;
            }
        }
        mRecipe.durations = {{chunks * samplesPerChunk, 1000}};
    }

    // Sample by sample, from the recipe alone.
    void Check() {
        ASSERT_EQ(Set(mRecipe), 0);
        Offsets offsets;
        Sizes sizes;
        uint64_t end = 0;
        uint64_t previous = 0;
        long long sample = 0;
        uint64_t largest = 0;
        const int64_t inChunk = mRecipe.chunkRuns[0].samplesPerChunk;
        for (const uint64_t offset : mRecipe.chunkOffsets) {
            if (sample == 0 || offset != end) {
                offsets[sample] = static_cast<long long>(offset);
            }
            end = offset;
            for (int64_t i = 0; i < inChunk; ++i, ++sample) {
                const uint64_t size = mRecipe.SampleSize(sample);
                if (sample == 0 || size != previous) {
                    sizes[sample] = {static_cast<unsigned int>(size), static_cast<long long>(end)};
                }
                previous = size;
                largest = std::max(largest, size);
                long long contiguous = 0;
                ASSERT_EQ(mTrack.MediaSampleToFileOffset(sample, &contiguous),
                          static_cast<long long>(end));
                mContiguous.push_back(contiguous);
                end += size;
            }
        }
        for (long long back = sample, next = sample; back-- > 0;) {
            ASSERT_EQ(mContiguous[static_cast<size_t>(back)], next - back) << back;
            next = offsets.count(back) != 0 ? back : next;
        }
        mContiguous.clear();
        ASSERT_EQ(mTrack.mMaxSampleSize, largest);
        ASSERT_EQ(mTrack.mChunkOffsets, offsets);
        Sizes found;
        for (const Size& run : SampleLayout::Sizes()) {
            found[run.sample] = {run.size, run.offset};
        }
        ASSERT_EQ(found, sizes);
    }

    TrackRecipe mRecipe;
    std::vector<long long> mContiguous;
};

TEST_F(ManyChunks, StretchesOfEveryKind) {
    for (uint64_t seed = 1; seed <= 120 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        mTrack.mFixedSampleSize = 0;
        mRecipe.constantSize = random.OneIn(3) ? random.Pick(1, 300) : 0;
        mRecipe.wideChunkOffsets = random.OneIn(2);
        const uint64_t start = !mRecipe.wideChunkOffsets ? 1000
                               : random.OneIn(2)         ? 0xFFFFF000
                                                         : uint64_t{1} << 50;
        Make(random, random.Pick(1, 3000), random.OneIn(3) ? random.Pick(2, 7) : 1, start);
        Check();
    }
}

// Where the next chunk would have to begin is beyond 32 bits, and its offset is what is left of
// that in 32.
TEST_F(ManyChunks, ShortOffsetsThatWrapAround) {
    for (const uint32_t size : {0xFFFFFFFFu, 0x80000000u, 0x1000u}) {
        SCOPED_TRACE(size);
        mTrack.mFixedSampleSize = 0;
        mRecipe.durations = {{512, 1000}};
        mRecipe.chunkRuns = {{1, 1}};
        mRecipe.sizes.assign(512, size);
        mRecipe.chunkOffsets.clear();
        uint32_t offset = 0xFFFF0001;
        for (int chunk = 0; chunk < 512; ++chunk) {
            mRecipe.chunkOffsets.push_back(offset);
            offset += size;
        }
        Check();
    }
}

TEST_F(ManyChunks, LongOffsetsFarApart) {
    mRecipe.wideChunkOffsets = true;
    mRecipe.constantSize = 10;
    mRecipe.durations = {{512, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    for (const uint64_t gap : {uint64_t{1} << 32, (uint64_t{1} << 32) + 10, uint64_t{1} << 50}) {
        SCOPED_TRACE(gap);
        mTrack.mFixedSampleSize = 0;
        mRecipe.chunkOffsets.clear();
        for (uint64_t chunk = 0; chunk < 512; ++chunk) {
            mRecipe.chunkOffsets.push_back(1 + chunk * gap);
        }
        Check();
    }
}

TEST_F(ManyChunks, LongOffsetsThatGoBack) {
    mRecipe.wideChunkOffsets = true;
    mRecipe.constantSize = 10;
    mRecipe.durations = {{512, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    for (uint64_t chunk = 0; chunk < 512; ++chunk) {
        mRecipe.chunkOffsets.push_back(1'000'000 - chunk * 100);
    }
    Check();
}

TEST_F(ManyChunks, HighestOffsets) {
    mRecipe.wideChunkOffsets = true;
    mRecipe.constantSize = 1;
    mRecipe.durations = {{512, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    for (uint64_t chunk = 0; chunk < 512; ++chunk) {
        mRecipe.chunkOffsets.push_back(0x7FFFFFFFFFFFFFFF - 2 * (511 - chunk));
    }
    ASSERT_EQ(Set(mRecipe), 0);
    ASSERT_EQ(mTrack.mChunkOffsets.size(), 512u);
    for (int chunk = 0; chunk < 512; ++chunk) {
        ASSERT_EQ(mTrack.MediaSampleToFileOffset(chunk, nullptr),
                  0x7FFFFFFFFFFFFFFF - 2 * (511 - chunk));
    }
}

// One that is wrong is found wherever in a block it stands.
TEST_F(ManyChunks, OffsetsThatAreRefused) {
    mRecipe.constantSize = 10;
    mRecipe.durations = {{512, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    for (const bool wide : {false, true}) {
        for (const uint64_t invalid : {uint64_t{0}, uint64_t{0xFFFFFFFFFFFFFF00}}) {
            for (const size_t place : {0u, 1u, 127u, 128u, 200u, 255u, 256u, 511u}) {
                if (!wide && invalid != 0) {
                    continue;
                }
                SCOPED_TRACE(place);
                mRecipe.wideChunkOffsets = wide;
                mRecipe.chunkOffsets.clear();
                for (uint64_t chunk = 0; chunk < 512; ++chunk) {
                    mRecipe.chunkOffsets.push_back(1000 + 100 * chunk);
                }
                mRecipe.chunkOffsets[place] = invalid;
                mTrack.mFixedSampleSize = 0;
                const LogCapture log;
                EXPECT_EQ(Set(mRecipe), 22);
                EXPECT_EQ(log.Text(), "SetSampleLayout: Got invalid offset of " +
                                          std::string(invalid == 0 ? "0" : "-256") + "\n");

                EXPECT_EQ(mTrack.mChunkOffsets.size(), place);
            }
        }
    }
}

TEST_F(ManyChunks, SampleWithoutBytesAnywhere) {
    mRecipe.durations = {{512, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    for (uint64_t chunk = 0; chunk < 512; ++chunk) {
        mRecipe.chunkOffsets.push_back(1000 + 1000 * chunk);
    }
    for (const bool allDiffer : {false, true}) {
        for (const size_t place : {0u, 1u, 127u, 128u, 200u, 255u, 256u, 511u}) {
            SCOPED_TRACE(place);
            mRecipe.sizes.clear();
            for (uint32_t sample = 0; sample < 512; ++sample) {
                mRecipe.sizes.push_back(allDiffer ? 1 + sample : 9);
            }
            mRecipe.sizes[place] = 0;
            const LogCapture log;
            EXPECT_EQ(Set(mRecipe), 22);
            EXPECT_EQ(log.Text(), "SetSampleLayout: Got invalid first size of 0\n");

            EXPECT_EQ(mTrack.mSizeOffsets.size(), allDiffer ? place : std::min<size_t>(place, 1));
        }
    }
}

// The table of sizes ends within the chunks, at each place in a block.
TEST_F(ManyChunks, FewerSizesThanChunks) {
    mRecipe.durations = {{400, 1000}};
    mRecipe.chunkRuns = {{1, 1}};
    for (uint64_t chunk = 0; chunk < 400; ++chunk) {
        mRecipe.chunkOffsets.push_back(1000 + 1000 * chunk);
    }
    for (uint32_t count = 2; count < 400; count += 3) {
        mRecipe.sizes.clear();
        for (uint32_t sample = 0; sample < count; ++sample) {
            mRecipe.sizes.push_back(1 + sample);
        }
        EXPECT_EQ(Set(mRecipe), 22) << count;
    }
}

}  // namespace
