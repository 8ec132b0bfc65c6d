#include <cstdint>

#include "convert/vector128.h"
#include "convert/video/host_pixel.h"
#include "convert/video/r210.h"
#include "convert/video/row_walk.h"
#include "core/assert.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kBytesPerPixel = 4;

struct Levels {
    unsigned mR;
    unsigned mG;
    unsigned mB;
};

// The big-endian word is taken as the little-endian one it is in a register; its components are
// picked up in pieces, which saves the swap.
Levels ReadLevels(const char* from) {
    uint32_t w;
    std::memcpy(&w, from, sizeof(w));
    return {((w << 4) & 0x3F0) | ((w >> 12) & 0xF), ((w >> 2) & 0x3C0) | ((w >> 18) & 0x3F),
            ((w >> 8) & 0x300) | ((w >> 24) & 0xFF)};
}

void WriteLevels(char* to, const Levels& levels) {
    const uint32_t w = (levels.mR >> 4) | ((levels.mR << 12) & 0xF000) |
                       ((levels.mG << 2) & 0xF00) | ((levels.mG << 18) & 0xFC0000) |
                       (levels.mB << 24) | ((levels.mB << 8) & 0x30000);
    std::memcpy(to, &w, sizeof(w));
}

unsigned LevelOf(unsigned char component) {
    return r210::sR210LUT[component * 128];
}

unsigned LevelOf(unsigned short component) {
    return r210::sR210LUT[component];
}

unsigned LevelOf(float component) {
    const int scaled = Vector128::TruncateToInt(static_cast<double>(component) * 32768.0);
    return r210::sR210LUT[scaled < 0 ? 0 : scaled > 32768 ? 32768 : scaled];
}

}  // namespace

template <typename T>
void r210::ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                           int height, T* lut) {
    WalkRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, [=](const char* from, char* to) {
        for (int x = 0; x < width; ++x) {
            const Levels levels = ReadLevels(from);
            WriteHostPixel<T>(to,
                              {lut[levels.mB], lut[levels.mG], lut[levels.mR], lut[kLevels - 1]});
            from += kBytesPerPixel;
            to += sizeof(HostPixel<T>);
        }
    });
}

template <typename T>
void r210::ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                            int height) {
    KVX_ASSERT(sR210LUT != nullptr);
    WalkRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, [=](const char* from, char* to) {
        for (int x = 0; x < width; ++x) {
            const HostPixel<T> pixel = ReadHostPixel<T>(from);
            WriteLevels(to, {LevelOf(pixel.mR), LevelOf(pixel.mG), LevelOf(pixel.mB)});
            from += sizeof(HostPixel<T>);
            to += kBytesPerPixel;
        }
    });
}

template void r210::ScalarConvertTo<unsigned char>(const char*, int, char*, int, int, int,
                                                   unsigned char*);
template void r210::ScalarConvertTo<unsigned short>(const char*, int, char*, int, int, int,
                                                    unsigned short*);
template void r210::ScalarConvertTo<float>(const char*, int, char*, int, int, int, float*);
template void r210::ScalarCreateFrom<unsigned char>(const char*, int, char*, int, int, int);
template void r210::ScalarCreateFrom<unsigned short>(const char*, int, char*, int, int, int);
template void r210::ScalarCreateFrom<float>(const char*, int, char*, int, int, int);

}  // namespace KVX::Converter::Video
