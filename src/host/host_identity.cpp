#include "host/host_identity.h"

#include "core/four_char_code.h"
#include "core/log.h"
#include "host/std_parms.h"
#include "pipeline/host_suites.h"

namespace KVX {

int32_t gAppIsPremiere = -1;
PrSDKAppInfoSuite::VersionInfo gPremiereVersionInfo = {};

bool AppIsPremiere(imStdParms* stdParms) {
    if (gAppIsPremiere != -1) {
        return gAppIsPremiere != 0;
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
        gAppIsPremiere = application == Core::FourCharCode("PPro") ? 1 : 0;
    }
    basicSuite->ReleaseSuite(kPrSDKAppInfoSuite, kPrSDKAppInfoSuiteVersion);
    return gAppIsPremiere != 0;
}

}  // namespace KVX
