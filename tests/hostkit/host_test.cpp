#include "hostkit/host.h"

#include <gtest/gtest.h>

namespace {

using kvx_hostkit::Host;

int64_t Ticks(const Host&, int32_t timebase, int32_t sampleSize, int32_t& status) {
    const void* suite = nullptr;
    EXPECT_EQ(Host::BasicSuite()->AcquireSuite("Premiere Legacy Suite", 1, &suite), 0);
    int64_t ticks = -1;
    status = static_cast<const PrSDKLegacySuite*>(suite)->GetTicksPerTimebaseFrame(
        timebase, sampleSize, &ticks);
    return ticks;
}

TEST(StandInHost, ParametersLeadToTheSuites) {
    Host host;
    EXPECT_EQ(Host::Current(), &host);
    imStdParms* parms = host.StdParms();
    EXPECT_EQ(parms->piSuitesPtr->utilFuncs->getSPBasicSuite(), Host::BasicSuite());
    host.settings.hasSuites = false;
    EXPECT_EQ(parms->piSuitesPtr->utilFuncs->getSPBasicSuite(), nullptr);
}

TEST(StandInHost, TicksPerFrame) {
    const Host host;
    int32_t status = -1;
    EXPECT_EQ(Ticks(host, 25, 1, status), 10160640000);
    EXPECT_EQ(Ticks(host, 30000, 1001, status), 8475667200);
    EXPECT_EQ(Ticks(host, 24000, 1001, status), 10594584000);
    EXPECT_EQ(Ticks(host, 48000, 1, status), 5292000);
    EXPECT_EQ(Ticks(host, 1000000000, 1000000000, status), 254016000000);
    EXPECT_EQ(status, 0);
    Ticks(host, 0, 1, status);
    EXPECT_NE(status, 0);
    Ticks(host, 1, INT32_MAX, status);
    EXPECT_NE(status, 0);
}

TEST(StandInHost, SuitesAreCountedByNameAndVersion) {
    Host host;
    const int table = 0;
    host.AddSuite("Test Suite", 2, &table);
    const void* suite = nullptr;
    EXPECT_NE(host.AcquireSuite("Test Suite", 1, &suite), 0);
    EXPECT_NE(host.AcquireSuite("Another Suite", 2, &suite), 0);
    EXPECT_EQ(host.AcquireSuite("Test Suite", 2, &suite), 0);
    EXPECT_EQ(suite, &table);
    EXPECT_EQ(host.AcquireSuite("Test Suite", 2, &suite), 0);
    EXPECT_EQ(host.AcquisitionCount("Test Suite", 2), 2);
    EXPECT_EQ(host.AcquisitionCount("Test Suite", 1), 0);
    EXPECT_EQ(host.ReleaseSuite("Test Suite", 2), 0);
    EXPECT_EQ(host.ReleaseSuite("Test Suite", 2), 0);
    EXPECT_NE(host.ReleaseSuite("Test Suite", 2), 0);
    EXPECT_EQ(host.ReleaseCount("Test Suite", 2), 2);

    host.FailAcquisition("Test Suite", 77);
    EXPECT_EQ(host.AcquireSuite("Test Suite", 2, &suite), 77);
    EXPECT_EQ(host.AcquisitionCount("Test Suite", 2), 2);
    host.FailAcquisition("Test Suite", 0);
    EXPECT_EQ(host.AcquireSuite("Test Suite", 2, &suite), 0);
}

TEST(StandInHost, FunctionsOutliveTheHost) {
    const void* suite = nullptr;
    { const Host host; }
    EXPECT_EQ(Host::Current(), nullptr);
    EXPECT_NE(Host::BasicSuite()->AcquireSuite("Premiere Legacy Suite", 1, &suite), 0);
    const Host next;
    EXPECT_EQ(Host::BasicSuite()->AcquireSuite("Premiere Legacy Suite", 1, &suite), 0);
}

TEST(StandInHost, ImporterIDsAreNotGivenTwice) {
    const int32_t first = Host::NextImporterID();
    EXPECT_NE(Host::NextImporterID(), first);
}

}  // namespace
