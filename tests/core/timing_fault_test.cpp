// Time arithmetic on a clock that stands still, and a clock that fails.
#include <gtest/gtest.h>

#include "core/timing.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using namespace KVX::Util;
using kvx_test::Fault;
using kvx_test::FixedClock;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

TEST(TimingOnAFixedClock, EndTimes) {
    const struct {
        long seconds, micros;
        long long future;
        long endSeconds, endNanos;
    } rows[] = {
        {100, 0, 0, 100, 0},
        {100, 5, 7, 100, 12000},
        {100, 0, 999999, 100, 999999000},
        {100, 0, 1000000, 101, 0},
        {100, 250000, 2500000, 102, 750000000},
        {100, 999999, 999999, 101, 999998000},
        // A whole second exactly is not carried; one microsecond more is.
        {100, 500000, 500000, 100, 1000000000},
        {100, 999999, 1, 100, 1000000000},
        {100, 500000, 500001, 101, 1000},
        {100, 500000, 3500000, 103, 1000000000},
        {100, 0, 9223372036854775807LL, 100 + 9223372036854L, 775807000},
    };
    for (const auto& row : rows) {
        const FixedClock clock(row.seconds, row.micros);
        timespec end = {};
        EXPECT_EQ(Timing::TimespecForMicrosIntoFuture(row.future, &end), 0);
        EXPECT_EQ(end.tv_sec, row.endSeconds) << row.micros << " + " << row.future;
        EXPECT_EQ(end.tv_nsec, row.endNanos) << row.micros << " + " << row.future;
    }
}

TEST(TimingOnAFixedClock, Micros) {
    const FixedClock clock(1700000000, 123456);
    unsigned long long micros = 0;
    EXPECT_EQ(Timing::GetMicros(micros), 0);
    EXPECT_EQ(micros, 1700000000123456ULL);
    micros = 0;
    EXPECT_EQ(Timing::GetRelativeMicros(micros), 0);
    EXPECT_EQ(micros, 1700000000123456ULL);
}

TEST(TimingFault, FailedClockIsPassedOnAndNothingStored) {
    LogCapture log;
    timespec end = {1, 2};
    unsigned long long micros = 3;
    long status = 0;
    {
        const Fault fault(SystemCall::kGettimeofday, 22);
        status = Timing::TimespecForMicrosIntoFuture(10, &end);
    }
    EXPECT_EQ(status, -1);
    {
        const Fault fault(SystemCall::kGettimeofday, 22);
        status = Timing::GetMicros(micros);
    }
    EXPECT_EQ(status, -1);
    {
        const Fault fault(SystemCall::kGettimeofday, 22);
        status = Timing::GetRelativeMicros(micros);
    }
    EXPECT_EQ(status, -1);
    EXPECT_EQ(end.tv_sec, 1);
    EXPECT_EQ(end.tv_nsec, 2);
    EXPECT_EQ(micros, 3u);
    EXPECT_EQ(log.Text(),
              "TimespecForMicrosIntoFuture: gettimeofday returned -1\n"
              "GetMicros: gettimeofday returned -1\n"
              "GetMicros: gettimeofday returned -1\n"
              "GetRelativeMicros: GetMicros returned -1\n");
}

}  // namespace
