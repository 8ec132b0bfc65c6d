#include "hostkit/host.h"

#include <atomic>

#include "hostkit/published.h"

namespace kvx_hostkit {

namespace {

// Fills the host's records beside the fields that an importer may use. Taken for a pointer, it
// leads nowhere.
constexpr uint8_t kFiller = 0xEE;

constexpr int32_t kHostGone = -1;
constexpr int32_t kSuiteNotFound = -2;
constexpr int32_t kBadParameter = -3;

int32_t AcquireSuite(const char* name, int32_t version, const void** suite) {
    const Published<Host>::Call host;
    return !host ? kHostGone : host->AcquireSuite(name, version, suite);
}

int32_t ReleaseSuite(const char* name, int32_t version) {
    const Published<Host>::Call host;
    return !host ? kHostGone : host->ReleaseSuite(name, version);
}

SPBasicSuite sBasicSuite = {&AcquireSuite, &ReleaseSuite};

SPBasicSuite* GetBasicSuite() {
    const Published<Host>::Call host;
    return host && host->settings.hasSuites ? &sBasicSuite : nullptr;
}

template <typename Value>
int32_t GiveInfo(int32_t status, const Value& value, void* result) {
    if (status >= 0) {
        *static_cast<Value*>(result) = value;
    }
    return status;
}

int32_t GetAppInfo(int32_t selector, void* result) {
    const Published<Host>::Call host;
    if (!host) {
        return kHostGone;
    }
    const HostSettings& settings = host->settings;
    switch (selector) {
        case PrSDKAppInfoSuite::kAppInfo_AppFourCC:
            return GiveInfo(settings.applicationStatus, settings.application, result);
        case PrSDKAppInfoSuite::kAppInfo_Version:
            return GiveInfo(settings.versionStatus, settings.version, result);
        default:
            return kBadParameter;
    }
}

constexpr PrSDKAppInfoSuite kAppInfoSuite = {&GetAppInfo};

int32_t GetTicksPerTimebaseFrame(int32_t timebase, int32_t sampleSize, int64_t* ticks) {
    const Published<Host>::Call host;
    if (!host) {
        return kHostGone;
    }
    if (host->settings.ticksStatus != 0) {
        return host->settings.ticksStatus;
    }
    // The whole ticks of a unit and the rest apart: the product of all three passes 64 bits.
    int64_t whole = 0;
    if (timebase == 0 ||
        __builtin_mul_overflow(host->settings.ticksPerSecond / timebase, sampleSize, &whole)) {
        return kBadParameter;
    }
    const int64_t rest = host->settings.ticksPerSecond % timebase * sampleSize / timebase;
    return __builtin_add_overflow(whole, rest, ticks) ? kBadParameter : 0;
}

constexpr PrSDKLegacySuite kLegacySuite = {&GetTicksPerTimebaseFrame};

}  // namespace

Host::Host(const HostSettings& hostSettings)
    : settings(hostSettings), mUtilFuncs(kFiller), mSuites(kFiller), mStdParms(kFiller) {
    mUtilFuncs->getSPBasicSuite = &GetBasicSuite;
    mSuites->utilFuncs = mUtilFuncs.Get();
    mStdParms->piSuitesPtr = mSuites.Get();
    AddSuite(kPrSDKAppInfoSuite, kPrSDKAppInfoSuiteVersion, &kAppInfoSuite);
    AddSuite(kPrSDKLegacySuite, kPrSDKLegacySuiteVersion, &kLegacySuite);
    Published<Host>::Set(this, "Host");
}

Host::~Host() {
    Published<Host>::Withdraw();
}

Host* Host::Current() {
    return Published<Host>::Get();
}

SPBasicSuite* Host::BasicSuite() {
    return &sBasicSuite;
}

int32_t Host::NextImporterID() {
    static std::atomic<int32_t> sNext{1};
    return sNext++;
}

void Host::AddSuite(const std::string& name, int32_t version, const void* suite) {
    const std::lock_guard<std::mutex> lock(mLock);
    mRegistry[{name, version}].table = suite;
}

void Host::FailAcquisition(const std::string& name, int32_t status) {
    const std::lock_guard<std::mutex> lock(mLock);
    mFailures[name] = status;
}

int Host::AcquisitionCount(const std::string& name, int32_t version) const {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mRegistry.find({name, version});
    return found == mRegistry.end() ? 0 : found->second.acquisitions;
}

int Host::ReleaseCount(const std::string& name, int32_t version) const {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mRegistry.find({name, version});
    return found == mRegistry.end() ? 0 : found->second.releases;
}

int32_t Host::AcquireSuite(const char* name, int32_t version, const void** suite) {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto failure = mFailures.find(name);
    if (failure != mFailures.end() && failure->second != 0) {
        return failure->second;
    }
    const auto found = mRegistry.find({name, version});
    if (found == mRegistry.end()) {
        return kSuiteNotFound;
    }
    ++found->second.acquisitions;
    *suite = found->second.table;
    return 0;
}

int32_t Host::ReleaseSuite(const char* name, int32_t version) {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mRegistry.find({name, version});
    if (found == mRegistry.end() || found->second.releases == found->second.acquisitions) {
        return kSuiteNotFound;
    }
    ++found->second.releases;
    return 0;
}

}  // namespace kvx_hostkit
