// The movies that are played: the whole file in memory, and how its frames are read.
#pragma once

#include <cstdint>
#include <vector>

#include "support/bytes.h"
#include "support/temp_directory.h"

namespace kvx_stress {

// A movie of one kind: its file, and its frames as they are in it and as they are converted.
struct Movie {
    int width;
    int height;
    int frames;
    uint64_t soundOffset;
    uint64_t videoOffset;
    uint64_t frameSize;
    kvx_test::Bytes image = {};
    std::vector<uint64_t> edges = {};
    std::vector<kvx_test::Bytes> converted = {};

    uint64_t OffsetOf(int frame) const {
        return videoOffset + static_cast<uint64_t>(frame) * frameSize;
    }
};

// In the file lie the sound, then the frames, "2vuy", which end it. With a skew the frames stand
// beside the pages.
constexpr int kSoundFrames = 960;  // of four bytes
Movie MakeMovie(const kvx_test::TempDirectory& directory, int width, int height, int frames,
                uint64_t skew);

// The slices that a frame is read in: whole pages, but not past the end that the file
// had when it was opened; at once up to 2 MiB, else by 1 MiB.
struct Slice {
    int64_t offset;
    int64_t size;
};
std::vector<Slice> SlicesOf(const Movie& movie, int frame, int64_t knownLength);

}  // namespace kvx_stress
