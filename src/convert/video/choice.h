// How ConvertTo and CreateFrom of the converters pick a routine.
#pragma once

#include <cstddef>

#include "convert/video/conversion.h"
#include "premiere/pixel_formats.h"

namespace KVX::Converter::Video {

// The routines that serve one host format.
template <typename Routine>
struct FormatRoutines {
    PrPixelFormat mFormat;
    Routine* mScalar;
    Routine* mVector;
    Routine* mVectorMisSrc;  // for a misaligned source and an aligned destination
};

// Returns null for a format that is not in the table.
template <typename Routine, size_t kCount>
Routine* PickRoutine(const FormatRoutines<Routine> (&table)[kCount], int pixelFormat,
                     ConversionMode mode, Alignment alignment) {
    for (const FormatRoutines<Routine>& row : table) {
        if (row.mFormat != static_cast<PrPixelFormat>(pixelFormat)) {
            continue;
        }
        if (mode == kConversionModeScalar) {
            return row.mScalar;
        }
        const bool onlySourceIsMisaligned = !alignment.mSource && alignment.mDestination;
        return onlySourceIsMisaligned ? row.mVectorMisSrc : row.mVector;
    }
    return nullptr;
}

// What a host format is called in a revert line; "<unknown>" for all but the BGRA formats.
const char* HostFormatName(int pixelFormat);

// The line that every frame leaves for which alignment rules the vector code out. `from` and `to`
// name the layouts; the caller of the converter is told what it passed.
void LogRevert(const char* function, const char* from, const char* to, const char* src,
               int srcRowBytes, const char* dst, int dstRowBytes);

}  // namespace KVX::Converter::Video
