// The conversion pool: whom it serves when, and what becomes of the references.
#include "pipeline/import_frame_converter.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "pipeline/eventually.h"
#include "pipeline/import_frame.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "platform/system.h"
#include "quicktime/video_track.h"
#include "support/log_capture.h"

namespace {

using KVX::ImportFrame;
using KVX::ImportFrameConverter;
using KVX::ReadRequest;
using kvx_test::Eventually;
using kvx_test::LogCapture;
using kvx_test::Reference;
using kvx_test::ReferencesTo;

// A host whose cache keeps the threads that come to it until it is opened.
struct Cache {
    std::mutex lock;
    std::condition_variable changed;
    bool open = true;
    int inside = 0;
    std::vector<long> added;  // frame indexes

    static Cache& Get() {
        static Cache cache;
        return cache;
    }

    static int32_t Add(uint32_t, int32_t, PPixHand, int32_t frameIndex, void*, int32_t) {
        Cache& cache = Get();
        std::unique_lock<std::mutex> lock(cache.lock);
        ++cache.inside;
        cache.added.push_back(frameIndex);
        cache.changed.notify_all();
        cache.changed.wait(lock, [&] { return cache.open; });
        --cache.inside;
        return 0;
    }

    void Open(bool opens) {
        const std::lock_guard<std::mutex> guard(lock);
        open = opens;
        changed.notify_all();
    }

    int Inside() {
        const std::lock_guard<std::mutex> guard(lock);
        return inside;
    }

    std::vector<long> Added() {
        const std::lock_guard<std::mutex> guard(lock);
        return added;
    }
};

// Disposing of nothing.
PrSDKPPixCacheSuite sCacheSuite = {&Cache::Add, nullptr};
PrSDKPPixSuite sPPixSuite = {[](PPixHand) { return int32_t{0}; }, nullptr, {}, nullptr};

class Pool : public ImportFrameConverter {
  public:
    explicit Pool(int threads) { EXPECT_EQ(Threaded::Init(threads), threads == 0 ? 22 : 0); }

    // The threads end while they still find the functions of this class.
    ~Pool() override {
        if (mThreadCount > 0) {
            StopAll();
        }
    }

    using Core = KVX::Core::Threaded;

    bool IsLocked() {
        const bool free = pthread_mutex_trylock(&mMutex) == 0;
        if (free) {
            pthread_mutex_unlock(&mMutex);
        }
        return !free;
    }
};

// Whether a pool is locked when the frame comes to the cache, and when its pixels go.
struct LockProbe {
    static int32_t Add(uint32_t, int32_t, PPixHand, int32_t, void*, int32_t) {
        sWasLockedInTheCache = sPool->IsLocked();
        ++sCalls;
        return 0;
    }

    static int32_t Dispose(PPixHand) {
        sWasLockedAtTheEnd = sPool->IsLocked();
        ++sCalls;
        return 0;
    }

    static Pool* sPool;
    static int sCalls;
    static bool sWasLockedInTheCache;
    static bool sWasLockedAtTheEnd;
};
Pool* LockProbe::sPool = nullptr;
int LockProbe::sCalls = 0;
bool LockProbe::sWasLockedInTheCache = true;
bool LockProbe::sWasLockedAtTheEnd = false;

class ImportFrameConverterTest : public testing::Test {
  protected:
    static constexpr long long kSize = 64;

    ImportFrameConverterTest() {
        mTrack.mFormat = 0x32767579;  // "2vuy"
        Cache& cache = Cache::Get();
        cache.open = true;
        cache.added.clear();
    }

    // A frame whose bytes have been read: `kSize` of them, to be copied. Of its references one is
    // the maker's, which goes with the end of its road, and one the test's.
    Reference<ImportFrame> ReadFrame(long index, bool copies = true) {
        auto* frame =
            new ImportFrame(1, &mTrack, nullptr,
                            copies ? PrPixelFormat_UYVY_422_8u_601 : PrPixelFormat_BGRX_4444_32f,
                            index, 0, &sCacheSuite, nullptr, nullptr, &sPPixSuite);
        EXPECT_EQ(frame->Init(), 0);
        EXPECT_EQ(ReadRequest::Create(1000, kSize, 0, kSize, nullptr, nullptr, nullptr, 0,
                                      frame->mReadRequest),
                  0);
        std::memset(frame->mReadRequest->mBuffer, static_cast<int>('a' + index), kSize);
        frame->mWidth = 16;
        frame->mHeight = 2;
        frame->mSourceRowBytes = 32;
        frame->mDestRowBytes = 32;
        frame->mCopyOnly = copies;
        mPixels.push_back(std::make_unique<char[]>(16 * 16 * 2));
        frame->mPixels = mPixels.back().get();
        frame->Retain();
        return Reference<ImportFrame>(frame);
    }

