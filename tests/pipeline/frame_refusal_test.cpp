// Frames that are refused for what has nothing to do with the movie: no memory, no lock, no pools.
// The host is told the number, the log the way that it came, and nothing is left.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "pipeline/frame_test.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/pool_by_hand.h"
#include "pipeline/read_controller.h"
#include "support/fault_injection.h"

namespace {

using KVX::ImportFrameConverter;
using KVX::ReadController;
using kvx_test::Fault;
using kvx_test::kPageUYVY;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::PoolByHand;
using kvx_test::SystemCall;

// While it lives, the start of a pool has failed.
template <typename Pool>
class FailedStart {
  public:
    explicit FailedStart(long error) {
        Pool* pool = nullptr;
        EXPECT_EQ(Pool::GetInstance(pool), 0);
        Pool::sError = error;
    }
    ~FailedStart() { Pool::sError = 0; }

    FailedStart(const FailedStart&) = delete;
    FailedStart& operator=(const FailedStart&) = delete;
};

class FrameRefusal : public kvx_test::FrameTest {
  protected:
    // The pools run: what fails afterwards is the frame's own.
    void SetUp() override {
        OpenMovie(MovieOfPicture(kPageUYVY, 1));
        ReadController* reads = nullptr;
        ASSERT_EQ(ReadController::GetInstance(reads), 0);
        ImportFrameConverter* conversions = nullptr;
        ASSERT_EQ(ImportFrameConverter::GetInstance(conversions), 0);
    }

    long Initiate() {
        imFrameFormat format = {0, 0, PrPixelFormat_UYVY_422_8u_601};
        imSourceVideoRec record = {};
        record.frameFormats = &format;
        record.frameFormatCount = 1;
        return module->InitiateAsyncRead(&record);
    }

