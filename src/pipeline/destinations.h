// What each source format's frames can be brought into, and how.
#pragma once

#include <cstdint>

#include "convert/video/conversion.h"
#include "premiere/pixel_formats.h"

namespace KVX {

struct Destinations {
    using Convert = long(const char* src, int srcRowBytes, int dstPixelFormat, char* dst,
                         int dstRowBytes, int width, int height,
                         Converter::Video::ColourSpace colourSpace,
                         Converter::Video::ConversionMode mode);

    uint32_t source;  // four-character code, first character in the highest byte

    // The host's formats that no other layout is brought into, by the matrix of their pixels; one
    // format twice if it has none.
    PrPixelFormat rec601;
    PrPixelFormat rec709;
    bool isSameLayout;  // they are the file's bytes

    // What makes all other formats, and these if their layout differs, and its name in the log.
    // Null for compressed sources, which nothing decodes.
    Convert* convert;
    const char* converterName;

    bool Owns(PrPixelFormat format) const { return format == rec601 || format == rec709; }
};

// Those of an uncompressed or compressed source format that is offered; null for any other.
const Destinations* FindDestinations(uint32_t source);

// Whether frames of the source format can be requested in the host's format. That is more than can
// be filled: compressed sources are accepted although nothing decodes them, and formats that are
// accepted for any source are not checked against it.
bool IsDestination(uint32_t source, PrPixelFormat format);

// Whether the host's format is the same bytes as the source format.
bool IsSameLayout(uint32_t source, PrPixelFormat format);

}  // namespace KVX
