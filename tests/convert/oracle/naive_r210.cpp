#include "convert/oracle/naive_r210.h"

#include "convert/oracle/naive_frame.h"

namespace kvx_test::naive::r210 {
namespace {

constexpr int kBlack = 64;
constexpr int kSpan = 876;

RGB ReadPixel(const char* row, int x) {
    std::uint32_t word = 0;
    for (int byte = 0; byte < 4; ++byte) {
        word = word * 256 + Get<std::uint8_t>(row, 4 * x + byte);
    }
    return {static_cast<int>(word % 1024), static_cast<int>(word / 1024 % 1024),
            static_cast<int>(word / 1048576 % 1024)};
}

void WritePixel(char* row, int x, const RGB& p) {
    const auto word = static_cast<std::uint32_t>(p.r) * 1048576 +
                      static_cast<std::uint32_t>(p.g) * 1024 + static_cast<std::uint32_t>(p.b);
    for (int byte = 0; byte < 4; ++byte) {
        Put<std::uint8_t>(row, 4 * x + byte, static_cast<std::uint8_t>(word >> (24 - 8 * byte)));
    }
}

template <typename T>
T VectorOfLevel(int level) {
    const int t = std::clamp(level - kBlack, 0, kSpan);
    if constexpr (std::is_same_v<T, float>) {
        return static_cast<float>(t) / 876.0f;
    } else if constexpr (sizeof(T) == 2) {
        return static_cast<T>(t * 37 + t / 4 + t / 8 + t / 32);
    } else {
        return static_cast<T>(t * 19077 / 65536);
    }
}

template <typename T>
int ScalarLevelOf(T value) {
    if constexpr (std::is_same_v<T, float>) {
        const int scaled = static_cast<int>(static_cast<double>(value) * 32768.0);
        return ScalarLevelOf16u(std::clamp(scaled, 0, 32768));
    } else {
        return ScalarLevelOf16u(sizeof(T) == 2 ? value : value * 128);
    }
}

int RoundToEven(float value) {
    const int whole = static_cast<int>(value);
    const float rest = value - static_cast<float>(whole);
    return rest > 0.5f || (rest == 0.5f && whole % 2 == 1) ? whole + 1 : whole;
}

template <typename T>
int VectorLevelOf(T value) {
    if constexpr (std::is_same_v<T, float>) {
        return RoundToEven(std::clamp(value, 0.0f, 1.0f) * 876.0f) + kBlack;
    } else {
        const int scaled = sizeof(T) == 2 ? value : value * 128 + 19;
        return scaled * 1752 / 65536 + kBlack;
    }
}

}  // namespace

int ScalarLevelOf16u(int value) {
    return std::min((16384 + kSpan * value) / 32768 + kBlack, 1019);
}

int Scalar16uOfLevel(int level) {
    return level < 65 ? 0 : std::min(((level - kBlack) * 32768 + 438) / kSpan, 32768);
}

template <typename T>
T ScalarOfLevel(int level) {
    const int v = Scalar16uOfLevel(level);
    if constexpr (std::is_same_v<T, float>) {
        return static_cast<float>(v) * 3.0517578125e-05f;
    } else if constexpr (sizeof(T) == 2) {
        return static_cast<T>(v);
    } else {
        return static_cast<T>(v == 32768 ? 255 : v / 128);
    }
}

template <typename T>
void ScalarConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height) {
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width](const char* from, char* to, bool) {
                 for (int x = 0; x < width; ++x) {
                     const RGB p = ReadPixel(from, x);
                     PutBGRA<T>(to, x, ScalarOfLevel<T>(p.b), ScalarOfLevel<T>(p.g),
                                ScalarOfLevel<T>(p.r));
                 }
             });
}

template <typename T>
void VectorConvertTo(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                     int height) {
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width](const char* from, char* to, bool) {
                 for (int x = 0; x < RoundUp(width, 8); ++x) {
                     const RGB p = ReadPixel(from, x);
                     PutBGRA<T>(to, x, VectorOfLevel<T>(p.b), VectorOfLevel<T>(p.g),
                                VectorOfLevel<T>(p.r));
                 }
             });
}

template <typename T>
void ScalarCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height) {
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width](const char* from, char* to, bool) {
                 for (int x = 0; x < width; ++x) {
                     WritePixel(to, x,
                                {ScalarLevelOf(Get<T>(from, 4 * x)),
                                 ScalarLevelOf(Get<T>(from, 4 * x + 1)),
                                 ScalarLevelOf(Get<T>(from, 4 * x + 2))});
                 }
             });
}

template <typename T>
void VectorCreateFrom(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                      int height) {
    TurnOver(src, srcRowBytes, dst, dstRowBytes, width, height,
             [width](const char* from, char* to, bool) {
                 const int unit = sizeof(T) == 1 ? 8 : 4;
                 for (int x = 0; x < RoundUp(width, unit); ++x) {
                     WritePixel(to, x,
                                {VectorLevelOf(Get<T>(from, 4 * x)),
                                 VectorLevelOf(Get<T>(from, 4 * x + 1)),
                                 VectorLevelOf(Get<T>(from, 4 * x + 2))});
                 }
             });
}

// The picture is not turned over, and the components keep their black level.
void ConvertToV210(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width,
                   int height, const float* matrix) {
    const Fixed c = FixedPoint(matrix, 32768.0f);
    for (int row = 0; row < height; ++row) {
        const char* from = src + static_cast<std::ptrdiff_t>(row) * srcRowBytes;
        char* to = dst + static_cast<std::ptrdiff_t>(row) * dstRowBytes;
        const auto pixel = [from](int x) {
            const RGB p = ReadPixel(from, std::max(x, 0));
            return RGB{p.b * 16, p.g * 16, p.r * 16};
        };
        PutRowV210(to, width, pixel, c, 0);
    }
}

#define KVX_INSTANTIATE(T)                                                     \
    template T ScalarOfLevel<T>(int);                                          \
    template void ScalarConvertTo<T>(const char*, int, char*, int, int, int);  \
    template void VectorConvertTo<T>(const char*, int, char*, int, int, int);  \
    template void ScalarCreateFrom<T>(const char*, int, char*, int, int, int); \
    template void VectorCreateFrom<T>(const char*, int, char*, int, int, int)

KVX_INSTANTIATE(unsigned char);
KVX_INSTANTIATE(unsigned short);
KVX_INSTANTIATE(float);

}  // namespace kvx_test::naive::r210
