// A read that is over before ReadController::AddRequest has returned to the frame that asked for
// it.
#include <gtest/gtest.h>

#include <atomic>

#include "pipeline/frame_test.h"
#include "pipeline/read_controller.h"
#include "support/replaced_call.h"

namespace {

using KVX::ImportFrame;
using KVX::ReadRequest;
using kvx_test::Eventually;
using kvx_test::kPageUYVY;
using kvx_test::MovieOfPicture;
using kvx_test::ReferencesTo;

// Between the frame and the pool.
std::atomic<bool> sWaitsForTheEnd{false};
std::atomic<int> sReferencesAtTheEnd{0};

// The frame has come to its end when the pool has let go of its request, and all references but
// those that Issue keeps for itself have been dropped: on the road it had three, and dropped two.
void WaitForTheEnd(ReadRequest* request) {
    const auto* frame = static_cast<const ImportFrame*>(request->mCompletionData);
    EXPECT_TRUE(Eventually([&] { return ReferencesTo(*request) == 1; }));
    EXPECT_TRUE(Eventually([&] { return ReferencesTo(*frame) <= 1; }));
    sReferencesAtTheEnd = ReferencesTo(*frame);
}

}  // namespace

extern "C" {

kvx_test::CalledLike<&KVX::ReadController::AddRequest> kvx_true_AddRequest;
kvx_test::CalledLike<&KVX::ReadController::AddRequest> kvx_instead_of_AddRequest;

long kvx_instead_of_AddRequest(KVX::ReadController* pool, ReadRequest* request) {
    const long status = kvx_true_AddRequest(pool, request);
    if (sWaitsForTheEnd) {
        WaitForTheEnd(request);
    }
    return status;
}
}

namespace {

class FrameOvertaking : public kvx_test::FrameTest {
  protected:
    FrameOvertaking() { sWaitsForTheEnd = true; }
    ~FrameOvertaking() override { sWaitsForTheEnd = false; }

    // Nobody but the pipeline holds the frame: Issue itself drops its last reference.
    void ExpectDelivery(PrPixelFormat format) {
        const int live = buffers.LiveCount();
        const int additions = cache.Additions();
        ImportFrame* frame = NewFrame(format, 1);
        EXPECT_EQ(frame->Issue(), 0);
        EXPECT_EQ(sReferencesAtTheEnd, 1);
        EXPECT_EQ(cache.Additions(), additions + 1);
        // The cache's hold is the only one.
        EXPECT_EQ(buffers.LiveCount(), live + 1);
        const PPixHand ppix = cache.Take(clip->ImporterID(), 1);
        ASSERT_NE(ppix, nullptr);
        kvx_hostkit::PixelBuffers::Dispose(ppix);
        EXPECT_EQ(buffers.LiveCount(), live);
    }
};

TEST_F(FrameOvertaking, AFrameReadInPlace) {
    OpenMovie(MovieOfPicture(kPageUYVY, 2));
    for (int round = 0; round < 10000; ++round) {
        ASSERT_NO_FATAL_FAILURE(ExpectDelivery(PrPixelFormat_UYVY_422_8u_601));
    }
}

TEST_F(FrameOvertaking, ACustomFrame) {
    OpenMovie(MovieOfPicture(kPageUYVY, 2));
    ExpectDelivery(kKVXCustomPixelFormat);
}

TEST_F(FrameOvertaking, AFrameThatIsCopied) {
    buffers.settings.misalignment = 16;
    OpenMovie(MovieOfPicture(kPageUYVY, 2));
    for (int round = 0; round < 1000; ++round) {
        ASSERT_NO_FATAL_FAILURE(ExpectDelivery(PrPixelFormat_UYVY_422_8u_601));
    }
}

TEST_F(FrameOvertaking, AFrameWhoseReadFails) {
    OpenMovie(MovieOfPicture(kPageUYVY, 2));
    const kvx_test::LogCapture log;
    const int descriptor = track->mFileDescriptor;
    track->mFileDescriptor = 100000;
    ExpectDelivery(PrPixelFormat_UYVY_422_8u_601);
    ExpectDelivery(PrPixelFormat_BGRA_4444_8u);
    track->mFileDescriptor = descriptor;
}

// By the host's own way in, which does not look at the frame again.
TEST_F(FrameOvertaking, AFrameThatTheHostAskedFor) {
    OpenMovie(MovieOfPicture(kPageUYVY, 2));
    imFrameFormat formats[] = {{0, 0, PrPixelFormat_UYVY_422_8u_601}};
    imSourceVideoRec record = {};
    record.frameFormats = formats;
    record.frameFormatCount = 1;
    EXPECT_EQ(module->InitiateAsyncRead(&record), 0);
    EXPECT_EQ(sReferencesAtTheEnd, 1);
    EXPECT_EQ(buffers.LiveCount(), 1);
}

}  // namespace
