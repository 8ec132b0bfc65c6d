// What the importer asks the system for past its allocator.
#include <gtest/gtest.h>

#include "hostkit/clip.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "support/entries_under_test.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

class LargeMemory : public testing::Test {
  protected:
    kvx_test::TempDirectory directory;
    kvx_hostkit::Host host;
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

}  // namespace
