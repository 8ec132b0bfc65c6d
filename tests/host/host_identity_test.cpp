#include "host/host_identity.h"

#include "host/host_test.h"

namespace {

using KVX::AppIsPremiere;
using KVX::gAppIsPremiere;
using KVX::gPremiereVersionInfo;
using kvx_test::LogCapture;

constexpr char kAppInfo[] = "MediaCore App Info Suite";

class HostIdentity : public kvx_test::HostTest {
  protected:
    int Asked() const { return host.AcquisitionCount(kAppInfo, 1); }
    int Released() const { return host.ReleaseCount(kAppInfo, 1); }
};

TEST_F(HostIdentity, FirstCallWithoutParametersIsLogged) {
    LogCapture log;
    EXPECT_TRUE(AppIsPremiere(nullptr));
    EXPECT_EQ(gAppIsPremiere, -1);
    EXPECT_EQ(log.Text(),
              "AppIsPremiere: AppIsPremiere requires a valid pointer on first invocation\n");
}

TEST_F(HostIdentity, AsksOnceAndKeepsTheAnswer) {
    LogCapture log;
    host.settings.version = {7, 2, 1, 33};
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, 1);
    EXPECT_EQ(gPremiereVersionInfo.major, 7u);
    EXPECT_EQ(gPremiereVersionInfo.minor, 2u);
    EXPECT_EQ(gPremiereVersionInfo.patch, 1u);
    EXPECT_EQ(gPremiereVersionInfo.build, 33u);
    EXPECT_EQ(Asked(), 1);
    EXPECT_EQ(Released(), 1);

    host.settings.application = 0;
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_TRUE(AppIsPremiere(nullptr));
    EXPECT_EQ(Asked(), 1);
    EXPECT_EQ(log.Raw(), "");
}

TEST_F(HostIdentity, OtherHostIsRefusedForGood) {
    for (const char* other : {"ppro", "PPrO", "AEft", "orPP"}) {
        ForgetHost();
        const int before = Asked();
        const auto* code = reinterpret_cast<const unsigned char*>(other);
        host.settings.application = static_cast<uint32_t>(code[0]) << 24 |
                                    static_cast<uint32_t>(code[1]) << 16 |
                                    static_cast<uint32_t>(code[2]) << 8 | code[3];
        LogCapture log;
        EXPECT_FALSE(AppIsPremiere(host.StdParms())) << other;
        EXPECT_EQ(gAppIsPremiere, 0);
        host.settings.application = 0x5050726F;
        EXPECT_FALSE(AppIsPremiere(host.StdParms()));
        EXPECT_FALSE(AppIsPremiere(nullptr));
        EXPECT_EQ(Asked(), before + 1);
        EXPECT_EQ(Released(), Asked());
        EXPECT_EQ(log.Raw(), "");
    }
}

TEST_F(HostIdentity, FailedAcquisitionAsksAgain) {
    LogCapture log;
    host.FailAcquisition(kAppInfo, 4);
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, -1);
    EXPECT_EQ(log.Text(), "AppIsPremiere: AcquireSuite() failed\n");
    EXPECT_EQ(Released(), 0);

    host.FailAcquisition(kAppInfo, 0);
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, 1);
}

TEST_F(HostIdentity, SuiteThatIsNotHandedOutAsksAgain) {
    host.AddSuite(kAppInfo, 1, nullptr);
    LogCapture log;
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, -1);
    EXPECT_EQ(log.Text(), "AppIsPremiere: AcquireSuite() failed\n");
}

TEST_F(HostIdentity, HostWithoutSuitesAsksAgain) {
    LogCapture log;
    host.settings.hasSuites = false;
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, -1);
    EXPECT_EQ(log.Text(), "AppIsPremiere: AcquireSuite() failed\n");
}

TEST_F(HostIdentity, FailedVersionSkipsTheRestAndAsksAgain) {
    LogCapture log;
    host.settings.versionStatus = -1;
    host.settings.application = 0;
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, -1);
    EXPECT_EQ(log.Text(), "AppIsPremiere: PrSDKAppInfoSuite::GetAppInfo() failed\n");
    EXPECT_EQ(Released(), 1);

    host.settings.versionStatus = 0;
    EXPECT_FALSE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, 0);
    EXPECT_EQ(Released(), 2);
}

TEST_F(HostIdentity, FailedApplicationCodeAsksAgain) {
    LogCapture log;
    host.settings.applicationStatus = INT32_MIN;
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, -1);
    EXPECT_EQ(log.Text(), "AppIsPremiere: PrSDKAppInfoSuite::GetAppInfo() failed\n");
    EXPECT_EQ(Released(), 1);
}

TEST_F(HostIdentity, PositiveResultIsNoFailure) {
    LogCapture log;
    host.settings.versionStatus = 1;
    host.settings.applicationStatus = 1;
    EXPECT_TRUE(AppIsPremiere(host.StdParms()));
    EXPECT_EQ(gAppIsPremiere, 1);
    EXPECT_EQ(log.Raw(), "");
}

}  // namespace
