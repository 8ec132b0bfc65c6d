// The start timecode of a movie, as text.
#include <cstdio>
#include <cstring>

#include "core/log.h"
#include "core/status.h"
#include "host/file_import_module.h"
#include "quicktime/movie.h"
#include "quicktime/timecode_track.h"
#include "timecode/ctimecode.h"

namespace KVX {

namespace {

// "hh:mm:ss:ff", with ";" for drop frame.
constexpr size_t kTextLength = 11;
constexpr size_t kSeparators[] = {2, 5, 8};
constexpr size_t kDropFrameSeparator = 8;

// Bit 0 of a timecode track's flags is drop frame, and ";" comes after ":" in ASCII.
constexpr uint32_t kDropFrameFlag = 1;
static_assert((':' | kDropFrameFlag) == ';', "drop frame is the separator's low bit");

struct TimeCodeText {
    int hours;
    int minutes;
    int seconds;
    int frames;
    bool dropFrame;
};

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

int TwoDigits(const char* text) {
    return (text[0] - '0') * 10 + (text[1] - '0');
}

// Frames go up to 29 whatever the movie's rate is, and hours up to what two digits hold.
bool Parse(const char* text, size_t length, TimeCodeText& timeCode) {
    if (length != kTextLength) {
        return false;
    }
    for (const size_t separator : kSeparators) {
        if (text[separator] != ':' && text[separator] != ';') {
            return false;
        }
    }
    for (const size_t pair : {0, 3, 6, 9}) {
        if (!IsDigit(text[pair]) || !IsDigit(text[pair + 1])) {
            return false;
        }
    }
    timeCode = {TwoDigits(text), TwoDigits(text + 3), TwoDigits(text + 6), TwoDigits(text + 9),
                text[kDropFrameSeparator] == ';'};
    return timeCode.minutes <= 59 && timeCode.seconds <= 59 && timeCode.frames <= 29;
}

}  // namespace

long FileImportModule::GetTimeInfo8(void*, imTimeInfoRec8* record) {
    if (mMovie == nullptr || mMovie->mTimeCodeTracks.empty()) {
        return imNoTimecode;
    }
    QT::TimeCodeTrack* track = mMovie->mTimeCodeTracks.front();
    Util::CTimeCode timeCode(Util::tcfNone);
    if (!track->GetFirstTimeCode(timeCode)) {
        return imNoTimecode;
    }
    const char separator = static_cast<char>(':' | (track->mTimeCodeFlags & kDropFrameFlag));
    std::snprintf(record->originalTime, sizeof(record->originalTime), "%02d%c%02d%c%02d%c%02d",
                  timeCode.hours, separator, timeCode.minutes, separator, timeCode.seconds,
                  separator, timeCode.frames);
    record->originalScale = static_cast<int32_t>(track->mTimeCodeTimeScale);
    record->originalSampleSize = static_cast<int32_t>(track->mFrameDuration);
    record->setting42 = 0;
    std::memset(record->setting60, 0, sizeof(record->setting60));
    record->setting108 = 0;
    record->setting148 = 0;
    record->setting404 = 1;
    return imNoErr;
}

long FileImportModule::SetTimeInfo8(void*, imTimeInfoRec8* record) {
    const char* text = record->originalTime;
    const size_t length = strnlen(text, sizeof(record->originalTime));
    TimeCodeText timeCode = {};
    if (!Parse(text, length, timeCode)) {
        KVX_LOG("Got invalid timecode string '%.*s'\n", static_cast<int>(length), text);
        return imOtherErr;
    }
    // Files are only read here, so the movie refuses. A module without a movie refuses likewise.
    const long status =
        mMovie == nullptr ? Core::kStatusNotSupported
                          : mMovie->SetTimecode(timeCode.hours, timeCode.minutes, timeCode.seconds,
                                                timeCode.frames, timeCode.dropFrame,
                                                record->originalScale, record->originalSampleSize);
    if (Core::Failed(status, "SetTimecode")) {
        return imOtherErr;
    }
    return imNoErr;
}

}  // namespace KVX
