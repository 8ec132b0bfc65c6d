#include "support/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

// Of the address sanitizer's library; null in a program without it.
extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check();

#if defined(KVX_COVERAGE)
extern "C" void __gcov_dump(void);
#endif

namespace kvx_test {

namespace {

constexpr int kLeaked = 86;

// What the compiler counts is written at a normal exit, which a child does not have.
void TellCoverage() {
#if defined(KVX_COVERAGE)
    __gcov_dump();
#endif
}

bool HasLeaked() {
    return __lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0;
}

[[noreturn]] void Play(const std::function<std::string()>& play, bool watchesLeaks,
                       unsigned seconds, int out) {
    alarm(seconds);
    const std::string said = play();
    const char* next = said.data();
    size_t left = said.size();
    while (left > 0) {
        const ssize_t written = write(out, next, left);
        if (written <= 0) {
            std::_Exit(1);
        }
        next += written;
        left -= static_cast<size_t>(written);
    }
    TellCoverage();
    std::_Exit(watchesLeaks && HasLeaked() ? kLeaked : 0);
}

std::string HowItEnded(int state) {
    if (WIFSIGNALED(state)) {
        return "ended by signal " + std::to_string(WTERMSIG(state));
    }
    const int code = WEXITSTATUS(state);
    return code == kLeaked ? "memory is left over" : "ended with " + std::to_string(code);
}

}  // namespace

std::string InChild(const std::function<std::string()>& play, bool watchesLeaks, unsigned seconds) {
    int ends[2];
    if (pipe(ends) != 0) {
        return "no pipe";
    }
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == -1) {
        return "no process";
    }
    if (child == 0) {
        close(ends[0]);
        Play(play, watchesLeaks, seconds, ends[1]);
    }
    close(ends[1]);
    std::string said;
    char piece[4096];
    for (ssize_t size = 0; (size = read(ends[0], piece, sizeof(piece))) > 0;) {
        said.append(piece, static_cast<size_t>(size));
    }
    close(ends[0]);
    int state = 0;
    waitpid(child, &state, 0);
    return WIFEXITED(state) && WEXITSTATUS(state) == 0 ? said : HowItEnded(state) + "; " + said;
}

}  // namespace kvx_test
