#include "quicktime/timecode_track.h"

#include <unistd.h>

#include "core/big_endian.h"
#include "core/four_char_code.h"
#include "core/log.h"
#include "quicktime/atom_fields.h"
#include "quicktime/create_track.h"
#include "quicktime/sample_description.h"
#include "timecode/ctimecode.h"
#include "timecode/timecode_format.h"

namespace KVX::QT {

namespace {

// Offsets in a "stsd" whose first entry is a "tmcd".
constexpr uint64_t kFlags = 36;
constexpr uint64_t kTimeScale = 40;
constexpr uint64_t kFrameDuration = 44;
constexpr uint64_t kFramesPerSecond = 48;

constexpr unsigned int kDropFrame = 1;

}  // namespace

TimeCodeTrack* TimeCodeTrack::Create(const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    constexpr TrackClass kClass = {Core::FourCharCode("tmcd"), "time code", "TimeCodeTrack",
                                   "qtTrack->Init()"};
    return CreateTrack<TimeCodeTrack>(kClass, path, moovAtom, trakAtom);
}

long TimeCodeTrack::Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) {
    Atom* stsdAtom = nullptr;
    if (const long status = FindSampleDescriptions(trakAtom, stsdAtom)) {
        return status;
    }
    AtomFields descriptions(stsdAtom);
    mTimeCodeFlags = descriptions.Unsigned32(kFlags);
    mTimeCodeTimeScale = descriptions.Unsigned32(kTimeScale);
    mFrameDuration = descriptions.Unsigned32(kFrameDuration);
    mFramesPerSecond = static_cast<signed char>(descriptions.Unsigned8(kFramesPerSecond));
    if (descriptions.Status() != 0) {
        return descriptions.Status();
    }

    const long status = Track::Init(path, moovAtom, trakAtom);
    Core::Failed(status, "Track::Init()");
    return status;
}

bool TimeCodeTrack::GetFirstTimeCode(Util::CTimeCode& timeCode) {
    unsigned char sample[4];
    const ssize_t got = pread(mFileDescriptor, sample, sizeof(sample), GetSampleOffset(0));
    if (got != static_cast<ssize_t>(sizeof(sample))) {
        return false;
    }
    const int frame = static_cast<int>(Core::ReadBig32(sample));

    const bool drop = (mTimeCodeFlags & kDropFrame) != 0;
    const Util::TimeCodeFormat format =
        Util::tcfFromDuration<int>(static_cast<int>(mFrameDuration),
                                   static_cast<int>(mTimeCodeTimeScale), drop, mFramesPerSecond);
    // Without a rate there is nothing to divide the frame number by.
    if (format == Util::tcfNone) {
        return false;
    }
    timeCode = Util::CTimeCode::FromFrame(format, frame, Util::tcfNone);
    return timeCode.format != Util::tcfNone;
}

bool TimeCodeTrack::GetFirstTimeCode(int&, int&, int&, int&) {
    Util::CTimeCode timeCode(Util::tcfNone);
    return GetFirstTimeCode(timeCode);
}

}  // namespace KVX::QT