    KVX::QT::VideoTrack mTrack;
    std::vector<std::unique_ptr<char[]>> mPixels;
};

TEST_F(ImportFrameConverterTest, QueuesWithAReferenceAndHandsItOn) {
    Pool pool(0);
    const auto first = ReadFrame(0);
    const auto second = ReadFrame(1);
    EXPECT_EQ(pool.AddFrame(first.get()), 0);
    EXPECT_EQ(pool.AddFrame(second.get()), 0);
    EXPECT_EQ(first->mRefCount, 3);
    KVX::Core::Lock lock(&pool);
    EXPECT_EQ(pool.WorkToDo(), first.get());
    EXPECT_EQ(first->mRefCount, 3);
    EXPECT_EQ(pool.WorkToDo(), second.get());
    EXPECT_EQ(pool.WorkToDo(), nullptr);
    pool.RunThreadPass(first.get());
    pool.RunThreadPass(second.get());
    // The queue's and the maker's are gone.
    EXPECT_EQ(first->mRefCount, 1);
    EXPECT_EQ(second->mRefCount, 1);
    EXPECT_EQ(Cache::Get().Added(), (std::vector<long>{0, 1}));
    EXPECT_EQ(std::string(first->mPixels, kSize), std::string(kSize, 'a'));
    EXPECT_EQ(std::string(second->mPixels, kSize), std::string(kSize, 'b'));
}

TEST_F(ImportFrameConverterTest, ConvertsOutsideItsLockAndEndsTheFrameUnderIt) {
    PrSDKPPixCacheSuite cacheSuite = {&LockProbe::Add, nullptr};
    PrSDKPPixSuite ppixSuite = {&LockProbe::Dispose, nullptr, {}, nullptr};
    Pool pool(0);
    LockProbe::sPool = &pool;
    LockProbe::sCalls = 0;
    auto frame = ReadFrame(0);
    char ppix = 0;
    frame->mPPix = reinterpret_cast<PPixHand>(&ppix);
    frame->mCacheSuite = &cacheSuite;
    frame->mPPixSuite = &ppixSuite;
    EXPECT_EQ(pool.AddFrame(frame.get()), 0);
    frame.reset();
    KVX::Core::Lock lock(&pool);
    pool.RunThreadPass(pool.WorkToDo());
    EXPECT_EQ(LockProbe::sCalls, 2);
    EXPECT_FALSE(LockProbe::sWasLockedInTheCache);
    EXPECT_TRUE(LockProbe::sWasLockedAtTheEnd);
}

TEST_F(ImportFrameConverterTest, LogsAFailureAndCachesTheFrame) {
    Pool pool(0);
    const auto frame = ReadFrame(0, false);
    EXPECT_EQ(pool.AddFrame(frame.get()), 0);
    LogCapture log;
    KVX::Core::Lock lock(&pool);
    pool.RunThreadPass(pool.WorkToDo());
    const std::string text = log.Text();
    const std::string last = "RunThreadPass: ImportFrame::Convert returned 22\n";
    ASSERT_GE(text.size(), last.size());
    EXPECT_EQ(text.substr(text.size() - last.size()), last);
    EXPECT_EQ(frame->mStatus, 22);
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(Cache::Get().Added(), std::vector<long>{0});
}

TEST_F(ImportFrameConverterTest, AFailureDoesNotStopTheThread) {
    Pool pool(1);
    const LogCapture log;
    std::vector<Reference<ImportFrame>> frames;
    for (long index = 0; index < 6; ++index) {
        frames.push_back(ReadFrame(index, index % 2 == 1));
        EXPECT_EQ(pool.AddFrame(frames.back().get()), 0);
    }
    for (const auto& frame : frames) {
        EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame) == 1; }));
    }
    EXPECT_EQ(Cache::Get().Added(), (std::vector<long>{0, 1, 2, 3, 4, 5}));
}

TEST_F(ImportFrameConverterTest, ConvertsAsManyAtOnceAsItHasThreads) {
    Pool pool(4);
    Cache& cache = Cache::Get();
    cache.Open(false);
    std::vector<Reference<ImportFrame>> frames;
    for (long index = 0; index < 20; ++index) {
        frames.push_back(ReadFrame(index));
        EXPECT_EQ(pool.AddFrame(frames.back().get()), 0);
    }
    EXPECT_TRUE(Eventually([&] { return cache.Inside() == 4; }));
    EXPECT_EQ(cache.Added().size(), 4u);
    // The others need no further waking.
    cache.Open(true);
    EXPECT_TRUE(Eventually([&] { return cache.Added().size() == 20; }));
    for (const auto& frame : frames) {
        EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame) == 1; }));
    }
}

TEST_F(ImportFrameConverterTest, DropsWhatIsQueuedAtItsEnd) {
    const auto frame = ReadFrame(0);
    {
        Pool pool(0);
        EXPECT_EQ(pool.AddFrame(frame.get()), 0);
        EXPECT_EQ(frame->mRefCount, 3);
    }
    EXPECT_EQ(frame->mRefCount, 2);
    EXPECT_TRUE(Cache::Get().Added().empty());
    frame->Release();
}

TEST_F(ImportFrameConverterTest, ThereIsOneForTheProcessWithAThreadForEachProcessor) {
    ImportFrameConverter* first = nullptr;
    ImportFrameConverter* second = nullptr;
    LogCapture log;
    EXPECT_EQ(ImportFrameConverter::GetInstance(first), 0);
    EXPECT_EQ(ImportFrameConverter::GetInstance(second), 0);
    EXPECT_EQ(log.Raw(), "");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    int32_t processors = 0;
    ASSERT_EQ(KVX::Platform::GetLogicalProcessorCount(processors), 0);
    EXPECT_EQ(first->mThreadCount, processors);
}

}  // namespace
