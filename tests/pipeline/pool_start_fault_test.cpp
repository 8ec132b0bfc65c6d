// The first GetInstance of a process. Each has a process of its own, since it happens once: a start
// that failed is told to everybody who asks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <string>

#include "pipeline/import_frame.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/read_controller.h"
#include "quicktime/video_track.h"
#include "support/child_process.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::ImportFrame;
using KVX::ImportFrameConverter;
using KVX::ReadController;
using kvx_test::CallCount;
using kvx_test::Fault;
using kvx_test::InChild;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

class PoolStart : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(ReadController::sInstance, nullptr) << "threads are not copied by a fork";
        ASSERT_EQ(ImportFrameConverter::sInstance, nullptr);
    }
};

// Asks for a pool: the status, and "null" or the number of its threads.
template <typename Pool>
std::string Ask() {
    auto* pool = reinterpret_cast<Pool*>(8);
    const long status = Pool::GetInstance(pool);
    return std::to_string(status) + " " +
           (pool == nullptr ? "null" : std::to_string(pool->mThreadCount)) + "\n";
}

// Asks while a call fails, and twice when all is well again. Then says what was made and undone.
template <typename Pool>
std::string Start(SystemCall call, int error, int nth) {
    constexpr SystemCall kUndoing[] = {SystemCall::kThreadJoin, SystemCall::kCondDestroy,
                                       SystemCall::kMutexDestroy};
    long before[std::size(kUndoing)];
    std::transform(std::begin(kUndoing), std::end(kUndoing), before, &CallCount);
    const LogCapture log;
    // Whatever the machine has.
    const Fault processors(SystemCall::kProcessorCount, 4);
    std::string said;
    {
        const Fault fault(call, error, nth);
        said = Ask<Pool>();
    }
    said += Ask<Pool>();
    said += Ask<Pool>();
    said += log.Text();
    for (size_t call = 0; call < std::size(kUndoing); ++call) {
        said += std::to_string(CallCount(kUndoing[call]) - before[call]) + " ";
    }
    return said + (Pool::sInstance == nullptr ? "none" : "one");
}

std::string Instances() {
    return std::string(ReadController::sInstance == nullptr ? "none" : "one") +
           (ImportFrameConverter::sInstance == nullptr ? " none\n" : " one\n");
}

template <typename Pool>
std::string InChildStart(SystemCall call, int error, int nth = 1) {
    return InChild([=] { return Start<Pool>(call, error, nth); });
}

TEST_F(PoolStart, ThereIsNoPoolBeforeTheFirstAsks) {
    EXPECT_EQ(InChild([] {
                  const Fault processors(SystemCall::kProcessorCount, 3);
                  const long threads = CallCount(SystemCall::kThreadCreate);
                  std::string said = Instances();
                  for (int time = 0; time < 2; ++time) {
                      said += Ask<ReadController>();
                      said += Ask<ImportFrameConverter>();
                  }
                  return said + Instances() +
                         std::to_string(CallCount(SystemCall::kThreadCreate) - threads);
              }),
              "none none\n0 8\n0 3\n0 8\n0 3\none one\n11");
}

TEST_F(PoolStart, AReadThreadThatDoesNotStartIsFinal) {
    const std::string lines =
        "11 null\n11 null\n11 null\n"
        "Init: pthread_create returned 11\n"
        "GetInstance: Once() returned 11\n"
        "GetInstance: Once() returned 11\n"
        "GetInstance: Once() returned 11\n";
    for (const int nth : {1, 2, 8}) {
        // Those that did start are joined, and the pool is gone.
        EXPECT_EQ(InChildStart<ReadController>(SystemCall::kThreadCreate, 11, nth),
                  lines + std::to_string(nth - 1) + " 1 1 none");
    }
}

TEST_F(PoolStart, AConversionThreadThatDoesNotStartIsFinal) {
    const std::string lines =
        "11 null\n11 null\n11 null\n"
        "Init: pthread_create returned 11\n"
        "Init: Threaded::Init returned 11\n"
        "GetInstance: Once() returned 11\n"
        "GetInstance: Once() returned 11\n"
        "GetInstance: Once() returned 11\n";
    for (const int nth : {1, 4}) {
        EXPECT_EQ(InChildStart<ImportFrameConverter>(SystemCall::kThreadCreate, 11, nth),
                  lines + std::to_string(nth - 1) + " 1 1 none");
    }
}

