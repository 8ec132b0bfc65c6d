#pragma once

#include <cstdint>
#include <string>

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

    // Swaps the numbers from file order to native order, in place. The name stays as it is, and so
    // do extension atoms after this record.
    void MakeNative();
};
static_assert(sizeof(ImageDescription) == 86, "extension atoms begin at offset 86");

#pragma pack(pop)

// A video track: its first sample description and what follows from it. Any format is taken;
// whether frames can be made of it is for others to say. Fields do not change after Init.
class VideoTrack : public Track {
  public:
    VideoTrack() = default;
    ~VideoTrack() override;

    // Reads the description of the "trak", then Track::Init. Returns 0; 12 without memory; 22 after
    // a log line for a missing table or fields outside their atom; or what Track::Init returns.
    long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) override;

    // A track for the caller to delete, or null after a log line. `path` is the movie's.
    static VideoTrack* Create(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    // Lends the payload of the description's "avcC"; false without one or for a null pointer.
    bool GetAvccData(char** data, long* size);

    // Families of formats, by four-character code. They are told apart by name alone; none of them
    // is decoded here.
    bool IsDVCProFormat(long format);
    bool IsProResFormat(long format);
    bool IsSpatiallyCompressed(long format);
    bool IsTemporallyCompressed(long format);

    // Pixels. The width is that of the stored frame, which DVCPRO HD descriptions overstate.
    short mWidth = 0;
    short mHeight = 0;
    short mDepth = 0;

    // The whole description in native order, extensions as in the file; its width is mWidth. Owned.
    ImageDescription* mImageDescription = nullptr;
    int mImageDescriptionSize = 0;  // bytes

    // "DpxE" and "Rnge" of an "r10k" description.
    bool mDpxFlag = false;
    bool mRangeFlag = false;

    // Which field is shown first, and which is stored first: 0 progressive, 1 upper, 2 lower, 3 not
    // known. From "fiel"; uncompressed formats without it get what is usual at their height and
    // frame rate.
    int mFieldDominance = 3;
    int mFieldStorage = 3;

    // The payload of the "avcC" of an "avc1" description. Owned; null without one.
    unsigned char* mAvccData = nullptr;
    unsigned int mAvccSize = 0;  // bytes

    // Spacing from "pasp"; 0 without one.
    unsigned int mPixelAspectH = 0;
    unsigned int mPixelAspectV = 0;

  private:
    long ReadExtension(const Atom* extensionAtom);
    void SetFields(unsigned int fieldCount, unsigned int detail);
};

}  // namespace KVX::QT
