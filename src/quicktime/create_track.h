#pragma once

#include <memory>
#include <new>
#include <string>

#include "core/log.h"
#include "quicktime/track.h"
#include "util/printer.h"

namespace KVX::QT {

// What the Create of each track class checks, and how its log lines call things.
struct TrackClass {
    unsigned int mediaType;
    const char* mediaName;
    const char* name;
    const char* initCall;
};

// The common body of the track classes' Create: makes a track of the "trak" if that is of the right
// media type. The caller owns the result; null after a log line, in the caller's name, on failure.
template <typename TrackType>
TrackType* CreateTrack(const TrackClass& trackClass, const std::string& path, Atom* moovAtom,
                       Atom* trakAtom, Core::LogSite site = Core::LogSite::Here()) {
    int mediaType = 0;
    if (Core::Failed(Track::GetMediaType(trakAtom, mediaType), "GetMediaType", site)) {
        return nullptr;
    }
    if (static_cast<unsigned int>(mediaType) != trackClass.mediaType) {
        Core::LogLine(site, "Unsupported %s track media type %s\n", trackClass.mediaName,
                      Util::Printer::Fcc(mediaType));
        return nullptr;
    }
    std::unique_ptr<TrackType> track(new (std::nothrow) TrackType);
    if (track == nullptr) {
        Core::LogLine(site, "Failed to create a new %s object\n", trackClass.name);
        return nullptr;
    }
    if (Core::Failed(track->Init(path, moovAtom, trakAtom), trackClass.initCall, site)) {
        return nullptr;
    }
    return track.release();
}

}  // namespace KVX::QT
