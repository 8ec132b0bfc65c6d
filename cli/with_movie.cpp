#include "cli/with_movie.h"

#include <filesystem>
#include <memory>
#include <system_error>

#include "cli/complain.h"
#include "cli/session.h"

namespace kvx_cli {

int WithMovie(const CommonOptions& common, const std::string& path,
              const std::function<int(const kvx_hostkit::Clip&)>& work) {
    std::string problem;
    const std::unique_ptr<Session> session = Session::Start(common.modulePath, problem);
    if (session == nullptr) {
        return Complain(kExitUsage, problem);
    }
    const OpenedMovie movie = OpenMovie(*session, path);
    if (movie.clip == nullptr) {
        return Complain(kExitRefused, path, "not importable: " + movie.refusal);
    }
    return work(*movie.clip);
}

int WithMovieInto(const CommonOptions& common, const std::string& path, const std::string& output,
                  const std::function<int(const kvx_hostkit::Clip&)>& work) {
    std::error_code ignored;
    if (std::filesystem::equivalent(path, output, ignored)) {
        return Complain(kExitUsage, output, "this is the movie itself");
    }
    return WithMovie(common, path, work);
}

}  // namespace kvx_cli