    void ExpectNothingLeft() {
        EXPECT_EQ(buffers.LiveCount(), 0);
        EXPECT_EQ(cache.Additions(), 0);
    }
};

TEST_F(FrameRefusal, WithoutMemoryForTheFrame) {
    LogCapture log;
    long status = 0;
    {
        const Fault fault(SystemCall::kNewNothrow, ENOMEM);
        status = Initiate();
    }
    EXPECT_EQ(status, 12);
    EXPECT_EQ(log.Text(), "InitiateAsyncRead: Failed to allocate a new ImportFrame object\n");
    EXPECT_EQ(buffers.CreatedCount(), 0);
    ExpectNothingLeft();
}

TEST_F(FrameRefusal, WithoutALockForTheFrame) {
    LogCapture log;
    long status = 0;
    const long destroyed = kvx_test::CallCount(SystemCall::kMutexDestroy);
    {
        const Fault fault(SystemCall::kMutexInit, 11);
        status = Initiate();
    }
    EXPECT_EQ(status, 11);
    EXPECT_EQ(log.Text(),
              "Init: pthread_mutex_init returned 11\n"
              "Init: Lockable::Init returned 11\n"
              "InitiateAsyncRead: ImportFrame::Init returned 11\n");
    EXPECT_EQ(kvx_test::CallCount(SystemCall::kMutexDestroy), destroyed);
    EXPECT_EQ(buffers.CreatedCount(), 0);
    ExpectNothingLeft();
}

TEST_F(FrameRefusal, WithoutReadThreads) {
    const FailedStart<ReadController> reading(11);
    // The pools are asked for in this order.
    const FailedStart<ImportFrameConverter> converting(12);
    LogCapture log;
    EXPECT_EQ(Initiate(), 11);
    EXPECT_EQ(log.Text(),
              "GetInstance: Once() returned 11\n"
              "Issue: ReadController::GetInstance returned 11\n"
              "InitiateAsyncRead: ImportFrame::Issue returned 11\n");
    EXPECT_EQ(buffers.CreatedCount(), 0);
    ExpectNothingLeft();
}

TEST_F(FrameRefusal, WithoutConversionThreads) {
    const FailedStart<ImportFrameConverter> converting(12);
    LogCapture log;
    EXPECT_EQ(Initiate(), 12);
    EXPECT_EQ(log.Text(),
              "GetInstance: Once() returned 12\n"
              "Issue: ImportFrameConverter::GetInstance returned 12\n"
              "InitiateAsyncRead: ImportFrame::Issue returned 12\n");
    EXPECT_EQ(buffers.CreatedCount(), 0);
    ExpectNothingLeft();
}

// The file comes before the pools.
TEST_F(FrameRefusal, AClosedFileIsTheFirstThingToBeTold) {
    const FailedStart<ReadController> reading(11);
    ASSERT_EQ(clip->Quiet(), 0);
    LogCapture log;
    EXPECT_EQ(Initiate(), 22);
    EXPECT_EQ(log.Text().find("ReadController"), std::string::npos);
}

TEST_F(FrameRefusal, WithoutMemoryForTheRequest) {
    LogCapture log;
    long status = 0;
    {
        // The first is the frame's.
        const Fault fault(SystemCall::kNewNothrow, ENOMEM, 2);
        status = Initiate();
    }
    EXPECT_EQ(status, 12);
    EXPECT_EQ(log.Text(),
              "Create: Failed to allocate a new ReadRequest object\n"
              "Issue: ReadRequest::Create returned 12\n"
              "InitiateAsyncRead: ImportFrame::Issue returned 12\n");
    EXPECT_EQ(buffers.CreatedCount(), 1);
    ExpectNothingLeft();
}

TEST_F(FrameRefusal, WhileTheReadPoolCannotBeLocked) {
    PoolByHand<ReadController> pool;
    LogCapture log;
    ASSERT_EQ(pool.Lock(), 0);
    EXPECT_EQ(Initiate(), EDEADLK);
    EXPECT_EQ(pool.Unlock(), 0);
    const std::string returned = " returned " + std::to_string(EDEADLK) + "\n";
    EXPECT_EQ(log.Text(), "Lock: pthread_mutex_lock" + returned + "Lock: Lock" + returned +
                              "AddRequest: Lock" + returned + "Issue: ReadController::AddRequest" +
                              returned + "InitiateAsyncRead: ImportFrame::Issue" + returned);
    EXPECT_FALSE(pool.RunOne());
    EXPECT_EQ(buffers.CreatedCount(), 1);
    ExpectNothingLeft();
}

// A request whose pool could not be woken is in the queue all the same: the host is told of the
// failure, and the frame arrives as soon as a thread looks.
TEST_F(FrameRefusal, AFrameWhoseThreadsAreNotWokenMayArriveNonetheless) {
    PoolByHand<ReadController> pool;
    LogCapture log;
    long status = 0;
    {
        const Fault fault(SystemCall::kCondBroadcast, 22);
        status = Initiate();
    }
    EXPECT_EQ(status, 22);
    EXPECT_EQ(log.Text(),
              "WakeAll: pthread_cond_broadcast returned 22\n"
              "AddRequest: WakeAll returned 22\n"
              "Issue: ReadController::AddRequest returned 22\n"
              "InitiateAsyncRead: ImportFrame::Issue returned 22\n");
    EXPECT_EQ(cache.Additions(), 0);
    EXPECT_EQ(buffers.LiveCount(), 1);

    EXPECT_TRUE(pool.RunOne());
    EXPECT_FALSE(pool.RunOne());
    EXPECT_EQ(cache.AdditionsOf(clip->ImporterID(), 0), 1);
    const PPixHand ppix = cache.Take(clip->ImporterID(), 0);
    ASSERT_NE(ppix, nullptr);
    EXPECT_EQ(kvx_test::Bytes(kvx_hostkit::PixelBuffers::View(ppix).pixels, 4096), Media(0, 4096));
    kvx_hostkit::PixelBuffers::Dispose(ppix);
    EXPECT_EQ(buffers.LiveCount(), 0);
}

}  // namespace
