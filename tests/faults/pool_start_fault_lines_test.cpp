// The first frame of a process starts the pools, and one of the calls of the system fails: what the
// host is told now and from then on, and the log, line by line. Each row has a process of its own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include "faults/fault_rows.h"
#include "faults/frame_player.h"
#include "faults/threads_at_rest.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/read_controller.h"
#include "support/child_process.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using kvx_test::Fault;
using kvx_test::FaultRow;
using kvx_test::FramePlayer;
using kvx_test::LogCapture;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::StatusAndLines;
using kvx_test::SystemCall;

constexpr int kReadThreads = 8;

int Processors() {
    return static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
}

std::string ReadPoolFailed(const std::string& status) {
    return "GetInstance: Once() returned " + status +
           "\nIssue: ReadController::GetInstance returned " + status +
           "\nInitiateAsyncRead: ImportFrame::Issue returned " + status + "\n";
}

std::string ConversionPoolFailed(const std::string& status) {
    return "GetInstance: Once() returned " + status +
           "\nIssue: ImportFrameConverter::GetInstance returned " + status +
           "\nInitiateAsyncRead: ImportFrame::Issue returned " + status + "\n";
}

class PoolStartFaultLines : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(KVX::ReadController::sInstance, nullptr) << "threads are not copied by a fork";
    }

    // A failed start is final: `failed` is said again to the next frame.
    void Expect(const std::vector<FaultRow>& rows, std::string (*failed)(const std::string&)) {
        for (const FaultRow& row : rows) {
            const std::string again = failed(std::to_string(row.status));
            EXPECT_EQ(kvx_test::InChild([&] { return Play(row); }),
                      StatusAndLines(row.status, row.lines + again) + "then " +
                          StatusAndLines(row.status, again) + "no frame\n")
                << row.place;
        }
    }

    std::string Play(const FaultRow& row) {
        std::string said;
        const LogCapture log;
        ModuleStage stage(movies);
        FramePlayer player(stage, movies.picture, PrPixelFormat_BGRA_4444_8u);
        {
            const Fault fault(row.call, row.error, row.nth);
            const long status = player.Request(0);
            said = fault.Hits() == 1 ? "" : "no call failed; ";
            said += StatusAndLines(status, log.Text());
        }
        const size_t seen = log.Text().size();
        const long status = player.Request(1);
        said += "then " + StatusAndLines(status, log.Text().substr(seen));
        kvx_test::AwaitRest();
        return said + (player.Has(0) || player.Has(1) ? "a frame\n" : "no frame\n");
    }

    const StageMovies movies;
};

// The frame itself makes the first object and the first lock.
TEST_F(PoolStartFaultLines, OfTheReadPool) {
    std::vector<FaultRow> rows = {
        {"the pool", SystemCall::kNewNothrow, 2, ENOMEM, 12, ""},
        {"the queue's map", SystemCall::kNew, 1, ENOMEM, 12, ""},
        {"the queue's first piece", SystemCall::kNew, 2, ENOMEM, 12, ""},
        {"the lock", SystemCall::kMutexInit, 2, 12, 12,
         "Init: pthread_mutex_init returned 12\nInit: Lockable::Init returned 12\n"},
        {"the condition", SystemCall::kCondInit, 1, 12, 12,
         "Init: pthread_cond_init returned 12\n"},
        {"the list of threads", SystemCall::kCalloc, 1, ENOMEM, 12,
         "Init: Failed to allocate 8 Thread objects\n"},
    };
    for (int nth = 1; nth <= kReadThreads; ++nth) {
        rows.push_back({"a thread", SystemCall::kThreadCreate, nth, 35, 35,
                        "Init: pthread_create returned 35\n"});
    }
    Expect(rows, &ReadPoolFailed);
}

TEST_F(PoolStartFaultLines, OfTheConversionPool) {
    std::vector<FaultRow> rows = {
        {"the pool", SystemCall::kNewNothrow, 3, ENOMEM, 12, ""},
        {"the queue's map", SystemCall::kNew, 3, ENOMEM, 12, ""},
        {"the queue's first piece", SystemCall::kNew, 4, ENOMEM, 12, ""},
        {"the lock", SystemCall::kMutexInit, 3, 12, 12,
         "Init: pthread_mutex_init returned 12\nInit: Lockable::Init returned 12\n"
         "Init: Threaded::Init returned 12\n"},
        {"the condition", SystemCall::kCondInit, 2, 12, 12,
         "Init: pthread_cond_init returned 12\nInit: Threaded::Init returned 12\n"},
        {"the list of threads", SystemCall::kCalloc, 2, ENOMEM, 12,
         "Init: Failed to allocate " + std::to_string(Processors()) +
             " Thread objects\nInit: Threaded::Init returned 12\n"},
    };
    for (int nth = 1; nth <= Processors(); ++nth) {
        rows.push_back({"a thread", SystemCall::kThreadCreate, kReadThreads + nth, 35, 35,
                        "Init: pthread_create returned 35\nInit: Threaded::Init returned 35\n"});
    }
    Expect(rows, &ConversionPoolFailed);
}

