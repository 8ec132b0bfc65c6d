#include "host/host_identity.h"

#include "core/four_char_code.h"
#include "core/log.h"
#include "host/host_values.h"
#include "pipeline/host_suites.h"

namespace KVX {

int32_t gAppIsPremiere = -1;
PrSDKAppInfoSuite::VersionInfo gPremiereVersionInfo = {};

namespace {

// The version is written before the answer and read after it, on any thread.
int32_t KnownAnswer() {
    return __atomic_load_n(&gAppIsPremiere, __ATOMIC_ACQUIRE);
}

void PublishAnswer(int32_t answer) {
    __atomic_store_n(&gAppIsPremiere, answer, __ATOMIC_RELEASE);
}

}  // namespace

bool AppIsPremiere(imStdParms* stdParms) {
    const int32_t known = KnownAnswer();
    if (known != -1) {
        return known != 0;
    }
    if (stdParms == nullptr) {
        KVX_LOG("AppIsPremiere requires a valid pointer on first invocation\n");
        return true;
    }

    const SPBasicSuite* basicSuite = GetBasicSuite(stdParms);
    const PrSDKAppInfoSuite* appInfo = nullptr;
    if (AcquireSuite(basicSuite, kPrSDKAppInfoSuite, kPrSDKAppInfoSuiteVersion, appInfo) != 0) {
        KVX_LOG("AcquireSuite() failed\n");
        return true;
    }
    uint32_t application = 0;
    if (appInfo->GetAppInfo(PrSDKAppInfoSuite::kAppInfo_Version, &gPremiereVersionInfo) < 0 ||
        appInfo->GetAppInfo(PrSDKAppInfoSuite::kAppInfo_AppFourCC, &application) < 0) {
        KVX_LOG("PrSDKAppInfoSuite::GetAppInfo() failed\n");
    } else {
        PublishAnswer(application == Core::FourCharCode("PPro") ? 1 : 0);
    }
    basicSuite->ReleaseSuite(kPrSDKAppInfoSuite, kPrSDKAppInfoSuiteVersion);
    return KnownAnswer() != 0;
}

}  // namespace KVX
