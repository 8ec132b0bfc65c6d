// Modules and frames whose end shows nowhere but in the memory of the process.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <functional>

#include "pipeline/frame_test.h"
#include "support/fault_injection.h"

namespace {

using KVX::AsyncImportModule;
using kvx_hostkit::Host;
using kvx_test::Fault;
using kvx_test::kPageUYVY;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::SystemCall;

class ObjectsEnd : public kvx_test::FrameTest {
  protected:
    void SetUp() override { OpenMovie(MovieOfPicture(kPageUYVY, 1)); }

    // `make` makes something of `size` bytes that is gone when it returns. An address sanitizer,
    // which has a heap of its own, looks for what is left by itself.
    static void ExpectEnds(size_t size, const std::function<void()>& make) {
        constexpr size_t kRounds = 2000;
        make();
        const size_t before = mallinfo2().uordblks;
        for (size_t round = 0; round < kRounds; ++round) {
            make();
        }
        EXPECT_LT(mallinfo2().uordblks, before + kRounds * size / 2);
    }

    long Initiate(AsyncImportModule& which) {
        imFrameFormat format = {0, 0, PrPixelFormat_UYVY_422_8u_601};
        imSourceVideoRec record = {};
        record.frameFormats = &format;
        record.frameFormatCount = 1;
        return which.InitiateAsyncRead(&record);
    }
};

TEST_F(ObjectsEnd, AModuleWithItsClose) {
    ASSERT_EQ(Initiate(*module), 0);
    ASSERT_TRUE(cache.WaitForFrame(clip->ImporterID(), 0, kvx_test::kPatience));
    ExpectEnds(sizeof(AsyncImportModule), [this] {
        AsyncImportModule* const made =
            AsyncImportModule::Create(clip->ImporterID(), Host::BasicSuite(), track);
        ASSERT_NE(made, nullptr);
        imSourceVideoRec record = {};
        EXPECT_EQ(Initiate(*made), 0);
        EXPECT_EQ(made->GetFrame(&record), 3);
        EXPECT_EQ(made->Close(), 0);
    });
    EXPECT_EQ(cache.Additions(), 1);
}

TEST_F(ObjectsEnd, AModuleThatDoesNotStart) {
    host.settings.ticksStatus = -3;
    const LogCapture log;
    ExpectEnds(sizeof(AsyncImportModule), [this] {
        EXPECT_EQ(AsyncImportModule::Create(1, Host::BasicSuite(), track), nullptr);
    });
}

TEST_F(ObjectsEnd, AFrameThatDoesNotStart) {
    const LogCapture log;
    const Fault fault(SystemCall::kMutexInit, 11, 1, Fault::kForever);
    ExpectEnds(sizeof(KVX::ImportFrame), [this] { EXPECT_EQ(Initiate(*module), 11); });
}

TEST_F(ObjectsEnd, AFrameThatIsNotIssued) {
    const LogCapture log;
    track->mHeight = 0;
    ExpectEnds(sizeof(KVX::ImportFrame), [this] { EXPECT_EQ(Initiate(*module), 22); });
}

}  // namespace
