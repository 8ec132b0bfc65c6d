// Timecode tracks: how they count, and where they start.
#include <unistd.h>

#include <cstdio>

#include "core/big_endian.h"
#include "core/four_char_code.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"
#include "timecode/ctimecode.h"
#include "timecode/timecode_format.h"

namespace kvx_inspect {

namespace {

// Offsets in a "stsd" whose first entry is a "tmcd".
constexpr uint64_t kFlags = 36;
constexpr uint64_t kTimeScale = 40;
constexpr uint64_t kFrameDuration = 44;
constexpr uint64_t kFramesPerSecond = 48;
constexpr uint64_t kEnd = 49;

constexpr uint32_t kDropFrame = 1;

KVX::Util::TimeCodeFormat FormatOf(const TimecodeFacts& timecode) {
    return KVX::Util::tcfFromDuration<int>(static_cast<int>(timecode.frameDuration),
                                           static_cast<int>(timecode.timeScale),
                                           timecode.isDropFrame, timecode.framesPerSecond);
}

// The sample under the beginning of the timeline, four bytes.
bool ReadFirstFrame(const TrackReader& reader, uint32_t& frame) {
    SampleWalk walk(reader.track.tables);
    Sample sample;
    char bytes[4];
    const bool isRead = reader.track.media.isMovieItself && walk.Next(sample) &&
                        pread(reader.file.Descriptor(), bytes, sizeof bytes,
                              static_cast<off_t>(sample.offset)) == sizeof bytes;
    if (isRead) {
        frame = KVX::Core::ReadBig32(bytes);
    }
    return isRead;
}

}  // namespace

void ReadTimecode(TrackReader& reader) {
    const AtomView stsd = reader.stbl.Child(KVX::Core::FourCharCode("stsd"));
    TimecodeFacts& timecode = reader.track.timecode.emplace();
    if (!stsd || stsd.Signed32(12) <= 0) {
        return;
    }
    if (!stsd.Holds(0, kEnd)) {
        reader.Add(Code::Damaged, "the sample description is cut short");
        return;
    }
    timecode.isDropFrame = (stsd.Unsigned32(kFlags) & kDropFrame) != 0;
    timecode.timeScale = stsd.Unsigned32(kTimeScale);
    timecode.frameDuration = stsd.Unsigned32(kFrameDuration);
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): the field is a signed number.
    timecode.framesPerSecond = static_cast<int8_t>(stsd.Unsigned8(kFramesPerSecond));
    timecode.isCounted = FormatOf(timecode) != KVX::Util::tcfNone;
}

void CheckTimecode(const TrackReader& reader) {
    TimecodeFacts& timecode = *reader.track.timecode;
    uint32_t frame = 0;
    if (ReadFirstFrame(reader, frame)) {
        timecode.firstFrame = frame;
    }
    if (timecode.isCounted && timecode.firstFrame) {
        timecode.start = KVX::Util::CTimeCode::FromFrame(
                             FormatOf(timecode), static_cast<int>(frame), KVX::Util::tcfNone)
                             .ToString(false);
    }
    // Of several, only the first counts.
    if (reader.track.index != 0 || timecode.isCounted) {
        return;
    }
    std::string rate = "no rate";
    if (timecode.frameDuration > 0) {
        char text[48];
        std::snprintf(
            text, sizeof text, "%.6g frames a second",
            static_cast<double>(timecode.timeScale) / static_cast<double>(timecode.frameDuration));
        rate = text;
    }
    reader.Add(Code::TimecodeRate, "its timecode counts at " + rate +
                                       ", which the importer does not count: the host is told of "
                                       "no timecode");
}

}  // namespace kvx_inspect
