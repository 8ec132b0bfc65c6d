// Edit lists, and what will be seen and heard when.
#include <algorithm>

#include "core/four_char_code.h"
#include "inspect/track_reader.h"
#include "inspect/words.h"
#include "quicktime/wrapping.h"

namespace kvx_inspect {

namespace {

using KVX::Core::FourCharCode;
using KVX::QT::WrappingDifference;
using KVX::QT::WrappingProduct;
using KVX::QT::WrappingQuotient;
using KVX::QT::WrappingSum;

// "elst", version 0: entries in movie time units.
constexpr uint64_t kVersion = 8;
constexpr uint64_t kCount = 12;
constexpr uint64_t kEntries = 16;
constexpr uint64_t kEntry = 12;
constexpr double kFixedPointUnit = 1.0 / 65536;

// "tkhd", version 0
constexpr uint64_t kTrackDuration = 28;

AtomView FindEditList(const TrackReader& reader) {
    return reader.trak.Child(FourCharCode("edts")).Child(FourCharCode("elst"));
}

void ReadEntries(TrackReader& reader, AtomView elst) {
    const int64_t mediaScale = reader.track.timeScale;
    const int64_t movieScale = reader.report.timeScale;
    const auto toMediaTime = [mediaScale, movieScale](int64_t movieTime) {
        return WrappingQuotient(WrappingProduct(mediaScale, movieTime), movieScale);
    };
    int64_t elapsed = 0;
    for (uint64_t offset = kEntries; elst.Holds(offset, kEntry); offset += kEntry) {
        Edit edit;
        edit.start = toMediaTime(elapsed);
        elapsed += elst.Signed32(offset);
        edit.length = WrappingDifference(toMediaTime(elapsed), edit.start);
        edit.mediaTime = elst.Signed32(offset + 4);
        edit.rate = elst.Unsigned32(offset + 8) * kFixedPointUnit;
        reader.track.edits.push_back(edit);
    }
    reader.track.duration = toMediaTime(elapsed);
}

// An empty edit is none to the importer: it plays the media's start in its place.
void TellEmptyEdits(const TrackReader& reader) {
    const TrackFacts& track = reader.track;
    const auto isEmpty = [](const Edit& edit) { return edit.mediaTime < 0 && edit.length != 0; };
    const auto empty = std::find_if(track.edits.begin(), track.edits.end(), isEmpty);
    if (empty == track.edits.end()) {
        return;
    }
    const std::string length = Seconds(static_cast<double>(empty->length), track.timeScale);
    const std::string start = Seconds(static_cast<double>(empty->start), track.timeScale);
    const std::string text =
        empty->start == 0
            ? "the track begins with a delay of " + length +
                  ", which is not kept: its media plays at once, and from its beginning again " +
                  length + " later"
            : "the track has a gap of " + length + " at " + start +
                  ", which is not kept: the beginning of its media plays there";
    reader.Add(Code::EditList, text);
}

void TellRates(const TrackReader& reader) {
    const TrackFacts& track = reader.track;
    const auto edit = std::find_if(track.edits.begin(), track.edits.end(), [](const Edit& each) {
        return each.rate != 1.0 && each.mediaTime >= 0 && each.length != 0;
    });
    if (edit == track.edits.end()) {
        return;
    }
    char rate[32];
    std::snprintf(rate, sizeof rate, "%g", edit->rate);
    const std::string from = Seconds(static_cast<double>(edit->start), track.timeScale);
    const std::string what = track.kind == TrackKind::Sound
                                 ? "its samples are read one after the other, at their own speed"
                             : edit->rate == 0 ? "one frame is held"
                                               : "frames are left out or repeated";
    reader.Add(Code::EditList,
               "from " + from + " on the track plays at " + rate + " times its speed: " + what);
}

// The end of the timeline against that of the media, with the rounding that comes from the movie's
// time scale.
void TellEnds(const TrackReader& reader) {
    const TrackFacts& track = reader.track;
    const int64_t unit = track.tables.sampleDuration;
    const int64_t movieScale = std::max<int64_t>(reader.report.timeScale, 1);
    const int64_t tolerance =
        WrappingSum(WrappingSum(track.timeScale / movieScale, 1), std::max<int64_t>(unit, 1));
    for (const Edit& edit : track.edits) {
        const int64_t beyond = WrappingDifference(WrappingSum(edit.mediaTime, edit.length),
                                                  track.tables.mediaDuration);
        // Where frames are shown later than they are stored, so is the last.
        if (edit.mediaTime >= 0 && edit.rate == 1.0 && beyond > tolerance &&
            !track.tables.displayOffsets) {
            const int64_t from = WrappingDifference(WrappingSum(edit.start, edit.length), beyond);
            reader.Add(Code::EditList, "from " +
                                           Seconds(static_cast<double>(std::max(from, edit.start)),
                                                   track.timeScale) +
                                           " on an edit is longer than its media: the last " +
                                           reader.SampleNoun() + " is repeated");
            return;
        }
    }
    const int64_t delivered = WrappingProduct(track.tables.sampleCount, unit);
    if (track.kind == TrackKind::Sound && track.edits.size() > 1 && delivered > 0 &&
        WrappingDifference(track.duration, delivered) > tolerance) {
        reader.Add(Code::EditList, "the edits are longer than the media together: from " +
                                       Seconds(static_cast<double>(delivered), track.timeScale) +
                                       " on there is silence");
    }
}

}  // namespace

void ReadEdits(TrackReader& reader) {
    const AtomView elst = FindEditList(reader);
    if (elst && !elst.Holds(kCount, 4)) {
        reader.Add(Code::Damaged, "the edit list is cut short");
        return;
    }
    if (elst.Signed32(kCount) > 0) {
        if (!elst.Holds(kEntries, kEntry)) {
            reader.Add(Code::Damaged, "the edit list holds not one whole entry");
            return;
        }
        ReadEntries(reader, elst);
        return;
    }
    const AtomView tkhd = reader.trak.Child(FourCharCode("tkhd"));
    if (!tkhd.Holds(kTrackDuration, 4)) {
        reader.Add(Code::Damaged,
                   tkhd ? "the track header is cut short" : "the track has no header");
        return;
    }
    reader.track.duration =
        WrappingQuotient(WrappingProduct(reader.track.timeScale, tkhd.Signed32(kTrackDuration)),
                         reader.report.timeScale);
    reader.track.edits.push_back({0, reader.track.duration, 0, 1.0});
}

void CheckEdits(const TrackReader& reader) {
    const AtomView elst = FindEditList(reader);
    if (elst.Signed32(kCount) <= 0) {
        return;
    }
    if (elst.Unsigned8(kVersion) != 0) {
        reader.Add(Code::EditList,
                   "the edit list is of version 1, with 64-bit times, and is read as one of "
                   "version 0: the track plays from wrong places");
        return;
    }
    TellEmptyEdits(reader);
    TellRates(reader);
    TellEnds(reader);
}

}  // namespace kvx_inspect
