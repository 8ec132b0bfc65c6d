// Statuses are errno values of the target platform, and the same numbers on every platform, so that
// hosts get the same results wherever the code runs. 0 is success.
#pragma once

namespace KVX::Core {

constexpr long kStatusNotFound = 2;       // ENOENT
constexpr long kStatusNoMemory = 12;      // ENOMEM
constexpr long kStatusInvalid = 22;       // EINVAL
constexpr long kStatusTooBig = 27;        // EFBIG
constexpr long kStatusNoSpace = 28;       // ENOSPC
constexpr long kStatusNotSupported = 45;  // ENOTSUP
constexpr long kStatusCancelled = 89;     // ECANCELED

// The status of a call that is to hand something out: a host that reports success and hands out
// nothing has failed.
inline long StatusOfHandOut(long status, const void* handedOut) {
    return status == 0 && handedOut == nullptr ? kStatusInvalid : status;
}

}  // namespace KVX::Core
