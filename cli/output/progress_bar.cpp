#include "cli/output/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace kvx_cli {

namespace {

constexpr int kBarWidth = 40;
constexpr std::chrono::milliseconds kQuietTime{400};
constexpr std::chrono::milliseconds kBetweenDraws{100};

bool gDrawsNone = false;
ProgressBar* gDrawn = nullptr;  // what is on the terminal's line

std::FILE* OpenTerminal() {
    return !gDrawsNone && isatty(STDERR_FILENO) == 1 ? fdopen(dup(STDERR_FILENO), "w") : nullptr;
}

}  // namespace

std::string ProgressText(const std::string& label, int64_t done, int64_t total) {
    const double part =
        total < 1 ? 1.0
                  : std::clamp(static_cast<double>(done) / static_cast<double>(total), 0.0, 1.0);
    const int filled = static_cast<int>(part * kBarWidth);
    char percent[16];
    std::snprintf(percent, sizeof percent, "%3d %%", static_cast<int>(part * 100));
    return label + " [" + std::string(static_cast<size_t>(filled), '#') +
           std::string(static_cast<size_t>(kBarWidth - filled), '.') + "] " + percent;
}

void ProgressBar::DrawNone() {
    gDrawsNone = true;
}

ProgressBar::ProgressBar(std::string label, int64_t total)
    : mLabel(std::move(label)),
      mTotal(total),
      mTerminal(OpenTerminal()),
      mNextDraw(Clock::now() + kQuietTime) {}

ProgressBar::~ProgressBar() {
    WipeOwn();
    if (mTerminal != nullptr) {
        std::fclose(mTerminal);
    }
}

void ProgressBar::Wipe() {
    if (gDrawn != nullptr) {
        gDrawn->WipeOwn();
    }
}

void ProgressBar::WipeOwn() {
    if (gDrawn == this) {
        std::fprintf(mTerminal, "\r\033[K");
        std::fflush(mTerminal);
        gDrawn = nullptr;
    }
}

void ProgressBar::Update(int64_t done) {
    const Clock::time_point now = Clock::now();
    const bool wasWiped = mDrawn && gDrawn == nullptr;
    if (mTerminal == nullptr || (now < mNextDraw && !wasWiped)) {
        return;
    }
    mNextDraw = now + kBetweenDraws;
    mDrawn = true;
    gDrawn = this;
    std::fprintf(mTerminal, "\r\033[K%s", ProgressText(mLabel, done, mTotal).c_str());
    std::fflush(mTerminal);
}

}  // namespace kvx_cli
