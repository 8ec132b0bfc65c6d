#include "cli/movie/movie_facts.h"

#include "cli/movie/module_log.h"
#include "cli/movie/refusal.h"
#include "cli/movie/timecode.h"
#include "inspect/inspect.h"

namespace kvx_cli {

using kvx_inspect::Verdict;

namespace {

ImporterAnswer AskImporter(const Session& session, const std::string& path) {
    const OpenedMovie movie = OpenMovie(session, path);
    ImporterAnswer answer;
    answer.words = movie.problem.words;
    answer.log = movie.log;
    if (movie.clip != nullptr) {
        const ModuleLog moduleLog;
        long result = imNoErr;
        answer.streams = movie.clip->Streams(&result);
        answer.pixelFormats = movie.clip->PixelFormats();
        answer.timecode = ReadTimecodeStart(*movie.clip).text;
        answer.log += moduleLog.Text();
        if (result != imNoErr) {
            answer.words = Refusal(result, answer.log).words;
        }
    }
    answer.imports = answer.words.empty();
    return answer;
}

}  // namespace

Verdict MovieFacts::GetVerdict() const {
    if (report.GetVerdict() == Verdict::Unreadable) {
        return Verdict::Unreadable;
    }
    return importer.imports ? Verdict::Imports : Verdict::Refused;
}

bool MovieFacts::Agree() const {
    return importer.imports == (report.GetVerdict() == Verdict::Imports);
}

bool MovieFacts::HasWarnings() const {
    return Has(report.findings, kvx_inspect::Severity::Warning);
}

MovieFacts FindFacts(const Session& session, const std::string& path) {
    return {path, AskImporter(session, path), kvx_inspect::Inspect(path)};
}

MovieFacts NoFacts(const std::string& path, const std::string& why) {
    MovieFacts facts;
    facts.path = path;
    facts.importer.words = why;
    facts.report.path = path;
    facts.report.findings = {{kvx_inspect::Code::Unreadable, kvx_inspect::kWholeMovie, why}};
    return facts;
}

const char* NameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Imports:
            return "imports";
        case Verdict::Refused:
            return "refused";
        default:
            return "unreadable";
    }
}

}  // namespace kvx_cli
