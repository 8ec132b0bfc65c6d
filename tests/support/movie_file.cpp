#include "support/movie_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace kvx_test {

namespace {

constexpr uint64_t kLongestShortAtom = 0xFFFFFFFF;

void Require(bool good, const char* what, const std::string& path) {
    if (!good) {
        std::fprintf(stderr, "%s: ", path.c_str());
        std::perror(what);
        std::abort();
    }
}

AtomNode FileType() {
    return {"ftyp", "qt  " + big32(0x20050300) + "qt  "};
}

// The header of an "mdat" whose payload has `size` bytes.
Bytes MediaHeaderBytes(uint64_t size) {
    if (size + 8 <= kLongestShortAtom) {
        return big32(static_cast<int64_t>(size + 8)) + "mdat";
    }
    return big32(1) + "mdat" + big64(static_cast<int64_t>(size + 16));
}

// The samples of one track, chunk by chunk.
void AppendTrackMedia(const TrackRecipe& track, size_t trackIndex, std::vector<FilePiece>& pieces) {
    int64_t sample = 0;
    size_t run = 0;
    for (size_t chunk = 0; chunk < track.chunkOffsets.size(); ++chunk) {
        while (run + 1 < track.chunkRuns.size() &&
               track.chunkRuns[run + 1].firstChunk <= static_cast<int64_t>(chunk) + 1) {
            ++run;
        }
        FilePiece piece{track.chunkOffsets[chunk]};
        const int64_t end =
            std::min(sample + track.chunkRuns.at(run).samplesPerChunk, track.SampleCount());
        for (; sample < end; ++sample) {
            piece.bytes += PatternSample(trackIndex, sample, track.SampleSize(sample));
        }
        pieces.push_back(std::move(piece));
    }
}

}  // namespace

void WriteSparseFile(const std::string& path, const std::vector<FilePiece>& pieces) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    Require(file >= 0, "open", path);
    for (const FilePiece& piece : pieces) {
        for (size_t done = 0; done < piece.bytes.size();) {
            const ssize_t wrote = pwrite(file, piece.bytes.data() + done, piece.bytes.size() - done,
                                         static_cast<off_t>(piece.offset + done));
            Require(wrote > 0, "pwrite", path);
            done += static_cast<size_t>(wrote);
        }
    }
    Require(close(file) == 0, "close", path);
}

void WriteFile(const std::string& path, const Bytes& bytes) {
    WriteSparseFile(path, {{0, bytes}});
}

uint8_t PatternByte(size_t track, int64_t sample, uint64_t position) {
    // Odd multipliers from the golden ratio spread neighbouring numbers over all bits.
    uint64_t mix = position + static_cast<uint64_t>(sample) * 0x9E3779B97F4A7C15u +
                   (track + 1) * 0xC2B2AE3D27D4EB4Fu;
    mix ^= mix >> 29;
    mix *= 0xBF58476D1CE4E5B9u;
    return static_cast<uint8_t>(mix >> 56);
}

Bytes PatternSample(size_t track, int64_t sample, uint64_t size) {
    Bytes bytes(size, '\0');
    for (uint64_t position = 0; position < size; ++position) {
        bytes[position] = static_cast<char>(PatternByte(track, sample, position));
    }
    return bytes;
}

std::vector<FilePiece> PatternMedia(const MovieRecipe& recipe) {
    std::vector<FilePiece> pieces;
    for (size_t track = 0; track < recipe.tracks.size(); ++track) {
        AppendTrackMedia(recipe.tracks[track], track, pieces);
    }
    return pieces;
}

void WriteMovieFile(const std::string& path, const AtomNode& moov,
                    const std::vector<FilePiece>& media, const MovieFileLayout& layout) {
    uint64_t mediaEnd = layout.mediaOffset;
    for (const FilePiece& piece : media) {
        Require(piece.offset >= layout.mediaOffset, "media before its \"mdat\"", path);
        mediaEnd = std::max(mediaEnd, piece.offset + piece.bytes.size());
    }
    const Bytes movie = moov.Serialize();
    const Bytes mediaHeader = MediaHeaderBytes(mediaEnd - layout.mediaOffset);
    Bytes head = FileType().Serialize() + (layout.movieFirst ? movie : "");
    Require(head.size() + 8 + mediaHeader.size() <= layout.mediaOffset, "no room before the media",
            path);
    const uint64_t padding = layout.mediaOffset - mediaHeader.size() - head.size() - 8;
    head += AtomNode{"free", zeros(padding)}.Serialize() + mediaHeader;

    std::vector<FilePiece> pieces = {{0, head}};
    pieces.insert(pieces.end(), media.begin(), media.end());
    if (!layout.movieFirst) {
        pieces.push_back({mediaEnd, movie});
    }
    WriteSparseFile(path, pieces);
}

std::string WriteMovie(const TempDirectory& directory, const MovieRecipe& recipe,
                       const MovieFileLayout& layout, const std::string& name) {
    const std::string path = directory.File(name);
    WriteMovieFile(path, BuildMoov(recipe), PatternMedia(recipe), layout);
    return path;
}

}  // namespace kvx_test
