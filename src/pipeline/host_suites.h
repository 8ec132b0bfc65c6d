// The host's suites, and what is asked of them in more than one place.
#pragma once

#include <cstdint>

#include "core/log.h"
#include "core/status.h"
#include "premiere/suites.h"

namespace KVX {

namespace QT {
class VideoTrack;
}

// Returns the host's status, and 22 for a host that gave no table of suites or hands out nothing.
template <typename Suite>
long AcquireSuite(const SPBasicSuite* basicSuite, const char* name, int32_t version,
                  Suite*& suite) {
    const void* found = nullptr;
    long status = basicSuite == nullptr ? Core::kStatusInvalid
                                        : basicSuite->AcquireSuite(name, version, &found);
    status = Core::StatusOfHandOut(status, found);
    if (status == 0) {
        suite = static_cast<Suite*>(const_cast<void*>(found));
    }
    return status;
}

// Asks the host for its ticks in a frame of the track. A failure leaves a line in the log, at the
// caller's place. The suite is not given back.
long GetTicksPerFrame(const SPBasicSuite* basicSuite, const QT::VideoTrack& track, int64_t& ticks,
                      Core::LogSite caller = Core::LogSite::Here());

}  // namespace KVX
