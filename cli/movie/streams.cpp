#include "cli/movie/streams.h"

#include <algorithm>
#include <string>

namespace kvx_cli {

const imFileInfoRec8* FindVideo(const std::vector<imFileInfoRec8>& streams) {
    const auto found =
        std::find_if(streams.begin(), streams.end(),
                     [](const imFileInfoRec8& stream) { return stream.hasVideo != 0; });
    return found == streams.end() ? nullptr : &*found;
}

Problem CheckPictures(const imFileInfoRec8* video) {
    if (video == nullptr) {
        return {kExitRefused, "it has no video"};
    }
    if (FrameCount(*video) < 1) {
        return {kExitRefused, "its video has no frames"};
    }
    if (video->width < 1 || video->height < 1) {
        return {kExitRefused, "its frames are " + std::to_string(video->width) + " x " +
                                  std::to_string(video->height) +
                                  " pixels: there is nothing in them"};
    }
    return {};
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
