// How often the threads of the two pools look for work, and what they find: who is woken by what.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "pipeline/completion.h"
#include "pipeline/eventually.h"
#include "pipeline/import_frame.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/patterned_file.h"
#include "pipeline/read_controller.h"
#include "pipeline/read_request.h"
#include "pipeline/reference.h"
#include "quicktime/video_track.h"
#include "support/gated_reads.h"

namespace {

using KVX::ImportFrame;
using KVX::ImportFrameConverter;
using KVX::ReadController;
using KVX::ReadRequest;
using kvx_test::Completion;
using kvx_test::Eventually;
using kvx_test::GatedReads;
using kvx_test::PatternedFile;
using kvx_test::Reference;
using kvx_test::ReferencesTo;

// Counts looks, and those that found nothing.
template <typename Base>
class WatchedPool : public Base {
  public:
    ~WatchedPool() override { this->StopAll(); }

    void* WorkToDo() override {
        void* const work = Base::WorkToDo();
        ++looks;
        if (work == nullptr) {
            ++inVain;
        }
        return work;
    }

    // So many looks, and none more within moments.
    bool ComesToRestAfter(int count) {
        if (!Eventually([&] { return looks >= count; })) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return looks == count;
    }

    std::atomic<int> looks{0};
    std::atomic<int> inVain{0};
};

TEST(PoolLooks, OfThreeTicketsThreeOfEightThreadsTakeOneEachAndFiveFindNothing) {
    const PatternedFile file(0x300000);
    WatchedPool<ReadController> pool;
    ASSERT_EQ(pool.Init(), 0);
    ASSERT_TRUE(pool.ComesToRestAfter(8));
    EXPECT_EQ(pool.inVain, 8);

    Completion completion;
    ReadRequest* made = nullptr;
    ASSERT_EQ(ReadRequest::Create(file.Descriptor(), file.Size(), 0, file.Size(), &Completion::Run,
                                  &completion, nullptr, 0, made),
              0);
    const Reference<ReadRequest> request(made);
    GatedReads gate;
    EXPECT_EQ(pool.AddRequest(request.get()), 0);
    ASSERT_TRUE(gate.WaitForWaiting(3));
    EXPECT_TRUE(pool.ComesToRestAfter(16));
    EXPECT_EQ(pool.inVain, 8 + 5);

    // Each of the three looks again by itself.
    gate.LetAll();
    EXPECT_TRUE(pool.ComesToRestAfter(19));
    EXPECT_EQ(pool.inVain, 8 + 5 + 3);
    EXPECT_EQ(completion.calls, 1);
}

TEST(PoolLooks, AFrameWakesOneConversionThreadThatThenLooksAgain) {
    WatchedPool<ImportFrameConverter> pool;
    ASSERT_EQ(pool.Threaded::Init(4), 0);
    ASSERT_TRUE(pool.ComesToRestAfter(4));

    KVX::QT::VideoTrack track;
    PrSDKPPixCacheSuite cacheSuite = {
        [](uint32_t, int32_t, PPixHand, int32_t, void*, int32_t) { return int32_t{0}; }, nullptr};
    auto* const made = new ImportFrame(1, &track, nullptr, PrPixelFormat_UYVY_422_8u_601, 0, 0,
                                       &cacheSuite, nullptr, nullptr, nullptr);
    made->Retain();
    const Reference<ImportFrame> frame(made);
    ASSERT_EQ(frame->Init(), 0);
    ASSERT_EQ(
        ReadRequest::Create(1000, 64, 0, 64, nullptr, nullptr, nullptr, 0, frame->mReadRequest), 0);
    char pixels[64];
    frame->mPixels = pixels;
    frame->mHeight = 2;
    frame->mSourceRowBytes = 32;
    frame->mDestRowBytes = 32;
    frame->mCopyOnly = true;
    EXPECT_EQ(pool.AddFrame(frame.get()), 0);
    EXPECT_TRUE(pool.ComesToRestAfter(4 + 2));
    EXPECT_EQ(pool.inVain, 4 + 1);
    EXPECT_EQ(ReferencesTo(*frame), 1);
}

}  // namespace
