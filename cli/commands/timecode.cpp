#include "cli/movie/timecode.h"

#include <cstdio>
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/track_look.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"

namespace kvx_cli {

namespace {

// The importer does not distinguish a movie without a timecode from one that it can't count.
std::string WhyNone(const MovieAtWork& movie) {
    const TrackLook look =
        LookAtTrack(movie.limit, movie.path, kvx_inspect::TrackKind::Timecode, 0);
    if (!look.isThere) {
        return "the movie has no timecode";
    }
    for (const std::string& words : {look.timecode, look.missing}) {
        if (!words.empty()) {
            return words;
        }
    }
    return "its timecode track has no start";
}

}  // namespace

int RunTimecode(const Arguments& arguments) {
    return WithMovies(arguments, [](const MovieAtWork& movie) -> int {
        const std::string timecode = ReadTimecodeStart(movie.clip).text;
        if (timecode.empty()) {
            return Complain(kExitRefused, movie.path, WhyNone(movie));
        }
        ProgressBar::Wipe();
        std::printf("%s%s\n", timecode.c_str(),
                    movie.isOneOfMany ? ("  " + Printable(movie.path)).c_str() : "");
        return FlushStandardOutput() ? kExitDone : kExitFailed;
    });
}

}  // namespace kvx_cli
