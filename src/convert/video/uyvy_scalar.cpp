#include <cstdint>
#include <initializer_list>

#include "convert/video/host_pixel.h"
#include "convert/video/row_walk.h"
#include "convert/video/uyvy.h"
#include "convert/video/yuv_scalar.h"

namespace KVX::Converter::Video {

namespace {

constexpr int kPairBytes = 4;

void Finish(float value, unsigned char& component) {
    component = static_cast<unsigned char>(Limit(value, 255.0f));
}

void Finish(float value, unsigned short& component) {
    if (value < 0.0f) {
        component = 0;
        return;
    }
    const float scaled = value > 255.0f ? 255.0f * 32768.0f : value * 32768.0f;
    component = static_cast<unsigned short>(scaled / 255.0f);
}

void Finish(float value, float& component) {
    component = Limit(value, 255.0f) / 255.0f;
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

float FromHost(unsigned char component) {
    return component;
}

float FromHost(unsigned short component) {
    const int level = component >> 7;
    return level > 255 ? 255.0f : static_cast<float>(level);
}

// What is no number is black.
float FromHost(float component) {
    return component > 1.0f ? 255.0f : component >= 0.0f ? component * 255.0f : 0.0f;
}

template <typename T>
YUVLevel ReadYUV(const char* from, const TransformMatrix& matrix) {
    const HostPixel<T> pixel = ReadHostPixel<T>(from);
    const float b = FromHost(pixel.mB);
    const float g = FromHost(pixel.mG);
    const float r = FromHost(pixel.mR);
    const float* m = matrix.mCoefficient;
    const float y = m[2] * b + (m[0] * r + m[1] * g);
    const float cb = m[5] * b + (m[3] * r + m[4] * g);
    const float cr = m[8] * b + (m[6] * r + m[7] * g);
    return {static_cast<int>(static_cast<double>(y) + 16.5),
            static_cast<int>(static_cast<double>(cb) + 128.5),
            static_cast<int>(static_cast<double>(cr) + 128.5)};
}

}  // namespace

template <typename T>
void uyvy::ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                           int height, TransformMatrix* matrix) {
    WalkRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, [=](const char* from, char* to) {
        for (int x = 0; x < width; x += 2) {
            unsigned char pair[kPairBytes];
            std::memcpy(pair, from, sizeof(pair));
            const float u = static_cast<float>(pair[0]) - 128.0f;
            const float v = static_cast<float>(pair[2]) - 128.0f;
            for (const unsigned char luma : {pair[1], pair[3]}) {
                const float y = static_cast<float>(luma) - 16.0f;
                WriteHostPixel(to, ToHostPixel<T>(YUVToRGB(*matrix, y, u, v)));
                to += sizeof(HostPixel<T>);
            }
            from += kPairBytes;
        }
    });
}

template <typename T>
void uyvy::ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                            int height, TransformMatrix* matrix) {
    WalkRowsFlipped(src, srcRowBytes, dst, dstRowBytes, height, [=](const char* from, char* to) {
        YUVLevel left = {};
        for (int x = 0; x < width; x += 2) {
            const YUVLevel even = ReadYUV<T>(from, *matrix);
            const YUVLevel odd = ReadYUV<T>(from + sizeof(HostPixel<T>), *matrix);
            if (x == 0) {
                left = even;
            }
            const int u = FilterChroma(left.mCb, even.mCb, odd.mCb);
            const int v = FilterChroma(left.mCr, even.mCr, odd.mCr);
            // Nothing is masked: the matrices keep every value inside its byte.
            const uint32_t word = static_cast<uint32_t>(u) | static_cast<uint32_t>(even.mY) << 8 |
                                  static_cast<uint32_t>(v) << 16 |
                                  static_cast<uint32_t>(odd.mY) << 24;
            std::memcpy(to, &word, sizeof(word));
            left = odd;
            from += 2 * sizeof(HostPixel<T>);
            to += kPairBytes;
        }
    });
}

template void uyvy::ScalarConvertTo<unsigned char>(const char*, int, char*, int, int, int,
                                                   TransformMatrix*);
template void uyvy::ScalarConvertTo<unsigned short>(const char*, int, char*, int, int, int,
                                                    TransformMatrix*);
template void uyvy::ScalarConvertTo<float>(const char*, int, char*, int, int, int,
                                           TransformMatrix*);
template void uyvy::ScalarCreateFrom<unsigned char>(const char*, int, char*, int, int, int,
                                                    TransformMatrix*);
template void uyvy::ScalarCreateFrom<unsigned short>(const char*, int, char*, int, int, int,
                                                     TransformMatrix*);
template void uyvy::ScalarCreateFrom<float>(const char*, int, char*, int, int, int,
                                            TransformMatrix*);

}  // namespace KVX::Converter::Video
