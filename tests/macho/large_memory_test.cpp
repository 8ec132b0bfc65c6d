// What the importer asks the system for past its allocator, and what it offers back.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "premiere/pixel_formats.h"
#include "support/entries_under_test.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

class LargeMemory : public testing::Test {
  protected:
    kvx_test::TempDirectory directory;
    kvx_hostkit::Host host;
    kvx_hostkit::PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
    kvx_hostkit::Importer importer{host, kvx_test::EntriesUnderTest()};
};

// No two neighbours are of one size, so that the table has an entry for each: 3 MiB of them.
TEST_F(LargeMemory, ATableOfMegabytes) {
    constexpr int kFrames = 200000;
    kvx_test::TrackRecipe track = kvx_test::VideoTrackRecipe({"2vuy", 2, 2, 24}, 8, kFrames);
    track.constantSize = 0;
    for (int frame = 0; frame < kFrames; ++frame) {
        track.sizes.push_back(static_cast<uint32_t>(8 + frame % 2));
    }
    track.PlaceSamples(kvx_test::kMediaOffset * 100, kFrames);
    kvx_test::MovieRecipe recipe;
    recipe.tracks = {track};
    kvx_hostkit::Clip clip(importer, kvx_test::WriteMovie(directory, recipe));
    ASSERT_EQ(clip.Open(), imNoErr);
    long result = -1;
    ASSERT_EQ(clip.Streams(&result).size(), 1u);
    EXPECT_EQ(result, imNoErr);
}

// More read buffers at once than are held back from the system.
TEST_F(LargeMemory, BuffersThatComeBackTogether) {
    constexpr int kWidth = 1920;
    constexpr int kHeight = 1080;
    constexpr int kFrames = 24;
    kvx_test::MovieRecipe recipe;
    recipe.tracks = {
        kvx_test::VideoTrackRecipe({"2vuy", kWidth, kHeight, 24}, 2 * kWidth * kHeight, kFrames)};
    kvx_hostkit::Clip clip(importer, kvx_test::WriteMovie(directory, recipe));
    ASSERT_EQ(clip.Open(), imNoErr);
    kvx_hostkit::FrameSource source(clip);
    ASSERT_EQ(source.Open(), imNoErr);
    const int64_t ticks = kvx_hostkit::FrameSource::TicksPerFrame(clip);
    for (int frame = 0; frame < kFrames; ++frame) {
        ASSERT_EQ(source.Request(frame * ticks, {PrPixelFormat_BGRA_4444_8u}), aiNoError);
    }
    for (int frame = 0; frame < kFrames; ++frame) {
        ASSERT_TRUE(cache.WaitForFrame(clip.ImporterID(), frame, std::chrono::seconds(60)));
    }
}

}  // namespace
