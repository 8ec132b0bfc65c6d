#pragma once

#include <cstdint>

#include "quicktime/track.h"

namespace KVX::QT {

#pragma pack(push, 1)

// The fixed part of a video sample description (QuickTime File Format, "Video Sample Description").
struct ImageDescription {
    uint32_t size;
    uint32_t compressorType;
    uint32_t reserved1;
    uint16_t reserved2;
    uint16_t dataReferenceIndex;
    uint16_t version;
    uint16_t revisionLevel;
    uint32_t vendor;
    uint32_t temporalQuality;
    uint32_t spatialQuality;
    uint16_t width;
    uint16_t height;
    uint32_t horizontalResolution;
    uint32_t verticalResolution;
    uint32_t dataSize;
    uint16_t frameCount;
    char compressorName[32];
    uint16_t depth;
    uint16_t colourTableID;

    // Swaps the numbers from file order to native order, in place. The name stays as it is.
    void MakeNative();
};
static_assert(sizeof(ImageDescription) == 86, "extension atoms begin at offset 86");

#pragma pack(pop)

class VideoTrack : public Track {
  public:
    VideoTrack() = default;
    ~VideoTrack() override;
    long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) override;

    static VideoTrack* Create(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    bool GetAvccData(char** data, long* size);
    bool IsDVCProFormat(long format);
    bool IsProResFormat(long format);
    bool IsSpatiallyCompressed(long format);
    bool IsTemporallyCompressed(long format);

    short mWidth = 0;
    short mHeight = 0;
    short mDepth = 0;
    ImageDescription* mImageDescription = nullptr;
    int mImageDescriptionSize = 0;
    bool mDpxFlag = false;
    bool mRangeFlag = false;
    int mFieldDominance = 3;
    int mFieldStorage = 3;
    unsigned char* mAvccData = nullptr;
    unsigned int mAvccSize = 0;
    unsigned int mPixelAspectH = 0;
    unsigned int mPixelAspectV = 0;
};

}  // namespace KVX::QT
