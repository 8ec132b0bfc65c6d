#include <sstream>
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/movie_list.h"
#include "cli/movie/movie_report.h"
#include "cli/output/text.h"

namespace kvx_cli {

namespace {

std::string Indented(const std::string& text) {
    std::istringstream lines(text);
    std::string indented;
    for (std::string line; std::getline(lines, line);) {
        indented += "    " + Printable(line) + "\n";
    }
    return indented;
}

}  // namespace

int RunInfo(const Arguments& arguments) {
    const bool showsLog = arguments.Has(OptionId::kLog);
    return ReportMovies(arguments, false, [showsLog](const MovieFacts& facts) {
        std::string text = Printable(facts.path) + "\n" + MovieReport(facts);
        if (showsLog && !facts.importer.log.empty()) {
            text += "  the importer's log:\n" + Indented(facts.importer.log);
        }
        return text;
    });
}

}  // namespace kvx_cli
