#include "core/log.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace {

TEST(Log, LineCarriesFunctionLineAndText) {
    kvx_test::LogCapture log;
    const int line = __LINE__ + 1;
    KVX_LOG("callee returned %ld\n", 22L);
    EXPECT_EQ(log.Raw(), "*** TestBody[" + std::to_string(line) + "]: callee returned 22\n");
    EXPECT_EQ(log.Text(), "TestBody: callee returned 22\n");
}

TEST(Log, FailedLogsOnlyFailures) {
    kvx_test::LogCapture log;
    EXPECT_FALSE(KVX::Core::Failed(0, "Lock"));
    EXPECT_EQ(log.Raw(), "");
    EXPECT_TRUE(KVX::Core::Failed(35, "Lock"));
    EXPECT_EQ(log.Text(), "TestBody: Lock returned 35\n");
}

}  // namespace
