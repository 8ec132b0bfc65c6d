// The first file of a process, in processes of their own: what is set up once, and who the host is.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

#include "faults/module_stage.h"
#include "host/entry.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::Importer;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;

class FirstFileFaultLines : public testing::Test {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    // Ends the process: 0 if the file opens and the log reads like that.
    [[noreturn]] static void OpenAndExit(const std::function<void(ModuleStage&)>& prepare,
                                         const std::string& lines) {
        std::string said;
        long status = -1;
        {
            const StageMovies movies;
            ModuleStage stage(movies);
            prepare(stage);
            const Importer importer(stage.host, {&xImportEntry, &AsyncImportEntry});
            const LogCapture log;
            Clip clip(importer, movies.picture);
            status = clip.Open();
            said = log.Text();
        }
        std::exit(status == 0 && said == lines ? 0 : 1);
    }
};

using FirstFileFaultLinesDeathTest = FirstFileFaultLines;

// A lock that is not made shows when it is locked, and not on every system.
TEST_F(FirstFileFaultLinesDeathTest, LockOfTheRegistry) {
    EXPECT_EXIT(
        {
            const Fault fault(kvx_test::SystemCall::kMutexInit, 12);
            OpenAndExit([](ModuleStage&) {},
                        "Init: pthread_mutex_init returned 12\n"
                        "StaticInit: Lock::Init returned 12\n");
        },
        testing::ExitedWithCode(0), "");
}

// Who the host is stays open, and is taken for yes: the file is asked for it once more.
TEST_F(FirstFileFaultLinesDeathTest, SuiteThatTellsTheHost) {
    EXPECT_EXIT(
        OpenAndExit(
            [](ModuleStage& stage) { stage.host.FailAcquisition("MediaCore App Info Suite", -7); },
            "AppIsPremiere: AcquireSuite() failed\n"
            "AppIsPremiere: AppIsPremiere requires a valid pointer on first invocation\n"),
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstFileFaultLinesDeathTest, VersionOfTheHost) {
    EXPECT_EXIT(
        OpenAndExit([](ModuleStage& stage) { stage.host.settings.versionStatus = -7; },
                    "AppIsPremiere: PrSDKAppInfoSuite::GetAppInfo() failed\n"
                    "AppIsPremiere: AppIsPremiere requires a valid pointer on first invocation\n"),
        testing::ExitedWithCode(0), "");
}

TEST_F(FirstFileFaultLinesDeathTest, NameOfTheHost) {
    EXPECT_EXIT(
        OpenAndExit([](ModuleStage& stage) { stage.host.settings.applicationStatus = -7; },
                    "AppIsPremiere: PrSDKAppInfoSuite::GetAppInfo() failed\n"
                    "AppIsPremiere: AppIsPremiere requires a valid pointer on first invocation\n"),
        testing::ExitedWithCode(0), "");
}

}  // namespace
