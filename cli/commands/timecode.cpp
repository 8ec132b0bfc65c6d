#include "cli/movie/timecode.h"

#include <cstdio>
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/output/complain.h"

namespace kvx_cli {

int RunTimecode(const Arguments& arguments) {
    return WithMovie(arguments, [](const MovieAtWork& movie) {
        const std::string timecode = ReadTimecodeStart(movie.clip).text;
        if (timecode.empty()) {
            return Complain(kExitRefused, movie.path, "the movie has no timecode");
        }
        std::printf("%s\n", timecode.c_str());
        return static_cast<int>(kExitDone);
    });
}

}  // namespace kvx_cli
