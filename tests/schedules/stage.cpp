#include "schedules/stage.h"

#include <algorithm>
#include <utility>

#include "host/entry.h"
#include "hostkit/published.h"
#include "pipeline/import_frame.h"
#include "pipeline/read_request.h"
#include "schedules/scheduler.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"

namespace kvx_schedules {

using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;

namespace {

struct Picture {
    int width;
    int height;
    uint64_t offset;

    uint32_t Bytes() const { return static_cast<uint32_t>(2 * width * height); }
};

constexpr Picture kOnPages = {64, 32, kvx_test::kMediaOffset};
constexpr Picture kBesidePages = {16, 2, kvx_test::kMediaOffset + 100};
constexpr Picture kLarge = {2048, 768, kvx_test::kMediaOffset};
constexpr Picture kKept = {1024, 144, kvx_test::kMediaOffset + 100};

std::string Write(const kvx_test::TempDirectory& directory, const Picture& picture,
                  const std::string& name) {
    kvx_test::MovieRecipe recipe;
    recipe.tracks = {kvx_test::VideoTrackRecipe({"2vuy", picture.width, picture.height, 24},
                                                picture.Bytes(), Movies::kFrames, 24000, 1000,
                                                picture.offset)};
    kvx_test::MovieFileLayout layout;
    layout.mediaOffset = picture.offset;
    return kvx_test::WriteMovie(directory, recipe, layout, name);
}

// Bytes at either end of a frame that are looked at: of a long one the middle is not read.
constexpr size_t kEnd = 4096;

bool IsFilesOwn(const PixelBufferView& view, int frame) {
    const auto isOwn = [&](size_t position) {
        return static_cast<uint8_t>(view.pixels[position]) ==
               kvx_test::PatternByte(0, frame, position);
    };
    const size_t end = std::min(view.dataSize, kEnd);
    for (size_t position = 0; position < end; ++position) {
        if (!isOwn(position) || !isOwn(view.dataSize - 1 - position)) {
            return false;
        }
    }
    return true;
}

bool IsFilled(const PixelBufferView& view) {
    return std::find_if(view.pixels, view.pixels + view.dataSize, [](char byte) {
               return static_cast<uint8_t>(byte) != kvx_hostkit::kFreshPixel;
           }) != view.pixels + view.dataSize;
}

}  // namespace

Movies::Movies()
    : inPlace(Write(mDirectory, kOnPages, "in_place.mov")),
      copied(Write(mDirectory, kBesidePages, "copied.mov")),
      large(Write(mDirectory, kLarge, "large.mov")),
      kept(Write(mDirectory, kKept, "kept.mov")) {}

HostThread::HostThread(std::function<void()> body) : mBody(std::move(body)) {
    Stage::Require(pthread_create(&mThread, nullptr, &Run, this) == 0, "no thread for the host");
}

void* HostThread::Run(void* thread) {
    static_cast<HostThread*>(thread)->mBody();
    return nullptr;
}

void HostThread::Join() {
    if (std::exchange(mRuns, false)) {
        pthread_join(mThread, nullptr);
    }
}

Stage::Stage(size_t cached)
    : buffers(host), cache(host, cached), importer(host, {&xImportEntry, &AsyncImportEntry}) {
    buffers.settings.slackBytes = 16;
    buffers.settings.guardBytes = 16;
    buffers.settings.fills = false;  // the arena spoils what it hands out
    HostStays();
}

Stage::~Stage() = default;

void Stage::HostStays() {
    const auto overlook = [](const auto& counting) {
        gScheduler->Overlook(counting.first);
        gScheduler->Overlook(counting.second);
    };
    overlook(kvx_hostkit::Published<kvx_hostkit::Host>::Counting());
    overlook(kvx_hostkit::Published<kvx_hostkit::PixelBuffers>::Counting());
    overlook(kvx_hostkit::Published<kvx_hostkit::FrameCache>::Counting());
}

void Stage::Require(bool holds, const std::string& what) {
    if (!holds) {
        gScheduler->Fail(what);
    }
}

Stage::Show& Stage::Open(const std::string& movie) {
    shows.push_back(std::make_unique<Show>(importer, movie));
    Show& show = *shows.back();
    Require(show.clip.Open() == imNoErr, "a movie does not open");
    Require(show.source.Open() == imNoErr, "no asynchronous importer");
    show.ticks = FrameSource::TicksPerFrame(show.clip);
    Require(show.ticks > 0, "no ticks per frame");
    return show;
}

void Stage::StartPools(Show& show) {
    Require(Ask(show, 0, PrPixelFormat_UYVY_422_8u_601) == aiNoError, "a request is refused");
    RequireFrame(show, 0, 1, false);
    mIsCalled = false;
}

long Stage::Ask(Show& show, int frame, PrPixelFormat format) {
    return show.source.Request(frame * show.ticks, {format});
}

void Stage::RequireFrame(Show& show, int frame, int times, bool isWhole) {
    gScheduler->WaitUntilQuiet();
    const int additions = cache.AdditionsOf(show.clip.ImporterID(), frame);
    Require(additions >= times, "a frame never arrives");
    Require(additions <= times, "a frame arrives twice");
    if (!isWhole) {
        return;
    }
    const PPixHand ppix = cache.Take(show.clip.ImporterID(), frame);
    Require(ppix != nullptr, "a frame is not in the cache");
    const PixelBufferView view = PixelBuffers::View(ppix);
    if (view.format == PrPixelFormat_UYVY_422_8u_601) {
        Require(IsFilesOwn(view, frame), "a frame with other bytes than the file's");
    } else {
        Require(IsFilled(view), "a frame that was not converted");
    }
    PixelBuffers::Dispose(ppix);
}

Stage* Stage::sStage = nullptr;

void Stage::SignalCalls() {
    sStage = this;
    const void* suite = nullptr;
    Require(host.AcquireSuite(kPrSDKPPixCacheSuite, kPrSDKPPixCacheSuiteVersion, &suite) == 0,
            "no cache");
    mCacheSuite = static_cast<const PrSDKPPixCacheSuite*>(suite);
    mSignallingSuite = *mCacheSuite;
    mSignallingSuite.GetFrameFromCache = &SignalAndGetFrame;
    host.AddSuite(kPrSDKPPixCacheSuite, kPrSDKPPixCacheSuiteVersion, &mSignallingSuite);
}

int32_t Stage::SignalAndGetFrame(uint32_t importerID, int32_t stream, int32_t frameIndex,
                                 int32_t formatCount, imFrameFormat* formats, PPixHand* ppix,
                                 void* preferences, int32_t preferencesSize) {
    {
        const std::lock_guard<std::mutex> lock(sStage->mLock);
        sStage->mIsCalled = true;
        sStage->mCalled.notify_all();
    }
    return sStage->mCacheSuite->GetFrameFromCache(importerID, stream, frameIndex, formatCount,
                                                  formats, ppix, preferences, preferencesSize);
}

void Stage::WaitForCall() {
    std::unique_lock<std::mutex> lock(mLock);
    mCalled.wait(lock, [this] { return mIsCalled; });
}

void Stage::Leave() {
    for (const auto& show : shows) {
        show->source.Close();
        show->clip.Close();
    }
    gScheduler->WaitUntilQuiet();
    cache.Forget();
    RequireNothingLeft();
}

void Stage::RequireNothingLeft() {
    Require(buffers.LiveCount() == 0, "pixel buffers are left");
    Require(buffers.DamagedCount() == 0, "bytes around a frame's pixels were written");
    const Arena& memory = gScheduler->Memory();
    Require(memory.LiveBlocksOfSize(sizeof(KVX::ImportFrame)) == 0, "a frame is left");
    Require(memory.LiveBlocksOfSize(sizeof(KVX::ReadRequest)) == 0, "a request is left");
}

}  // namespace kvx_schedules
