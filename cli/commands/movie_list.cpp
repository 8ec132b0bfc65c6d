#include "cli/commands/movie_list.h"

#include <cstdio>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/movie_files.h"
#include "cli/movie/movie_json.h"
#include "cli/movie/session.h"
#include "cli/movie/time_limit.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"

namespace kvx_cli {

namespace {

using kvx_inspect::Verdict;

ExitCode ExitCodeOf(const MovieFacts& facts, bool countsWarnings) {
    switch (facts.GetVerdict()) {
        case Verdict::Unreadable:
            return kExitFailed;
        case Verdict::Refused:
            return kExitRefused;
        default:
            return countsWarnings && facts.HasWarnings() ? kExitWarnings : kExitDone;
    }
}

InputFiles InputsOf(const MovieFacts& facts) {
    InputFiles inputs;
    inputs.Add(facts.path);
    for (const kvx_inspect::TrackFacts& track : facts.report.tracks) {
        inputs.Add(track.media.path);
    }
    return inputs;
}

// What is printed around and between movies, and of each.
struct Format {
    const char* before = "";
    const char* between = "";
    const char* after = "";
    const char* none = "";  // if there is no movie
    std::function<std::string(const MovieFacts&)> write;
};

Format ChooseFormat(const Arguments& arguments,
                    const std::function<std::string(const MovieFacts&)>& inWords) {
    if (arguments.Has(OptionId::kJsonLines)) {
        constexpr int kOneLine = -1;
        return {"", "", "", "",
                [](const MovieFacts& facts) { return MovieJson(facts, kOneLine) + "\n"; }};
    }
    if (arguments.Has(OptionId::kJson)) {
        return {"[\n", ",\n", "\n]\n", "[]\n",
                [](const MovieFacts& facts) { return MovieJson(facts, 2); }};
    }
    return {"", "", "", "", inWords};
}

}  // namespace

int ReportMovies(const Arguments& arguments, bool countsWarnings,
                 const std::function<std::string(const MovieFacts&)>& inWords) {
    const MovieFiles movies = FindMovies(arguments);
    if (movies.problem) {
        return Complain(movies.problem.code, movies.problem.words);
    }
    Problem problem;
    const auto session = Session::Start(arguments.Text(OptionId::kModule), problem);
    if (session == nullptr) {
        return Complain(problem.code, problem.words);
    }
    // Only a file can be one that a movie is read from.
    const bool mayWriteOverInput = IsStandardOutputFile();
    if (mayWriteOverInput) {
        InputFiles inputs;
        for (const MovieFile& movie : movies.files) {
            inputs.Add(movie.path);
        }
        if (problem = CheckStandardOutput(inputs); problem) {
            return Complain(problem.code, problem.words);
        }
    }
    const bool leavesOutFine = countsWarnings && arguments.Has(OptionId::kQuiet) &&
                               !arguments.Has(OptionId::kJson) &&
                               !arguments.Has(OptionId::kJsonLines);
    const Format format = ChooseFormat(arguments, inWords);
    ExitCode exitCode = movies.code;
    const char* before = format.before;
    TimeLimit limit(Timeout(arguments));
    ProgressBar progress("movies", static_cast<int64_t>(movies.files.size()));
    int64_t done = 0;
    for (const MovieFile& movie : movies.files) {
        const std::string& path = movie.path;
        auto facts = limit.Ask<MovieFacts>([session, path] { return FindFacts(*session, path); });
        const MovieFacts told = facts ? std::move(*facts) : NoFacts(path, limit.Words());
        if (problem = mayWriteOverInput ? CheckStandardOutput(InputsOf(told)) : problem; problem) {
            return Complain(path, problem);
        }
        const ExitCode movieCode = ExitCodeOf(told, countsWarnings);
        if (!leavesOutFine || movieCode != kExitDone) {
            const std::string text = before + format.write(told);
            ProgressBar::Wipe();
            std::fwrite(text.data(), 1, text.size(), stdout);
            if (!FlushStandardOutput()) {
                return kExitFailed;
            }
            before = format.between;
        }
        exitCode = Graver(exitCode, movieCode);
        progress.Update(++done);
    }
    std::fputs(movies.files.empty() ? format.none : format.after, stdout);
    return FlushStandardOutput() ? exitCode : kExitFailed;
}

}  // namespace kvx_cli
