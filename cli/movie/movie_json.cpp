#include "cli/movie/movie_json.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "cli/output/text.h"

namespace kvx_cli {

namespace {

using nlohmann::ordered_json;

// The host's records are packed, and the library takes references: fields are copied by the cast.

ordered_json VideoJson(const imFileInfoRec8& stream,
                       const std::vector<PrPixelFormat>& pixelFormats) {
    ordered_json offered = ordered_json::array();
    for (const PrPixelFormat format : pixelFormats) {
        offered.push_back(FourCharText(__builtin_bswap32(format)));
    }
    return {
        {"format", FourCharText(static_cast<uint32_t>(stream.subType))},
        {"width", int32_t{stream.width}},
        {"height", int32_t{stream.height}},
        {"depth", int16_t{stream.depth}},
        {"time_scale", int32_t{stream.videoScale}},
        {"frame_duration", int32_t{stream.videoSampleSize}},
        {"duration", int32_t{stream.videoDuration}},
        {"field_type", int{stream.fieldType}},
        {"pixel_aspect",
         {uint32_t{stream.pixelAspectNumerator}, uint32_t{stream.pixelAspectDenominator}}},
        {"offered_as", offered},
    };
}

ordered_json SoundJson(const imFileInfoRec8& stream) {
    return {
        {"rate", static_cast<double>(stream.audioSampleRate)},
        {"channels", int32_t{stream.audioChannels}},
        {"sample_type", int32_t{stream.audioSampleType}},
        {"duration", int64_t{stream.audioDuration}},
    };
}

}  // namespace

ordered_json MovieJson(const std::string& path, const std::vector<imFileInfoRec8>& streams,
                       const std::vector<PrPixelFormat>& pixelFormats, const std::string& timecode,
                       const std::string& refusal) {
    ordered_json movie = {{"path", path}, {"importable", refusal.empty()}};
    if (!refusal.empty()) {
        movie["reason"] = refusal;
    }
    if (!timecode.empty()) {
        movie["start_timecode"] = timecode;
    }
    movie["video"] = ordered_json::array();
    movie["sound"] = ordered_json::array();
    for (const imFileInfoRec8& stream : streams) {
        if (stream.hasVideo != 0) {
            movie["video"].push_back(VideoJson(stream, pixelFormats));
        }
        if (stream.hasAudio != 0) {
            movie["sound"].push_back(SoundJson(stream));
        }
    }
    return movie;
}

}  // namespace kvx_cli
