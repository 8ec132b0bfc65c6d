#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "util/printer.h"

namespace Printer = KVX::Util::Printer;

namespace {

struct Row {
    long value;
    const char* text;
};

constexpr Row kSourceRows[] = {
    {32, "kvxFormat8BitARGB"},
    {'2' << 24 | 'V' << 16 | 'u' << 8 | 'y', "2Vuy"},
    {'2' << 24 | 'v' << 16 | 'u' << 8 | 'y', "kvxFormat8BitYUV"},
    {'B' << 24 | 'G' << 16 | 'R' << 8 | 'A', "kvxFormat8BitBGRA"},
    {'R' << 24 | '1' << 16 | '0' << 8 | 'B', "kvxFormat10BitRGBX_FULL"},
    {'R' << 24 | '1' << 16 | '0' << 8 | 'L', "kvxFormat10BitRGBXLE_FULL"},
    {'R' << 24 | '1' << 16 | '0' << 8 | 'b', "kvxFormat10BitRGBX"},
    {'R' << 24 | '1' << 16 | '0' << 8 | 'l', "kvxFormat10BitRGBXLE"},
    {'r' << 24 | '2' << 16 | '1' << 8 | '0', "kvxFormat10BitRGB"},
    {0x76323130, "kvxFormat10BitYUV"},
    {'d' << 24 | 'v' << 16 | '1' << 8 | 'n', "DVCPRO100 NTSC"},
    {'d' << 24 | 'v' << 16 | '1' << 8 | 'p', "DVCPRO100 PAL"},
    {'d' << 24 | 'v' << 16 | '5' << 8 | 'n', "DVCPRO50 NTSC"},
    {'d' << 24 | 'v' << 16 | '5' << 8 | 'p', "DVCPRO50 PAL"},
    {'d' << 24 | 'v' << 16 | 'c' << 8 | ' ', "DV NTSC"},
    {'d' << 24 | 'v' << 16 | 's' << 8 | 'd', "DV NTSC"},
    {'d' << 24 | 'v' << 16 | 'c' << 8 | 'p', "DV PAL"},
    {'d' << 24 | 'v' << 16 | 'p' << 8 | 'p', "DV PAL"},
    {'p' << 24 | 'v' << 16 | 's' << 8 | 'd', "DV PAL"},
    {'d' << 24 | 'v' << 16 | 'h' << 8 | '5', "DVCPROHD 1080i50"},
    {'d' << 24 | 'v' << 16 | 'h' << 8 | '6', "DVCPROHD 1080i59.94"},
    {'d' << 24 | 'v' << 16 | 'h' << 8 | 'p', "DVCPROHD 720p59.94"},
    {'d' << 24 | 'v' << 16 | 'h' << 8 | 'q', "DVCPROHD 720p50"},
    {'j' << 24 | 'p' << 16 | 'e' << 8 | 'g', "JPEG"},
};

constexpr Row kPremiereRows[] = {
    {0, "PrPixelFormat_Any"},
    {0x30313276, "PrPixelFormat_V210_422_10u_601"},
    {0x31313276, "PrPixelFormat_V210_422_10u_709"},
    {0x31424752, "PrPixelFormat_RGB_444_10u"},
    {0x316E7664, "PrPixelFormat_NTSCDV100_1080i"},
    {0x31707664, "PrPixelFormat_PALDV100_1080i"},
    {0x32317679, "PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601"},
    {0x32697679, "PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601"},
    {0x326E7664, "PrPixelFormat_NTSCDV25"},
    {0x32707664, "PrPixelFormat_PALDV25"},
    {0x32797579, "PrPixelFormat_YUYV_422_8u_601"},
    {0x33797579, "PrPixelFormat_YUYV_422_8u_709"},
    {0x356E7664, "PrPixelFormat_NTSCDV50"},
    {0x35707664, "PrPixelFormat_PALDV50"},
    {0x37317679, "PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709"},
    {0x37697679, "PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709"},
    {0x376E7664, "PrPixelFormat_NTSCDV100_720p"},
    {0x37707664, "PrPixelFormat_PALDV100_720p"},
    {0x37767975, "PrPixelFormat_UYVY_422_8u_709"},
    {0x50434B5F, "kKVXCustomPixelFormat"},
    {0x61724742, "PrPixelFormat_BGRA_4444_32f"},
    {0x61726742, "PrPixelFormat_BGRA_4444_16u"},
    {0x61726762, "PrPixelFormat_BGRA_4444_8u"},
    {0x61795556, "PrPixelFormat_VUYA_4444_32f"},
    {0x61797576, "PrPixelFormat_VUYA_4444_8u"},
    {0x62675241, "PrPixelFormat_ARGB_4444_32f"},
    {0x62677241, "PrPixelFormat_ARGB_4444_16u"},
    {0x62677261, "PrPixelFormat_ARGB_4444_8u"},
    {0x66646162, "PrPixelFormat_Invalid"},
    {0x77776172, "PrPixelFormat_Raw"},
    {0x78724742, "PrPixelFormat_BGRX_4444_32f"},
    {0x79767975, "PrPixelFormat_UYVY_422_8u_601"},
};

TEST(PrinterPixelFormats, EverySourceFormatHasItsText) {
    for (const Row& row : kSourceRows) {
        EXPECT_STREQ(Printer::PixelFormat(row.value), row.text);
        EXPECT_STREQ(Printer::PixelFormatPremiere(row.value), row.text);
    }
}

TEST(PrinterPixelFormats, EveryHostFormatHasItsNameInTheWiderPrinterAlone) {
    for (const Row& row : kPremiereRows) {
        EXPECT_STREQ(Printer::PixelFormatPremiere(row.value), row.text);
        EXPECT_EQ(std::string(Printer::PixelFormat(row.value)).rfind("Unknown (", 0), 0u);
    }
}

TEST(PrinterPixelFormats, CompressedMasteringFormatsHaveNoText) {
    EXPECT_STREQ(Printer::PixelFormatPremiere('a' << 24 | 'p' << 16 | 'c' << 8 | 'h'),
                 "Unknown (1634755432, 0x61706368, 'apch')");
}

TEST(PrinterPixelFormats, AnUnknownValueTakesTwoPiecesOfTheRing) {
    // A new thread's ring starts at its beginning, and one piece is 64 bytes.
    std::thread([] {
        const char* first = Printer::PixelFormat(0x41424344);
        const char* second = Printer::PixelFormatPremiere(0x41424344);
        EXPECT_STREQ(second, "Unknown (1094861636, 0x41424344, 'ABCD')");
        EXPECT_EQ(second - first, 128);
    }).join();
}

TEST(PrinterPixelFormats, OnlyTheWholeValueCounts) {
    EXPECT_STREQ(Printer::PixelFormatPremiere(0x100000000L + 0x76323130),
                 "Unknown (6277968176, 0x176323130, 'v210')");
}

}  // namespace
