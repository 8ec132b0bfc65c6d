#include "support/loaded_track.h"

#include <algorithm>
#include <memory>

#include "quicktime/atom.h"

namespace kvx_test {

LoadedTrack::LoadedTrack(const MovieRecipe& recipe) {
    const std::string path = mDirectory.File("media");
    WriteFile(path, "media");
    AtomNode moov = BuildMoov(recipe);
    const Bytes bytes = moov.Serialize();
    const auto buffer = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), buffer.get());
    mTrack.mFixedSampleSize = recipe.tracks.at(0).frameSize.value_or(0);
    mStatus = mTrack.Init(path, reinterpret_cast<KVX::QT::Atom*>(buffer.get()),
                          reinterpret_cast<KVX::QT::Atom*>(buffer.get() + OffsetOf(moov, "trak")));
}

}  // namespace kvx_test
