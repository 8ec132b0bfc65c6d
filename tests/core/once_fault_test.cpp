#include <gtest/gtest.h>

#include "core/once.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

int gCalls = 0;

TEST(OnceFault, FailedCallIsPassedOn) {
    KVX::Core::Once once([] { ++gCalls; });
    kvx_test::LogCapture log;
    {
        const kvx_test::Fault fault(kvx_test::SystemCall::kOnce, 22);
        EXPECT_EQ(once.Call(), 22);
    }
    EXPECT_EQ(log.Text(), "Call: pthread_once returned 22\n");
    EXPECT_EQ(gCalls, 0);
    EXPECT_EQ(once.Call(), 0);
    EXPECT_EQ(gCalls, 1);
}

}  // namespace
