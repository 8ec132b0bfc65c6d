#include "cli/output/progress_bar.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

namespace {

using kvx_cli::ProgressBar;
using kvx_cli::ProgressText;

// Standard error as a terminal, for as long as it lives.
class Terminal {
  public:
    Terminal() : mMaster(posix_openpt(O_RDWR | O_NOCTTY)) {
        grantpt(mMaster);
        unlockpt(mMaster);
        mSlave = open(ptsname(mMaster), O_RDWR | O_NOCTTY);
        mBefore = dup(STDERR_FILENO);
        dup2(mSlave, STDERR_FILENO);
    }
    ~Terminal() {
        dup2(mBefore, STDERR_FILENO);
        close(mBefore);
        close(mSlave);
        close(mMaster);
    }

    // What was written since the last call.
    std::string Text() const {
        std::string text;
        pollfd ready = {mMaster, POLLIN, 0};
        while (poll(&ready, 1, 0) == 1) {
            char block[256];
            const ssize_t got = read(mMaster, block, sizeof block);
            if (got <= 0) {
                break;
            }
            text.append(block, static_cast<size_t>(got));
        }
        return text;
    }

  private:
    int mMaster;
    int mSlave;
    int mBefore;
};

const char kEmptied[] = "\r\033[K";

// What the bar draws first, after the time in which short work stays quiet.
std::string FirstDrawing(const Terminal& terminal, ProgressBar& bar, int64_t done) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    std::string text;
    while (text.empty() && std::chrono::steady_clock::now() < limit) {
        bar.Update(done);
        text = terminal.Text();
    }
    return text;
}

TEST(CliProgressBar, LeavesItsLineToWhatIsPrinted) {
    const Terminal terminal;
    {
        ProgressBar bar("movies", 4);
        EXPECT_EQ(FirstDrawing(terminal, bar, 1), kEmptied + ProgressText("movies", 1, 4));
        ProgressBar::Wipe();
        EXPECT_EQ(terminal.Text(), kEmptied);
        ProgressBar::Wipe();
        EXPECT_EQ(terminal.Text(), "");
        // At once, since it has been there before.
        bar.Update(2);
        EXPECT_EQ(terminal.Text(), kEmptied + ProgressText("movies", 2, 4));
    }
    EXPECT_EQ(terminal.Text(), kEmptied);
}

TEST(CliProgressBar, TheInnerOneStands) {
    const Terminal terminal;
    ProgressBar outer("movies", 4);
    EXPECT_THAT(FirstDrawing(terminal, outer, 1), testing::HasSubstr("movies ["));
    {
        ProgressBar inner("frames", 4);
        EXPECT_THAT(FirstDrawing(terminal, inner, 1), testing::HasSubstr("frames ["));
    }
    EXPECT_EQ(terminal.Text(), kEmptied);
    outer.Update(2);
    EXPECT_EQ(terminal.Text(), kEmptied + ProgressText("movies", 2, 4));
}

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
