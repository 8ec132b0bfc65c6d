#include "cli/picture/picture.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kvx_cli {

namespace {

constexpr size_t kComponents = 4;       // B, G, R, A in the host's memory
constexpr uint16_t kHostWhite = 32768;  // of 16 bits

void WriteRowOf8(const char* pixels, int width, uint8_t* bytes) {
    for (int x = 0; x < width; ++x, pixels += kComponents, bytes += 3) {
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
    for (int x = 0; x < width; ++x, pixels += kComponents * sizeof(uint16_t)) {
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
