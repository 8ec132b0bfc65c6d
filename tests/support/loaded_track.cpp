#include "support/loaded_track.h"

#include <string>

#include "support/atom_buffer.h"
#include "support/movie_file.h"

namespace kvx_test {

namespace {

// What all tracks open: that there is a file is enough, and one serves the whole test program.
const std::string& MediaPath() {
    static const TempDirectory directory;
    static const std::string path = [] {
        WriteFile(directory.File("media"), "media");
        return directory.File("media");
    }();
    return path;
}

}  // namespace

LoadedTrack::LoadedTrack(const MovieRecipe& recipe) {
    AtomNode moov = BuildMoov(recipe);
    const AtomBuffer buffer(moov);
    mTrack.mFixedSampleSize = recipe.tracks.at(0).frameSize.value_or(0);
    mStatus = mTrack.Init(MediaPath(), buffer.Get(), buffer.At(OffsetOf(moov, "trak")));
}

}  // namespace kvx_test
