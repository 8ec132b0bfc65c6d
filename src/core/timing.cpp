#include "core/timing.h"

#include <sys/time.h>

#include "core/assert.h"
#include "core/log.h"

namespace KVX::Util::Timing {

namespace {

constexpr long long kMicrosPerSecond = 1000000;
constexpr long long kNanosPerMicro = 1000;
constexpr long kNanosPerSecond = 1000000000;

}  // namespace

long TimespecForMicrosIntoFuture(long long micros, timespec* out) {
    KVX_ASSERT(micros >= 0);
    timeval now;
    const long status = gettimeofday(&now, nullptr);
    if (Core::Failed(status, "gettimeofday")) {
        return status;
    }
    out->tv_sec = now.tv_sec + micros / kMicrosPerSecond;
    out->tv_nsec = (now.tv_usec + micros % kMicrosPerSecond) * kNanosPerMicro;
    if (out->tv_nsec > kNanosPerSecond) {
        out->tv_sec += 1;
        out->tv_nsec -= kNanosPerSecond;
    }
    return 0;
}

long GetMicros(unsigned long long& out) {
    timeval now;
    const long status = gettimeofday(&now, nullptr);
    if (Core::Failed(status, "gettimeofday")) {
        return status;
    }
    out = static_cast<unsigned long long>(now.tv_sec) * kMicrosPerSecond +
          static_cast<unsigned long long>(now.tv_usec);
    return 0;
}

long GetRelativeMicros(unsigned long long& out) {
    const long status = GetMicros(out);
    Core::Failed(status, "GetMicros");
    return status;
}

}  // namespace KVX::Util::Timing
