#include "cli/movie/movie_json.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <numeric>

#include "cli/movie/check_report.h"
#include "cli/output/base64.h"
#include "cli/output/text.h"
#include "util/text.h"

namespace kvx_cli {

namespace {

using kvx_inspect::FieldOrder;
using kvx_inspect::Finding;
using kvx_inspect::MediaFile;
using kvx_inspect::Report;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;
using nlohmann::ordered_json;

constexpr int kSchema = 2;

// Adds a path under "path", and byte for byte under "path_base64" where it is not UTF-8.
void AddPath(ordered_json& to, const std::string& path) {
    to["path"] = path;
    if (!path.empty() && KVX::Util::Text::utf8_to_wide(path.c_str()).empty()) {
        to["path_base64"] = Base64(path);
    }
}

ordered_json OrNull(bool isThere, ordered_json value) {
    return isThere ? std::move(value) : ordered_json();
}

ordered_json FindingJson(const Finding& finding) {
    const kvx_inspect::CodeFacts& code = FactsOf(finding.code);
    const char* const remedy = RemedyOf(finding);
    return {
        {"severity", NameOf(code.severity)},
        {"code", code.name},
        {"track", OrNull(finding.track != kvx_inspect::kWholeMovie, finding.track)},
        {"text", finding.text},
        {"remedy", OrNull(*remedy != '\0', remedy)},
    };
}

template <typename Predicate>
ordered_json FindingsJson(const Report& report, const Predicate& isWanted) {
    ordered_json findings = ordered_json::array();
    for (const Finding& finding : report.findings) {
        if (isWanted(finding)) {
            findings.push_back(FindingJson(finding));
        }
    }
    return findings;
}

const char* NameOf(FieldOrder fields) {
    switch (fields) {
        case FieldOrder::Progressive:
            return "progressive";
        case FieldOrder::UpperFirst:
            return "upper-first";
        case FieldOrder::LowerFirst:
            return "lower-first";
        default:
            return "unknown";
    }
}

// What the entries of all kinds of tracks begin with.
ordered_json TrackJson(const TrackFacts& track) {
    return {
        {"track", track.number},
        {"handler", FourCharText(track.mediaHandler.subtype)},
        {"data_handler", OrNull(track.dataHandler.has_value(),
                                track.dataHandler ? FourCharText(track.dataHandler->subtype) : "")},
        {"format", FourCharText(track.format)},
        {"time_scale", track.timeScale},
        {"duration", track.duration},
    };
}

ordered_json DisplayAspect(const kvx_inspect::VideoFacts& video) {
    const int64_t across = int64_t{video.width} * video.pixelAspectH;
    const int64_t down = int64_t{video.height} * video.pixelAspectV;
    if (across <= 0 || down <= 0) {
        return nullptr;
    }
    const int64_t common = std::gcd(across, down);
    return {across / common, down / common};
}

void AddVideo(ordered_json& entry, const TrackFacts& track,
              const std::vector<PrPixelFormat>& pixelFormats) {
    if (!track.video) {
        return;
    }
    const kvx_inspect::VideoFacts& video = *track.video;
    ordered_json offered = ordered_json::array();
    for (const PrPixelFormat format : pixelFormats) {
        offered.push_back(FourCharText(__builtin_bswap32(format)));
    }
    const bool isImported = video.bits != 0;
    entry.update({
        {"width", video.width},
        {"height", video.height},
        {"depth", video.depth},
        {"bits", OrNull(isImported, video.bits)},
        {"chroma", OrNull(isImported, video.chroma)},
        {"range", OrNull(isImported, {{"value", video.range}, {"source", "assumed"}})},
        {"frame_duration", track.tables.sampleDuration},
        {"frames", video.frameCount},
        {"fields",
         {{"value", NameOf(video.fields)}, {"source", video.fieldsFromFile ? "file" : "assumed"}}},
        {"pixel_aspect", OrNull(video.pixelAspectH != 0 && video.pixelAspectV != 0,
                                {video.pixelAspectH, video.pixelAspectV})},
        {"display_aspect", DisplayAspect(video)},
        {"colour", nullptr},
        {"clean_aperture", nullptr},
        {"offered_as", offered},
    });
    if (video.colour) {
        entry["colour"] = {{"kind", FourCharText(video.colour->kind)},
                           {"primaries", video.colour->primaries},
                           {"transfer", video.colour->transfer},
                           {"matrix", video.colour->matrix}};
    }
    if (video.cleanAperture) {
        entry["clean_aperture"] = {{"width", video.cleanAperture->width},
                                   {"height", video.cleanAperture->height},
                                   {"horizontal_offset", video.cleanAperture->horizontalOffset},
                                   {"vertical_offset", video.cleanAperture->verticalOffset}};
    }
}

void AddSound(ordered_json& entry, const TrackFacts& track) {
    if (!track.sound) {
        return;
    }
    const kvx_inspect::SoundFacts& sound = *track.sound;
    entry.update({
        {"description_version", sound.version},
        {"rate", sound.rate},
        {"channels", sound.channels},
        {"bits", sound.bits},
        {"sample_format", OrNull(!sound.sampleFormat.empty(), sound.sampleFormat)},
        {"layout_tag", OrNull(sound.layoutTag.has_value(), sound.layoutTag.value_or(0))},
    });
}

void AddTimecode(ordered_json& entry, const TrackFacts& track, const std::string& start) {
    const kvx_inspect::TimecodeFacts& timecode = *track.timecode;
    entry.update({
        {"start", OrNull(!start.empty(), start)},
        {"drop_frame", timecode.isDropFrame},
        {"timecode_scale", timecode.timeScale},
        {"frame_duration", timecode.frameDuration},
        {"frames_per_second", timecode.framesPerSecond},
        {"first_frame", OrNull(timecode.firstFrame.has_value(), timecode.firstFrame.value_or(0))},
    });
}

ordered_json MediaFilesJson(const Report& report) {
    ordered_json files = ordered_json::array();
    std::vector<std::string> told;
    for (const TrackFacts& track : report.tracks) {
        const MediaFile& media = track.media;
        if (media.path.empty() || std::find(told.begin(), told.end(), media.path) != told.end()) {
            continue;
        }
        told.push_back(media.path);
        ordered_json file;
        AddPath(file, media.path);
        file["is_movie"] = media.isMovieItself;
        file["bytes"] = OrNull(media.canBeRead, media.size);
        files.push_back(file);
    }
    return files;
}

ordered_json WholeMovieJson(const MovieFacts& facts) {
    const Report& report = facts.report;
    ordered_json movie = {{"schema", kSchema}};
    AddPath(movie, facts.path);
    movie["status"] = kvx_cli::NameOf(facts.GetVerdict());
    movie["importer"] = {{"imports", facts.importer.imports},
                         {"says", OrNull(!facts.importer.imports, facts.importer.words)}};
    const std::string disagreement = Disagreement(facts);
    movie["disagreement"] = OrNull(!disagreement.empty(), disagreement);
    movie["findings"] = FindingsJson(report, [](const Finding&) { return true; });
    movie["media_files"] = MediaFilesJson(report);
    movie["video"] = ordered_json::array();
    movie["sound"] = ordered_json::array();
    movie["timecode"] = nullptr;
    movie["other_tracks"] = ordered_json::array();
    for (const TrackFacts& track : report.tracks) {
        ordered_json entry = TrackJson(track);
        const auto add = [&](const char* list) {
            entry["findings"] = FindingsJson(
                report, [&track](const Finding& finding) { return finding.track == track.number; });
            movie[list].push_back(entry);
        };
        if (track.kind == TrackKind::Video) {
            AddVideo(entry, track, facts.importer.pixelFormats);
            add("video");
        } else if (track.kind == TrackKind::Sound) {
            AddSound(entry, track);
            add("sound");
        } else if (track.kind == TrackKind::Timecode && track.index == 0) {
            AddTimecode(entry, track, facts.importer.timecode);
            entry["findings"] = FindingsJson(
                report, [&track](const Finding& finding) { return finding.track == track.number; });
            movie["timecode"] = entry;
        } else {
            add("other_tracks");
        }
    }
    return movie;
}

}  // namespace

std::string MovieJson(const MovieFacts& facts, int indent) {
    // A path may hold any bytes; what is not UTF-8 must not stop the report.
    return WholeMovieJson(facts).dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace kvx_cli
