#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "cli/module_log.h"
#include "cli/session.h"
#include "cli/start_timecode.h"

namespace kvx_cli {

namespace {

int RunTimecode(const std::string& path, const CommonOptions& common) {
    std::string problem;
    const std::unique_ptr<Session> session = Session::Start(common.modulePath, problem);
    if (session == nullptr) {
        std::fprintf(stderr, "kvx: %s\n", problem.c_str());
        return kExitUsage;
    }
    const OpenedMovie movie = OpenMovie(*session, path);
    if (movie.clip == nullptr) {
        std::fprintf(stderr, "kvx: %s: not importable: %s\n", path.c_str(), movie.refusal.c_str());
        return kExitRefused;
    }
    const std::string timecode = StartTimecode(*movie.clip);
    if (timecode.empty()) {
        std::fprintf(stderr, "kvx: %s: the movie has no timecode\n", path.c_str());
        return kExitRefused;
    }
    std::printf("%s\n", timecode.c_str());
    return kExitDone;
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
