// Printers without memory: fixed texts, and never a failure.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "support/fault_injection.h"
#include "support/log_capture.h"
#include "util/printer.h"

namespace Printer = KVX::Util::Printer;

namespace {

// What `print` returns on a new thread that gets no ring.
template <typename Function>
std::string WithoutMemory(Function print) {
    std::string text;
    const kvx_test::LogCapture log;
    std::thread([&text, print] {
        const kvx_test::Fault fault(kvx_test::SystemCall::kMalloc, 12, 1, 10);
        text = print();
    }).join();
    EXPECT_NE(log.Raw().find("Failed to allocate 2048 byte buffer for thread "), std::string::npos);
    return text;
}

TEST(PrinterFault, FormattersSayThatThereIsNoMemory) {
    static const unsigned short kText[] = {'a'};
    const char* const memoryError = "<memory error>";
    EXPECT_EQ(WithoutMemory([] { return Printer::Fcc(0x6D6F6F76); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::FixedShort(1); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::MatteColour({1, 2, 3}); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::StringList(""); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::UTF16(kText, 1); }), memoryError);
}

TEST(PrinterFault, BitPrintersSayThatThereIsNoMemory) {
    const char* const memoryError = "<memory error>";
    EXPECT_EQ(WithoutMemory([] { return Printer::FileImport::Capability(8); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::Playback::Capability(0x80); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::PlayFlags(0); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::FrameDestination(1); }), memoryError);
    EXPECT_EQ(WithoutMemory([] { return Printer::DeviceFeatures(4); }), memoryError);
}

TEST(PrinterFault, UnknownIsTheWordAlone) {
    EXPECT_EQ(WithoutMemory([] { return Printer::Unknown(5); }), "Unknown");
    EXPECT_EQ(WithoutMemory([] { return Printer::FileImport::Selector(2); }), "Unknown");
    EXPECT_EQ(WithoutMemory([] { return Printer::PixelFormat(2); }), "Unknown");
    EXPECT_EQ(WithoutMemory([] { return Printer::PixelFormatPremiere(2); }), "Unknown");
}

TEST(PrinterFault, HostFormatsAreKnownWithoutMemory) {
    EXPECT_EQ(WithoutMemory([] { return Printer::PixelFormatPremiere(0x66646162); }),
              "PrPixelFormat_Invalid");
}

TEST(PrinterFault, BundleNameIsTheUncutLastPart) {
    EXPECT_EQ(WithoutMemory([] { return Printer::BundleName("/a/Name.bundle"); }), "Name.bundle");
}

TEST(PrinterFault, NamesNeedNoMemory) {
    const kvx_test::LogCapture log;
    std::thread([] {
        const kvx_test::Fault noMalloc(kvx_test::SystemCall::kMalloc, 12, 1, 1000);
        const kvx_test::Fault noCalloc(kvx_test::SystemCall::kCalloc, 12, 1, 1000);
        EXPECT_STREQ(Printer::FileImport::Selector(37), "imGetInfo8");
        EXPECT_STREQ(Printer::PixelFormat(0x76323130), "kvxFormat10BitYUV");
        EXPECT_STREQ(Printer::UTF16(nullptr), "<NULL>");
    }).join();
    EXPECT_EQ(log.Raw(), "");
}

}  // namespace
