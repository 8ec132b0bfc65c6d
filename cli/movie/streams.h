// What the subcommands look for in a movie's streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cli/output/exit_code.h"
#include "cli/picture/png_file.h"
#include "premiere/import_records.h"

namespace kvx_cli {

// The stream with the movie's video; null if there is none.
const imFileInfoRec8* FindVideo(const std::vector<imFileInfoRec8>& streams);

// What is wrong with the pictures of a movie with that stream: none at all, no frames, or nothing
// in them. `video` may be null.
Problem CheckPictures(const imFileInfoRec8* video);

// The frames of a stream with video, 0 if it does not state how long one is.
int64_t FrameCount(const imFileInfoRec8& video);

// The shape of its pixels; square if it is not stated.
PixelAspect PixelAspectOf(const imFileInfoRec8& video);

// The number of streams with sound. They are the first ones, since both kinds are numbered from 0.
size_t SoundStreamCount(const std::vector<imFileInfoRec8>& streams);

}  // namespace kvx_cli
