#include <algorithm>
#include <iterator>

#include "core/four_char_code.h"
#include "core/status.h"
#include "pipeline/import_frame.h"
#include "quicktime/video_track.h"

namespace KVX {

namespace {

using Core::FourCharCode;

constexpr unsigned int kDVCProFormats[] = {
    FourCharCode("dv1n"), FourCharCode("dv1p"), FourCharCode("dv5n"), FourCharCode("dv5p"),
    FourCharCode("dvc "), FourCharCode("dvcp"), FourCharCode("dvh5"), FourCharCode("dvh6"),
    FourCharCode("dvhp"), FourCharCode("dvhq"), FourCharCode("dvpp"), FourCharCode("dvsd"),
    FourCharCode("pvsd"),
};

constexpr unsigned int kProResFormats[] = {
    FourCharCode("apch"),
    FourCharCode("apcn"),
    FourCharCode("apco"),
    FourCharCode("apcs"),
};

constexpr unsigned int kOtherCompressedFormats[] = {
    FourCharCode("jpeg"),
};

long RowBytesUYVY(long width) {
    return 2 * width;
}

long RowBytesR210(long width) {
    return (4 * width + 252) & ~0xFFL;
}

long RowBytesV210(long width) {
    return (width + 47) / 48 * 128;
}

struct UncompressedFormat {
    unsigned int format;
    long (*rowBytes)(long width);
};

constexpr UncompressedFormat kUncompressedFormats[] = {
    {FourCharCode("2Vuy"), &RowBytesUYVY},
    {FourCharCode("2vuy"), &RowBytesUYVY},
    {FourCharCode("r210"), &RowBytesR210},
    {FourCharCode("v210"), &RowBytesV210},
};

template <size_t Count>
bool Holds(const unsigned int (&formats)[Count], unsigned int format) {
    return std::find(std::begin(formats), std::end(formats), format) != std::end(formats);
}

const UncompressedFormat* FindUncompressed(unsigned int format) {
    const auto found =
        std::find_if(std::begin(kUncompressedFormats), std::end(kUncompressedFormats),
                     [format](const UncompressedFormat& row) { return row.format == format; });
    return found == std::end(kUncompressedFormats) ? nullptr : found;
}

}  // namespace

bool ImportFrame::IsDVCProFormat(unsigned int format) {
    return Holds(kDVCProFormats, format);
}

bool ImportFrame::IsProResFormat(unsigned int format) {
    return Holds(kProResFormats, format);
}

bool ImportFrame::IsSupportedCompressedVideoFormat(unsigned int format) {
    return IsDVCProFormat(format) || IsProResFormat(format) ||
           Holds(kOtherCompressedFormats, format);
}

bool ImportFrame::IsSupportedUncompressedVideoFormat(unsigned int format) {
    return FindUncompressed(format) != nullptr;
}

bool ImportFrame::IsSupportedVideoFormat(unsigned int format) {
    return IsSupportedUncompressedVideoFormat(format);
}

long ImportFrame::GetUncompressedRowBytes(QT::VideoTrack* videoTrack, long& rowBytes) {
    const UncompressedFormat* layout =
        FindUncompressed(static_cast<unsigned int>(videoTrack->mFormat));
    if (layout == nullptr) {
        return Core::kStatusInvalid;
    }
    rowBytes = layout->rowBytes(videoTrack->mWidth);
    return 0;
}

}  // namespace KVX
