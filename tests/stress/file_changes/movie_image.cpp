#include "stress/file_changes/movie_image.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "stress/file_changes/check.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"

namespace kvx_stress {

Movie MakeMovie(const kvx_test::TempDirectory& directory, int width, int height, int frames,
                uint64_t skew) {
    constexpr uint64_t kHead = 0x2000;
    Movie movie = {width,
                   height,
                   frames,
                   kHead,
                   kHead + 0x1000 + skew,
                   static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 2};
    kvx_test::MovieRecipe recipe;
    recipe.tracks.push_back(kvx_test::VideoTrackRecipe({"2vuy", width, height, 24},
                                                       static_cast<uint32_t>(movie.frameSize),
                                                       frames, 24000, 1000, movie.videoOffset));
    recipe.tracks.push_back(
        kvx_test::SoundTrackRecipe(kvx_test::Describe(kvx_test::SoundDescriptionV0{}), 4,
                                   kSoundFrames, 48000, movie.soundOffset));
    const std::string path = kvx_test::WriteMovie(directory, recipe, {kHead, true}, "image.mov");
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    Require(file != nullptr, "no movie to begin with");
    movie.image.resize(movie.OffsetOf(frames));
    Require(std::fread(movie.image.data(), 1, movie.image.size(), file) == movie.image.size() &&
                std::fgetc(file) == EOF,
            "a movie of another length");
    std::fclose(file);
    movie.edges = {0, movie.soundOffset, movie.videoOffset, movie.image.size(),
                   movie.image.size() / 4096 * 4096};
    for (int frame = 0; frame < frames; ++frame) {
        const uint64_t offset = movie.OffsetOf(frame);
        movie.edges.push_back(offset);
        movie.edges.push_back(offset / 4096 * 4096);
        movie.edges.push_back(offset + movie.frameSize / 2);
    }
    return movie;
}

std::vector<Slice> SlicesOf(const Movie& movie, int frame, int64_t knownLength) {
    int64_t begin = static_cast<int64_t>(movie.OffsetOf(frame));
    int64_t end = begin + static_cast<int64_t>(movie.frameSize);
    while (begin % 4096 != 0) {
        --begin;
    }
    while (end % 4096 != 0 && end < knownLength) {
        ++end;
    }
    if (end - begin <= 2 * 1048576) {
        return {{begin, end - begin}};
    }
    std::vector<Slice> slices;
    for (; begin < end; begin += 1048576) {
        slices.push_back({begin, std::min<int64_t>(1048576, end - begin)});
    }
    return slices;
}

}  // namespace kvx_stress
