// Writes the movies that are made for one finding each into a folder, and tells the codes of each:
//
//     kvx_made_movies FOLDER
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <string>

#include "inspect/made_movies.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    const std::filesystem::path folder(argv[1]);
    for (const kvx_test::MadeMovie& movie : kvx_test::MadeMovies()) {
        const kvx_test::TempDirectory directory;
        const std::filesystem::path made(movie.write(directory));
        if (!std::filesystem::is_regular_file(made)) {
            continue;
        }
        std::string name = movie.name;
        std::replace_if(
            name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '-');
        std::filesystem::copy_file(made, folder / (name + ".mov"));
        std::printf("%s.mov", name.c_str());
        for (const std::string& code : movie.codes) {
            std::printf(" %s", code.c_str());
        }
        std::printf("\n");
    }
    return 0;
}
