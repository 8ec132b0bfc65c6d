#include "cli/commands/movie_list.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/commands/commands.h"
#include "cli/movie/movie_json.h"
#include "cli/movie/session.h"
#include "cli/output/complain.h"

namespace kvx_cli {

namespace {

using kvx_inspect::Verdict;

int ExitCodeOf(const MovieFacts& facts, bool countsWarnings) {
    switch (facts.GetVerdict()) {
        case Verdict::Unreadable:
            return kExitFailed;
        case Verdict::Refused:
            return kExitRefused;
        default:
            return countsWarnings && facts.HasWarnings() ? kExitWarnings : kExitDone;
    }
}

// The first of these that occurred counts.
int Graver(int one, int other) {
    constexpr int kOrder[] = {kExitFailed, kExitRefused, kExitWarnings, kExitDone};
    return *std::find_if(std::begin(kOrder), std::end(kOrder),
                         [=](int code) { return code == one || code == other; });
}

// What is printed around and between movies, and of each.
struct Format {
    const char* before = "";
    const char* between = "";
    const char* after = "";
    std::function<std::string(const MovieFacts&)> write;
};

// A path may hold any bytes; what is not UTF-8 must not stop the report.
std::string Dump(const MovieFacts& facts, int indent) {
    return MovieJson(facts).dump(indent, ' ', false,
                                 nlohmann::ordered_json::error_handler_t::replace);
}

Format ChooseFormat(const Arguments& arguments,
                    const std::function<std::string(const MovieFacts&)>& inWords) {
    if (arguments.Has(OptionId::kJsonLines)) {
        constexpr int kOneLine = -1;
        return {"", "", "", [](const MovieFacts& facts) { return Dump(facts, kOneLine) + "\n"; }};
    }
    if (arguments.Has(OptionId::kJson)) {
        return {"[\n", ",\n", "\n]\n", [](const MovieFacts& facts) { return Dump(facts, 2); }};
    }
    return {"", "", "", inWords};
}

}  // namespace

int TellOfMovies(const Arguments& arguments, bool countsWarnings,
                 const std::function<std::string(const MovieFacts&)>& inWords) {
    std::string problem;
    const auto session = Session::Start(arguments.Text(OptionId::kModule), problem);
    if (session == nullptr) {
        return Complain(kExitFailed, problem);
    }
    const Format format = ChooseFormat(arguments, inWords);
    int exitCode = kExitDone;
    const char* before = format.before;
    for (const std::string& path : arguments.Movies()) {
        const MovieFacts facts = FindFacts(*session, path);
        const std::string text = before + format.write(facts);
        std::fwrite(text.data(), 1, text.size(), stdout);
        if (arguments.Has(OptionId::kJsonLines)) {
            std::fflush(stdout);
        }
        exitCode = Graver(exitCode, ExitCodeOf(facts, countsWarnings));
        before = format.between;
    }
    std::fputs(format.after, stdout);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        return Complain(kExitFailed, "the report cannot be written");
    }
    return exitCode;
}

}  // namespace kvx_cli
