#include "cli/commands/with_movie.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <utility>

#include "cli/movie/movie_files.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"

namespace kvx_cli {

namespace {

// Of many movies, what can't go where it is to go.
Problem CheckOutputs(const Arguments& arguments, const MovieFiles& movies) {
    if (!arguments.Has(OptionId::kOutput) || !movies.areMany) {
        return {};
    }
    if (arguments.Text(OptionId::kOutput) == "-") {
        return {kExitUsage, "standard output takes what comes of one movie, not of several"};
    }
    std::map<std::string, const MovieFile*> users;
    for (const MovieFile& movie : movies.files) {
        const auto [user, isFirst] = users.emplace(movie.name, &movie);
        if (!isFirst) {
            return {kExitUsage, "what comes of " + user->second->path + " and of " + movie.path +
                                    " would have the same name, '" + movie.name + "'"};
        }
    }
    return {};
}

// The movies that were named, and why they can't be worked on.
MovieFiles FindMoviesAndOutputs(const Arguments& arguments) {
    MovieFiles movies = FindMovies(arguments);
    if (!movies.problem) {
        movies.problem = CheckOutputs(arguments, movies);
    }
    return movies;
}

int DoEach(const MovieFiles& movies, const std::function<int(const NamedMovie&)>& work) {
    InputFiles inputs;
    for (const MovieFile& file : movies.files) {
        inputs.Add(file.path);
    }
    ProgressBar progress("movies", movies.areMany ? static_cast<int64_t>(movies.files.size()) : 0);
    int64_t done = 0;
    ExitCode exitCode = movies.code;
    for (const MovieFile& file : movies.files) {
        exitCode = Graver(exitCode, ExitCode(work({file.path, file.name, movies.areMany, inputs})));
        if (movies.areMany) {
            progress.Update(++done);
        }
    }
    return exitCode;
}

int WithMovie(const std::shared_ptr<const Session>& session, const NamedMovie& named,
              TimeLimit& limit, const std::function<int(const MovieAtWork&)>& work) {
    const auto movie = std::make_shared<OpenedMovie>();
    const bool hasReturned = limit.Run([session, movie, path = named.path] {  //
        *movie = OpenMovie(*session, path);
    });
    if (!hasReturned) {
        return Complain(kExitFailed, named.path, limit.Words());
    }
    if (movie->clip == nullptr) {
        const bool isRefusal = movie->problem.code == kExitRefused;
        return Complain(movie->problem.code, named.path,
                        (isRefusal ? "not importable: " : "") + movie->problem.words);
    }
    named.inputs.AddOpened();
    const Problem problem = CheckStandardOutput(named.inputs);
    return problem ? Complain(named.path, problem) : work({named, *movie->clip, limit});
}

}  // namespace

std::chrono::milliseconds Timeout(const Arguments& arguments) {
    return std::chrono::seconds(arguments.Number(OptionId::kTimeout));
}

int ForEachMovie(const Arguments& arguments, const std::function<int(const NamedMovie&)>& work) {
    const MovieFiles movies = FindMoviesAndOutputs(arguments);
    return movies.problem ? Complain(movies.problem.code, movies.problem.words)
                          : DoEach(movies, work);
}

int WithMovies(const Arguments& arguments, const std::function<int(const MovieAtWork&)>& work) {
    const MovieFiles movies = FindMoviesAndOutputs(arguments);
    if (movies.problem) {
        return Complain(movies.problem.code, movies.problem.words);
    }
    Problem problem;
    const auto session = Session::Start(arguments.Text(OptionId::kModule), problem);
    if (session == nullptr) {
        return Complain(problem.code, problem.words);
    }
    TimeLimit limit(Timeout(arguments));
    return DoEach(movies, [&](const NamedMovie& movie) {  //
        return WithMovie(session, movie, limit, work);
    });
}

Problem FindOutput(const Arguments& arguments, const NamedMovie& movie,
                   const std::string& extension, std::string& place) {
    place = arguments.Text(OptionId::kOutput);
    if (!movie.isOneOfMany) {
        return {};
    }
    const std::filesystem::path path = std::filesystem::path(place) / (movie.name + extension);
    place = path.string();
    return MakeOutputFolder(path.parent_path().string());
}

void PrintDone(const Arguments& arguments, const NamedMovie& movie, const std::string& words) {
    if (movie.isOneOfMany && !arguments.Has(OptionId::kQuiet)) {
        ProgressBar::Wipe();
        std::printf("%s: %s\n", Printable(movie.path).c_str(), Printable(words).c_str());
        std::fflush(stdout);
    }
}

}  // namespace kvx_cli
