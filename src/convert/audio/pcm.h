#pragma once

#include <cstdint>

#include "quicktime/audio_track.h"

namespace KVX::Converter::Audio {

// A signed 24-bit sample as it lies in a file, least significant byte first. It has no padding, so
// a frame of six channels is 18 bytes.
struct SInt24 {
    unsigned char mBytes[3];

    // The value, sign-extended from bit 23.
    operator int32_t() const {
        const uint32_t top = static_cast<uint32_t>(mBytes[0]) << 8 |
                             static_cast<uint32_t>(mBytes[1]) << 16 |
                             static_cast<uint32_t>(mBytes[2]) << 24;
        return static_cast<int32_t>(top) >> 8;
    }
};
static_assert(sizeof(SInt24) == 3 && alignof(SInt24) == 1, "samples lie back to back");

// Turns interleaved linear PCM, as stored in a QuickTime file, into one plane of 32-bit float for
// each channel, in the host's plane order: for six channels left, right, left surround, right
// surround, centre, LFE.
//
// Integers are scaled by their full scale less one: the largest positive value gives exactly 1.0,
// the most negative one lies a little below -1.0 and is not clipped. Floats pass unscaled, 32-bit
// ones bit for bit.
//
// No state and no allocation: any thread may convert its own buffers.
class PCM {
  public:
    // Converts `frames` whole frames from `samples` (any alignment) in the form that `track`
    // describes; channel c lands in planes[c], six channels by the track's order. `frames` is a
    // 32-bit count, as hosts ask for it; planes beyond the track's channels are not looked at. No
    // plane may share memory with the samples or with another plane.
    //
    // Returns 0, or 22 after one log line, with the planes untouched, for a null track, a channel
    // count other than 1, 2 or 6, unsigned samples above 8 bits, 64-bit integers, or a sample size
    // other than 8, 16, 24, 32 and 64 bits.
    static long WriteSamples(QT::AudioTrack* track, char* samples, float** planes,
                             unsigned long frames);

    // Converts samples of type T: signed char, unsigned char, short, SInt24, int, float or double.
    // The bytes of each sample are little-endian, or big-endian with `swap`. Channel counts other
    // than 1, 2 and 6 do nothing. `order` matters to six channels only; without one of the four 5.1
    // orders they are taken as SampleOrder51A.
    template <typename T>
    static void Write(char* samples, bool swap, float** planes, unsigned int channels,
                      unsigned int frames, QT::SampleOrder order);
};

}  // namespace KVX::Converter::Audio
