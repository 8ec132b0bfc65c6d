// One of the host's suite calls fails: what the host is told in turn, what becomes of the frame,
// and the log, line by line.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <string>

#include "faults/fault_rows.h"
#include "faults/frame_player.h"
#include "faults/threads_at_rest.h"
#include "host/entry.h"
#include "pipeline/read_controller.h"
#include "support/child_process.h"
#include "support/log_capture.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::Importer;
using kvx_hostkit::SuiteFaults;
using kvx_test::FramePlayer;
using kvx_test::LogCapture;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::StatusAndLines;
using kvx_test::SystemCall;

constexpr int32_t kError = -100;

class OpenSuiteFaultLines : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(Clip(importer, movies.good).Open(), 0); }

    std::string Open() {
        const LogCapture log;
        Clip clip(importer, movies.picture);
        const long status = clip.Open();
        return StatusAndLines(status, log.Text());
    }

    const StageMovies movies;
    ModuleStage stage{movies};
    const Importer importer{stage.host, {&xImportEntry, &AsyncImportEntry}};
};

TEST_F(OpenSuiteFaultLines, LegacySuite) {
    stage.host.FailAcquisition("Premiere Legacy Suite", kError);
    EXPECT_EQ(Open(), StatusAndLines(kError, "OpenFile8: AcquireSuite returned -100\n"));
}

TEST_F(OpenSuiteFaultLines, Ticks) {
    stage.host.settings.ticksStatus = kError;
    EXPECT_EQ(Open(),
              StatusAndLines(kError, "OpenFile8: GetTicksPerTimebaseFrame returned -100\n"));
}

TEST_F(OpenSuiteFaultLines, NoSuites) {
    stage.host.settings.hasSuites = false;
    EXPECT_EQ(Open(), StatusAndLines(22,
                                     "Init: getSPBasicSuite() failed\n"
                                     "OpenFile8: AcquireSuite returned 22\n"));
}

class AsyncSuiteFaultLines : public OpenSuiteFaultLines {
  protected:
    void SetUp() override { ASSERT_EQ(clip.Open(), 0); }

    kvx_test::HostCall CreateAsyncImporter() {
        return {[] {}, [this] { return source.Open(); }, [this] { source.Close(); }};
    }

    std::string Create() {
        const LogCapture log;
        const long status = source.Open();
        return StatusAndLines(status, log.Text());
    }

    Clip clip{importer, movies.picture};
    FrameSource source{clip};
};

TEST_F(AsyncSuiteFaultLines, EachSuite) {
    for (const char* name :
         {"Premiere PPix Cache Suite", "Premiere PPix Creator Suite",
          "Premiere PPix Creator 2 Suite", "Premiere PPix Suite", "Premiere Legacy Suite"}) {
        stage.host.FailAcquisition(name, kError);
        EXPECT_EQ(Create(),
                  StatusAndLines(5,
                                 "Init: AcquireSuite returned -100\n"
                                 "Create: AsyncModule::Init() returned -100\n"
                                 "CreateAsyncImporter: Failed to create an AsyncImportModule\n"))
            << name;
        stage.host.FailAcquisition(name, 0);
    }
}

TEST_F(AsyncSuiteFaultLines, Ticks) {
    stage.host.settings.ticksStatus = kError;
    EXPECT_EQ(Create(),
              StatusAndLines(5,
                             "Init: GetTicksPerTimebaseFrame returned -100\n"
                             "Create: AsyncModule::Init() returned -100\n"
                             "CreateAsyncImporter: Failed to create an AsyncImportModule\n"));
}

TEST_F(AsyncSuiteFaultLines, Memory) {
    const std::vector<kvx_test::FaultRow> rows = {
        {"the object", SystemCall::kNewNothrow, 1, ENOMEM, 5,
         "Create: failed to create a new AsyncImportModule\n"
         "CreateAsyncImporter: Failed to create an AsyncImportModule\n"}};
    ExpectRows(CreateAsyncImporter(), rows);
    ExpectARowForEveryCall(CreateAsyncImporter(), rows);
}

// With the last object the buffers of requests go; where their lock fails, with the process.
TEST_F(AsyncSuiteFaultLines, Closing) {
    const kvx_test::HostCall close = {[this] { ASSERT_EQ(source.Open(), 0); },
                                      [this] { return source.Close(); }};
    const std::vector<kvx_test::FaultRow> rows = {{"the buffers' lock", SystemCall::kMutexLock, 1,
                                                   35, 0,
                                                   "Lock: pthread_mutex_lock returned 35\n"}};
    ExpectRows(close, rows);
    ExpectARowForEveryCall(close, rows);
}

