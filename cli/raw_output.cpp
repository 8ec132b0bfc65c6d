#include "cli/raw_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace kvx_cli {

namespace {

// Wide enough for folders to list the frames of any usual movie in order.
std::string FileName(int64_t frame, const std::string& extension) {
    char number[32];
    std::snprintf(number, sizeof number, "%06lld", static_cast<long long>(frame));
    return number + ("." + extension);
}

bool WriteAll(std::FILE* file, const std::vector<ByteSpan>& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [file](const ByteSpan& span) {
        return std::fwrite(span.begin, 1, span.size, file) == span.size;
    });
}

}  // namespace

RawOutput::RawOutput(std::string place, std::string extension)
    : mPlace(std::move(place)), mExtension(std::move(extension)) {}

bool RawOutput::Fail(const std::string& place, int error) {
    mProblem = "cannot write " + place + ": " + std::strerror(error);
    return false;
}

bool RawOutput::Open() {
    if (mPlace == "-") {
        return true;
    }
    std::error_code error;
    std::filesystem::create_directories(mPlace, error);
    if (!std::filesystem::is_directory(mPlace)) {
        return Fail(mPlace, error ? error.value() : ENOTDIR);
    }
    return true;
}

bool RawOutput::Write(int64_t frame, const std::vector<ByteSpan>& bytes) {
    if (mPlace == "-") {
        const bool written = WriteAll(stdout, bytes) && std::fflush(stdout) == 0;
        return written || Fail("to standard output", errno);
    }
    const std::string path = (std::filesystem::path(mPlace) / FileName(frame, mExtension)).string();
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return Fail(path, errno);
    }
    bool written = WriteAll(file, bytes);
    int error = errno;
    if (std::fclose(file) != 0 && written) {
        written = false;
        error = errno;
    }
    if (!written) {
        std::remove(path.c_str());
        return Fail(path, error);
    }
    return true;
}

}  // namespace kvx_cli
