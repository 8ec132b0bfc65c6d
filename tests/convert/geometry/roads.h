// What becomes of each source in each pixel format of the host's, told without the importer.
#pragma once

#include <string>

#include "convert/geometry/routines.h"
#include "premiere/pixel_formats.h"

namespace kvx_test::geometry {

// kLeftFresh: delivered with the pixels that the host's buffer had.
enum class Road { kRefused, kFileBytes, kCopied, kTo8u, kTo16u, kTo32f, kToRGB1, kLeftFresh };

// `source` is the four characters of the track's format.
Road RoadOf(const std::string& source, PrPixelFormat format);

// From one row to the next in the file.
int FileRowBytes(const std::string& source, int width);

// Bytes of a row's own pixels in the host's buffer.
int VisibleBytes(const std::string& source, Road road, int width);

// Vector code has its own rounding, so that it matters which of the two runs. Aligned are pointer
// and row bytes that are multiples of 16.
bool TakesVectorCode(const std::string& source, Road road, bool srcAligned, bool dstAligned);

// Of the roads that convert.
const Routine& RoutineFor(const std::string& source, Road road, bool vector);

}  // namespace kvx_test::geometry