// Frames, in processes of their own.
class FrameSuiteFaultLines : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(KVX::ReadController::sInstance, nullptr) << "threads are not copied by a fork";
    }

    std::string Told(PrPixelFormat format,
                     const std::function<long(ModuleStage&, FramePlayer&)>& call) {
        return kvx_test::InChild([&] {
            const LogCapture log;
            ModuleStage stage(movies);
            FramePlayer player(stage, movies.picture, format);
            player.StartPools();
            const long status = call(stage, player);
            kvx_test::AwaitRest();
            const std::string said = StatusAndLines(status, log.Text());
            return said + (player.Has(0) ? "delivered\n" : "not delivered\n");
        });
    }

    std::string RequestAsFails(const std::string& function,
                               PrPixelFormat format = PrPixelFormat_BGRA_4444_8u) {
        return Told(format, [&](ModuleStage& stage, FramePlayer& player) {
            stage.buffers.faults.FailAt(function, 1, kError);
            stage.cache.faults.FailAt(function, 1, kError);
            return player.Request(0);
        });
    }

    const StageMovies movies;
};

const std::string kIssueFailed = "InitiateAsyncRead: ImportFrame::Issue returned -100\n";

TEST_F(FrameSuiteFaultLines, CreatePPix) {
    EXPECT_EQ(RequestAsFails("CreatePPix"),
              StatusAndLines(kError,
                             "Issue: CreatePPix returned -100 for format "
                             "PrPixelFormat_BGRA_4444_8u at 64x32\n" +
                                 kIssueFailed) +
                  "not delivered\n");
}

TEST_F(FrameSuiteFaultLines, CreateCustomPPix) {
    EXPECT_EQ(RequestAsFails("CreateCustomPPix", 0x50434B5F),
              StatusAndLines(kError,
                             "Issue: CreatePPix returned -100 for format "
                             "kKVXCustomPixelFormat at 64x32\n" +
                                 kIssueFailed) +
                  "not delivered\n");
}

TEST_F(FrameSuiteFaultLines, GetPixels) {
    for (const uint32_t format : {0x61726762U, 0x50434B5FU}) {
        EXPECT_EQ(RequestAsFails("GetPixels", static_cast<PrPixelFormat>(format)),
                  StatusAndLines(kError, "Issue: GetPixels returned -100\n" + kIssueFailed) +
                      "not delivered\n");
    }
}

TEST_F(FrameSuiteFaultLines, GetRowBytes) {
    EXPECT_EQ(RequestAsFails("GetRowBytes"),
              StatusAndLines(kError, "Issue: GetRowBytes returned -100\n" + kIssueFailed) +
                  "not delivered\n");
}

// In place and by the conversion.
TEST_F(FrameSuiteFaultLines, AddFrameToCache) {
    for (const uint32_t format : {0x79767975U, 0x61726762U, 0x50434B5FU}) {
        EXPECT_EQ(RequestAsFails("AddFrameToCache", static_cast<PrPixelFormat>(format)),
                  StatusAndLines(
                      0, "ConvertCompleted: AddFrameToCache returned -100 (0xffffffffffffff9c)\n") +
                      "not delivered\n");
    }
}

// Whatever a host says before a read, the frame is not there.
TEST_F(FrameSuiteFaultLines, GetFrameFromCacheBeforeTheRead) {
    EXPECT_EQ(RequestAsFails("GetFrameFromCache"), StatusAndLines(0, "") + "delivered\n");
}

TEST_F(FrameSuiteFaultLines, GetFrameFromCache) {
    EXPECT_EQ(Told(PrPixelFormat_BGRA_4444_8u,
                   [](ModuleStage& stage, FramePlayer& player) {
                       player.Request(0);
                       kvx_test::AwaitRest();
                       stage.cache.faults.FailAt("GetFrameFromCache", 1, kError);
                       return player.Get(0);
                   }),
              StatusAndLines(kError,
                             "GetFrame: GetFrameFromCache returned -100 (0xffffffffffffff9c) for "
                             "frameIndex 0\n") +
                  "delivered\n");
}

TEST_F(FrameSuiteFaultLines, FrameThatIsNotThereYet) {
    EXPECT_EQ(Told(PrPixelFormat_BGRA_4444_8u,
                   [](ModuleStage&, FramePlayer& player) { return player.Get(0); }),
              StatusAndLines(3, "") + "not delivered\n");
}

}  // namespace
