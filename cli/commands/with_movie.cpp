#include "cli/commands/with_movie.h"

#include "cli/output/complain.h"
#include "cli/output/output_file.h"

namespace kvx_cli {

std::chrono::milliseconds Timeout(const Arguments& arguments) {
    return std::chrono::seconds(arguments.Number(OptionId::kTimeout));
}

int WithMovie(const Arguments& arguments, const std::function<int(const MovieAtWork&)>& work) {
    const std::string path = arguments.Movie();
    Problem problem;
    const auto session = Session::Start(arguments.Text(OptionId::kModule), problem);
    if (session == nullptr) {
        return Complain(problem.code, problem.words);
    }
    TimeLimit limit(Timeout(arguments));
    InputFiles inputs;
    const auto movie = std::make_shared<OpenedMovie>();
    const bool hasAnswered = limit.Run([session, movie, path] {  //
        *movie = OpenMovie(*session, path);
    });
    if (!hasAnswered) {
        return Complain(kExitFailed, path, limit.Words());
    }
    if (movie->clip == nullptr) {
        const bool isRefusal = movie->problem.code == kExitRefused;
        return Complain(movie->problem.code, path,
                        (isRefusal ? "not importable: " : "") + movie->problem.words);
    }
    inputs.Add(path);
    inputs.AddOpened();
    problem = CheckStandardOutput(inputs);
    return problem ? Complain(path, problem) : work({path, *movie->clip, inputs, limit});
}

}  // namespace kvx_cli
