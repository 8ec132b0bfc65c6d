// Makes the movies that are missing, so that the program can be started by hand too, then runs.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "end_to_end/built_paths.h"

namespace {

class Media : public testing::Environment {
  public:
    void SetUp() override {
        ASSERT_EQ(
            std::system(
                (std::string(kvx_test::kMakeMedia) + " '" + kvx_test::kMediaFolder + "'").c_str()),
            0)
            << "the movies cannot be made";
    }
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new Media);
    const int result = RUN_ALL_TESTS();
    if (!testing::GTEST_FLAG(list_tests) &&
        testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
        std::fputs("no test bears such a name\n", stderr);
        return 1;
    }
    return result;
}
