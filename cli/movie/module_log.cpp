#include "cli/movie/module_log.h"

#include <unistd.h>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace kvx_cli {

namespace {

// In memory, where there is a way: a full disk must not take the reasons away.
std::FILE* OpenLogFile() {
#ifdef __linux__
    const int descriptor = memfd_create("kvx-log", MFD_CLOEXEC);
    if (descriptor != -1) {
        return fdopen(descriptor, "w+b");
    }
#endif
    return std::tmpfile();
}

}  // namespace

// Without a temporary file the log goes where it always went, and Text() stays empty.
ModuleLog::ModuleLog() : mFile(OpenLogFile()) {
    if (mFile != nullptr) {
        std::fflush(stderr);
        mStandardError = dup(STDERR_FILENO);
        dup2(fileno(mFile), STDERR_FILENO);
    }
}

ModuleLog::~ModuleLog() {
    if (mFile != nullptr) {
        std::fflush(stderr);
        dup2(mStandardError, STDERR_FILENO);
        close(mStandardError);
        std::fclose(mFile);
    }
}

std::string ModuleLog::Text() const {
    return TextFrom(0);
}

std::string ModuleLog::NewLines() {
    std::string text = TextFrom(mTold);
    const size_t lastEnd = text.rfind('\n');
    text.resize(lastEnd == std::string::npos ? 0 : lastEnd + 1);
    mTold += text.size();
    return text;
}

std::string ModuleLog::TextFrom(size_t position) const {
    std::string text;
    if (mFile != nullptr) {
        std::fflush(stderr);
        char block[4096];
        ssize_t got;
        while ((got = pread(fileno(mFile), block, sizeof block,
                            static_cast<off_t>(position + text.size()))) > 0) {
            text.append(block, static_cast<size_t>(got));
        }
    }
    return text;
}

}  // namespace kvx_cli
