// What a host may get wrong, one thing at a time. Random sequences of such calls are in
// stress/host_misuse.cpp.
#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "hostkit/record_block.h"
#include "hostkit/utf16.h"
#include "pipeline/async_import_module.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::RecordBlock;
using kvx_test::Bytes;
using kvx_test::Field;
using kvx_test::kMediaOffset;
using kvx_test::LogCapture;
using kvx_test::MovieOf;
using kvx_test::Sound;
using kvx_test::Video;

constexpr std::chrono::seconds kTimeLimit(30);
constexpr int kFrames = 10;
constexpr size_t kFrameSize = 256;

class Misuse : public kvx_test::HostTest {
  protected:
    // A file from its opening to its close, a frame and a stretch of sound on the way.
    void ExpectServed(const std::string& path) {
        cache.Forget();
        Clip clip(importer, path);
        ASSERT_EQ(clip.Open(), 0);
        long result = -1;
        EXPECT_EQ(clip.Streams(&result).size(), 1u);
        EXPECT_EQ(result, 0);
        float left[10];
        float right[10];
        float* planes[] = {left, right};
        EXPECT_EQ(clip.ReadAudio(0, 0, 10, planes), 0);
        FrameSource source(clip);
        ASSERT_EQ(source.Open(), 0);
        EXPECT_EQ(source.Request(0, {PrPixelFormat_BGRA_4444_8u}), 0);
        EXPECT_TRUE(cache.WaitForFrame(clip.ImporterID(), 0, kTimeLimit));
    }

    // The file's own bytes of the frame that the cache has under an index.
    Bytes FileBytes(const Clip& clip, int32_t frame) {
        const PPixHand ppix = cache.Take(clip.ImporterID(), frame);
        if (ppix == nullptr) {
            return "no frame";
        }
        const char* const pixels = PixelBuffers::View(ppix).pixels;
        uint32_t header[5];
        std::memcpy(header, pixels, sizeof(header));
        const Bytes bytes(pixels + header[2] + header[4], kFrameSize);
        PixelBuffers::Dispose(ppix);
        return bytes;
    }

    PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
};

TEST_F(Misuse, NeverInitialisedAndLongShutDown) {
    const std::string path = Write(MovieOf({Video(), Sound()}));
    const LogCapture log;
    ExpectServed(path);
    EXPECT_EQ(importer.Call(imShutdown, 0L, 0L), 0);
    ExpectServed(path);
    EXPECT_EQ(importer.Call(imShutdown, 0L, 0L), 0);
    RecordBlock<imImportInfoRec> info;
    EXPECT_EQ(importer.Init(info.Get()), 0);
    ExpectServed(path);
    EXPECT_EQ(log.Text(), "");
}

// The second is taken for a further stream of the first; its path is not looked at.
TEST_F(Misuse, OneImporterIDForTwoFiles) {
    Clip clip(importer, Write(MovieOf({Video("2vuy", 16, 8), Sound()})));
    ASSERT_EQ(clip.Open(), 0);
    const auto other = kvx_hostkit::ToHostPath(Write(MovieOf({Video("v210", 48, 2)}), "other.mov"));
    RecordBlock<imFileOpenRec8> record;
    record->filepath = other.data();
    record->importerID = clip.ImporterID();
    void* reference = KVX::PointerFromWord<void>(-1L);
    EXPECT_EQ(importer.Call(imOpenFile8, &reference, record.Get()), 0);
    EXPECT_EQ(Field(record->privatedata), clip.PrivateData());
    EXPECT_EQ(reference, KVX::PointerFromWord<void>(1L));
    EXPECT_EQ(Field(clip.Streams().at(0).width), 16);
    EXPECT_EQ(importer.Call(imCloseFile, &reference, record->privatedata), 0);
}

TEST_F(Misuse, HandlesThatWereNeverGivenOut) {
    Clip clip(importer, Write(MovieOf({Video(), Sound()})));
    ASSERT_EQ(clip.Open(), 0);
    const LogCapture log;
    for (const int handle : {1, 1000, INT_MAX, INT_MIN, -2}) {
        void* reference = KVX::PointerFromWord<void>(static_cast<long>(handle));
        // Entered as a further stream, which keeps the files open until it is quiet too.
        EXPECT_EQ(importer.Call(imQuietFile, &reference, clip.PrivateData()), 0);
        float* planes[] = {nullptr, nullptr};
        EXPECT_EQ(clip.ReadAudio(handle, 0, 10, planes), 19);
        RecordBlock<imFileInfoRec8> info;
        EXPECT_EQ(clip.GetInfo(handle, info.Get()), 19);
    }
    EXPECT_EQ(clip.Quiet(), 0);
    EXPECT_EQ(clip.Reopen(), 0);
    float left[10];
    float right[10];
    float* planes[] = {left, right};
    EXPECT_EQ(clip.ReadAudio(0, 0, 10, planes), 0);
}