// The pool itself, and the queue's own memory.
TEST_F(PoolStart, NoMemoryIsFinal) {
    const std::string said =
        "12 null\n12 null\n12 null\n"
        "GetInstance: Once() returned 12\n"
        "GetInstance: Once() returned 12\n"
        "GetInstance: Once() returned 12\n"
        "0 0 0 none";
    for (const SystemCall call : {SystemCall::kNewNothrow, SystemCall::kNew}) {
        EXPECT_EQ(InChildStart<ReadController>(call, ENOMEM), said);
        EXPECT_EQ(InChildStart<ImportFrameConverter>(call, ENOMEM), said);
    }
}

TEST_F(PoolStart, NoLockIsFinal) {
    EXPECT_EQ(InChildStart<ReadController>(SystemCall::kMutexInit, 12),
              "12 null\n12 null\n12 null\n"
              "Init: pthread_mutex_init returned 12\n"
              "Init: Lockable::Init returned 12\n"
              "GetInstance: Once() returned 12\n"
              "GetInstance: Once() returned 12\n"
              "GetInstance: Once() returned 12\n"
              "0 0 0 none");
}

// The once-call itself starts nothing, and is made anew by the next who asks.
TEST_F(PoolStart, AOnceCallThatFailsIsNotFinal) {
    const std::string lines = "GetInstance: pthread_once returned 22\n0 0 0 one";
    EXPECT_EQ(InChildStart<ReadController>(SystemCall::kOnce, 22), "22 null\n0 8\n0 8\n" + lines);
    EXPECT_EQ(InChildStart<ImportFrameConverter>(SystemCall::kOnce, 22),
              "22 null\n0 4\n0 4\n" + lines);
}

// A frame of a track that has nothing but a size and a descriptor: it fails before it needs more.
class FrameWithoutPools {
  public:
    FrameWithoutPools() {
        mTrack.mFormat = 0x32767579;  // "2vuy"
        mTrack.mWidth = 16;
        mTrack.mHeight = 2;
        mTrack.mFileDescriptor = 1000;
    }

    // The status of Issue, and the references that are left.
    std::string Issue() {
        auto* frame = new ImportFrame(1, &mTrack, nullptr, PrPixelFormat_UYVY_422_8u_601, 0, 0,
                                      nullptr, nullptr, nullptr, nullptr);
        frame->Init();
        const long status = frame->Issue();
        return std::to_string(status) + " " + std::to_string(frame->Release()) + "\n";
    }

  private:
    KVX::QT::VideoTrack mTrack;
};

TEST_F(PoolStart, WithoutProcessorsEveryFrameIsRefused) {
    EXPECT_EQ(InChild([] {
                  const LogCapture log;
                  const Fault processors(SystemCall::kProcessorCount, 0);
                  FrameWithoutPools frames;
                  std::string said = frames.Issue();
                  said += frames.Issue();
                  return said + log.Text();
              }),
              "22 0\n22 0\n"
              "Init: Threaded::Init returned 22\n"
              "GetInstance: Once() returned 22\n"
              "Issue: ImportFrameConverter::GetInstance returned 22\n"
              "GetInstance: Once() returned 22\n"
              "Issue: ImportFrameConverter::GetInstance returned 22\n");
}

// The read pool comes first, and without it there is no conversion pool either.
TEST_F(PoolStart, WithoutReadThreadsEveryFrameIsRefused) {
    EXPECT_EQ(InChild([] {
                  const LogCapture log;
                  const Fault create(SystemCall::kThreadCreate, 11, 8);
                  const Fault processors(SystemCall::kProcessorCount, 4);
                  FrameWithoutPools frames;
                  std::string said = frames.Issue();
                  said += frames.Issue();
                  return said + log.Text() + std::to_string(CallCount(SystemCall::kProcessorCount));
              }),
              "11 0\n11 0\n"
              "Init: pthread_create returned 11\n"
              "GetInstance: Once() returned 11\n"
              "Issue: ReadController::GetInstance returned 11\n"
              "GetInstance: Once() returned 11\n"
              "Issue: ReadController::GetInstance returned 11\n"
              "0");
}

}  // namespace
