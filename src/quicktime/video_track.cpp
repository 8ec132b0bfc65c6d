#include "quicktime/video_track.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "core/big_endian.h"
#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/atom_fields.h"
#include "quicktime/create_track.h"
#include "quicktime/sample_description.h"
#include "quicktime/video_formats.h"

namespace KVX::QT {

namespace {

using Core::FourCharCode;

// Values of mFieldDominance and mFieldStorage.
constexpr int kProgressive = 0;
constexpr int kUpperFirst = 1;
constexpr int kLowerFirst = 2;
constexpr int kUnknownFields = 3;

// QuickTime File Format, "Field Handling": detail of a description with two fields.
struct FieldDetail {
    uint8_t detail;
    int dominance;
    int storage;
};
constexpr FieldDetail kFieldDetails[] = {
    {1, kUpperFirst, kUpperFirst},
    {6, kLowerFirst, kLowerFirst},
    {9, kLowerFirst, kUpperFirst},
    {14, kUpperFirst, kLowerFirst},
};

// What uncompressed files without a "fiel" are taken for: what broadcast makes of these heights at
// these whole-number frame rates. All others are progressive.
struct DefaultFields {
    short height;
    long long lowestRate;
    long long highestRate;
    int dominance;
};
constexpr DefaultFields kDefaultFields[] = {
    {1080, 25, 49, kUpperFirst},
    {576, LLONG_MIN, LLONG_MAX, kUpperFirst},
    {486, 25, LLONG_MAX, kLowerFirst},
};

// Offsets in a video sample description.
constexpr uint64_t kWidth = 32;
constexpr uint64_t kHeight = 34;
constexpr uint64_t kDepth = 82;
constexpr uint64_t kExtensions = sizeof(ImageDescription);

// Where the data of an extension atom begins.
constexpr uint64_t kExtensionData = 8;

VideoFamily FamilyOf(long long code) {
    const VideoFormat* const format = FindVideoFormat(code);
    return format == nullptr ? VideoFamily::kUnknown : format->family;
}

short StoredWidth(const VideoFormat* format, short width, short height) {
    if (format == nullptr) {
        return width;
    }
    const VideoFormat::StoredWidth& known = format->storedWidth;
    return known.width == width && known.height == height ? known.stored : width;
}

int DefaultDominance(short height, long long rate) {
    for (const DefaultFields& entry : kDefaultFields) {
        if (entry.height == height && entry.lowestRate <= rate && rate <= entry.highestRate) {
            return entry.dominance;
        }
    }
    return kProgressive;
}

}  // namespace

VideoTrack::~VideoTrack() {
    std::free(mImageDescription);
    std::free(mAvccData);
}

VideoTrack* VideoTrack::Create(const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    constexpr TrackClass kClass = {FourCharCode("vide"), "video", "VideoTrack", "qtTrack->Init()"};
    return CreateTrack<VideoTrack>(kClass, path, moovAtom, trakAtom);
}

long VideoTrack::Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    Atom* entryAtom = nullptr;
    if (const long status = FindFirstSampleDescription(trakAtom, entryAtom)) {
        return status;
    }
    AtomFields entry(entryAtom);
    if (entry.Bytes(0, sizeof(ImageDescription)) == nullptr) {
        return entry.Status();
    }

    // The entry lies inside a movie atom, whose length is far below 2 GiB.
    std::free(mImageDescription);
    mImageDescriptionSize = static_cast<int>(entry.Length());
    mImageDescription = static_cast<ImageDescription*>(std::malloc(entry.Length()));
    if (mImageDescription == nullptr) {
        KVX_LOG("Failed to allocate %d byte image description buffer\n", mImageDescriptionSize);
        return Core::kStatusNoMemory;
    }
    std::memcpy(mImageDescription, entryAtom, entry.Length());

