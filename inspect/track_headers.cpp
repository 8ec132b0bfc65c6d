#include "core/four_char_code.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;

// "hdlr"
constexpr uint64_t kComponentType = 12;
constexpr uint64_t kComponentSubtype = 16;

// "mdhd", version 0
constexpr uint64_t kVersion = 8;
constexpr uint64_t kTimeScale = 20;
constexpr uint64_t kTimeScaleAndDuration = 8;

// "stsd"
constexpr uint64_t kEntryCount = 12;
constexpr uint64_t kFirstEntry = 16;

}  // namespace

bool ReadMediaHandler(TrackReader& reader) {
    reader.mdia = reader.trak.Child(FourCharCode("mdia"));
    if (!reader.mdia) {
        reader.Add(Code::Damaged, "the track has no media atom");
        return false;
    }
    reader.minf = reader.mdia.Child(FourCharCode("minf"));
    reader.stbl = reader.minf.Child(FourCharCode("stbl"));
    const AtomView hdlr = reader.mdia.Child(FourCharCode("hdlr"));
    if (!hdlr.Holds(kComponentSubtype, 4)) {
        reader.Add(Code::Damaged, hdlr ? "the track's media handler is cut short"
                                       : "the track has no media handler");
        return false;
    }
    reader.track.mediaHandler = {hdlr.Unsigned32(kComponentType),
                                 hdlr.Unsigned32(kComponentSubtype),
                                 reader.RangeIn(hdlr, kComponentSubtype, 4)};
    return true;
}

void ReadDescription(TrackReader& reader) {
    const auto damaged = [&reader](const std::string& text) { reader.Add(Code::Damaged, text); };
    if (!reader.minf) {
        return damaged("the track has no media information atom");
    }
    if (!reader.stbl) {
        return damaged("the track has no sample table atom");
    }
    const AtomView stsd = reader.stbl.Child(FourCharCode("stsd"));
    if (!stsd) {
        return damaged("the track has no sample descriptions");
    }
    if (!stsd.Holds(kEntryCount, 4) || stsd.Signed32(kEntryCount) <= 0) {
        return damaged("the track's table of sample descriptions holds none");
    }
    const AtomView entry = stsd.AtomAt(kFirstEntry);
    if (entry && entry.Length() == stsd.Unsigned32(kFirstEntry)) {
        reader.description = entry;
        reader.track.format = entry.Type();
        reader.track.description = reader.RangeOf(entry);
    } else if (reader.track.kind != TrackKind::Timecode) {
        damaged("the size of the sample description is wrong");
    }
}

void ReadHeaders(TrackReader& reader) {
    const AtomView mdhd = reader.mdia.Child(FourCharCode("mdhd"));
    if (!mdhd.Holds(kTimeScale, kTimeScaleAndDuration)) {
        reader.Add(Code::Damaged,
                   mdhd ? "the media header is cut short" : "the track has no media header");
        return;
    }
    reader.track.timeScale = mdhd.Signed32(kTimeScale);
    if (reader.track.timeScale == 0) {
        reader.Add(Code::Damaged, mdhd.Unsigned8(kVersion) == 0
                                      ? "the media header counts time in units of nothing"
                                      : "the media header is of version 1, with 64-bit times, "
                                        "which are not read: no time scale is found");
    }
}

}  // namespace kvx_inspect
