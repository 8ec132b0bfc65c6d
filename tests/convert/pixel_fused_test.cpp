// Chains that take fewer steps than their stages, beside the same stages one by one.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "convert/pixel_family/stages_rgb.h"
#include "convert/pixel_family/stages_yuv.h"
#include "convert/pixel_family/transform.h"
#include "convert/video/pixel_conversion.h"

namespace {

using namespace KVX::PixelConversion;

// BIND of two stages at a time is never more than these.
template <typename A, typename... REST>
struct STAGES : BIND<A, STAGES<REST...>> {};
template <typename A>
struct STAGES<A> : A {};

template <typename PIPE>
void RunStages(unsigned width, unsigned height, void* dst, unsigned dstRowBytes, void* src,
               unsigned srcRowBytes) {
    const FrameTransform<PIPE> frameTransform(src, width, height, static_cast<int>(srcRowBytes));
    const DestinationFrame destinationFrame = {dst, static_cast<int>(dstRowBytes)};
    frameTransform >> destinationFrame;
}

using Convert = void(unsigned width, unsigned height, void* dst, unsigned dstRowBytes, void* src,
                     unsigned srcRowBytes);

struct Chain {
    const char* mName;
    Convert* mFused;
    Convert* mStages;
};

using STRETCH = RGBv4_STUDIO_TO_COMPUTER<10, 0>;

template <typename RANGE>
using TO_8YUV422 = STAGES<UNPACK_R210_TO_RGBv4, RGBv4_TO_BGRAv8,
                          BGRAv8_TO_UYVYv8<RANGE, 10, 8, 0, 0>, PACK_UYVYv8_TO_UYVY>;
template <typename RANGE>
using TO_10YUV422 = STAGES<UNPACK_R210_TO_RGBv4, RGBv4_TO_BGRAv8,
                           BGRAv8_TO_UYVYv8<RANGE, 10, 10, 0, 0>, PACK_UYVYv8_TO_V210>;

constexpr Chain kChains[] = {
    {"8YUV422_SD", Convert_10XRGB_BE_SMPTE_To_8YUV422_SD, RunStages<TO_8YUV422<StudioRange601>>},
    {"8YUV422_HD", Convert_10XRGB_BE_SMPTE_To_8YUV422_HD, RunStages<TO_8YUV422<StudioRange709>>},
    {"10YUV422_LE_SD", Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_SD,
     RunStages<TO_10YUV422<StudioRange601>>},
    {"10YUV422_LE_HD", Convert_10XRGB_BE_SMPTE_To_10YUV422_LE_HD,
     RunStages<TO_10YUV422<StudioRange709>>},
    {"8ARGB_FULL", Convert_10XRGB_BE_SMPTE_To_8ARGB_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, STRETCH, RGBv4_BITDEPTH<-2>, PACK_RGBv4_TO_ARGB>>},
    {"8BGRA_FULL", Convert_10XRGB_BE_SMPTE_To_8BGRA_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv8, RGBv8_STUDIO_TO_COMPUTER<10, 0>, RGBv8_BITDEPTH<-2>,
                      PACK_RGBv8_TO_BGRA>>},
    {"8RGBA_FULL", Convert_10XRGB_BE_SMPTE_To_8RGBA_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, STRETCH, RGBv4_BITDEPTH<-2>, PACK_RGBv4_TO_RGBA>>},
    {"8RGB_FULL", Convert_10XRGB_BE_SMPTE_To_8RGB_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, STRETCH, RGBv4_BITDEPTH<-2>, PACK_RGBv4_TO_RGBA,
                      PACK_RGBA_TO_RGB>>},
    {"10RGBX_LE_SMPTE", Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_SMPTE,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, PACK_RGBv4_TO_R10KLE>>},
    {"10RGBX_BE_SMPTE", Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_SMPTE,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, PACK_RGBv4_TO_R10KBE>>},
    {"10RGBX_LE_FULL", Convert_10XRGB_BE_SMPTE_To_10RGBX_LE_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, STRETCH, PACK_RGBv4_TO_R10KLE>>},
    {"10RGBX_BE_FULL", Convert_10XRGB_BE_SMPTE_To_10RGBX_BE_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, STRETCH, PACK_RGBv4_TO_R10KBE>>},
    {"10RGBA_BE_FULL", Convert_10XRGB_BE_SMPTE_To_10RGBA_BE_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv4, STRETCH, PACK_RGBv4_TO_R10KBE, PAD_R10KBE_WITH_1>>},
    {"10XRGB_BE_FULL", Convert_10XRGB_BE_SMPTE_To_10XRGB_BE_FULL,
     RunStages<STAGES<UNPACK_R210_TO_RGBv8, RGBv8_STUDIO_TO_COMPUTER<10, 0>, PACK_RGBv8_TO_R210>>},
};

class PixelFused : public testing::TestWithParam<Chain> {};

// Every level in every component, with noise beside it and in the unused bits; colours at the ends
// of the range; all widths up to several blocks; pixels aligned and not.
TEST_P(PixelFused, EqualsItsStages) {
    constexpr unsigned kMostWidth = 64;
    constexpr unsigned kRowBytes = 16 * ((kMostWidth + 5) / 6) + 4 * kMostWidth;
    constexpr unsigned kHeight = 3 * 1024 * 8 / kMostWidth;
    constexpr size_t kSlack = 64;
    std::mt19937 noise(1);
    std::vector<unsigned char> sources(kHeight * kMostWidth * 4 + kSlack);
    for (unsigned pixel = 0; pixel < kHeight * kMostWidth; ++pixel) {
        const unsigned shift = pixel % 3 * 10;
        // Runs of black and full components, where sums are largest.
        const uint32_t corner = (noise() & 1 ? 0x3FFU << 20 : 0) |
                                (noise() & 1 ? 0x3FFU << 10 : 0) | (noise() & 1 ? 0x3FFU : 0);
        const uint32_t rest = pixel / 64 % 4 == 0 ? corner : static_cast<uint32_t>(noise());
        const uint32_t word = (rest & ~(0x3FFU << shift)) | pixel / 24 % 1024 << shift;
        for (unsigned byte = 0; byte < 4; ++byte) {
            sources[4 * pixel + byte] = static_cast<unsigned char>(word >> (24 - 8 * byte));
        }
    }
    std::vector<unsigned char> fused(kHeight * kRowBytes + kSlack);
    std::vector<unsigned char> stages(kHeight * kRowBytes + kSlack);
    const auto align = [](std::vector<unsigned char>& bytes) {
        return bytes.data() + (-reinterpret_cast<uintptr_t>(bytes.data()) & 15);
    };
    std::memmove(align(sources), sources.data(), kHeight * kMostWidth * 4);
    for (unsigned width = 1; width <= kMostWidth; ++width) {
        for (const unsigned offset : {0U, 4U}) {
            unsigned char* source = align(sources) + offset;
            const unsigned height = kHeight - (offset != 0 ? 1 : 0);
            std::memset(fused.data(), 0x55, fused.size());
            std::memset(stages.data(), 0x55, stages.size());
            GetParam().mFused(width, height, align(fused) + offset, kRowBytes, source,
                              4 * kMostWidth);
            GetParam().mStages(width, height, align(stages) + offset, kRowBytes, source,
                               4 * kMostWidth);
            ASSERT_EQ(std::memcmp(align(fused), align(stages), kHeight * kRowBytes), 0)
                << "width " << width << ", offset " << offset;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Chains, PixelFused, testing::ValuesIn(kChains),
                         [](const testing::TestParamInfo<Chain>& chain) {
                             return std::string(chain.param.mName);
                         });

}  // namespace
