#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "cli/complain.h"
#include "cli/start_timecode.h"
#include "cli/with_movie.h"

namespace kvx_cli {

namespace {

int RunTimecode(const std::string& path, const CommonOptions& common) {
    return WithMovie(common, path, [&path](const kvx_hostkit::Clip& clip) {
        const std::string timecode = StartTimecode(clip);
        if (timecode.empty()) {
            return Complain(kExitRefused, path, "the movie has no timecode");
        }
        std::printf("%s\n", timecode.c_str());
        return static_cast<int>(kExitDone);
    });
}

}  // namespace

void AddTimecodeCommand(CLI::App& app, const CommonOptions& common, Command& chosen) {
    const auto path = std::make_shared<std::string>();
    CLI::App* command =
        app.add_subcommand("timecode", "Print a movie's start timecode (exit status 1 if none)");
    command->add_option("movie", *path, "QuickTime movie")->required();
    command->callback([path, &common, &chosen] {
        chosen = [path, &common] { return RunTimecode(*path, common); };
    });
}

}  // namespace kvx_cli
