#include "quicktime/movie_atom.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "core/assert.h"
#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "quicktime/open_flags.h"

namespace KVX::QT {

namespace {

constexpr uint64_t kProbeSize = 512;
constexpr uint64_t kMaximumLength = 0x800000;
constexpr uint64_t kMinimumLength = 8;
constexpr long kStatusBadAtomLength = 1;

constexpr uint32_t kMovieType = Core::FourCharCode("moov");
constexpr uint32_t kTrackType = Core::FourCharCode("trak");

// The log knows the steps below by the name of the operation that they make up.
constexpr char kOperation[] = "Init";

long GetFileSize(int descriptor, uint64_t& size) {
    const off_t end = lseek(descriptor, 0, SEEK_END);
    const off_t start = end < 0 ? end : lseek(descriptor, 0, SEEK_SET);
    if (start != 0) {
        const int error = start < 0 ? errno : static_cast<int>(Core::kStatusInvalid);
        Core::LogLine(Core::LogSite::In(kOperation), "lseek failed: %ld \"%s\"\n",
                      static_cast<long>(error), std::strerror(error));
        return error;
    }
    size = static_cast<uint64_t>(end);
    return 0;
}

long StatusOfRead(ssize_t result) {
    return result < 0 ? errno : Core::kStatusInvalid;
}

// Steps from one top-level atom to the next until the movie atom. `header` takes its header.
long Find(int descriptor, uint64_t fileSize, const std::string& path, uint64_t& position,
          Atom& header) {
    // In an empty file, and in one of less than 8 bytes, the last place wraps around, so that the
    // first probe tells what is wrong.
    const uint64_t lastPlace = fileSize - kMinimumLength;
    for (position = 0; position <= lastPlace;) {
        const uint64_t remaining = fileSize - position;
        const size_t probeSize = std::min(kProbeSize, remaining);
        char probe[kProbeSize] = {};
        const ssize_t got = pread(descriptor, probe, probeSize, static_cast<off_t>(position));
        if (got <= 0) {
            const long status = StatusOfRead(got);
            Core::LogLine(Core::LogSite::In(kOperation), "read of %lu bytes failed with %ld\n",
                          probeSize, status);
            return status;
        }
        std::memcpy(&header, probe, sizeof(header));
        if (header.Type() == kMovieType) {
            return 0;
        }
        const unsigned long long length = header.Length();
        if (length < kMinimumLength || length > remaining) {
            Core::LogLine(Core::LogSite::In(kOperation), "Invalid atom length %llu (0x%llx)\n",
                          length, length);
            return kStatusBadAtomLength;
        }
        position += length;
    }
    Core::LogLine(Core::LogSite::In(kOperation), "'moov' atom not found in file \"%s\"\n",
                  path.c_str());
    return Core::kStatusNotFound;
}

// The file may hold less than the atom's length says, and may have changed since the probe. From
// here on no walk asks where the buffer ends, so the atom's own length must not pass it.
void LimitLength(Atom& atom, uint64_t limit) {
    if (atom.Length() <= limit) {
        return;
    }
    if (atom.HeaderLength() == sizeof(Atom)) {
        atom.mExtendedSize = __builtin_bswap64(limit);
    } else {
        atom.mSize = __builtin_bswap32(static_cast<uint32_t>(limit));
    }
    KVX_ASSERT(atom.Length() <= limit);
}

}  // namespace

void MovieAtom::Free::operator()(char* buffer) const {
    std::free(buffer);
}

MovieAtom::~MovieAtom() {
    Close();
}

void MovieAtom::Close() {
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
    mDescriptor = -1;
}

long MovieAtom::Init(const std::string& path) {
    Close();
    if (const int error = Open(path)) {
        KVX_LOG("Failed to open movie file at \"%s\"\n", path.c_str());
        return error;
    }
    return Read(path);
}

int MovieAtom::Open(const std::string& path) {
    mDescriptor = open(path.c_str(), kOpenFlags);
    struct stat fileStatus = {};
    if (mDescriptor < 0 || fstat(mDescriptor, &fileStatus) != 0) {
        return errno;
    }
    return S_ISREG(fileStatus.st_mode) ? 0 : static_cast<int>(Core::kStatusInvalid);
}

long MovieAtom::Read(const std::string& path) {
    uint64_t fileSize = 0;
    if (const long status = GetFileSize(mDescriptor, fileSize)) {
        return status;
    }
    uint64_t position = 0;
    Atom header = {};
    if (const long status = Find(mDescriptor, fileSize, path, position, header)) {
        return status;
    }
    const unsigned long long length = header.Length();
    if (length < kMinimumLength || length > kMaximumLength) {
        Core::LogLine(Core::LogSite::In(kOperation),
                      "'moov' atom in file \"%s\" has invalid length of %llu\n", path.c_str(),
                      length);
        return Core::kStatusInvalid;
    }
    // A header with an extended size is longer than the shortest atom.
    mBuffer.reset(static_cast<char*>(std::malloc(std::max<size_t>(length, sizeof(Atom)))));
    if (mBuffer == nullptr) {
        Core::LogLine(Core::LogSite::In(kOperation),
                      "Failed to allocated %llu byte buffer for 'moov' atom\n", length);
        return Core::kStatusNoMemory;
    }
    std::memset(mBuffer.get(), 0, sizeof(Atom));
    const ssize_t got = pread(mDescriptor, mBuffer.get(), length, static_cast<off_t>(position));
    if (got <= 0) {
        const long status = StatusOfRead(got);
        Core::LogLine(Core::LogSite::In(kOperation), "read of %llu bytes failed with %ld\n", length,
                      status);
        return status;
    }
    LimitLength(*Get(), static_cast<uint64_t>(got));
    return 0;
}

bool MovieAtom::EndsInsideTrack() const {
    const char* position = mBuffer.get() + Get()->HeaderLength();
    const char* const end = mBuffer.get() + Get()->Length();
    while (const Atom* child = Atom::At(position, end)) {
        position += child->Length();
    }
    if (end - position < static_cast<ptrdiff_t>(kMinimumLength)) {
        return false;
    }
    const Atom* const last = reinterpret_cast<const Atom*>(position);
    return last->Type() == kTrackType && (position + last->HeaderLength() > end ||
                                          last->Length() > static_cast<uint64_t>(end - position));
}

}  // namespace KVX::QT
