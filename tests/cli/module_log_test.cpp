#include "cli/movie/module_log.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using kvx_cli::ModuleLog;

TEST(CliModuleLog, HoldsAllThatIsLoggedWhileItLives) {
    ModuleLog log;
    EXPECT_EQ(log.Text(), "");
    std::fputs("one\n", stderr);
    std::fputs("two", stderr);
    EXPECT_EQ(log.Text(), "one\ntwo");
    EXPECT_EQ(log.Text(), "one\ntwo");
}

TEST(CliModuleLog, TellsNewLinesOnceAndWhole) {
    ModuleLog log;
    EXPECT_EQ(log.NewLines(), "");
    std::fputs("one\ntw", stderr);
    EXPECT_EQ(log.NewLines(), "one\n");
    EXPECT_EQ(log.NewLines(), "");
    std::fputs("o\n", stderr);
    EXPECT_EQ(log.NewLines(), "two\n");
    EXPECT_EQ(log.Text(), "one\ntwo\n");
}

TEST(CliModuleLog, GivesStandardErrorBack) {
    testing::internal::CaptureStderr();
    {
        ModuleLog log;
        std::fputs("inside\n", stderr);
    }
    std::fputs("outside\n", stderr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "outside\n");
}

}  // namespace