// The third thread does not start, and what takes the pool down again fails too.
TEST_F(PoolStartFaultLines, OfTheEndOfAPoolThatDidNotStart) {
    struct Row {
        SystemCall call;
        int error;
        std::string lines;
    };
    const Row rows[] = {
        // The threads are told a second time.
        {SystemCall::kCondBroadcast, 22,
         "WakeAll: pthread_cond_broadcast returned 22\nStopAll: WakeAll returned 22\n"},
        {SystemCall::kThreadJoin, 22, "StopAll: pthread_join returned 22\n"},
        {SystemCall::kCondDestroy, 16, "~Threaded: pthread_cond_destroy returned 16\n"},
        {SystemCall::kMutexDestroy, 16, "~Lockable: pthread_mutex_destroy returned 16\n"},
    };
    for (const Row& row : rows) {
        const std::string said = kvx_test::InChild([&] {
            const LogCapture log;
            ModuleStage stage(movies);
            FramePlayer player(stage, movies.picture, PrPixelFormat_BGRA_4444_8u);
            const Fault create(SystemCall::kThreadCreate, 35, 3);
            const Fault fault(row.call, row.error);
            const long status = player.Request(0);
            return StatusAndLines(status, log.Text()) + std::to_string(fault.Hits());
        });
        EXPECT_EQ(said, StatusAndLines(35, "Init: pthread_create returned 35\n" + row.lines +
                                               ReadPoolFailed("35")) +
                            "1");
    }
}

// A thread that cannot begin or cannot sleep ends, and the others do its work.
TEST_F(PoolStartFaultLines, OfAThread) {
    struct Row {
        SystemCall call;
        int error;
        std::string lines;
    };
    const Row rows[] = {{SystemCall::kMutexLock, 35,
                         "Lock: pthread_mutex_lock returned 35\nLock: Lock returned 35\n"
                         "RunThread: Lock returned 35\n"},
                        {SystemCall::kCondWait, 22, "RunThread: pthread_cond_wait returned 22\n"}};
    for (const Row& row : rows) {
        for (int nth = 1; nth <= kReadThreads; ++nth) {
            const std::string said = kvx_test::InChild([&] {
                const LogCapture log;
                ModuleStage stage(movies);
                FramePlayer player(stage, movies.picture, PrPixelFormat_BGRA_4444_8u);
                const Fault fault(row.call, row.error, nth);
                KVX::ReadController* pool = nullptr;
                const long status = KVX::ReadController::GetInstance(pool);
                kvx_test::AwaitRest();
                player.Request(0);
                kvx_test::AwaitRest();
                return StatusAndLines(status, log.Text()) +
                       (player.Has(0) ? "a frame\n" : "no frame\n");
            });
            EXPECT_EQ(said, StatusAndLines(0, row.lines) + "a frame\n") << nth;
        }
    }
}

// A queue that cannot grow takes nothing more: the read pool's refuses the frame, and a frame that
// the conversion pool's refuses is delivered as it is. The queues grow after the same number of
// frames, the read pool's first.
TEST_F(PoolStartFaultLines, OfAQueueThatGrows) {
    const std::string expected[] = {
        StatusAndLines(12,
                       "Issue: ReadController::AddRequest returned 12\n"
                       "InitiateAsyncRead: ImportFrame::Issue returned 12\n") +
            "not delivered\n",
        StatusAndLines(0, "ReadCompleted: ImportFrameConverter::AddFrame returned 12\n") +
            "delivered\n"};
    for (const int nth : {1, 2}) {
        const std::string said = kvx_test::InChild([&] {
            const LogCapture log;
            ModuleStage stage(movies);
            FramePlayer player(stage, movies.picture, PrPixelFormat_BGRA_4444_8u);
            player.StartPools();
            const Fault fault(SystemCall::kNew, ENOMEM, nth);
            long status = 0;
            for (int frame = 0; frame < 1000 && fault.Hits() == 0; ++frame) {
                stage.cache.Forget();
                status = player.Request(0);
                kvx_test::AwaitRest();
            }
            return StatusAndLines(status, log.Text()) +
                   (player.Has(0) ? "delivered\n" : "not delivered\n");
        });
        EXPECT_EQ(said, expected[nth - 1]);
    }
}

}  // namespace
