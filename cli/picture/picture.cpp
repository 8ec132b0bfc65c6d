#include "cli/picture/picture.h"

#ifdef __SSSE3__
#include <tmmintrin.h>
#endif

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kvx_cli {

namespace {

constexpr size_t kComponents = 4;       // B, G, R, A in the host's memory
constexpr uint16_t kHostWhite = 32768;  // of 16 bits

void WriteRowOf8(const char* pixels, int width, uint8_t* bytes) {
    int x = 0;
#ifdef __SSSE3__
    // Four pixels per step; the bytes after their twelve are written again by what follows.
    const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    for (; x + 6 <= width; x += 4, pixels += 4 * kComponents, bytes += 12) {
        const __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm_shuffle_epi8(four, order));
    }
#endif
    for (; x < width; ++x, pixels += kComponents, bytes += 3) {
        bytes[0] = static_cast<uint8_t>(pixels[2]);
        bytes[1] = static_cast<uint8_t>(pixels[1]);
        bytes[2] = static_cast<uint8_t>(pixels[0]);
    }
}

// 65535 / 32768 of the level, rounded to the nearest: twice as much, less one above the middle.
uint16_t Stretched(uint16_t level) {
    level = std::min(level, kHostWhite);
    return static_cast<uint16_t>(2 * level - (level > kHostWhite / 2 ? 1 : 0));
}

void WriteRowOf16(const char* pixels, int width, uint8_t* bytes) {
    int x = 0;
#ifdef __SSSE3__
    // Two pixels per step; the bytes after their twelve are written again by what follows. As
    // signed numbers the levels from white up are below 0, and white is the least.
    const __m128i order = _mm_setr_epi8(5, 4, 3, 2, 1, 0, 13, 12, 11, 10, 9, 8, -1, -1, -1, -1);
    const __m128i least = _mm_set1_epi16(INT16_MIN);
    const __m128i middle = _mm_set1_epi16(kHostWhite / 2);
    for (; x + 3 <= width; x += 2, pixels += 2 * kComponents * sizeof(uint16_t), bytes += 12) {
        const __m128i two = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
        const __m128i isWhite = _mm_srai_epi16(two, 15);  // or above
        const __m128i level =
            _mm_or_si128(_mm_andnot_si128(isWhite, two), _mm_and_si128(isWhite, least));
        const __m128i isHigh = _mm_or_si128(_mm_cmpgt_epi16(level, middle), isWhite);
        const __m128i stretched = _mm_add_epi16(_mm_add_epi16(level, level), isHigh);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm_shuffle_epi8(stretched, order));
    }
#endif
    for (; x < width; ++x, pixels += kComponents * sizeof(uint16_t)) {
        uint16_t levels[kComponents];
        std::memcpy(levels, pixels, sizeof(levels));
        for (const int component : {2, 1, 0}) {
            const uint16_t level = Stretched(levels[component]);
            *bytes++ = static_cast<uint8_t>(level >> 8);
            *bytes++ = static_cast<uint8_t>(level);
        }
    }
}

}  // namespace

PrPixelFormat PictureFormat(int depth) {
    return depth == 16 ? PrPixelFormat_BGRA_4444_16u : PrPixelFormat_BGRA_4444_8u;
}

void WritePictureRow(const kvx_hostkit::PixelBufferView& view, int row, uint8_t* bytes) {
    const auto write = view.format == PrPixelFormat_BGRA_4444_16u ? WriteRowOf16 : WriteRowOf8;
    write(view.pixels + static_cast<ptrdiff_t>(view.height - 1 - row) * view.rowBytes, view.width,
          bytes);
}

Picture PictureOf(const kvx_hostkit::PixelBufferView& view) {
    Picture picture;
    picture.width = view.width;
    picture.height = view.height;
    picture.depth = view.format == PrPixelFormat_BGRA_4444_16u ? 16 : 8;
    const size_t rowBytes =
        static_cast<size_t>(view.width) * 3 * static_cast<size_t>(picture.depth / 8);
    picture.bytes.resize(rowBytes * static_cast<size_t>(view.height));
    for (int row = 0; row < view.height; ++row) {
        WritePictureRow(view, row, picture.bytes.data() + static_cast<size_t>(row) * rowBytes);
    }
    return picture;
}

}  // namespace kvx_cli
