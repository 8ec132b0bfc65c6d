#include "support/log_capture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <regex>

namespace kvx_test {

LogCapture::LogCapture() {
    char path[] = "/tmp/kvx-log-XXXXXX";
    std::fflush(stderr);
    mFile = mkstemp(path);
    if (mFile < 0) {
        std::perror("mkstemp");
        std::abort();
    }
    unlink(path);
    mSavedStderr = dup(STDERR_FILENO);
    dup2(mFile, STDERR_FILENO);
}

LogCapture::~LogCapture() {
    std::fflush(stderr);
    dup2(mSavedStderr, STDERR_FILENO);
    close(mSavedStderr);
    close(mFile);
}

std::string LogCapture::Raw() const {
    std::fflush(stderr);
    struct stat status = {};
    fstat(mFile, &status);
    std::string text(static_cast<size_t>(status.st_size), '\0');
    const ssize_t got = pread(mFile, text.data(), text.size(), 0);
    text.resize(got < 0 ? 0 : static_cast<size_t>(got));
    return text;
}

std::string LogCapture::Text() const {
    static const std::regex prefix(R"(\*\*\* ([~A-Za-z0-9_]+)\[[0-9]+\]: )");
    return std::regex_replace(Raw(), prefix, "$1: ");
}

}  // namespace kvx_test