// Frames whose reads have begun hold a descriptor's number; the others are refused.
TEST_F(Misuse, QuietWithFramesInFlight) {
    const LogCapture log;
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    FrameSource source(clip);
    ASSERT_EQ(source.Open(), 0);
    const int64_t ticks = FrameSource::TicksPerFrame(clip);
    for (int turn = 0; turn < 20; ++turn) {
        cache.Forget();
        for (int frame = 0; frame < kFrames; ++frame) {
            EXPECT_EQ(source.Request(frame * ticks, {PrPixelFormat_BGRA_4444_8u}), 0);
        }
        EXPECT_EQ(clip.Quiet(), 0);
        EXPECT_EQ(source.Request(0, {PrPixelFormat_RGB_444_10u}), 22);
        for (int frame = 0; frame < kFrames; ++frame) {
            ASSERT_TRUE(cache.WaitForFrame(clip.ImporterID(), frame, kTimeLimit)) << frame;
        }
        EXPECT_EQ(source.Request(kFrames * ticks, {PrPixelFormat_BGRA_4444_8u}), 22);
        EXPECT_EQ(clip.Reopen(), 0);
    }
}

// The first sample stands for all times before it, the last for all after it.
TEST_F(Misuse, FrameTimesOutsideTheMovie) {
    struct Asked {
        int64_t time;
        int64_t sample;
    };
    const LogCapture log;
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    FrameSource source(clip);
    ASSERT_EQ(source.Open(), 0);
    const int64_t ticks = FrameSource::TicksPerFrame(clip);
    for (const Asked& asked :
         {Asked{-ticks, 0}, Asked{-1000000 * ticks, 0}, Asked{INT64_MIN, 0},
          Asked{kFrames * ticks, kFrames - 1}, Asked{1000000 * ticks, kFrames - 1},
          Asked{INT64_MAX, kFrames - 1}}) {
        const auto frame = static_cast<int32_t>(asked.time / ticks);
        EXPECT_EQ(source.Request(asked.time, {kKVXCustomPixelFormat}), 0);
        ASSERT_TRUE(cache.WaitForFrame(clip.ImporterID(), frame, kTimeLimit));
        EXPECT_EQ(FileBytes(clip, frame), kvx_test::PatternSample(0, asked.sample, kFrameSize))
            << frame;
    }
}

// The host's cache, asked from a call on the asynchronous importer, waits until the importer has
// been closed from another thread.
std::mutex sLock;
std::condition_variable sChanged;
bool sIsAsked = false;
bool sIsClosed = false;

int32_t WaitForClose(uint32_t, int32_t, int32_t, int32_t, imFrameFormat*, PPixHand*, void*,
                     int32_t) {
    std::unique_lock<std::mutex> lock(sLock);
    sIsAsked = true;
    sChanged.notify_all();
    sChanged.wait(lock, [] { return sIsClosed; });
    return kPPixCacheMiss;
}

TEST_F(Misuse, AsyncImporterClosedUnderACall) {
    Clip clip(importer, Write(MovieOf({Video()})));
    ASSERT_EQ(clip.Open(), 0);
    for (const int selector : {aiInitiateAsyncRead, aiGetFrame}) {
        sIsAsked = sIsClosed = false;
        cache.Forget();
        RecordBlock<imAsyncImporterCreationRec> creation;
        ASSERT_EQ(clip.CreateAsyncImporter(creation.Get()), 0);
        auto* const module = static_cast<KVX::AsyncImportModule*>(creation->asyncPrivateData);
        static PrSDKPPixCacheSuite slowCache;  // frames use it too
        slowCache = *module->mCacheSuite;
        slowCache.GetFrameFromCache = &WaitForClose;
        module->mCacheSuite = &slowCache;

        imFrameFormat offered = {0, 0, PrPixelFormat_BGRA_4444_8u};
        RecordBlock<aiAsyncRequest> request;
        request->privatedata = module;
        request->sourceRec.privatedata = module;
        request->sourceRec.frameFormats = &offered;
        request->sourceRec.frameFormatCount = 1;
        void* const record = selector == aiGetFrame ? static_cast<void*>(&request->sourceRec)
                                                    : static_cast<void*>(request.Get());
        long result = -1;
        std::thread caller([&] { result = importer.CallAsync(selector, record); });
        {
            std::unique_lock<std::mutex> lock(sLock);
            sChanged.wait(lock, [] { return sIsAsked; });
        }
        EXPECT_EQ(importer.CallAsync(aiClose, module), 0);
        {
            const std::lock_guard<std::mutex> lock(sLock);
            sIsClosed = true;
        }
        sChanged.notify_all();
        caller.join();
        EXPECT_EQ(result, selector == aiGetFrame ? 3 : 0);
        if (selector == aiInitiateAsyncRead) {
            EXPECT_TRUE(cache.WaitForFrame(clip.ImporterID(), 0, kTimeLimit));
        }
    }
}

}  // namespace
