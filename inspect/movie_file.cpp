#include "inspect/movie_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "core/four_char_code.h"
#include "inspect/words.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;
using KVX::QT::Atom;

constexpr uint64_t kShortHeader = 8;
constexpr uint64_t kMost = 0x800000;       // bytes of a movie atom that the importer takes
constexpr uint64_t kMostRead = 0x4000000;  // bytes of one that are looked into
constexpr int kMostAtomsAfter = 64;        // that are looked at after the movie atom

constexpr uint32_t kMoov = FourCharCode("moov");
constexpr uint32_t kMoof = FourCharCode("moof");

// What QuickTime and MPEG-4 files hold at their top.
constexpr uint32_t kKnownTypes[] = {
    FourCharCode("ftyp"),
    kMoov,
    FourCharCode("mdat"),
    FourCharCode("free"),
    FourCharCode("skip"),
    FourCharCode("wide"),
    FourCharCode("pnot"),
    FourCharCode("PICT"),
    FourCharCode("uuid"),
    FourCharCode("udta"),
    FourCharCode("meta"),
    FourCharCode("junk"),
    FourCharCode("styp"),
    FourCharCode("sidx"),
    kMoof,
    FourCharCode("mfra"),
    FourCharCode("pdin"),
    FourCharCode("prft"),
};

bool IsKnown(uint32_t type) {
    return std::find(std::begin(kKnownTypes), std::end(kKnownTypes), type) != std::end(kKnownTypes);
}

// A length that passes the bytes that were read would lead walks out of the buffer.
void LimitLength(Atom& atom, uint64_t limit) {
    if (atom.Length() > limit) {
        if (atom.HeaderLength() == kShortHeader) {
            atom.mSize = __builtin_bswap32(static_cast<uint32_t>(limit));
        } else {
            atom.mExtendedSize = __builtin_bswap64(limit);
        }
    }
}

}  // namespace

MovieFile::~MovieFile() {
    if (mDescriptor >= 0) {
        close(mDescriptor);
    }
}

bool MovieFile::Read(std::vector<Finding>& findings) {
    Place place;
    return Open(findings) && FindMoov(place, findings) && ReadMoov(place, findings);
}

void MovieFile::ApplyInMemory(const std::vector<Change>& changes) {
    const AtomView moov = Moov();
    for (const Change& change : changes) {
        if (change.offset >= mMoovOffset && moov.Holds(change.offset - mMoovOffset, 4)) {
            const uint32_t bytes = __builtin_bswap32(change.after);
            std::memcpy(mBuffer.get() + (change.offset - mMoovOffset), &bytes, sizeof bytes);
        }
    }
}

AtomView MovieFile::Moov() const {
    return AtomView(reinterpret_cast<Atom*>(mBuffer.get()));
}

uint64_t MovieFile::OffsetInFile(const char* place) const {
    return mMoovOffset + static_cast<uint64_t>(place - mBuffer.get());
}

bool MovieFile::Open(std::vector<Finding>& findings) {
    const auto unreadable = [&findings](const std::string& text) {
        findings.push_back({Code::Unreadable, kWholeMovie, text});
        return false;
    };
    mDescriptor = open(mPath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (mDescriptor < 0) {
        return unreadable(errno == ENOENT
                              ? "there is no such file"
                              : std::string("the file cannot be opened: ") + std::strerror(errno));
    }
    struct stat status = {};
    if (fstat(mDescriptor, &status) != 0) {
        return unreadable(std::string("the file cannot be looked at: ") + std::strerror(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        return unreadable("it is a folder, not a file; -r takes the movies in it");
    }
    if (!S_ISREG(status.st_mode)) {
        return unreadable("it is a device, a pipe or a socket, not a file");
    }
    mSize = static_cast<uint64_t>(status.st_size);
    return true;
}

bool MovieFile::Probe(uint64_t offset, Atom& header) const {
    header = {};
    const size_t size = std::min<uint64_t>(sizeof(header), mSize - offset);
    return pread(mDescriptor, &header, size, static_cast<off_t>(offset)) > 0;
}

bool MovieFile::FindMoov(Place& place, std::vector<Finding>& findings) {
    const auto finding = [&findings](Code code, const std::string& text) {
        findings.push_back({code, kWholeMovie, text});
        return false;
    };
    if (mSize == 0) {
        return finding(Code::NotQuickTime, "the file is empty");
    }
    bool startsLikeOne = false;
    std::string end = "its atoms end without one";
    while (mSize - place.offset >= kShortHeader || place.offset == 0) {
        if (!Probe(place.offset, place.header)) {
            return finding(Code::Unreadable, "the file cannot be read at byte " +
                                                 std::to_string(place.offset) + ": " +
                                                 std::strerror(errno));
        }
        const uint32_t type = place.header.Type();
        if (type == kMoov) {
            return true;
        }
        const uint64_t left = mSize - place.offset;
        startsLikeOne |= place.offset == 0 && IsKnown(type);
        const uint64_t length = place.header.Length();
        if (length < kShortHeader || length > left) {
            end = "its " + Quoted(type) + " at byte " + std::to_string(place.offset) + " says " +
                  std::to_string(length) + " bytes, and " + std::to_string(left) + " are left";
            break;
        }
        place.offset += length;
    }
    if (!startsLikeOne) {
        return finding(Code::NotQuickTime,
                       "it begins with nothing that a QuickTime movie begins with");
    }
    return finding(Code::MoovMissing, "there is no movie atom: " + end +
                                          "; a recording that was cut off looks like this");
}

bool MovieFile::ReadMoov(const Place& place, std::vector<Finding>& findings) {
    const uint64_t length = place.header.Length();
    if (length < kShortHeader) {
        findings.push_back(
            {Code::Damaged, kWholeMovie,
             "the movie atom says that it has " + std::to_string(length) + " bytes"});
        return false;
    }
    if (length > kMost) {
        findings.push_back({Code::MoovTooLarge, kWholeMovie,
                            "the movie atom has " + std::to_string(length) + " bytes"});
    }
    const uint64_t left = mSize - place.offset;
    const uint64_t size = std::min(length, left);
    if (size > kMostRead) {
        return false;
    }
    mBuffer.reset(new (std::nothrow) char[std::max<uint64_t>(size, sizeof(Atom))]);
    if (mBuffer == nullptr) {
        findings.push_back({Code::Unreadable, kWholeMovie, "there is no memory for it"});
        return false;
    }
    std::memset(mBuffer.get(), 0, sizeof(Atom));
    const ssize_t got = pread(mDescriptor, mBuffer.get(), size, static_cast<off_t>(place.offset));
    if (got <= 0) {
        mBuffer.reset();
        findings.push_back({Code::Unreadable, kWholeMovie,
                            std::string("the movie atom cannot be read: ") +
                                std::strerror(got < 0 ? errno : EIO)});
        return false;
    }
    mMoovOffset = place.offset;
    LimitLength(*reinterpret_cast<Atom*>(mBuffer.get()), static_cast<uint64_t>(got));
    if (length <= left) {
        LookForFragments(place.offset + length);
    }
    return true;
}

void MovieFile::LookForFragments(uint64_t offset) {
    for (int i = 0; i < kMostAtomsAfter && offset + kShortHeader <= mSize; ++i) {
        Atom header;
        if (!Probe(offset, header)) {
            return;
        }
        mHasFragments |= header.Type() == kMoof;
        const uint64_t length = header.Length();
        if (mHasFragments || length < kShortHeader || length > mSize - offset) {
            return;
        }
        offset += length;
    }
}

}  // namespace kvx_inspect
