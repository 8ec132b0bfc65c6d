#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/movie/module_log.h"
#include "cli/movie/movie_json.h"
#include "cli/movie/movie_report.h"
#include "cli/movie/refusal.h"
#include "cli/movie/session.h"
#include "cli/movie/timecode.h"
#include "cli/output/complain.h"

namespace kvx_cli {

namespace {

// What the importer tells of a movie.
struct MovieFacts {
    std::vector<imFileInfoRec8> streams;
    std::vector<PrPixelFormat> pixelFormats;
    std::string timecode;  // empty: none
    std::string refusal;   // empty: importable
    std::string log;
};

MovieFacts AskImporter(const Session& session, const std::string& path) {
    const OpenedMovie movie = OpenMovie(session, path);
    MovieFacts facts;
    facts.refusal = movie.refusal;
    facts.log = movie.log;
    if (movie.clip != nullptr) {
        const ModuleLog moduleLog;
        long result = imNoErr;
        facts.streams = movie.clip->Streams(&result);
        facts.pixelFormats = movie.clip->PixelFormats();
        facts.timecode = ReadTimecodeStart(*movie.clip).text;
        facts.log += moduleLog.Text();
        if (result != imNoErr) {
            facts.refusal = RefusalInWords(result, facts.log);
        }
    }
    return facts;
}

std::string Indented(const std::string& text) {
    std::istringstream lines(text);
    std::string indented;
    for (std::string line; std::getline(lines, line);) {
        indented += "    " + line + "\n";
    }
    return indented;
}

void PrintMovie(const std::string& path, const MovieFacts& facts, bool showLog) {
    std::printf("%s\n%s", path.c_str(), MovieReport(facts.streams, facts.pixelFormats).c_str());
    if (!facts.timecode.empty()) {
        std::printf("  timecode\n    start           %s\n", facts.timecode.c_str());
    }
    if (!facts.refusal.empty()) {
        std::printf("  not importable: %s\n", facts.refusal.c_str());
    }
    if (showLog && !facts.log.empty()) {
        std::printf("  the importer's log:\n%s", Indented(facts.log).c_str());
    }
}

}  // namespace

int RunInfo(const Arguments& arguments) {
    std::string problem;
    const std::unique_ptr<Session> session =
        Session::Start(arguments.Text(OptionId::kModule), problem);
    if (session == nullptr) {
        return Complain(kExitUsage, problem);
    }
    const bool asJson = arguments.Has(OptionId::kJson);
    bool allImportable = true;
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const std::string& movie : arguments.Movies()) {
        const MovieFacts facts = AskImporter(*session, movie);
        allImportable &= facts.refusal.empty();
        if (asJson) {
            all.push_back(
                MovieJson(movie, facts.streams, facts.pixelFormats, facts.timecode, facts.refusal));
        } else {
            PrintMovie(movie, facts, arguments.Has(OptionId::kLog));
        }
    }
    if (asJson) {
        // A path may hold any bytes; what is not UTF-8 must not stop the report.
        std::printf(
            "%s\n",
            all.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
    }
    return allImportable ? kExitDone : kExitRefused;
}

}  // namespace kvx_cli
