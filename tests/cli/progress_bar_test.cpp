#include "cli/output/progress_bar.h"

#include <gtest/gtest.h>

namespace {

using kvx_cli::ProgressText;

TEST(CliProgressBar, ShowsThePart) {
    EXPECT_EQ(ProgressText("sound", 0, 10),
              "sound [........................................]   0 %");
    EXPECT_EQ(ProgressText("sound", 5, 10),
              "sound [####################....................]  50 %");
    EXPECT_EQ(ProgressText("sound", 10, 10),
              "sound [########################################] 100 %");
}

TEST(CliProgressBar, StaysInsideItsBounds) {
    EXPECT_EQ(ProgressText("x", 11, 10), ProgressText("x", 10, 10));
    EXPECT_EQ(ProgressText("x", -1, 10), ProgressText("x", 0, 10));
    EXPECT_EQ(ProgressText("x", 0, 0), ProgressText("x", 10, 10));
}

}  // namespace
