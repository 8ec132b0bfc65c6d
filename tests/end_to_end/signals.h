#pragma once

#include <csignal>

namespace kvx_test {

// In a process that is to become a command: as if it had been started in a terminal. A shell starts
// what runs in the background with SIGINT ignored, a test run too, and the command leaves ignored
// what it finds ignored.
inline void ListenToSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::signal(signal, SIG_DFL);
    }
}

}  // namespace kvx_test
