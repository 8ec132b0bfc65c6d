#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/movie_builder.h"
#include "support/temp_directory.h"

namespace kvx_test {

// A movie made for one finding, and the codes that it must give, in the order of a report.
struct MadeMovie {
    std::string name;
    std::vector<std::string> codes;
    // Writes it into the folder and returns its path.
    std::function<std::string(const TempDirectory& directory)> write;
};

// For each code at least one.
std::vector<MadeMovie> MadeMovies();

}  // namespace kvx_test
