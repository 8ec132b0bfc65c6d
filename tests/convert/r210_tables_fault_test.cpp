// r210's tables when one of them cannot be had, in a process of its own each time: once they stand
// they stay.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <string>

#include "convert/video/conversion.h"
#include "convert/video/r210.h"
#include "premiere/pixel_formats.h"
#include "support/child_process.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::Converter::Video::r210;

// In the order in which they are allocated.
constexpr const char* kTables[] = {"sR210LUT", "s8uComponentLUT", "s16uComponentLUT",
                                   "s32fComponentLUT"};

const void* TableAt(size_t index) {
    const void* const tables[] = {r210::sR210LUT, r210::s8uComponentLUT, r210::s16uComponentLUT,
                                  r210::s32fComponentLUT};
    return tables[index];
}

// One white pixel.
long Convert(unsigned char* bgra) {
    const unsigned char white[] = {0x3A, 0xCE, 0xB3, 0xAC};  // 940, 940, 940
    return r210::ConvertTo(reinterpret_cast<const char*>(white), 4, PrPixelFormat_BGRA_4444_8u,
                           reinterpret_cast<char*>(bgra), 4, 1, 1,
                           KVX::Converter::Video::kColourSpaceAuto,
                           KVX::Converter::Video::kConversionModeScalar);
}

class R210TablesFault : public testing::TestWithParam<size_t> {};

TEST_P(R210TablesFault, TheConversionFailsAndTheTablesBeforeItStay) {
    const size_t missing = GetParam();
    const auto play = [missing]() -> std::string {
        unsigned char bgra[4] = {};
        kvx_test::LogCapture log;
        {
            const kvx_test::Fault fault(kvx_test::SystemCall::kNewNothrow, 12,
                                        static_cast<int>(missing) + 1);
            if (const long status = Convert(bgra); status != 12) {
                return "answered " + std::to_string(status);
            }
        }
        const std::string expected = std::string("Init: ") + kTables[missing] +
                                     " allocation failed\nConvertTo: Init failed\n";
        if (log.Text() != expected) {
            return log.Text();
        }
        for (size_t index = 0; index < 4; ++index) {
            if ((TableAt(index) != nullptr) != (index < missing)) {
                return std::string("whether it stays: ") + kTables[index];
            }
        }

        // The next call has no use for what is there.
        const void* const first = TableAt(0);
        if (Convert(bgra) != 0) {
            return "the next frame fails";
        }
        if (missing > 0 && TableAt(0) == first) {
            return "the first table is the old one";
        }
        return bgra[0] == 255 && bgra[1] == 255 && bgra[2] == 255 && bgra[3] == 255 ? ""
                                                                                    : "not white";
    };
    // The tables that were lost are lost.
    EXPECT_EQ(kvx_test::InChild(play, false), "");
}

INSTANTIATE_TEST_SUITE_P(Each, R210TablesFault, testing::Values(0U, 1U, 2U, 3U),
                         [](const auto& info) { return kTables[info.param]; });

TEST(R210Tables, TheStatusOfTheirLockIsAnswered) {
    const auto play = []() -> std::string {
        unsigned char bgra[4] = {};
        kvx_test::LogCapture log;
        long status = 0;
        {
            const kvx_test::Fault fault(kvx_test::SystemCall::kMutexLock, EDEADLK, 1);
            status = Convert(bgra);
        }
        if (status != EDEADLK || TableAt(0) != nullptr) {
            return "answered " + std::to_string(status);
        }
        const std::string number = std::to_string(EDEADLK);
        if (log.Text() !=
            "Init: pthread_mutex_lock returned " + number + "\nConvertTo: Init failed\n") {
            return log.Text();
        }
        return Convert(bgra) == 0 ? "" : "the next frame fails";
    };
    // The tables stay for good.
    EXPECT_EQ(kvx_test::InChild(play, false), "");
}

TEST(R210Tables, AreNotNeededForV210) {
    const auto play = []() -> std::string {
        kvx_test::LogCapture log;
        const long status =
            r210::Init(PrPixelFormat_V210_422_10u_709) + r210::Init(PrPixelFormat_V210_422_10u_601);
        return status == 0 && TableAt(0) == nullptr ? log.Text() : "made";
    };
    EXPECT_EQ(kvx_test::InChild(play), "");
}

}  // namespace
