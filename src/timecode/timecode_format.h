// The frame rates that timecodes can count in, and the way from a rate to a format and back.
#pragma once

#include <cstdint>

namespace KVX::Util {

// A frame rate with its way of counting. A format is drop-frame (SMPTE ST 12-1) exactly if its
// value is above 49. A value without a name here is treated as tcfNone.
enum TimeCodeFormat : int32_t {
    tcfNone = 0,
    tcf2398 = 1,
    tcf24 = 2,
    tcf25 = 3,
    tcf2997 = 4,
    tcf30 = 5,
    tcf50 = 6,
    tcf5994 = 7,
    tcf60 = 8,
    tcf2997Drop = 50,
    tcf5994Drop = 51,
};

// The format of a measured rate in frames per second; tcfNone if the rate is none of the known
// ones, for there is no nearest match. `drop` matters only where a drop-frame variant exists.
TimeCodeFormat tcfFromFps(double fps, bool drop);

// The format of frames that last `duration` units of which `timeScale` make a second. `frames` is
// the number that the counter says it counts in a second, or -1 if that is not known; a counter
// that runs slower than the frames gives the serial format. T is int or unsigned int.
template <typename T>
TimeCodeFormat tcfFromDuration(T duration, T timeScale, bool drop, int frames);

extern template TimeCodeFormat tcfFromDuration<int>(int, int, bool, int);
extern template TimeCodeFormat tcfFromDuration<unsigned int>(unsigned int, unsigned int, bool, int);

// Frames counted per second: the real rate, rounded up. 0 for tcfNone.
int tcfToTps(TimeCodeFormat format);

// The rate as a fraction. 0 and 0 for tcfNone.
void tcfToDuration(TimeCodeFormat format, unsigned int& duration, unsigned int& timeScale);

// The format in which a serial device counts the same time: a rate that is too high is halved, and
// the drop mode stays.
TimeCodeFormat tcfToSerialTcf(TimeCodeFormat format);

// True if a serial timecode can count the format: a real rate below 31 frames a second.
bool tcfIsSerialTcf(TimeCodeFormat format);

bool tcfIsDrop(TimeCodeFormat format);

// The same rate in the given drop mode, or the format itself if its rate has no such mode.
TimeCodeFormat tcfChangeDrop(TimeCodeFormat format, bool drop);

// A count of frames at another rate, by the frames counted per second: between drop-frame and
// non-drop-frame no number changes. `roundUp` takes a fraction of a frame as a whole one. A format
// that counts nothing gives 0.
int tcfConvertFrameCount(int frames, TimeCodeFormat from, TimeCodeFormat to, bool roundUp);

}  // namespace KVX::Util
