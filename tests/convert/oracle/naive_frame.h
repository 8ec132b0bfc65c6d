// What the plain models of the video converters share: memory by the byte, the shifts and limits of
// the converters' arithmetic, and the walk over the rows of a frame.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace kvx_test::naive {

inline bool IsAligned(const char* pointer, int rowBytes) {
    return reinterpret_cast<std::uintptr_t>(pointer) % 16 == 0 && rowBytes % 16 == 0;
}

template <typename T>
T Get(const char* from, int index) {
    T value;
    std::memcpy(&value, from + static_cast<std::ptrdiff_t>(index) * static_cast<int>(sizeof(T)),
                sizeof(T));
    return value;
}

template <typename T>
void Put(char* to, int index, T value) {
    std::memcpy(to + static_cast<std::ptrdiff_t>(index) * static_cast<int>(sizeof(T)), &value,
                sizeof(T));
}

// Shifts right with the sign, that is a division rounded down.
inline int Shift(int value, int bits) {
    const int divisor = 1 << bits;
    return (value - ((value % divisor) + divisor) % divisor) / divisor;
}

inline int Saturate16(int value) {
    return std::clamp(value, -32768, 32767);
}

// The low 16 bits as a signed word.
inline int Low16(int value) {
    const int low = ((value % 65536) + 65536) % 65536;
    return low > 32767 ? low - 65536 : low;
}

struct RGB {
    int b;
    int g;
    int r;
};

template <typename T>
T OpaqueAlpha() {
    if constexpr (std::is_same_v<T, float>) {
        return 1.0f;
    } else {
        return sizeof(T) == 2 ? static_cast<T>(32768) : static_cast<T>(255);
    }
}

// Writes pixel `x` of a row of B, G, R, A.
template <typename T>
void PutBGRA(char* row, int x, T b, T g, T r) {
    Put<T>(row, 4 * x, b);
    Put<T>(row, 4 * x + 1, g);
    Put<T>(row, 4 * x + 2, r);
    Put<T>(row, 4 * x + 3, OpaqueAlpha<T>());
}

inline int RoundUp(int value, int unit) {
    return (value + unit - 1) / unit * unit;
}

using Fixed = std::array<int, 9>;

inline Fixed FixedPoint(const float* matrix, float scale) {
    Fixed fixed{};
    for (int k = 0; k < 9; ++k) {
        fixed[static_cast<std::size_t>(k)] = static_cast<int>(matrix[k] * scale);
    }
    return fixed;
}

// A row of the destination takes the row of the source that is as far from the other end.
template <typename Row>
void TurnOver(const char* src, int srcRowBytes, char* dst, int dstRowBytes, int width, int height,
              Row row) {
    if (width < 1 || height < 1) {
        return;
    }
    for (int y = 0; y < height; ++y) {
        row(src + static_cast<std::ptrdiff_t>(height - 1 - y) * srcRowBytes,
            dst + static_cast<std::ptrdiff_t>(y) * dstRowBytes, y == height - 1);
    }
}

// The host's component on 14 bits.
template <typename T>
int FourteenBits(T value) {
    if constexpr (std::is_same_v<T, float>) {
        // Round half to even, by hand: the product is exact in double.
        const double scaled = static_cast<double>(std::clamp(value, 0.0f, 1.0f)) * 16384.0;
        const int whole = static_cast<int>(scaled);
        const double rest = scaled - whole;
        const bool up = rest > 0.5 || (rest == 0.5 && whole % 2 == 1);
        return up ? whole + 1 : whole;
    } else {
        return sizeof(T) == 2 ? value / 2 : value * 64;
    }
}

template <typename T>
RGB FourteenBitPixel(const char* row, int x) {
    return {FourteenBits(Get<T>(row, 4 * x)), FourteenBits(Get<T>(row, 4 * x + 1)),
            FourteenBits(Get<T>(row, 4 * x + 2))};
}

inline int Halve(int a, int b) {
    return (a + b) / 2;
}

// Three taps about the even pixel `here`, word by word.
inline RGB ThreeTaps(const RGB& before, const RGB& here, const RGB& after) {
    return {Halve(Halve(before.b, here.b), Halve(here.b, after.b)),
            Halve(Halve(before.g, here.g), Halve(here.g, after.g)),
            Halve(Halve(before.r, here.r), Halve(here.r, after.r))};
}

