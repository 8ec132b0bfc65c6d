#include "cli/commands/with_movie.h"

#include <filesystem>
#include <memory>
#include <system_error>

#include "cli/movie/session.h"
#include "cli/output/complain.h"

namespace kvx_cli {

int WithMovie(const Arguments& arguments,
              const std::function<int(const kvx_hostkit::Clip&)>& work) {
    std::string problem;
    const std::unique_ptr<Session> session =
        Session::Start(arguments.Text(OptionId::kModule), problem);
    if (session == nullptr) {
        return Complain(kExitUsage, problem);
    }
    const OpenedMovie movie = OpenMovie(*session, arguments.Movie());
    if (movie.clip == nullptr) {
        return Complain(kExitRefused, arguments.Movie(), "not importable: " + movie.refusal);
    }
    return work(*movie.clip);
}

int WithMovieInto(const Arguments& arguments, const std::string& output,
                  const std::function<int(const kvx_hostkit::Clip&)>& work) {
    std::error_code ignored;
    if (std::filesystem::equivalent(arguments.Movie(), output, ignored)) {
        return Complain(kExitUsage, output, "this is the movie itself");
    }
    return WithMovie(arguments, work);
}

}  // namespace kvx_cli
