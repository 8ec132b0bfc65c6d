#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace kvx_cli {

// A bar on standard error for work that takes a while. Nothing is drawn when standard error is not
// a terminal, nor in the first moments, so that short work stays quiet. The bar is drawn where
// standard error led when it was made, even if standard error is redirected later.
class ProgressBar {
  public:
    ProgressBar(std::string label, int64_t total);

    // No bar of the program is drawn from now on.
    static void DrawNone();

    // Clears the line that a bar of the program is on, before something else is printed. The
    // next Update draws it anew. Where bars are used inside each other, the one drawn last stays.
    static void Wipe();

    // Leaves an empty line.
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Update(int64_t done);

  private:
    void WipeOwn();

    using Clock = std::chrono::steady_clock;

    std::string mLabel;
    int64_t mTotal;
    std::FILE* mTerminal;  // null if there is none
    bool mDrawn = false;
    Clock::time_point mNextDraw;
};

// The bar's text, without the return to the start of the line: "label [#####.....]  50 %".
std::string ProgressText(const std::string& label, int64_t done, int64_t total);

}  // namespace kvx_cli
