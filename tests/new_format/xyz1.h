// A made-up layout of video: 8-bit 4:2:2 as "2vuy" has it, but with luma first, in rows of whole
// multiples of 64 bytes.
#pragma once

#include "convert/video/conversion.h"

namespace kvx_test {

long RowBytesXyz1(long width);

// Arguments and statuses are those of uyvy::ConvertTo.
long ConvertXyz1(const char* src, int srcRowBytes, int dstPixelFormat, char* dst, int dstRowBytes,
                 int width, int height, KVX::Converter::Video::ColourSpace colourSpace,
                 KVX::Converter::Video::ConversionMode mode);

}  // namespace kvx_test
