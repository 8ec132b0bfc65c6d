#pragma once

#include <cstdlib>
#include <string>

#include "core/four_char_code.h"
#include "quicktime/atom.h"
#include "support/atom_buffer.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"

namespace kvx_test {

// A recipe's "moov" in an AtomBuffer, with an empty file that stands for the movie's media. What a
// track class is made from when no sample is read.
class MovieInMemory {
  public:
    explicit MovieInMemory(const MovieRecipe& recipe)
        : MovieInMemory(BuildMoov(recipe).Serialize()) {}

    explicit MovieInMemory(const Bytes& moov) : mBuffer(moov), mPath(mDirectory.File("media")) {
        WriteFile(mPath, {});
    }

    const std::string& Path() const { return mPath; }
    KVX::QT::Atom* Moov() const { return mBuffer.Get(); }

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
    AtomBuffer mBuffer;
    std::string mPath;
};

// A movie with one track, in memory.
inline MovieInMemory MovieOf(const TrackRecipe& track) {
    MovieRecipe recipe;
    recipe.tracks.push_back(track);
    return MovieInMemory(recipe);
}

}  // namespace kvx_test