// The parts of blue with green and of red are truncated apart from one another, and without regard
// to a sign: what is below 0 makes the largest number.
inline int LumaOf(const RGB& p, const Fixed& c, int shift, int black, int highest) {
    const auto part = [](int product) {
        return Saturate16(static_cast<int>(static_cast<unsigned>(product) >> 15));
    };
    const int a = part(p.b * c[2] + p.g * c[1]);
    const int b = part(p.r * c[0]);
    return std::min(Shift(a + b, shift) + black, highest);
}

inline int ChromaOf(const RGB& p, const Fixed& c, std::size_t row, int shift, int neutral) {
    const int a = Saturate16(Shift(p.b * c[row + 2] + p.g * c[row + 1], 15));
    const int b = Saturate16(Shift(p.r * c[row], 15));
    return Shift(a + b, shift) + neutral;
}

// A pixel's sums, 64 units to an 8-bit level. The luma joins U in the even pixel of a pair and V in
// the odd one, and each part is truncated by itself.
template <int kShift>
class VectorSums {
  public:
    // Takes the matrix as integers once: for each pixel anew that would be most of a model's time.
    explicit VectorSums(const float* matrix)
        : mFine(FixedPoint(matrix, 16384.0f)), mCoarse(FixedPoint(matrix, 8192.0f)) {}

    RGB Of(int y, int u, int v, bool odd) const {
        const auto sum = [&](const Fixed& c, std::size_t row, int bits) {
            const int luma = y * c[row];
            const int p = u * c[row + 1] + (odd ? 0 : luma);
            const int q = v * c[row + 2] + (odd ? luma : 0);
            return Saturate16(Shift(p, bits)) + Saturate16(Shift(q, bits));
        };
        return {sum(mCoarse, 6, kShift - 1), sum(mFine, 3, kShift), sum(mFine, 0, kShift)};
    }

  private:
    Fixed mFine;
    Fixed mCoarse;
};

template <typename T>
T FinishSum(int t) {
    if constexpr (std::is_same_v<T, float>) {
        const std::uint32_t bits = 0x38808081;
        float scale;
        std::memcpy(&scale, &bits, sizeof(scale));
        const float scaled = static_cast<float>(t) * scale;
        return scaled < 0.0f ? 0.0f : scaled > 1.0f ? 1.0f : scaled;
    } else if constexpr (sizeof(T) == 2) {
        const int word = Low16(t + Shift(t, 8));
        return static_cast<T>(std::clamp(word, 0, 16384) * 2);
    } else {
        return static_cast<T>(std::clamp(Shift(Low16(t), 6), 0, 255));
    }
}

template <typename T>
void PutSums(char* row, int x, const RGB& sums) {
    PutBGRA<T>(row, x, FinishSum<T>(sums.b), FinishSum<T>(sums.g), FinishSum<T>(sums.r));
}

// Six samples Y and three pairs of chroma into sixteen bytes.
inline void PutSixV210(char* to, const int* y, const int* cb, const int* cr) {
    const int samples[12] = {cb[0], y[0], cr[0], y[1], cb[1], y[2],
                             cr[1], y[3], cb[2], y[4], cr[2], y[5]};
    for (int word = 0; word < 4; ++word) {
        std::uint32_t packed = 0;
        for (int place = 0; place < 3; ++place) {
            packed |= static_cast<std::uint32_t>(samples[3 * word + place]) << (10 * place);
        }
        for (int byte = 0; byte < 4; ++byte) {
            to[4 * word + byte] = static_cast<char>(packed >> (8 * byte));
        }
    }
}

// A row of pixels, six at a time, up to whole groups of 24. `pixel(x)` has each on 14 bits, and for
// -1 what stands for the neighbour of the first.
template <typename PixelAt>
void PutRowV210(char* to, int width, PixelAt pixel, const Fixed& c, int black) {
    for (int x = 0; x < RoundUp(width, 24); x += 6) {
        RGB pixels[7];  // from the neighbour on the left on
        for (int k = 0; k < 7; ++k) {
            pixels[k] = pixel(x - 1 + k);
        }
        int y[6];
        int cb[3];
        int cr[3];
        for (int k = 0; k < 6; ++k) {
            y[k] = LumaOf(pixels[k + 1], c, 4, black, 1023);
        }
        for (int k = 0; k < 3; ++k) {
            const RGB f = ThreeTaps(pixels[2 * k], pixels[2 * k + 1], pixels[2 * k + 2]);
            cb[k] = ChromaOf(f, c, 3, 4, 512);
            cr[k] = ChromaOf(f, c, 6, 4, 512);
        }
        PutSixV210(to + x / 6 * 16, y, cb, cr);
    }
}

}  // namespace kvx_test::naive
