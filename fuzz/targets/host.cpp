// The module as the host sees it: a movie of any content, and calls of any order that a host may
// make on it.
#include "hostkit/host.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fuzz/support/byte_feed.h"
#include "fuzz/support/memory_file.h"
#include "fuzz/support/recipe_feed.h"
#include "fuzz/support/require.h"
#include "host/entry.h"
#include "host/file_import_module.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "hostkit/record_block.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

using namespace kvx_fuzz;
using namespace kvx_hostkit;

namespace {

constexpr size_t kCallBytes = 64;
constexpr int64_t kMostCalls = 16;
constexpr int64_t kMostAudioFrames = 300;
constexpr size_t kPlanes = 8;
constexpr size_t kMostStreams = 3;
constexpr std::chrono::seconds kPatience(20);

struct Setting {
    Setting() { buffers.settings.fills = false; }

    Host host;
    PixelBuffers buffers{host};
    FrameCache cache{host};
    Importer importer{host, {&xImportEntry, &AsyncImportEntry}};
    MemoryFile file;
};

// Never destroyed: the worker threads call it until the process ends.
Setting& TheSetting() {
    static auto* const setting = new Setting;
    return *setting;
}

class HostCalls {
  public:
    HostCalls(Setting& setting, ByteFeed& feed)
        : mSetting(setting), mFeed(feed), mClip(setting.importer, setting.file.Path()) {}

    // Everything that was begun has ended, with a frame for each request that was taken.
    ~HostCalls() { Require(mSetting.cache.WaitForAdditions(mRequests, kPatience)); }

    void Run() {
        if (mClip.Open() != imNoErr) {
            return;
        }
        for (int64_t left = mFeed.Pick(1, kMostCalls); left > 0; --left) {
            CallOnce();
        }
    }

  private:
    void CallOnce() {
        switch (mFeed.Pick(0, 11)) {
            case 0:
                Ask();
                break;
            case 1:
                ReadAudio();
                break;
            case 2:
                mClip.Quiet(mFeed.OneIn(2) ? 0 : mStreams - 1);
                break;
            case 3:
                mClip.Reopen(0);
                break;
            case 4:
                if (mStreams < kMostStreams) {
                    mClip.Open();
                    ++mStreams;
                }
                break;
            case 5:
                mSource.reset();
                break;
            case 6:
                mClip.SetTimeInfo(mFeed.Bytes(12), static_cast<int32_t>(mFeed.Pick(0, 60)),
                                  static_cast<int32_t>(mFeed.Pick(0, 60)));
                break;
            case 7:
                LookForFrame();
                break;
            default:
                RequestFrame();
                break;
        }
    }

    void Ask() {
        mClip.Streams();
        mClip.PixelFormats();
        int32_t width = 0;
        int32_t height = 0;
        mClip.GetPreferredFrameSize(&width, &height);
        RecordBlock<imTimeInfoRec8> time;
        mClip.GetTimeInfo(time.Get());
    }

    void ReadAudio() {
        const int64_t position =
            mFeed.OneIn(4) ? mFeed.Pick(INT64_MIN, INT64_MAX) : mFeed.Pick(-1, kMostAudioFrames);
        const auto count = static_cast<uint32_t>(mFeed.Pick(0, kMostAudioFrames));
        std::unique_ptr<float[]> blocks[kPlanes];
        float* planes[kPlanes];
        for (size_t plane = 0; plane < kPlanes; ++plane) {
            blocks[plane].reset(new float[count]);
            planes[plane] = blocks[plane].get();
        }
        mClip.ReadAudio(static_cast<int32_t>(mFeed.Pick(-1, 2)), position, count, planes);
    }

    std::vector<PrPixelFormat> Formats() {
        return {mFeed.AnyOf<PrPixelFormat>(
            {PrPixelFormat_BGRA_4444_8u, PrPixelFormat_BGRA_4444_16u, PrPixelFormat_BGRA_4444_32f,
             PrPixelFormat_V210_422_10u_601, PrPixelFormat_UYVY_422_8u_601,
             PrPixelFormat_RGB_444_10u, kKVXCustomPixelFormat, PrPixelFormat_Any})};
    }

    int64_t FrameTime() {
        if (mFeed.OneIn(8)) {
            return mFeed.Pick(INT64_MIN, INT64_MAX);
        }
        int64_t time = 0;
        const bool isTooLong =
            __builtin_mul_overflow(mFeed.Pick(-1, 8), FrameSource::TicksPerFrame(mClip), &time);
        return isTooLong ? INT64_MAX : time;
    }

    bool OpenSource() {
        if (mSource == nullptr) {
            auto source = std::make_unique<FrameSource>(mClip);
            if (source->Open() != imNoErr) {
                return false;
            }
            mSource = std::move(source);
        }
        return true;
    }

    // A read of nothing is never answered, so that such a movie is asked for no frames.
    bool HasFrames() const {
        const auto* module = static_cast<const KVX::FileImportModule*>(mClip.PrivateData());
        return module != nullptr && !module->mMovie->mVideoTracks.empty() &&
               module->mMovie->mVideoTracks[0]->GetSampleSize(0) != 0;
    }

    void RequestFrame() {
        if (!HasFrames() || !OpenSource()) {
            return;
        }
        const int created = mSetting.buffers.CreatedCount();
        // A frame that is in the cache already is taken, and nothing begins.
        if (mSource->Request(FrameTime(), Formats()) == aiNoError &&
            mSetting.buffers.CreatedCount() > created) {
            ++mRequests;
        }
    }

    void LookForFrame() {
        PPixHand ppix = nullptr;
        if (OpenSource() && mSource->Get(FrameTime(), Formats(), &ppix) == aiNoError) {
            PixelBuffers::Dispose(ppix);
        }
    }

    Setting& mSetting;
    ByteFeed& mFeed;
    Clip mClip;
    std::unique_ptr<FrameSource> mSource;
    size_t mStreams = 1;
    int mRequests = 0;
};

// Workers release a frame shortly after they have delivered it.
bool IsEmptied(const PixelBuffers& buffers) {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (buffers.LiveCount() != 0 && std::chrono::steady_clock::now() < limit) {
        std::this_thread::yield();
    }
    return buffers.LiveCount() == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Setting& setting = TheSetting();
    ByteFeed feed(data, size);
    const bool isRecipe = feed.OneIn(2);
    const std::string calls = feed.Bytes(kCallBytes);
    setting.file.Write(isRecipe ? FeedMovieFile(feed) : feed.Bytes(feed.Left()));
    ByteFeed callFeed(reinterpret_cast<const uint8_t*>(calls.data()), calls.size());
    HostCalls(setting, callFeed).Run();
    setting.cache.Forget();
    Require(IsEmptied(setting.buffers));
    Require(setting.buffers.DamagedCount() == 0);
    return 0;
}
