#include "quicktime/video_formats.h"

#include <algorithm>
#include <iterator>

#include "core/four_char_code.h"

namespace KVX::QT {

namespace {

using Core::FourCharCode;
using Family = VideoFamily;

// No padding.
long RowBytesUYVY(long width) {
    return 2 * width;
}

// Whole multiples of 256 bytes.
long RowBytesR210(long width) {
    return (4 * width + 252) & ~0xFFL;
}

// Blocks of 48 pixels in 128 bytes.
long RowBytesV210(long width) {
    return (width + 47) / 48 * 128;
}

// A frame of DVCPRO HD holds fewer pixels across than the picture that its description tells of.
constexpr VideoFormat::StoredWidth k1080i60 = {1920, 1080, 1280};
constexpr VideoFormat::StoredWidth k1080i50 = {1920, 1080, 1440};
constexpr VideoFormat::StoredWidth k720p = {1280, 720, 960};

constexpr VideoFormat Uncompressed(uint32_t code, long (*rowBytes)(long width),
                                   const char* description) {
    return {code, Family::kUncompressed, true, true, rowBytes, {}, description};
}

// Not decoded here; the host has them as bytes.
constexpr VideoFormat Compressed(uint32_t code, Family family,
                                 VideoFormat::StoredWidth storedWidth = {}) {
    return {code, family, true, false, nullptr, storedWidth, nullptr};
}

constexpr VideoFormat Understood(uint32_t code, Family family) {
    return {code, family, false, false, nullptr, {}, nullptr};
}

constexpr VideoFormat kVideoFormats[] = {
    Uncompressed(FourCharCode("2vuy"), RowBytesUYVY, "8-bit Y'CbCr 4:2:2"),
    Uncompressed(FourCharCode("2Vuy"), RowBytesUYVY, "8-bit Y'CbCr 4:2:2"),
    Uncompressed(FourCharCode("v210"), RowBytesV210, "10-bit Y'CbCr 4:2:2"),
    Uncompressed(FourCharCode("r210"), RowBytesR210, "10-bit RGB 4:4:4"),
    Understood(FourCharCode("r10k"), Family::kDpx),
    Compressed(FourCharCode("dv1n"), Family::kDVCPro),
    Compressed(FourCharCode("dv1p"), Family::kDVCPro),
    Compressed(FourCharCode("dv5n"), Family::kDVCPro),
    Compressed(FourCharCode("dv5p"), Family::kDVCPro),
    Compressed(FourCharCode("dvc "), Family::kDVCPro),
    Compressed(FourCharCode("dvcp"), Family::kDVCPro),
    Compressed(FourCharCode("dvh5"), Family::kDVCPro, k1080i50),
    Compressed(FourCharCode("dvh6"), Family::kDVCPro, k1080i60),
    Compressed(FourCharCode("dvhp"), Family::kDVCPro, k720p),
    Compressed(FourCharCode("dvhq"), Family::kDVCPro, k720p),
    Compressed(FourCharCode("dvpp"), Family::kDVCPro),
    Compressed(FourCharCode("dvsd"), Family::kDVCPro),
    Compressed(FourCharCode("pvsd"), Family::kDVCPro),
    Understood(FourCharCode("ap4h"), Family::kProRes),
    Compressed(FourCharCode("apch"), Family::kProRes),
    Compressed(FourCharCode("apcn"), Family::kProRes),
    Compressed(FourCharCode("apco"), Family::kProRes),
    Compressed(FourCharCode("apcs"), Family::kProRes),
    Compressed(FourCharCode("jpeg"), Family::kJpeg),
    Understood(FourCharCode("avc1"), Family::kH264),
};

}  // namespace

const VideoFormat* FindVideoFormat(long long code) {
    const auto found =
        std::find_if(std::begin(kVideoFormats), std::end(kVideoFormats),
                     [code](const VideoFormat& format) { return format.code == code; });
    return found == std::end(kVideoFormats) ? nullptr : found;
}

}  // namespace KVX::QT
