// What the converters of uncompressed video share: what steers a conversion, the colour matrices,
// and the facts about alignment that decide between vector and scalar code.
//
// All of them keep no state between calls (the tables of r210 apart), lock nothing and may be
// called from any number of threads, each on a frame of its own. Host BGRA frames and the file's
// frames run in opposite vertical directions, so row 0 of a BGRA destination takes the last row of
// the source.
#pragma once

#include <cstddef>

#include "quicktime/video_formats.h"

namespace KVX::Converter::Video {

// Which matrix relates RGB to YUV. Any other value acts as kColourSpaceAuto.
enum ColourSpace : int {
    kColourSpaceAuto = 0,  // Rec. 601 for frames up to kWidestRec601 pixels wide, else Rec. 709
    kColourSpaceRec601 = 1,
    kColourSpaceRec709 = 2,
};

// Which code converts. Any other value acts as kConversionModeVector.
enum ConversionMode : int {
    kConversionModeAuto = 0,    // vector code; scalar code, and a log line, where alignment forbids
    kConversionModeScalar = 1,  // scalar code, silently
    kConversionModeVector = 2,  // vector code with no test: the caller ensures alignment
};

using QT::kWidestRec601;

// What 16-byte vector loads and stores ask of a pointer and of row bytes.
constexpr int kVectorAlignment = 16;

// Three rows of three coefficients, row after row.
struct TransformMatrix {
    float mCoefficient[9];
};

// Studio-range RGB to studio-range YUV: rows Y, Cb, Cr over columns R, G, B.
extern const TransformMatrix kRGBToYUVStudio601;
extern const TransformMatrix kRGBToYUVStudio709;

// Studio-range YUV to full-range RGB: rows R, G, B over columns Y, U, V.
extern const TransformMatrix kYUVToRGB601;
extern const TransformMatrix kYUVToRGB709;

// Full-range RGB to studio-range YUV: rows Y, Cb, Cr over columns R, G, B.
extern const TransformMatrix kRGBToYUV601;
extern const TransformMatrix kRGBToYUV709;

// Picks between a pair of matrices for a frame of `width` pixels. The height plays no part.
const TransformMatrix& SelectMatrix(ColourSpace colourSpace, int width,
                                    const TransformMatrix& rec601, const TransformMatrix& rec709);

// Whether 16-byte accesses of whole rows are aligned, at each end of a conversion.
struct Alignment {
    bool mSource;
    bool mDestination;
};

Alignment FindAlignment(const char* src, int srcRowBytes, const char* dst, int dstRowBytes);

}  // namespace KVX::Converter::Video
