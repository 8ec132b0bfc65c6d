#include "pipeline/host_suites.h"

#include "core/assert.h"
#include "quicktime/video_track.h"

namespace KVX {

long GetTicksPerFrame(const SPBasicSuite* basicSuite, const QT::VideoTrack& track, int64_t& ticks,
                      Core::LogSite caller) {
    PrSDKLegacySuite* suite = nullptr;
    long status = AcquireSuite(basicSuite, kPrSDKLegacySuite, kPrSDKLegacySuiteVersion, suite);
    if (Core::Failed(status, "AcquireSuite", caller)) {
        return status;
    }
    KVX_ASSERT(suite != nullptr);
    status = suite->GetTicksPerTimebaseFrame(static_cast<int32_t>(track.mMediaTimeScale),
                                             static_cast<int32_t>(track.mSampleDuration), &ticks);
    Core::Failed(status, "GetTicksPerTimebaseFrame", caller);
    return status;
}

}  // namespace KVX
