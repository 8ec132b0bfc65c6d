#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "hostkit/record_block.h"
#include "premiere/import_records.h"
#include "premiere/suites.h"

namespace kvx_hostkit {

// How the host presents itself. May be changed between calls of the importer.
struct HostSettings {
    uint32_t application = 0x5050726F;  // four characters, the first in the highest byte
    PrSDKAppInfoSuite::VersionInfo version = {7, 0, 0, 0};
    int64_t ticksPerSecond = 254016000000;

    // Failures on order; 0 is none.
    bool hasSuites = true;          // false: the host hands out no table of suites
    int32_t versionStatus = 0;      // GetAppInfo, asked for the version
    int32_t applicationStatus = 0;  // GetAppInfo, asked for the application
    int32_t ticksStatus = 0;        // GetTicksPerTimebaseFrame
};

// The application's side of the importer interface: its parameter record and its suites. The
// application info suite and the legacy suite are there from the start; others are added.
//
// The functions in a suite have no argument that would tell whose they are, so there is one Host at
// a time, and an importer may hold on to its suites: destroy a Host when no call and no frame is
// under way. The functions that an importer kept from an earlier Host then work on the next one.
// Safe to use from several threads, but for the settings.
class Host {
  public:
    explicit Host(const HostSettings& hostSettings = {});
    ~Host();

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // The one Host there is, or null.
    static Host* Current();

    imStdParms* StdParms() { return mStdParms.Get(); }

    // The host's table of suites, without regard to the settings.
    static SPBasicSuite* BasicSuite();

    // An importer ID that no file had before in this process.
    static int32_t NextImporterID();

    // Offers `suite`, which must last as long as the process, under a name and version.
    void AddSuite(const std::string& name, int32_t version, const void* suite);

    // Makes every acquisition of a suite return `status`; 0 ends that.
    void FailAcquisition(const std::string& name, int32_t status);

    int AcquisitionCount(const std::string& name, int32_t version) const;
    int ReleaseCount(const std::string& name, int32_t version) const;

    // The work behind SPBasicSuite. Suites that are not offered return a failure.
    int32_t AcquireSuite(const char* name, int32_t version, const void** suite);
    int32_t ReleaseSuite(const char* name, int32_t version);

    HostSettings settings;

  private:
    struct Suite {
        const void* table = nullptr;
        int acquisitions = 0;
        int releases = 0;
    };
    using SuiteKey = std::pair<std::string, int32_t>;

    RecordBlock<PlugUtilFuncs> mUtilFuncs;
    RecordBlock<piSuites> mSuites;
    RecordBlock<imStdParms> mStdParms;
    mutable std::mutex mLock;
    std::map<SuiteKey, Suite> mRegistry;
    std::map<std::string, int32_t> mFailures;
};

}  // namespace kvx_hostkit
