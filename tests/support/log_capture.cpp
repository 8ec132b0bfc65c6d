#include "support/log_capture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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
    constexpr char kMark[] = "*** ";
    constexpr char kDigits[] = "0123456789";
    const std::string raw = Raw();
    std::string text;
    for (size_t begin = 0; begin < raw.size();) {
        const size_t end = std::min(raw.find('\n', begin), raw.size() - 1) + 1;
        const std::string line = raw.substr(begin, end - begin);
        begin = end;
        const size_t bracket = line.find('[');
        const size_t close =
            bracket == std::string::npos ? bracket : line.find_first_not_of(kDigits, bracket + 1);
        if (line.rfind(kMark, 0) == 0 && close != std::string::npos &&
            line.compare(close, 3, "]: ") == 0) {
            text += line.substr(std::strlen(kMark), bracket - std::strlen(kMark)) +
                    line.substr(close + 1);
        } else {
            text += line;
        }
    }
    return text;
}

}  // namespace kvx_test
