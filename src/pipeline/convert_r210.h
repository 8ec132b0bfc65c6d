#pragma once

#include "convert/video/conversion.h"

namespace KVX {

// Brings "r210" frames into the host's formats, each by the converter that makes it. Arguments and
// statuses are those of r210::ConvertTo.
long ConvertR210(const char* src, int srcRowBytes, int dstPixelFormat, char* dst, int dstRowBytes,
                 int width, int height, Converter::Video::ColourSpace colourSpace,
                 Converter::Video::ConversionMode mode);

}  // namespace KVX
