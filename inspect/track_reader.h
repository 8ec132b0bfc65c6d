// The parts of examining a track. Each takes what it needs from the atoms, fills its share of
// the facts and says what it finds.
#pragma once

#include <cstdint>
#include <string>

#include "inspect/atom_view.h"
#include "inspect/movie_file.h"
#include "inspect/report.h"

namespace kvx_inspect {

// A track under inspection.
struct TrackReader {
    Report& report;
    TrackFacts& track;
    const MovieFile& file;
    AtomView moov;
    AtomView trak;
    AtomView mdia;
    AtomView minf;
    AtomView stbl;
    AtomView description;  // the first one; none if it cannot be used
    bool hasFragments = false;

    void Add(Code code, const std::string& text, const char* remedy = nullptr) const {
        report.findings.push_back({code, track.number, text, remedy});
    }
    FileRange RangeOf(const AtomView& atom) const {
        return {file.OffsetInFile(atom.Start()), atom.Length()};
    }
    FileRange RangeIn(const AtomView& atom, uint64_t offset, uint64_t length) const {
        return {file.OffsetInFile(atom.Start()) + offset, length};
    }
    // What people call the track's pictures: "frame", "sample".
    const char* SampleNoun() const { return track.kind == TrackKind::Video ? "frame" : "sample"; }
};

// Of the children of a "trak" that every kind of track must have. False if the track's kind is not
// told.
bool ReadMediaHandler(TrackReader& reader);

// The first entry of the "stsd", which every kind but timecode needs whole.
void ReadDescription(TrackReader& reader);

// The description's own part. The sound one returns false for a description after which the
// importer reads no tables, and takes the track as empty.
void ReadVideo(TrackReader& reader);
bool ReadSound(TrackReader& reader);
void ReadTimecode(TrackReader& reader);

// What all kinds have in common: headers, edits, references, tables.
void ReadHeaders(TrackReader& reader);
void ReadEdits(TrackReader& reader);
void ReadDataReferences(TrackReader& reader);
void ReadSampleTables(TrackReader& reader);

// What follows from all of these together.
void CheckExtents(const TrackReader& reader);
void CheckEdits(const TrackReader& reader);
void CheckVideo(const TrackReader& reader);
void CheckTimecode(const TrackReader& reader);

// What follows from the form and the format of the sound.
void CheckSound(const TrackReader& reader);

}  // namespace kvx_inspect
