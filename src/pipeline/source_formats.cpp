#include "core/status.h"
#include "pipeline/import_frame.h"
#include "quicktime/video_formats.h"
#include "quicktime/video_track.h"

namespace KVX {

using QT::FindVideoFormat;
using QT::VideoFamily;
using QT::VideoFormat;

bool ImportFrame::IsDVCProFormat(unsigned int format) {
    const VideoFormat* const known = FindVideoFormat(format);
    return known != nullptr && known->isOffered && known->family == VideoFamily::kDVCPro;
}

bool ImportFrame::IsProResFormat(unsigned int format) {
    const VideoFormat* const known = FindVideoFormat(format);
    return known != nullptr && known->isOffered && known->family == VideoFamily::kProRes;
}

bool ImportFrame::IsSupportedCompressedVideoFormat(unsigned int format) {
    const VideoFormat* const known = FindVideoFormat(format);
    return known != nullptr && known->IsOfferedCompressed();
}

bool ImportFrame::IsSupportedUncompressedVideoFormat(unsigned int format) {
    const VideoFormat* const known = FindVideoFormat(format);
    return known != nullptr && known->IsOfferedUncompressed();
}

bool ImportFrame::IsSupportedVideoFormat(unsigned int format) {
    return IsSupportedUncompressedVideoFormat(format);
}

long ImportFrame::GetUncompressedRowBytes(QT::VideoTrack* videoTrack, long& rowBytes) {
    const auto format = static_cast<unsigned int>(videoTrack->mFormat);
    if (!IsSupportedUncompressedVideoFormat(format)) {
        return Core::kStatusInvalid;
    }
    rowBytes = FindVideoFormat(format)->rowBytes(videoTrack->mWidth);
    return 0;
}

}  // namespace KVX
