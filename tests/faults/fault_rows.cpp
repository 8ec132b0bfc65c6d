#include "faults/fault_rows.h"

#include <gtest/gtest.h>

#include <map>

#include "faults/spelled_log.h"
#include "support/log_capture.h"

namespace kvx_test {

namespace {

std::vector<long> CallCounts() {
    std::vector<long> counts;
    for (int call = 0; call < static_cast<int>(SystemCall::kCount); ++call) {
        counts.push_back(CallCount(static_cast<SystemCall>(call)));
    }
    return counts;
}

}  // namespace

std::string StatusAndLines(long status, const std::string& lines) {
    return "status " + std::to_string(status) + "\n" + lines;
}

std::string StatusAndLines(const HostCall& hostCall, SystemCall call, int error, int nth) {
    const LogCapture log;
    hostCall.before();
    const size_t seen = log.Text().size();
    long status = 0;
    int hits = 0;
    {
        const Fault fault(call, error, nth);
        status = hostCall.make();
        hits = fault.Hits();
    }
    const std::string lines = Spelled(log.Text().substr(seen));
    hostCall.after();
    return hits == 0 ? "" : StatusAndLines(status, lines);
}

void ExpectRows(const HostCall& hostCall, const std::vector<FaultRow>& rows) {
    for (const FaultRow& row : rows) {
        EXPECT_EQ(StatusAndLines(hostCall, row.call, row.error, row.nth),
                  StatusAndLines(row.status, row.lines))
            << row.place;
    }
}

void ExpectARowForEveryCall(const HostCall& hostCall, const std::vector<FaultRow>& rows,
                            const std::set<SystemCall>& left) {
    std::map<int, std::set<int>> expected;
    for (const FaultRow& row : rows) {
        if (left.count(row.call) == 0) {
            expected[static_cast<int>(row.call)].insert(row.nth);
        }
    }
    hostCall.before();
    const std::vector<long> before = CallCounts();
    hostCall.make();
    const std::vector<long> after = CallCounts();
    hostCall.after();
    std::map<int, std::set<int>> made;
    for (size_t call = 0; call < after.size(); ++call) {
        // A mutex that stays locked would stop the next call.
        if (left.count(static_cast<SystemCall>(call)) == 0 &&
            static_cast<SystemCall>(call) != SystemCall::kMutexUnlock) {
            for (int nth = 1; nth <= after[call] - before[call]; ++nth) {
                made[static_cast<int>(call)].insert(nth);
            }
        }
    }
    EXPECT_EQ(expected, made);
}

}  // namespace kvx_test
