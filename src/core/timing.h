#pragma once

#include <ctime>

namespace KVX::Util::Timing {

// All times are those of the wall clock. Statuses are those of gettimeofday; a failure leaves a log
// line and the output untouched.

// The absolute time `micros` microseconds from now, as timed waits want it. `micros` must not be
// negative. Nanoseconds may be exactly 1000000000; a second is carried only above that.
long TimespecForMicrosIntoFuture(long long micros, timespec* out);

// Microseconds since the epoch.
long GetMicros(unsigned long long& out);

// Microseconds since an unnamed zero: only differences mean anything.
long GetRelativeMicros(unsigned long long& out);

}  // namespace KVX::Util::Timing
