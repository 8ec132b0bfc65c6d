#pragma once

#include <string>

#include "quicktime/track.h"

namespace KVX::Util {
class CTimeCode;
}

namespace KVX::QT {

// A "tmcd" track: how its frames are counted, and samples of four bytes that each hold a frame
// number (QuickTime File Format, "Timecode Sample Description"). Only the first sample is ever
// read: the movie's start. Fields do not change after Init.
class TimeCodeTrack : public Track {
  public:
    TimeCodeTrack() = default;

    // Reads the description of the "trak", then Track::Init. Returns 0; 22 after a log line for a
    // missing table or fields outside their atom; or what Track::Init returns.
    long Init(const std::string& path, Atom* moovAtom, Atom* trakAtom) override;

    // A track for the caller to delete, or null after a log line. `path` is the movie's.
    static TimeCodeTrack* Create(const std::string& path, Atom* moovAtom, Atom* trakAtom);

    // Reads the first frame number from the file and gives its timecode. False, with `timeCode` as
    // it was, if the file is closed or too short, or if the track counts at no known rate. Takes no
    // lock; any number of threads may ask.
    bool GetFirstTimeCode(Util::CTimeCode& timeCode);

    // Tells whether there is a first timecode, and writes nothing: the arguments keep what they
    // hold.
    bool GetFirstTimeCode(int& hours, int& minutes, int& seconds, int& frames);

    unsigned int mTimeCodeFlags = 0;  // bit 0: drop frame
    // One frame lasts mFrameDuration units, of which mTimeCodeTimeScale make a second.
    unsigned int mTimeCodeTimeScale = 0;
    unsigned int mFrameDuration = 0;
    signed char mFramesPerSecond = 0;  // where the counter wraps
};

}  // namespace KVX::QT
