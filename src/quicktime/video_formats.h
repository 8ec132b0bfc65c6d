#pragma once

#include <cstdint>

namespace KVX::QT {

// The widest frame that is taken for standard definition, in pixels; its colours are of Rec. 601.
constexpr int kWidestRec601 = 720;

enum class VideoFamily { kUnknown, kUncompressed, kDpx, kDVCPro, kProRes, kJpeg, kH264 };

// All that is known about a sample description's four-character code: code that treats video
// formats differently looks here.
struct VideoFormat {
    // For frames of this size, as descriptions have it, pixels across that are really stored.
    struct StoredWidth {
        short width;
        short height;
        short stored;
    };

    uint32_t code;
    VideoFamily family;

    // Whether frames of it go to the host, uncompressed ones as pixels. Formats that do not are
    // only understood: a track tells what its description says.
    bool isOffered;

    // Whether a description without "fiel" stands for the fields that are usual at its height and
    // frame rate.
    bool hasDefaultFields;

    // Bytes from one row to the next in the file, for a width in pixels. Null for formats without
    // rows, and for those that are not offered.
    long (*rowBytes)(long width);

    StoredWidth storedWidth;  // all 0 if descriptions tell the truth

    const char* description;  // for people; null for formats that are not imported

    bool IsOfferedUncompressed() const { return isOffered && family == VideoFamily::kUncompressed; }
    bool IsOfferedCompressed() const { return isOffered && family != VideoFamily::kUncompressed; }
};

// Null for a code that is not known.
const VideoFormat* FindVideoFormat(long long code);

}  // namespace KVX::QT
