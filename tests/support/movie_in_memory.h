#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include "core/four_char_code.h"
#include "quicktime/atom.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"

namespace kvx_test {

// A recipe's "moov" in a buffer of exactly its length, so that a sanitizer sees every read beyond
// it, with an empty file that stands for the movie's media. What a track class is made from when no
// sample is read.
class MovieInMemory {
  public:
    explicit MovieInMemory(const MovieRecipe& recipe)
        : MovieInMemory(BuildMoov(recipe).Serialize()) {}

    explicit MovieInMemory(const Bytes& moov)
        : mBuffer(new char[moov.size()]), mPath(mDirectory.File("media")) {
        moov.copy(mBuffer.get(), moov.size());
        WriteFile(mPath, {});
    }

    const std::string& Path() const { return mPath; }
    KVX::QT::Atom* Moov() const { return reinterpret_cast<KVX::QT::Atom*>(mBuffer.get()); }

    // The first "trak". Aborts when there is none.
    KVX::QT::Atom* Trak() const {
        KVX::QT::Atom* const trak =
            Moov()->FindNextChildOfType(KVX::Core::FourCharCode("trak"), nullptr);
        if (trak == nullptr) {
            std::abort();
        }
        return trak;
    }

  private:
    TempDirectory mDirectory;
    std::unique_ptr<char[]> mBuffer;
    std::string mPath;
};

// A movie with one track, in memory.
inline MovieInMemory MovieOf(const TrackRecipe& track) {
    MovieRecipe recipe;
    recipe.tracks.push_back(track);
    return MovieInMemory(recipe);
}

}  // namespace kvx_test
