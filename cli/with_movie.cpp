#include "cli/with_movie.h"

#include <memory>

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

}  // namespace kvx_cli
