#include "cli/picture/raw_frame.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/four_char_code.h"
#include "pipeline/custom_frame.h"

namespace kvx_cli {

using KVX::Core::FourCharCode;

namespace {

struct RawFormat {
    uint32_t fileFormat;
    PrPixelFormat pixelFormat;
};

constexpr RawFormat kRawFormats[] = {
    {FourCharCode("v210"), PrPixelFormat_V210_422_10u_601},
    {FourCharCode("2vuy"), PrPixelFormat_UYVY_422_8u_601},
    {FourCharCode("2Vuy"), PrPixelFormat_UYVY_422_8u_601},
};

std::vector<ByteSpan> CustomBytes(const kvx_hostkit::PixelBufferView& view) {
    KVX::CustomFrameHeader header;
    if (view.dataSize < sizeof(header)) {
        return {};
    }
    std::memcpy(&header, view.pixels, sizeof(header));
    const uint64_t size = uint64_t{header.sourceRowBytes} * static_cast<uint64_t>(view.height);
    const bool fits = size + header.skew <= header.dataLength &&
                      uint64_t{header.dataOffset} + header.dataLength <= view.dataSize;
    if (!fits) {
        return {};
    }
    return {{view.pixels + header.dataOffset + header.skew, static_cast<size_t>(size)}};
}

}  // namespace

PrPixelFormat RawPixelFormat(uint32_t fileFormat) {
    const auto found =
        std::find_if(std::begin(kRawFormats), std::end(kRawFormats),
                     [=](const RawFormat& each) { return each.fileFormat == fileFormat; });
    return found == std::end(kRawFormats) ? kKVXCustomPixelFormat : found->pixelFormat;
}

size_t RawFrameSize(uint32_t fileFormat, int width, int height) {
    const PrPixelFormat format = RawPixelFormat(fileFormat);
    const auto pixels = static_cast<size_t>(width);
    const size_t rowBytes = format == kKVXCustomPixelFormat
                                ? (pixels + 63) / 64 * 256
                                : static_cast<size_t>(kvx_hostkit::TightRowBytes(format, width));
    return rowBytes * static_cast<size_t>(height);
}

std::vector<ByteSpan> RawBytes(const kvx_hostkit::PixelBufferView& view) {
    if (view.format == kKVXCustomPixelFormat) {
        return CustomBytes(view);
    }
    const int tight = kvx_hostkit::TightRowBytes(view.format, view.width);
    if (view.rowBytes == tight) {
        return {{view.pixels, static_cast<size_t>(tight) * static_cast<size_t>(view.height)}};
    }
    std::vector<ByteSpan> rows;
    rows.reserve(static_cast<size_t>(view.height));
    for (int row = 0; row < view.height; ++row) {
        rows.push_back({view.pixels + static_cast<ptrdiff_t>(row) * view.rowBytes,
                        static_cast<size_t>(tight)});
    }
    return rows;
}

}  // namespace kvx_cli
