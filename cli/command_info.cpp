#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/module_log.h"
#include "cli/movie_report.h"
#include "cli/refusal.h"
#include "cli/session.h"

namespace kvx_cli {

namespace {

struct InfoOptions {
    std::vector<std::string> movies;
    bool showLog = false;
};

// What the importer tells of an open movie. `refusal` takes the reason if it does not tell all.
std::string Describe(const kvx_hostkit::Clip& clip, std::string& refusal, std::string& log) {
    const ModuleLog moduleLog;
    long result = imNoErr;
    const std::vector<imFileInfoRec8> streams = clip.Streams(&result);
    const std::string report = MovieReport(streams, clip.PixelFormats());
    log += moduleLog.Text();
    if (result != imNoErr) {
        refusal = RefusalInWords(result, log);
    }
    return report;
}

std::string Indented(const std::string& text) {
    std::istringstream lines(text);
    std::string indented;
    for (std::string line; std::getline(lines, line);) {
        indented += "    " + line + "\n";
    }
    return indented;
}

bool PrintMovie(const Session& session, const std::string& path, bool showLog) {
    OpenedMovie movie = OpenMovie(session, path);
    std::string report;
    if (movie.clip != nullptr) {
        report = Describe(*movie.clip, movie.refusal, movie.log);
    }
    std::printf("%s\n%s", path.c_str(), report.c_str());
    if (!movie.refusal.empty()) {
        std::printf("  not importable: %s\n", movie.refusal.c_str());
    }
    if (showLog && !movie.log.empty()) {
        std::printf("  the importer's log:\n%s", Indented(movie.log).c_str());
    }
    return movie.refusal.empty();
}

int RunInfo(const InfoOptions& options, const CommonOptions& common) {
    std::string problem;
    const std::unique_ptr<Session> session = Session::Start(common.modulePath, problem);
    if (session == nullptr) {
        std::fprintf(stderr, "kvx: %s\n", problem.c_str());
        return kExitUsage;
    }
    bool allImportable = true;
    for (const std::string& movie : options.movies) {
        allImportable &= PrintMovie(*session, movie, options.showLog);
    }
    return allImportable ? kExitDone : kExitRefused;
}

}  // namespace

void AddInfoCommand(CLI::App& app, const CommonOptions& common, Command& chosen) {
    const auto options = std::make_shared<InfoOptions>();
    CLI::App* command = app.add_subcommand(
        "info", "Tell what movies hold, or why they are not importable (exit status 1)");
    command->add_option("movie", options->movies, "QuickTime movies")->required();
    command->add_flag("--log", options->showLog, "Show what the importer logged");
    command->callback([options, &common, &chosen] {
        chosen = [options, &common] { return RunInfo(*options, common); };
    });
}

}  // namespace kvx_cli
