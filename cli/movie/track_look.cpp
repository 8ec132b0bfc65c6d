#include "cli/movie/track_look.h"

#include "inspect/inspect.h"

namespace kvx_cli {

using kvx_inspect::Code;
using kvx_inspect::Finding;
using kvx_inspect::Report;
using kvx_inspect::TrackFacts;

TrackLook LookAtTrack(TimeLimit& limit, const std::string& path, kvx_inspect::TrackKind kind,
                      size_t index) {
    const auto report = limit.Ask<Report>([path] { return kvx_inspect::Inspect(path); });
    TrackLook look;
    if (!report) {
        return look;
    }
    for (const TrackFacts& track : report->tracks) {
        if (track.kind != kind || static_cast<size_t>(track.index) != index) {
            continue;
        }
        look.isThere = true;
        look.firstMissing = track.firstMissing;
        for (const Finding& finding : report->findings) {
            if (finding.track == track.number && finding.code == Code::Truncated) {
                look.missing = finding.text;
            }
            if (finding.track == track.number && finding.code == Code::TimecodeRate) {
                look.timecode = finding.text;
            }
        }
    }
    return look;
}

}  // namespace kvx_cli
