#include "quicktime/track.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/four_char_code.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/system.h"
#include "quicktime/atom_fields.h"
#include "quicktime/open_flags.h"

namespace KVX::QT {

namespace {

// "mvhd" and "mdhd" hold these at the same offsets. The layout of version 0 is taken whatever the
// version byte says.
constexpr uint64_t kTimeScaleOffset = 20;
constexpr uint64_t kDurationOffset = 24;

constexpr int kClosed = -2;

}  // namespace

Track::~Track() {
    if (mFileDescriptor > 0) {
        close(mFileDescriptor);
    }
}

long Track::GetMediaType(Atom* trakAtom, int& mediaType) {
    mediaType = 0;
    if (trakAtom == nullptr) {
        KVX_LOG("Invalid trakAtom pointer\n");
        return Core::kStatusInvalid;
    }
    Atom* const mdiaAtom = trakAtom->FindNextChildOfType(Core::FourCharCode("mdia"), nullptr);
    if (mdiaAtom == nullptr) {
        KVX_LOG("Failed to find media atom in track\n");
        return Core::kStatusInvalid;
    }
    const Atom* const hdlrAtom = mdiaAtom->FindNextChildOfType(Core::FourCharCode("hdlr"), nullptr);
    if (hdlrAtom == nullptr) {
        KVX_LOG("Failed to find handler atom in track\n");
        return Core::kStatusInvalid;
    }
    constexpr uint64_t kComponentSubtypeOffset = 16;
    AtomFields handler(hdlrAtom);
    mediaType = handler.Signed32(kComponentSubtypeOffset);
    return handler.Status();
}

long Track::Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    const Atom* const mvhdAtom = moovAtom->FindNextChildOfType(Core::FourCharCode("mvhd"), nullptr);
    if (mvhdAtom == nullptr) {
        KVX_LOG("Failed to find a movie header atom\n");
        return Core::kStatusNotFound;
    }
    AtomFields movieHeader(mvhdAtom);
    mMovieTimeScale = movieHeader.Signed32(kTimeScaleOffset);
    mMovieDuration = movieHeader.Unsigned32(kDurationOffset);
    if (movieHeader.Status() != 0) {
        return movieHeader.Status();
    }

    Atom* const mdiaAtom = trakAtom->FindNextChildOfType(Core::FourCharCode("mdia"), nullptr);
    if (mdiaAtom == nullptr) {
        KVX_LOG("Failed to find a media atom\n");
        return Core::kStatusNotFound;
    }
    const Atom* const mdhdAtom = mdiaAtom->FindNextChildOfType(Core::FourCharCode("mdhd"), nullptr);
    if (mdhdAtom == nullptr) {
        KVX_LOG("Failed to find a media header atom\n");
        return Core::kStatusNotFound;
    }
    AtomFields mediaHeader(mdhdAtom);
    mMediaTimeScale = mediaHeader.Signed32(kTimeScaleOffset);
    mMediaDuration = mediaHeader.Unsigned32(kDurationOffset);
    if (mediaHeader.Status() != 0) {
        return mediaHeader.Status();
    }

    // Lookups and the host's rates divide by these, or by what is scaled with them.
    if (mMovieTimeScale == 0 || mMediaTimeScale == 0) {
        KVX_LOG("Invalid movie time scale %lld or media time scale %lld\n", mMovieTimeScale,
                mMediaTimeScale);
        return Core::kStatusInvalid;
    }

    if (const long status = SetEditList(trakAtom); Core::Failed(status, "SetEditList")) {
        return status;
    }
    if (const long status = SetFilePath(path, mdiaAtom); Core::Failed(status, "SetFilePath")) {
        return status;
    }
    if (const long status = SetSampleLayout(mdiaAtom); Core::Failed(status, "SetSampleLayout")) {
        return status;
    }
    if (const long status = OpenFile(); Core::Failed(status, "OpenFile")) {
        return status;
    }
    return 0;
}

long Track::OpenFile() {
    if (mFileDescriptor > 0) {
        return 0;
    }
    mFileDescriptor = open(mFilePath.c_str(), kOpenFlags);
    if (mFileDescriptor < 0) {
        KVX_LOG("open returned %d\n", errno);
        return Core::kStatusInvalid;
    }
    struct stat fileStatus = {};
    long status = fstat(mFileDescriptor, &fileStatus);
    if (status != 0) {
        KVX_LOG("fstat returned %d\n", errno);
    } else if (!S_ISREG(fileStatus.st_mode)) {
        status = Core::kStatusInvalid;
        KVX_LOG("open returned %d\n", static_cast<int>(status));
    } else {
        mFileSize = fileStatus.st_size;
        status = Platform::RequestUncachedReads(mFileDescriptor);
        Core::Failed(status, "fcntl");
    }
    if (status != 0) {
        close(mFileDescriptor);
        mFileDescriptor = kClosed;
    }
    return status;
}

void Track::CloseFile() {
    if (mFileDescriptor > 0) {
        close(mFileDescriptor);
    }
    mFileDescriptor = kClosed;
}

}  // namespace KVX::QT
