#include "quicktime/video_track.h"

namespace KVX::QT {

void ImageDescription::MakeNative() {
    size = __builtin_bswap32(size);
    compressorType = __builtin_bswap32(compressorType);
    reserved1 = __builtin_bswap32(reserved1);
    reserved2 = __builtin_bswap16(reserved2);
    dataReferenceIndex = __builtin_bswap16(dataReferenceIndex);
    version = __builtin_bswap16(version);
    revisionLevel = __builtin_bswap16(revisionLevel);
    vendor = __builtin_bswap32(vendor);
    temporalQuality = __builtin_bswap32(temporalQuality);
    spatialQuality = __builtin_bswap32(spatialQuality);
    width = __builtin_bswap16(width);
    height = __builtin_bswap16(height);
    horizontalResolution = __builtin_bswap32(horizontalResolution);
    verticalResolution = __builtin_bswap32(verticalResolution);
    dataSize = __builtin_bswap32(dataSize);
    frameCount = __builtin_bswap16(frameCount);
    depth = __builtin_bswap16(depth);
    colourTableID = __builtin_bswap16(colourTableID);
}

}  // namespace KVX::QT
