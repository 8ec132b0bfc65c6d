// Tables of what one call of the host is answered, and what the log says, when the system fails
// under it.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "support/fault_injection.h"

namespace kvx_test {

// The `nth` call of its kind fails with `error` (see Fault).
struct FaultRow {
    const char* place;
    SystemCall call;
    int nth;
    int error;
    long status;
    std::string lines;  // see Spelled
};

// The host's call, with what leads to it and what puts things back, in which nothing fails.
struct HostCall {
    std::function<void()> before = [] {};
    std::function<long()> make;
    std::function<void()> after = [] {};
};

// Makes the call once for each row.
void ExpectRows(const HostCall& hostCall, const std::vector<FaultRow>& rows);

// Makes the call without a fault and expects a row for each call of the system in it, but for the
// kinds that are `left` out.
void ExpectARowForEveryCall(const HostCall& hostCall, const std::vector<FaultRow>& rows,
                            const std::set<SystemCall>& left = {});

// The status and the lines of a call in which the `nth` call of a kind fails, as text, "" if there
// are not so many.
std::string StatusAndLines(const HostCall& hostCall, SystemCall call, int error, int nth);

// The same for what a row expects.
std::string StatusAndLines(long status, const std::string& lines);

}  // namespace kvx_test
