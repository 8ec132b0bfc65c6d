#include "support/loaded_track.h"

#include <algorithm>
#include <memory>
#include <string>

#include "quicktime/atom.h"
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
    const Bytes bytes = moov.Serialize();
    const auto buffer = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), buffer.get());
    mTrack.mFixedSampleSize = recipe.tracks.at(0).frameSize.value_or(0);
    mStatus = mTrack.Init(MediaPath(), reinterpret_cast<KVX::QT::Atom*>(buffer.get()),
                          reinterpret_cast<KVX::QT::Atom*>(buffer.get() + OffsetOf(moov, "trak")));
}

}  // namespace kvx_test