    mFormat = entry.Type();
    mHeight = entry.Signed16(kHeight);
    const VideoFormat* const format = FindVideoFormat(mFormat);
    mWidth = StoredWidth(format, entry.Signed16(kWidth), mHeight);
    mDepth = entry.Signed16(kDepth);
    mPixelAspectH = 0;
    mPixelAspectV = 0;

    const bool isH264 = FamilyOf(mFormat) == VideoFamily::kH264;
    uint64_t offset = kExtensions;
    while (const Atom* const extension = entry.AtomAt(offset)) {
        const bool isAvcc = isH264 && extension->Type() == FourCharCode("avcC");
        if (const long status = isAvcc ? CopyPayload(extension, "Avcc", mAvccData, mAvccSize)
                                       : ReadExtension(extension)) {
            return status;
        }
        offset += extension->Length();
    }

    Core::WriteBig16(&mImageDescription->width, static_cast<uint16_t>(mWidth));
    mImageDescription->MakeNative();

    if (const long status = Track::Init(path, moovAtom, trakAtom);
        Core::Failed(status, "Track::Init()")) {
        return status;
    }

    // Only now are the sample tables there to tell the frame rate.
    if (mFieldDominance == kUnknownFields && format != nullptr && format->hasDefaultFields) {
        const long long rate = mSampleDuration == 0 ? 0 : mMediaTimeScale / mSampleDuration;
        mFieldDominance = DefaultDominance(mHeight, rate);
    }
    if (mFieldStorage == kUnknownFields) {
        mFieldStorage = mFieldDominance;
    }
    return 0;
}

long VideoTrack::ReadExtension(const Atom* extensionAtom) {
    AtomFields extension(extensionAtom);
    const uint32_t type = extension.Type();
    const auto isDpx = [this] { return FamilyOf(mFormat) == VideoFamily::kDpx; };
    if (type == FourCharCode("Rnge") && isDpx()) {
        mRangeFlag = extension.Unsigned32(kExtensionData) != 0;
    } else if (type == FourCharCode("DpxE") && isDpx()) {
        mDpxFlag = extension.Unsigned32(kExtensionData) != 0;
    } else if (type == FourCharCode("pasp")) {
        mPixelAspectH = extension.Unsigned32(kExtensionData);
        mPixelAspectV = extension.Unsigned32(kExtensionData + 4);
    } else if (type == FourCharCode("fiel")) {
        const uint8_t fieldCount = extension.Unsigned8(kExtensionData);
        const uint8_t detail = extension.Unsigned8(kExtensionData + 1);
        SetFields(fieldCount, detail);
    }
    return extension.Status();
}

void VideoTrack::SetFields(unsigned int fieldCount, unsigned int detail) {
    if (fieldCount == 1) {
        mFieldDominance = kProgressive;
        mFieldStorage = kProgressive;
    } else if (fieldCount == 2) {
        for (const FieldDetail& entry : kFieldDetails) {
            if (entry.detail == detail) {
                mFieldDominance = entry.dominance;
                mFieldStorage = entry.storage;
            }
        }
    }
}

bool VideoTrack::GetAvccData(char** data, long* size) {
    if (mAvccData == nullptr || data == nullptr || size == nullptr) {
        return false;
    }
    *data = reinterpret_cast<char*>(mAvccData);
    *size = mAvccSize;
    return true;
}

bool VideoTrack::IsDVCProFormat(long format) {
    return FamilyOf(format) == VideoFamily::kDVCPro;
}

bool VideoTrack::IsProResFormat(long format) {
    return FamilyOf(format) == VideoFamily::kProRes;
}

bool VideoTrack::IsSpatiallyCompressed(long format) {
    const VideoFamily family = FamilyOf(format);
    return family == VideoFamily::kDVCPro || family == VideoFamily::kProRes ||
           family == VideoFamily::kJpeg;
}

bool VideoTrack::IsTemporallyCompressed(long format) {
    return FamilyOf(format) == VideoFamily::kH264;
}

}  // namespace KVX::QT
