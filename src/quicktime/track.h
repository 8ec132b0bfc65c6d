#pragma once

#include <string>

#include "quicktime/sample_table.h"

namespace KVX::QT {

// What all tracks share: time scales, the tables and their look-ups, and a descriptor of the file
// that holds the media.
//
// After Init only the descriptor and the file size change, with OpenFile and CloseFile. So reads
// with pread may share the descriptor.
class Track : public SampleTable {
  public:
    Track() = default;
    virtual ~Track();

    // Reads the headers, the edit list, the data reference and the sample tables, and opens the
    // media's file. `path` is the movie's. Subclasses read their sample description first and end
    // with this. Returns 0; 2 for a missing header; 22 for a missing or unusable table, a field
    // outside its atom or a time scale of 0; or the status of a step. Each leaves log lines.
    virtual long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    Track(const Track&) = delete;
    Track& operator=(const Track&) = delete;

    // Gives the component subtype of the media handler in native order, as 'vide'. Returns 0, or 22
    // after a log line.
    static long GetMediaType(Atom* trakAtom, int& mediaType);

    // Fills mEditRates and mTrackDuration; both time scales must be set. A track without an edit
    // list gets one edit that maps time to itself. Returns 0, 2 or 22.
    long SetEditList(Atom* trakAtom);

    // Settles mFilePath from the data references. Returns 0, 2, 12, 22, or what the platform said
    // about an alias.
    long SetFilePath(const std::string& path, Atom* mdiaAtom);

    // Opens mFilePath, unless it is open, with the system's caching off. Returns 0, 22 if it does
    // not open or is not a regular file, or the result of the call that failed.
    long OpenFile();
    void CloseFile();

    long long mFormat = 0;          // first sample description's code; 0 on a timecode track
    long long mMediaTimeScale = 0;  // units a second
    std::string mFilePath;
    int mFileDescriptor = -1;  // -2 once closed
    long long mFileSize = 0;   // bytes, when it was opened
    unsigned int mMovieDuration = 0;
    long long mMovieTimeScale = 0;
    unsigned int mMediaDuration = 0;
};

}  // namespace KVX::QT
