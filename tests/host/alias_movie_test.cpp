// Movies whose media lie in another file, which an alias record names.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host/host_test.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "support/alias_records.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;

constexpr int kWidth = 64;
constexpr int kHeight = 32;
constexpr size_t kFrameSize = size_t{kWidth} * kHeight * 2;
constexpr int kFrames = 2;
constexpr std::chrono::seconds kPatience(20);

constexpr int kPathTag = 18;

class AliasMovie : public kvx_test::HostTest {
  protected:
    // A movie whose own media are not what its track leads to.
    std::string MovieThatLeadsTo(const std::string& media) {
        kvx_test::MovieRecipe recipe = kvx_test::MovieOf(
            {kvx_test::VideoTrackRecipe({"2vuy", kWidth, kHeight, 24}, kFrameSize, kFrames)});
        recipe.tracks[0].dataReferences = {kvx_test::AliasReference(
            kvx_test::AliasVersion2("Disk", kvx_test::AliasItems({{kPathTag, media.substr(1)}})))};
        return Write(recipe);
    }

    PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
};

TEST_F(AliasMovie, FramesComeFromTheFileThatIsNamed) {
    std::string media(kvx_test::kMediaOffset, '\0');
    for (size_t index = 0; index < kFrames * kFrameSize; ++index) {
        media += static_cast<char>(index * 7 + index / kFrameSize);
    }
    const std::string named = directory.File("media");
    kvx_test::WriteFile(named, media);
    Clip clip(importer, MovieThatLeadsTo(named));
    ASSERT_EQ(clip.Open(), imNoErr);
    FrameSource source(clip);
    ASSERT_EQ(source.Open(), imNoErr);
    for (int frame = 0; frame < kFrames; ++frame) {
        SCOPED_TRACE(frame);
        ASSERT_EQ(source.Request(frame * FrameSource::TicksPerFrame(clip),
                                 {PrPixelFormat_UYVY_422_8u_601}),
                  aiNoError);
        ASSERT_TRUE(cache.WaitForFrame(clip.ImporterID(), frame, kPatience));
        const PPixHand ppix = cache.Take(clip.ImporterID(), frame);
        const kvx_hostkit::PixelBufferView view = PixelBuffers::View(ppix);
        ASSERT_EQ(view.rowBytes, 2 * kWidth);
        EXPECT_EQ(std::string(view.pixels, kFrameSize),
                  media.substr(kvx_test::kMediaOffset + static_cast<size_t>(frame) * kFrameSize,
                               kFrameSize));
        PixelBuffers::Dispose(ppix);
    }
}

TEST_F(AliasMovie, AMissingFileIsNoMovie) {
    Clip clip(importer, MovieThatLeadsTo(directory.File("nothing")));
    EXPECT_EQ(clip.Open(), 12);
}

}  // namespace
