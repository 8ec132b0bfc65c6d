// Makes the movies that are missing, so that the program can be started by hand too, then runs.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "end_to_end/built_paths.h"

namespace {

bool IsToList(int argc, char** argv) {
    for (int index = 1; index < argc; ++index) {
        if (std::strncmp(argv[index], "--gtest_list_tests", 18) == 0) {
            return true;
        }
    }
    return false;
}

bool MakeMovies() {
    const std::string line =
        std::string(kvx_test::kMakeMedia) + " '" + kvx_test::kMediaFolder + "'";
    return std::system(line.c_str()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    // Before there are tests: what some of them are made for is what movies there are.
    if (!IsToList(argc, argv) && !MakeMovies()) {
        std::fprintf(stderr, "the movies of the tests cannot be made in %s\n",
                     kvx_test::kMediaFolder);
        return 1;
    }
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    if (!testing::GTEST_FLAG(list_tests) &&
        testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::fputs("no test bears such a name\n", stderr);
        return 1;
    }
    return result;
}
