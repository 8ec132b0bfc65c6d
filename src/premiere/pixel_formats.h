// The host's pixel formats. In memory the first character comes first, so that the literals below
// read with the least significant byte first: the other way round than the codes of QuickTime
// files.
#pragma once

#include <cstdint>

using PrPixelFormat = uint32_t;

constexpr PrPixelFormat MakePrPixelFormat(const char (&text)[5]) {
    return static_cast<uint32_t>(static_cast<unsigned char>(text[0])) |
           static_cast<uint32_t>(static_cast<unsigned char>(text[1])) << 8 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[2])) << 16 |
           static_cast<uint32_t>(static_cast<unsigned char>(text[3])) << 24;
}

constexpr PrPixelFormat PrPixelFormat_Any = 0;
constexpr PrPixelFormat PrPixelFormat_BGRA_4444_8u = MakePrPixelFormat("bgra");
constexpr PrPixelFormat PrPixelFormat_BGRA_4444_16u = MakePrPixelFormat("Bgra");
constexpr PrPixelFormat PrPixelFormat_BGRA_4444_32f = MakePrPixelFormat("BGra");
constexpr PrPixelFormat PrPixelFormat_BGRX_4444_32f = MakePrPixelFormat("BGrx");
constexpr PrPixelFormat PrPixelFormat_VUYA_4444_8u = MakePrPixelFormat("vuya");
constexpr PrPixelFormat PrPixelFormat_VUYA_4444_32f = MakePrPixelFormat("VUya");
constexpr PrPixelFormat PrPixelFormat_ARGB_4444_8u = MakePrPixelFormat("argb");
constexpr PrPixelFormat PrPixelFormat_ARGB_4444_16u = MakePrPixelFormat("Argb");
constexpr PrPixelFormat PrPixelFormat_ARGB_4444_32f = MakePrPixelFormat("ARgb");
constexpr PrPixelFormat PrPixelFormat_YUYV_422_8u_601 = MakePrPixelFormat("yuy2");
constexpr PrPixelFormat PrPixelFormat_YUYV_422_8u_709 = MakePrPixelFormat("yuy3");
constexpr PrPixelFormat PrPixelFormat_UYVY_422_8u_601 = MakePrPixelFormat("uyvy");
constexpr PrPixelFormat PrPixelFormat_UYVY_422_8u_709 = MakePrPixelFormat("uyv7");
constexpr PrPixelFormat PrPixelFormat_RGB_444_10u = MakePrPixelFormat("RGB1");
constexpr PrPixelFormat PrPixelFormat_V210_422_10u_601 = MakePrPixelFormat("v210");
constexpr PrPixelFormat PrPixelFormat_V210_422_10u_709 = MakePrPixelFormat("v211");
constexpr PrPixelFormat PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601 =
    MakePrPixelFormat("yv12");
constexpr PrPixelFormat PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601 =
    MakePrPixelFormat("yvi2");
constexpr PrPixelFormat PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709 =
    MakePrPixelFormat("yv17");
constexpr PrPixelFormat PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709 =
    MakePrPixelFormat("yvi7");
constexpr PrPixelFormat PrPixelFormat_NTSCDV25 = MakePrPixelFormat("dvn2");
constexpr PrPixelFormat PrPixelFormat_PALDV25 = MakePrPixelFormat("dvp2");
constexpr PrPixelFormat PrPixelFormat_NTSCDV50 = MakePrPixelFormat("dvn5");
constexpr PrPixelFormat PrPixelFormat_PALDV50 = MakePrPixelFormat("dvp5");
constexpr PrPixelFormat PrPixelFormat_NTSCDV100_720p = MakePrPixelFormat("dvn7");
constexpr PrPixelFormat PrPixelFormat_PALDV100_720p = MakePrPixelFormat("dvp7");
constexpr PrPixelFormat PrPixelFormat_NTSCDV100_1080i = MakePrPixelFormat("dvn1");
constexpr PrPixelFormat PrPixelFormat_PALDV100_1080i = MakePrPixelFormat("dvp1");
constexpr PrPixelFormat PrPixelFormat_Raw = MakePrPixelFormat("raww");
constexpr PrPixelFormat PrPixelFormat_Invalid = MakePrPixelFormat("badf");

// This importer's own: a PPix that holds a frame's bytes as the file has them, after a header.
constexpr PrPixelFormat kKVXCustomPixelFormat = MakePrPixelFormat("_KCP");

// The numbers that hosts, and the modules that read the own format, know them by.
static_assert(PrPixelFormat_Any == 0, "host value");
static_assert(PrPixelFormat_V210_422_10u_601 == 0x30313276, "host value");
static_assert(PrPixelFormat_V210_422_10u_709 == 0x31313276, "host value");
static_assert(PrPixelFormat_RGB_444_10u == 0x31424752, "host value");
static_assert(PrPixelFormat_NTSCDV100_1080i == 0x316E7664, "host value");
static_assert(PrPixelFormat_PALDV100_1080i == 0x31707664, "host value");
static_assert(PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_601 == 0x32317679, "host value");
static_assert(PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_601 == 0x32697679, "host value");
static_assert(PrPixelFormat_NTSCDV25 == 0x326E7664, "host value");
static_assert(PrPixelFormat_PALDV25 == 0x32707664, "host value");
static_assert(PrPixelFormat_YUYV_422_8u_601 == 0x32797579, "host value");
static_assert(PrPixelFormat_YUYV_422_8u_709 == 0x33797579, "host value");
static_assert(PrPixelFormat_NTSCDV50 == 0x356E7664, "host value");
static_assert(PrPixelFormat_PALDV50 == 0x35707664, "host value");
static_assert(PrPixelFormat_YUV_420_MPEG2_FRAME_PICTURE_PLANAR_8u_709 == 0x37317679, "host value");
static_assert(PrPixelFormat_YUV_420_MPEG2_FIELD_PICTURE_PLANAR_8u_709 == 0x37697679, "host value");
static_assert(PrPixelFormat_NTSCDV100_720p == 0x376E7664, "host value");
static_assert(PrPixelFormat_PALDV100_720p == 0x37707664, "host value");
static_assert(PrPixelFormat_UYVY_422_8u_709 == 0x37767975, "host value");
static_assert(kKVXCustomPixelFormat == 0x50434B5F, "host value");
static_assert(PrPixelFormat_BGRA_4444_32f == 0x61724742, "host value");
static_assert(PrPixelFormat_BGRA_4444_16u == 0x61726742, "host value");
static_assert(PrPixelFormat_BGRA_4444_8u == 0x61726762, "host value");
static_assert(PrPixelFormat_VUYA_4444_32f == 0x61795556, "host value");
static_assert(PrPixelFormat_VUYA_4444_8u == 0x61797576, "host value");
static_assert(PrPixelFormat_ARGB_4444_32f == 0x62675241, "host value");
static_assert(PrPixelFormat_ARGB_4444_16u == 0x62677241, "host value");
static_assert(PrPixelFormat_ARGB_4444_8u == 0x62677261, "host value");
static_assert(PrPixelFormat_Invalid == 0x66646162, "host value");
static_assert(PrPixelFormat_Raw == 0x77776172, "host value");
static_assert(PrPixelFormat_BGRX_4444_32f == 0x78724742, "host value");
static_assert(PrPixelFormat_UYVY_422_8u_601 == 0x79767975, "host value");
