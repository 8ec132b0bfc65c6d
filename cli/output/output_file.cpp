#include "cli/output/output_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "cli/output/complain.h"

namespace kvx_cli {

namespace {

constexpr int kMostLinks = 40;  // as many as the system follows
constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

const char kIsInput[] = "this is a file that the movie is read from";

bool gStandardOutputFailed = false;

// A pipe that holds more changes hands less often. It stays as it is where that is not allowed.
void WidenPipe(std::FILE* stream) {
#ifdef F_SETPIPE_SZ
    constexpr int kPipeBytes = 1 << 20;
    struct stat file = {};
    if (fstat(fileno(stream), &file) == 0 && S_ISFIFO(file.st_mode)) {
        fcntl(fileno(stream), F_SETPIPE_SZ, kPipeBytes);
    }
#else
    static_cast<void>(stream);
#endif
}

// Where a chain of symbolic links ends, whether there is a file or not.
std::string Target(const std::string& place) {
    namespace fs = std::filesystem;
    fs::path path = place;
    for (int links = 0; links < kMostLinks; ++links) {
        std::error_code error;
        const fs::path link = fs::read_symlink(path, error);
        if (error) {
            break;
        }
        path = link.is_absolute() ? link : path.parent_path() / link;
    }
    return path.string();
}

Problem IsThere(const std::string& place) {
    return {kExitUsage, "cannot write " + place + ": it is there already; --force replaces it"};
}

mode_t NewFilePermissions() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

Problem CannotWrite(const std::string& place, int error) {
    return {kExitFailed, "cannot write " + place + ": " + std::strerror(error != 0 ? error : EIO)};
}

OutputFile::~OutputFile() {
    if (mStream != nullptr && mStream != stdout) {
        std::fclose(mStream);
    }
}

Problem OutputFile::Open(const std::string& place, const InputFiles& inputs, Existing existing) {
    mPlace = place;
    mExisting = existing;
    if (place == "-") {
        mPlace = "to standard output";
        mStream = stdout;
        WidenPipe(mStream);
        return CheckStandardOutput(inputs);
    }
    struct stat file = {};
    const bool isThere = stat(place.c_str(), &file) == 0;
    if (!isThere && errno != ENOENT) {
        return CannotWrite(place, errno);
    }
    if (isThere && inputs.Has(file)) {
        return {kExitUsage, "cannot write " + place + ": " + kIsInput};
    }
    if (isThere && S_ISDIR(file.st_mode)) {
        return CannotWrite(place, EISDIR);
    }
    if (isThere && existing == Existing::kRefuse) {
        return IsThere(place);
    }
    if (isThere && !S_ISREG(file.st_mode)) {
        const int descriptor = open(place.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        mStream = descriptor == -1 ? nullptr : fdopen(descriptor, "wb");
        return mStream == nullptr ? CannotWrite(place, errno) : Problem();
    }
    return OpenBeside(Target(place), isThere, file.st_mode & kPermissions);
}

Problem OutputFile::OpenBeside(const std::string& target, bool isThere, mode_t mode) {
    // A file that may not be written is not replaced either.
    if (isThere && access(target.c_str(), W_OK) != 0) {
        return CannotWrite(mPlace, errno);
    }
    const int descriptor = mUnfinished.Create(target, isThere ? mode : NewFilePermissions());
    mStream = descriptor == -1 ? nullptr : fdopen(descriptor, "wb");
    mIsOwn = mStream != nullptr;
    return mIsOwn ? Problem() : CannotWrite(mPlace, errno);
}

Problem OutputFile::Failure() const {
    const int error = errno;
    gStandardOutputFailed |= mStream == stdout;
    return CannotWrite(mPlace, error);
}

Problem OutputFile::Finish() {
    if (mStream == stdout) {
        return std::fflush(stdout) == 0 && std::ferror(stdout) == 0 ? Problem() : Failure();
    }
    errno = 0;
    const bool isWritten = std::ferror(mStream) == 0;
    const bool isClosed = std::fclose(mStream) == 0;
    mStream = nullptr;
    const bool mayReplace = mExisting == Existing::kReplace;
    if (!isWritten || !isClosed || (mIsOwn && !mUnfinished.PutIntoPlace(mayReplace))) {
        return errno == EEXIST && !mayReplace ? IsThere(mPlace) : Failure();
    }
    return {};
}

bool IsStandardOutputFile() {
    struct stat file = {};
    return fstat(STDOUT_FILENO, &file) == 0 && S_ISREG(file.st_mode);
}

Problem CheckStandardOutput(const InputFiles& inputs) {
    struct stat file = {};
    if (IsStandardOutputFile() && fstat(STDOUT_FILENO, &file) == 0 && inputs.Has(file)) {
        return {kExitUsage, std::string("cannot write to standard output: ") + kIsInput};
    }
    return {};
}

bool FlushStandardOutput() {
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
        return true;
    }
    gStandardOutputFailed = true;
    Complain(kExitFailed, CannotWrite("to standard output", errno).words);
    return false;
}

int CloseStandardOutput(int exitCode) {
    errno = 0;
    const bool isWritten = std::ferror(stdout) == 0;
    const bool isClosed = std::fclose(stdout) == 0;
    if ((isWritten && isClosed) || gStandardOutputFailed) {
        return exitCode;
    }
    return Complain(kExitFailed, CannotWrite("to standard output", errno).words);
}

Problem MakeOutputFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) {
        return {};
    }
    return CannotWrite(folder, error ? error.value() : ENOTDIR);
}

std::string PathIn(const std::string& folder, const std::string& name,
                   const std::string& extension) {
    return (std::filesystem::path(folder) / (name + "." + extension)).string();
}

std::string FrameName(int64_t frame) {
    char number[32];
    std::snprintf(number, sizeof number, "%06lld", static_cast<long long>(frame));
    return number;
}

}  // namespace kvx_cli
