// Files from bytes and recipes. Anything that goes wrong on the disk aborts the test program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/bytes.h"
#include "support/movie_builder.h"
#include "support/temp_directory.h"

namespace kvx_test {

// Bytes at an absolute file offset. What lies between pieces is a hole, so that files beyond 4 GiB
// cost no more disk than their pieces.
struct FilePiece {
    uint64_t offset = 0;
    Bytes bytes = {};
};

void WriteFile(const std::string& path, const Bytes& bytes);
void WriteSparseFile(const std::string& path, const std::vector<FilePiece>& pieces);

// The byte at `position` of a sample: the same for every run, and different enough between
// positions, samples and tracks for a read from a wrong place to show.
uint8_t PatternByte(size_t track, int64_t sample, uint64_t position);
Bytes PatternSample(size_t track, int64_t sample, uint64_t size);

// Pattern bytes for every sample of every track, where the recipe's chunk tables put them. For
// well-formed recipes; a track whose data reference is another file is to be left out by the
// caller.
std::vector<FilePiece> PatternMedia(const MovieRecipe& recipe);

struct MovieFileLayout {
    // Offset of the first byte of media, which chunk offsets refer to. Between the file's head and
    // the "mdat" header before it lies a "free" atom.
    uint64_t mediaOffset = kMediaOffset;
    bool movieFirst = false;  // "moov" before the media, else after
};

// Writes "ftyp", "moov" and an "mdat" that reaches to the end of the last piece, with an extended
// size when it must. Pieces begin at or after the layout's media offset. Aborts when a "moov" that
// comes first does not fit before the media.
void WriteMovieFile(const std::string& path, const AtomNode& moov,
                    const std::vector<FilePiece>& media, const MovieFileLayout& layout = {});

// The recipe's movie with pattern media, as `name` in the directory. Returns the path.
std::string WriteMovie(const TempDirectory& directory, const MovieRecipe& recipe,
                       const MovieFileLayout& layout = {}, const std::string& name = "movie.mov");

}  // namespace kvx_test
