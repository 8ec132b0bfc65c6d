#include "convert/oracle/naive_uyvy.h"

#include "convert/oracle/naive_frame.h"

namespace kvx_test::naive::uyvy {
namespace {

struct Sample {
    int y;
    int u;
    int v;
};

// Pixel `x` less black and neutral, with the chroma of its pair.
Sample ReadSample(const char* row, int x) {
    const int pair = x / 2 * 4;
    return {Get<std::uint8_t>(row, pair + (x % 2 == 0 ? 1 : 3)) - 16,
            Get<std::uint8_t>(row, pair) - 128, Get<std::uint8_t>(row, pair + 2) - 128};
}

template <typename T>
T FinishScalar(float c) {
    if constexpr (std::is_same_v<T, float>) {
        const float limited = c < 0.0f ? 0.0f : c > 255.0f ? 255.0f : c;
        return limited / 255.0f;
    } else if constexpr (sizeof(T) == 2) {
        if (c < 0.0f) {
            return 0;
        }
        const float t = c > 255.0f ? 8355840.0f : c * 32768.0f;
        return static_cast<T>(t / 255.0f);
    } else {
        return c < 0.0f ? T{0} : c > 255.0f ? T{255} : static_cast<T>(c);
    }
}

template <typename T>
float ScalarComponent(T x) {
    if constexpr (std::is_same_v<T, float>) {
        return x < 0.0f ? 0.0f : x > 1.0f ? 255.0f : x * 255.0f;
    } else if constexpr (sizeof(T) == 2) {
        return static_cast<float>(std::min(x / 128, 255));
    } else {
        return static_cast<float>(x);
    }
}

Sample ToYUV(float b, float g, float r, const float* m) {
    const float y = m[2] * b + (m[0] * r + m[1] * g);
    const float cb = m[5] * b + (m[3] * r + m[4] * g);
    const float cr = m[8] * b + (m[6] * r + m[7] * g);
    return {static_cast<int>(static_cast<double>(y) + 16.5),
            static_cast<int>(static_cast<double>(cb) + 128.5),
            static_cast<int>(static_cast<double>(cr) + 128.5)};
}

// One group of 24 pixels; `before` is the neighbour on the left.
template <typename T>
void Group(const char* from, const RGB& before, char* to, const Fixed& c) {
    for (int e = 0; e < 24; e += 2) {
        const RGB left = e == 0 ? before : FourteenBitPixel<T>(from, e - 1);
        const RGB here = FourteenBitPixel<T>(from, e);
        const RGB right = FourteenBitPixel<T>(from, e + 1);
        const RGB f = ThreeTaps(left, here, right);
        const int bytes[4] = {ChromaOf(f, c, 3, 6, 128), LumaOf(here, c, 6, 16, 255),
                              ChromaOf(f, c, 6, 6, 128), LumaOf(right, c, 6, 16, 255)};
        for (int k = 0; k < 4; ++k) {
            to[2 * e + k] = static_cast<char>(bytes[k]);
        }
    }
}

}  // namespace

template <typename T>
void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height, const float* m) {
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width, m](const char* from, char* to, bool) {
                 for (int x = 0; x < RoundUp(width, 2); ++x) {
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

template <typename T>
void VectorConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height, const float* m) {
    const VectorSums<8> sums(m);
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width, &sums](const char* from, char* to, bool) {
                 for (int x = 0; x < RoundUp(width, 16); ++x) {
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
                 const auto convert = [from, m](int x) {
                     return ToYUV(ScalarComponent(Get<T>(from, 4 * x)),
                                  ScalarComponent(Get<T>(from, 4 * x + 1)),
                                  ScalarComponent(Get<T>(from, 4 * x + 2)), m);
                 };
                 for (int x = 0; x < width; x += 2) {
                     const Sample before = convert(x == 0 ? 0 : x - 1);
                     const Sample even = convert(x);
                     const Sample odd = convert(x + 1);
                     const int bytes[4] = {Halve(Halve(before.u, odd.u), even.u), even.y,
                                           Halve(Halve(before.v, odd.v), even.v), odd.y};
                     for (int k = 0; k < 4; ++k) {
                         to[2 * x + k] = static_cast<char>(bytes[k]);
                     }
                 }
             });
}

// Whole groups in every row but the last. There the remainder comes from elsewhere in the source's
// first row, four times as far in as its own pixels.
template <typename T>
void VectorCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height, const float* m) {
    const Fixed c = FixedPoint(m, 32768.0f);
    const int pixelBytes = 4 * static_cast<int>(sizeof(T));
    const int full = width / 24;
    const int remainder = width % 24;
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [&](const char* from, char* to, bool last) {
                 const int groups = last ? full : RoundUp(width, 24) / 24;
                 for (int group = 0; group < groups; ++group) {
                     const RGB before = FourteenBitPixel<T>(from, std::max(24 * group - 1, 0));
                     Group<T>(from + 24 * group * pixelBytes, before, to + 48 * group, c);
                 }
             });
    if (remainder != 0) {
        const char* from = src + 4 * 24 * full * pixelBytes;
        char block[48];
        Group<T>(from, FourteenBitPixel<T>(from, 0), block, c);
        std::memcpy(dst + static_cast<std::ptrdiff_t>(height - 1) * dstRowBytes + 48 * full, block,
                    2 * static_cast<std::size_t>(remainder));
    }
}

#define KVX_INSTANTIATE(T)                                                                   \
    template void ScalarConvertTo<T>(const char*, int, char*, int, int, int, const float*);  \
    template void VectorConvertTo<T>(const char*, int, char*, int, int, int, const float*);  \
    template void ScalarCreateFrom<T>(const char*, int, char*, int, int, int, const float*); \
    template void VectorCreateFrom<T>(const char*, int, char*, int, int, int, const float*)

KVX_INSTANTIATE(unsigned char);
KVX_INSTANTIATE(unsigned short);
KVX_INSTANTIATE(float);

}  // namespace kvx_test::naive::uyvy
