#include "cli/picture/picture.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace kvx_cli {

namespace {

constexpr int kComponents = 4;              // B, G, R, A in the host's memory
constexpr int kRedGreenBlue[] = {2, 1, 0};  // where they are
constexpr uint32_t kHostWhite = 32768;      // of 16 bits
constexpr uint32_t kPictureWhite = 0xFFFF;

void AppendRowOf8(const char* pixels, int width, std::vector<uint8_t>& bytes) {
    for (int x = 0; x < width; ++x, pixels += kComponents) {
        for (const int component : kRedGreenBlue) {
            bytes.push_back(static_cast<uint8_t>(pixels[component]));
        }
    }
}

void AppendRowOf16(const char* pixels, int width, std::vector<uint8_t>& bytes) {
    for (int x = 0; x < width; ++x, pixels += kComponents * sizeof(uint16_t)) {
        uint16_t levels[kComponents];
        std::memcpy(levels, pixels, sizeof(levels));
        for (const int component : kRedGreenBlue) {
            const uint32_t level = std::min<uint32_t>(levels[component], kHostWhite);
            const uint32_t scaled = (level * kPictureWhite + kHostWhite / 2) / kHostWhite;
            bytes.push_back(static_cast<uint8_t>(scaled >> 8));
            bytes.push_back(static_cast<uint8_t>(scaled));
        }
    }
}

}  // namespace

PrPixelFormat PictureFormat(int depth) {
    return depth == 16 ? PrPixelFormat_BGRA_4444_16u : PrPixelFormat_BGRA_4444_8u;
}

Picture PictureOf(const kvx_hostkit::PixelBufferView& view) {
    Picture picture;
    picture.width = view.width;
    picture.height = view.height;
    picture.depth = view.format == PrPixelFormat_BGRA_4444_16u ? 16 : 8;
    const auto appendRow = picture.depth == 16 ? AppendRowOf16 : AppendRowOf8;
    picture.bytes.reserve(static_cast<size_t>(view.width) * static_cast<size_t>(view.height) * 3 *
                          static_cast<size_t>(picture.depth / 8));
    for (int row = view.height - 1; row >= 0; --row) {
        appendRow(view.pixels + static_cast<ptrdiff_t>(row) * view.rowBytes, view.width,
                  picture.bytes);
    }
    return picture;
}

}  // namespace kvx_cli
