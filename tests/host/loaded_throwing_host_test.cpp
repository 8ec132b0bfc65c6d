// A host whose suites throw, through the loaded module: on the host's own thread and on the pools',
// in the first, the second and the third call of each. Frames that are asked for afterwards come.
#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/loaded_module.h"
#include "hostkit/pixel_buffers.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::Importer;
using kvx_hostkit::LoadedModule;
using kvx_hostkit::PixelBuffers;

constexpr std::chrono::seconds kPatience(30);
constexpr long kNoMemory = 12;

class LoadedThrowingHost : public kvx_test::HostTest,
                           public testing::WithParamInterface<const char*> {
  protected:
    // Stays loaded to the end of the process: its threads live that long.
    static const LoadedModule* Module() {
        std::string error;
        static const LoadedModule* const module =
            LoadedModule::Load(LoadedModule::BuiltPath(), error).release();
        EXPECT_NE(module, nullptr) << error;
        return module;
    }

    static bool IsCalledFor(const std::string& function, PrPixelFormat format) {
        const bool isCustom = format == kKVXCustomPixelFormat;
        return function == "CreateCustomPPix"                          ? isCustom
               : function == "CreatePPix" || function == "GetRowBytes" ? !isCustom
                                                                       : true;
    }

    kvx_hostkit::SuiteFaults& FaultsOf(const std::string& function) {
        return function.find("Cache") != std::string::npos ? cache.faults : buffers.faults;
    }

    // The pools let go of a frame's pixels when they have delivered it, or could not.
    bool NoBufferIsLeft() {
        const auto limit = std::chrono::steady_clock::now() + kPatience;
        do {
            cache.Forget();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } while (buffers.LiveCount() != 0 && std::chrono::steady_clock::now() < limit);
        return buffers.LiveCount() == 0;
    }

    PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
};

TEST_P(LoadedThrowingHost, IsAnsweredAndServedOn) {
    ASSERT_NE(Module(), nullptr);
    const std::string function = GetParam();
    const Importer loaded(host, Module()->Entries());
    Clip clip(loaded, Write(kvx_test::MovieOf({kvx_test::Video("2vuy", 16, 8)})));
    ASSERT_EQ(clip.Open(), imNoErr);
    FrameSource source(clip);
    ASSERT_EQ(source.Open(), imNoErr);
    const int64_t ticks = FrameSource::TicksPerFrame(clip);
    // The file's own bytes, copied, and converted.
    for (const PrPixelFormat format :
         {kKVXCustomPixelFormat, PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_BGRA_4444_8u}) {
        for (int call = 1; call <= 3; ++call) {
            SCOPED_TRACE(testing::Message() << function << " call " << call << " to " << format);
            const kvx_test::LogCapture log;
            std::atomic<int> thrown{0};
            FaultsOf(function).RunAt(function, call, [&thrown] {
                ++thrown;
                throw std::runtime_error("the host's own");
            });
            for (int frame = 0; frame < 4; ++frame) {
                const long status = source.Request(frame * ticks, {format});
                EXPECT_TRUE(status == aiNoError || status == kNoMemory) << status;
            }
            EXPECT_TRUE(NoBufferIsLeft());
            FaultsOf(function).Clear();
            EXPECT_EQ(thrown, IsCalledFor(function, format) ? 1 : 0);

            ASSERT_EQ(source.Request(5 * ticks, {format}), aiNoError);
            EXPECT_TRUE(cache.WaitForFrame(clip.ImporterID(), 5, kPatience));
            EXPECT_TRUE(NoBufferIsLeft());
        }
    }
    EXPECT_EQ(buffers.DamagedCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Calls, LoadedThrowingHost,
                         testing::Values("CreatePPix", "CreateCustomPPix", "GetPixels",
                                         "GetRowBytes", "AddFrameToCache", "GetFrameFromCache"),
                         [](const auto& info) { return std::string(info.param); });

}  // namespace
