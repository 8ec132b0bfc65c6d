#include "cli/commands/commands.h"
#include "cli/commands/movie_list.h"
#include "cli/movie/check_report.h"

namespace kvx_cli {

int RunCheck(const Arguments& arguments) {
    return ReportMovies(arguments, true, CheckReport);
}

}  // namespace kvx_cli
