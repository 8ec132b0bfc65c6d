#include <cstdint>

#include "convert/video/host_pixel.h"
#include "convert/video/row_walk.h"
#include "convert/video/v210.h"
#include "convert/video/yuv_scalar.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kGroupPixels = 6;
constexpr int kGroupWords = 4;
constexpr int kGroupBytes = kGroupWords * 4;

// A group's samples in the order of the file: three in a word, from its low bits up.
constexpr int kGroupSamples = 3 * kGroupWords;
constexpr int kLuma[kGroupPixels] = {1, 3, 5, 7, 9, 11};
constexpr int kCb[kGroupPixels / 2] = {0, 4, 8};
constexpr int kCr[kGroupPixels / 2] = {2, 6, 10};

void ReadGroup(const char* from, int (&samples)[kGroupSamples]) {
    for (int i = 0; i < kGroupWords; ++i) {
        uint32_t word;
        std::memcpy(&word, from + 4 * i, sizeof(word));
        for (int k = 0; k < 3; ++k) {
            samples[3 * i + k] = static_cast<int>((word >> (10 * k)) & 0x3FF);
        }
    }
}

void WriteGroup(char* to, const int (&samples)[kGroupSamples]) {
    for (int i = 0; i < kGroupWords; ++i) {
        const uint32_t word = static_cast<uint32_t>(samples[3 * i]) |
                              static_cast<uint32_t>(samples[3 * i + 1]) << 10 |
                              static_cast<uint32_t>(samples[3 * i + 2]) << 20;
        std::memcpy(to + 4 * i, &word, sizeof(word));
    }
}

void Finish(float value, unsigned char& component) {
    component = value > 1023.0f
                    ? 255
                    : static_cast<unsigned char>(static_cast<int>(Limit(value, 1023.0f)) >> 2);
}

void Finish(float value, unsigned short& component) {
    component = static_cast<unsigned short>(Limit(value, 1023.0f) / 1023.0f * 32768.0f);
}

void Finish(float value, float& component) {
    component = Limit(value, 1023.0f) / 1023.0f;
}

template <typename T>
HostPixel<T> ToHostPixel(const RGBFloats& rgb) {
    HostPixel<T> pixel;
    Finish(rgb.mB, pixel.mB);
    Finish(rgb.mG, pixel.mG);
    Finish(rgb.mR, pixel.mR);
    pixel.mA = kOpaque<T>;
    return pixel;
}

double FromHost(unsigned char component) {
    return component * 4;
}

double FromHost(unsigned short component) {
    const int level = component >> 5;
    return level > 1023 ? 1023.0 : level;
}

// What is no number is black.
double FromHost(float component) {
    return component > 1.0f    ? 1023.0
           : component >= 0.0f ? static_cast<double>(component * 1023.0f)
                               : 0.0;
}

template <typename T>
YUVLevel ReadYUV(const char* from, const double (&m)[9]) {
    const HostPixel<T> pixel = ReadHostPixel<T>(from);
    const double b = FromHost(pixel.mB);
    const double g = FromHost(pixel.mG);
    const double r = FromHost(pixel.mR);
    return {static_cast<int>(m[2] * b + (m[0] * r + m[1] * g) + 64.5),
            static_cast<int>(m[5] * b + (m[3] * r + m[4] * g) + 512.5),
            static_cast<int>(m[8] * b + (m[6] * r + m[7] * g) + 512.5)};
}

}  // namespace

template <typename T>
void v210::ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                           int height, TransformMatrix* matrix) {
    WalkRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, [=](const char* from, char* to) {
        for (int x = 0; x < width; x += kGroupPixels) {
            int samples[kGroupSamples];
            ReadGroup(from, samples);
            for (int pixel = 0; pixel < kGroupPixels; ++pixel) {
                const int pair = pixel / 2;
                const float y = static_cast<float>(samples[kLuma[pixel]]) - 64.0f;
                const float u = static_cast<float>(samples[kCb[pair]]) - 512.0f;
                const float v = static_cast<float>(samples[kCr[pair]]) - 512.0f;
                WriteHostPixel(to, ToHostPixel<T>(YUVToRGB(*matrix, y, u, v)));
                to += sizeof(HostPixel<T>);
            }
            from += kGroupBytes;
        }
    });
}

template <typename T>
void v210::ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                            int height, TransformMatrix* matrix) {
    double m[9];
    for (int i = 0; i < 9; ++i) {
        m[i] = static_cast<double>(matrix->mCoefficient[i]);
    }
    WalkRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height,
                    [&m, width](const char* from, char* to) {
                        YUVLevel left = {};
                        for (int x = 0; x < width; x += kGroupPixels) {
                            YUVLevel yuv[kGroupPixels];
                            for (YUVLevel& pixel : yuv) {
                                pixel = ReadYUV<T>(from, m);
                                from += sizeof(HostPixel<T>);
                            }
                            if (x == 0) {
                                left = yuv[0];
                            }
                            int samples[kGroupSamples];
                            for (int pixel = 0; pixel < kGroupPixels; ++pixel) {
                                samples[kLuma[pixel]] = yuv[pixel].mY;
                            }
                            for (int pixel = 0; pixel < kGroupPixels; pixel += 2) {
                                samples[kCb[pixel / 2]] =
                                    FilterChroma(left.mCb, yuv[pixel].mCb, yuv[pixel + 1].mCb);
                                samples[kCr[pixel / 2]] =
                                    FilterChroma(left.mCr, yuv[pixel].mCr, yuv[pixel + 1].mCr);
                                left = yuv[pixel + 1];
                            }
                            WriteGroup(to, samples);
                            to += kGroupBytes;
                        }
                    });
}

template void v210::ScalarConvertTo<unsigned char>(const char*, int, char*, int, int, int,
                                                   TransformMatrix*);
template void v210::ScalarConvertTo<unsigned short>(const char*, int, char*, int, int, int,
                                                    TransformMatrix*);
template void v210::ScalarConvertTo<float>(const char*, int, char*, int, int, int,
                                           TransformMatrix*);
template void v210::ScalarCreateFrom<unsigned char>(const char*, int, char*, int, int, int,
                                                    TransformMatrix*);
template void v210::ScalarCreateFrom<unsigned short>(const char*, int, char*, int, int, int,
                                                     TransformMatrix*);
template void v210::ScalarCreateFrom<float>(const char*, int, char*, int, int, int,
                                            TransformMatrix*);

}  // namespace KVX::Converter::Video
