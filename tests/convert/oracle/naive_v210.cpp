#include "convert/oracle/naive_v210.h"

#include "convert/oracle/naive_frame.h"

namespace kvx_test::naive::v210 {
namespace {

struct Sample {
    int y;
    int u;
    int v;
};

int ReadTenBits(const char* group, int place) {
    std::uint32_t word = 0;
    for (int byte = 3; byte >= 0; --byte) {
        word = word * 256 + Get<std::uint8_t>(group, place / 3 * 4 + byte);
    }
    return static_cast<int>(word >> (10 * (place % 3)) & 0x3FF);
}

// Pixel `x` less black and neutral, with the chroma of its pair. The samples of six pixels run
// Cb Y Cr Y, as in 8 bits.
Sample ReadSample(const char* row, int x) {
    const char* group = row + x / 6 * 16;
    const int pair = x % 6 / 2 * 4;
    return {ReadTenBits(group, pair + (x % 2 == 0 ? 1 : 3)) - 64, ReadTenBits(group, pair) - 512,
            ReadTenBits(group, pair + 2) - 512};
}

template <typename T>
T FinishScalar(float c) {
    const float limited = c < 0.0f ? 0.0f : c > 1023.0f ? 1023.0f : c;
    if constexpr (std::is_same_v<T, float>) {
        return limited / 1023.0f;
    } else if constexpr (sizeof(T) == 2) {
        return static_cast<T>(limited / 1023.0f * 32768.0f);
    } else {
        return static_cast<T>(static_cast<int>(limited) / 4);
    }
}

template <typename T>
double ScalarComponent(T x) {
    if constexpr (std::is_same_v<T, float>) {
        return x < 0.0f ? 0.0 : x > 1.0f ? 1023.0 : static_cast<double>(x * 1023.0f);
    } else if constexpr (sizeof(T) == 2) {
        return std::min(x / 32, 1023);
    } else {
        return x * 4;
    }
}

template <typename T>
Sample ToYUV(const char* row, int x, const float* m) {
    const double b = ScalarComponent(Get<T>(row, 4 * x));
    const double g = ScalarComponent(Get<T>(row, 4 * x + 1));
    const double r = ScalarComponent(Get<T>(row, 4 * x + 2));
    const auto sum = [&](int k) {
        return static_cast<double>(m[k + 2]) * b +
               (static_cast<double>(m[k]) * r + static_cast<double>(m[k + 1]) * g);
    };
    return {static_cast<int>(sum(0) + 64.5), static_cast<int>(sum(3) + 512.5),
            static_cast<int>(sum(6) + 512.5)};
}

}  // namespace

template <typename T>
void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height, const float* m) {
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width, m](const char* from, char* to, bool) {
                 for (int x = 0; x < RoundUp(width, 6); ++x) {
                     const Sample s = ReadSample(from, x);
                     const auto y = static_cast<float>(s.y);
                     const auto u = static_cast<float>(s.u);
                     const auto v = static_cast<float>(s.v);
                     const float r = m[2] * v + (m[0] * y + m[1] * u);
                     const float g = m[5] * v + (m[3] * y + m[4] * u);
                     const float b = m[8] * v + (m[6] * y + m[7] * u);
                     PutBGRA<T>(to, x, FinishScalar<T>(b), FinishScalar<T>(g), FinishScalar<T>(r));
                 }
             });
}

// Whole groups of 24 in every row but the last, which ends at the width.
template <typename T>
void VectorConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height, const float* m) {
    const VectorSums<10> sums(m);
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width, &sums](const char* from, char* to, bool last) {
                 for (int x = 0; x < (last ? width : RoundUp(width, 24)); ++x) {
                     const Sample s = ReadSample(from, x);
                     PutSums<T>(to, x, sums.Of(s.y, s.u, s.v, x % 2 == 1));
                 }
             });
}

template <typename T>
void ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height, const float* m) {
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width, m](const char* from, char* to, bool) {
                 for (int x = 0; x < width; x += 6) {
                     int y[6];
                     int cb[3];
                     int cr[3];
                     for (int k = 0; k < 6; ++k) {
                         y[k] = ToYUV<T>(from, x + k, m).y;
                     }
                     for (int k = 0; k < 3; ++k) {
                         const int e = x + 2 * k;
                         const Sample before = ToYUV<T>(from, std::max(e - 1, 0), m);
                         const Sample here = ToYUV<T>(from, e, m);
                         const Sample after = ToYUV<T>(from, e + 1, m);
                         cb[k] = Halve(Halve(before.u, after.u), here.u);
                         cr[k] = Halve(Halve(before.v, after.v), here.v);
                     }
                     PutSixV210(to + x / 6 * 16, y, cb, cr);
                 }
             });
}

template <typename T>
void VectorCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height, const float* m) {
    const Fixed c = FixedPoint(m, 32768.0f);
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width, &c](const char* from, char* to, bool) {
                 const auto pixel = [from](int x) {
                     return FourteenBitPixel<T>(from, std::max(x, 0));
                 };
                 PutRowV210(to, width, pixel, c, 64);
             });
}

#define KVX_INSTANTIATE(T)                                                                   \
    template void ScalarConvertTo<T>(const char*, int, char*, int, int, int, const float*);  \
    template void VectorConvertTo<T>(const char*, int, char*, int, int, int, const float*);  \
    template void ScalarCreateFrom<T>(const char*, int, char*, int, int, int, const float*); \
    template void VectorCreateFrom<T>(const char*, int, char*, int, int, int, const float*)

KVX_INSTANTIATE(unsigned char);
KVX_INSTANTIATE(unsigned short);
KVX_INSTANTIATE(float);

}  // namespace kvx_test::naive::v210
