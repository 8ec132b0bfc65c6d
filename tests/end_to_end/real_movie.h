// A movie that an encoder wrote, and what ffprobe and ffmpeg say of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvx_test {

struct Packet {
    int64_t time;  // on the edited timeline, in the stream's time base; negative: before its start
    int64_t offset;
    int64_t size;
};

struct Fraction {
    int64_t numerator;
    int64_t denominator;
};

struct VideoFacts {
    std::string format;  // the four characters
    int width;
    int height;
    Fraction rate;
    Fraction timeBase;
    int64_t duration;  // in the time base
    std::string fieldOrder;
    std::string pixelAspect;
    std::vector<Packet> packets;
};

struct SoundFacts {
    std::string codec;  // "pcm_s24le" and the like
    int channels;
    int rate;
    int64_t duration;  // in frames
    std::vector<Packet> packets;
    std::vector<double> samples;  // interleaved in the file's order, full scale 1.0
};

struct RealMovie {
    std::string path;
    std::vector<VideoFacts> videos;
    std::vector<SoundFacts> sounds;
};

// Where the movies lie.
std::string MediaPath(const std::string& name);

// Stops the test program if there is no such movie: the tests cannot pass by missing input.
RealMovie ReadRealMovie(const std::string& name);

}  // namespace kvx_test
