#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/pixel_buffers.h"
#include "pipeline/async_import_module.h"
#include "pipeline/eventually.h"
#include "pipeline/import_frame.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

namespace kvx_test {

constexpr std::chrono::seconds kPatience(30);

// A picture whose frames have these bytes in the file.
struct Picture {
    Bytes format;
    int width;
    int height;
    uint32_t frameSize;
};

// Of one page each: 16 rows of 256 bytes, 32 rows of 128.
const Picture kPageV210 = {"v210", 96, 16, 4096};
const Picture kPageUYVY = {"2vuy", 64, 32, 4096};

inline MovieRecipe MovieOfPicture(const Picture& picture, int frames,
                                  uint64_t offset = kMediaOffset) {
    return MovieOf({VideoTrackRecipe({picture.format, picture.width, picture.height, 24},
                                     picture.frameSize, frames, 24000, 1000, offset)});
}

struct Suite {
    const char* name;
    int32_t version;
};

// What an asynchronous importer needs of the host, in the order in which it asks.
inline const std::vector<Suite>& SuitesOfFrames() {
    static const std::vector<Suite> suites = {{"Premiere PPix Cache Suite", 3},
                                              {"Premiere PPix Creator Suite", 1},
                                              {"Premiere PPix Creator 2 Suite", 3},
                                              {"Premiere PPix Suite", 1},
                                              {"Premiere Legacy Suite", 1}};
    return suites;
}

// Movies that are open, and frames made of the one opened last. At the end every buffer must have
// been given back, with the bytes around its pixels untouched.
class FrameTest : public HostTest {
  protected:
    void OpenMovie(const MovieRecipe& recipe, const MovieFileLayout& layout = {}) {
        movies.push_back(WriteMovie(directory, recipe, layout,
                                    "movie" + std::to_string(movies.size()) + ".mov"));
        clips.push_back(std::make_unique<kvx_hostkit::Clip>(importer, movies.back()));
        clip = clips.back().get();
        ASSERT_EQ(clip->Open(), 0);
        track = ModuleOf(*clip)->mMovie->mVideoTracks.at(0);
        modules.emplace_back(KVX::AsyncImportModule::Create(
            clip->ImporterID(), kvx_hostkit::Host::BasicSuite(), track));
        module = modules.back().get();
        ASSERT_NE(module, nullptr);
    }

    // With one reference, the maker's.
    KVX::ImportFrame* NewFrame(PrPixelFormat format, long index = 0) {
        auto* frame = new KVX::ImportFrame(
            module->mImporterID, track, nullptr, format, index, index * module->mTicksPerFrame,
            module->mCacheSuite, module->mCreatorSuite, module->mCreator2Suite, module->mPPixSuite);
        EXPECT_EQ(frame->Init(), 0);
        return frame;
    }

    // A frame that went its road to the end, in the test's hands.
    Reference<KVX::ImportFrame> RunFrame(PrPixelFormat format, long index = 0) {
        Reference<KVX::ImportFrame> frame(NewFrame(format, index));
        frame->Retain();
        const int before = cache.AdditionsOf(clip->ImporterID(), static_cast<int32_t>(index));
        const long status = frame->Issue();
        EXPECT_EQ(status, 0);
        if (status != 0) {
            frame->Release();
            return frame;
        }
        EXPECT_TRUE(cache.WaitForFrame(clip->ImporterID(), static_cast<int32_t>(index), kPatience,
                                       before + 1));
        EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame) == 1; }));
        EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame->mReadRequest) == 1; }));
        return frame;
    }

    kvx_hostkit::PixelBufferView ViewOf(const KVX::ImportFrame& frame) {
        return kvx_hostkit::PixelBuffers::View(frame.mPPix);
    }

    // The frame's bytes in the file.
    Bytes Media(int64_t sample, uint64_t size) { return PatternSample(0, sample, size); }

    bool IsFresh(const char* bytes, size_t size) {
        return std::all_of(bytes, bytes + size, [](char byte) {
            return static_cast<uint8_t>(byte) == kvx_hostkit::kFreshPixel;
        });
    }

    void TearDown() override {
        EXPECT_TRUE(Eventually([this] {
            cache.Forget();
            return buffers.LiveCount() == 0;
        })) << buffers.LiveCount()
            << " buffers are left";
        EXPECT_EQ(buffers.DamagedCount(), 0);
    }

    kvx_hostkit::PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
    std::vector<std::string> movies;
    std::vector<std::unique_ptr<kvx_hostkit::Clip>> clips;
    std::vector<std::unique_ptr<KVX::AsyncImportModule>> modules;
    kvx_hostkit::Clip* clip = nullptr;
    KVX::QT::VideoTrack* track = nullptr;
    KVX::AsyncImportModule* module = nullptr;
};

}  // namespace kvx_test
