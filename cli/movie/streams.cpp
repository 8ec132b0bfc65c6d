#include "cli/movie/streams.h"

#include <algorithm>

namespace kvx_cli {

const imFileInfoRec8* FindVideo(const std::vector<imFileInfoRec8>& streams) {
    const auto found =
        std::find_if(streams.begin(), streams.end(),
                     [](const imFileInfoRec8& stream) { return stream.hasVideo != 0; });
    return found == streams.end() ? nullptr : &*found;
}

int64_t FrameCount(const imFileInfoRec8& video) {
    return video.videoSampleSize > 0 ? video.videoDuration / video.videoSampleSize : 0;
}

PixelAspect PixelAspectOf(const imFileInfoRec8& video) {
    if (video.pixelAspectNumerator == 0 || video.pixelAspectDenominator == 0) {
        return {};
    }
    return {video.pixelAspectNumerator, video.pixelAspectDenominator};
}

size_t SoundStreamCount(const std::vector<imFileInfoRec8>& streams) {
    size_t count = 0;
    while (count < streams.size() && streams[count].hasAudio != 0) {
        ++count;
    }
    return count;
}

}  // namespace kvx_cli
