// libyuv: 8-bit 4:2:2 as packed pixels, 10-bit 4:2:2 from planes, 10-bit RGB without a change of
// levels. There is no form for 16-bit or float pixels.
#include <libyuv.h>

#include <cstdint>
#include <memory>
#include <string>

#include "frame_ring.h"
#include "planes.h"
#include "rivals.h"

namespace kvx_bench {

namespace {

using Convert = void(const uint8_t* source, uint8_t* destination, const Size& size);

constexpr Planes k422p10 = {2, true};

void From2vuy(const uint8_t* source, uint8_t* destination, const Size& size) {
    libyuv::UYVYToARGB(source, 2 * size.mWidth, destination, 4 * size.mWidth, size.mWidth,
                       -size.mHeight);
}

void FromPlanes(const uint8_t* source, uint8_t* destination, const Size& size) {
    const auto plane = [&](int index) {
        return reinterpret_cast<const uint16_t*>(source + k422p10.Offset(index, size));
    };
    libyuv::I210ToARGB(plane(0), size.mWidth, plane(1), size.mWidth / 2, plane(2), size.mWidth / 2,
                       destination, 4 * size.mWidth, size.mWidth, -size.mHeight);
}

template <auto kConvert>
void FromRGB10(const uint8_t* source, uint8_t* destination, const Size& size) {
    kConvert(source, 4 * size.mWidth, destination, 4 * size.mWidth, size.mWidth, size.mHeight);
}

struct Pair {
    Layout mSource;
    Layout mDestination;
    bool mFromPlanes;
    Convert* mConvert;
};

constexpr Pair kPairs[] = {
    {Layout::k2vuy, Layout::kBGRA8u, false, From2vuy},
    {Layout::kV210, Layout::kBGRA8u, true, FromPlanes},
    {Layout::kR210, Layout::kBGRA8u, false, FromRGB10<libyuv::AR30ToARGB>},
    {Layout::kR210, Layout::kRGBA8u, false, FromRGB10<libyuv::AR30ToABGR>},
    {Layout::kR210, Layout::kRGB10, false, FromRGB10<libyuv::AR30ToAB30>},
};

struct Level {
    const char* mName;
    int mFlags;
};

constexpr int kUpToSSSE3 =
    libyuv::kCpuInitialized | libyuv::kCpuHasX86 | libyuv::kCpuHasSSE2 | libyuv::kCpuHasSSSE3;
constexpr Level kLevels[] = {
    {"libyuv_avx2", kUpToSSSE3 | libyuv::kCpuHasSSE41 | libyuv::kCpuHasSSE42 | libyuv::kCpuHasAVX |
                        libyuv::kCpuHasAVX2 | libyuv::kCpuHasERMS | libyuv::kCpuHasFMA3 |
                        libyuv::kCpuHasF16C},
    {"libyuv_ssse3", kUpToSSSE3},
};

struct Rings {
    FrameRing mSources;
    FrameRing mDestinations;
};

}  // namespace

void AddLibyuv(std::vector<Contender>& contenders, const Conversion& conversion, const Size& size) {
    for (const Pair& pair : kPairs) {
        if (pair.mSource != conversion.mSource || pair.mDestination != conversion.mDestination) {
            continue;
        }
        const auto rings = std::make_shared<Rings>(
            Rings{pair.mFromPlanes ? FrameRing(k422p10.FrameBytes(size), kTenBits)
                                   : FrameRing(FrameBytes(pair.mSource, size)),
                  FrameRing(FrameBytes(pair.mDestination, size))});
        for (const Level& level : kLevels) {
            contenders.push_back(
                {level.mName, [=] {
                     libyuv::MaskCpuFlags(level.mFlags);
                     pair.mConvert(reinterpret_cast<uint8_t*>(rings->mSources.Next()),
                                   reinterpret_cast<uint8_t*>(rings->mDestinations.Next()), size);
                     return true;
                 }});
        }
    }
}

}  // namespace kvx_bench
