// A sound sample description of any bytes, and PCM of the form that comes out of it.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "convert/audio/pcm.h"
#include "core/four_char_code.h"
#include "fuzz/support/byte_feed.h"
#include "fuzz/support/require.h"
#include "quicktime/atom.h"
#include "quicktime/audio_track.h"
#include "tests/support/movie_builder.h"

using namespace kvx_fuzz;
using namespace kvx_test;
using KVX::QT::Atom;
using KVX::QT::AudioTrack;

namespace {

constexpr int64_t kMostFrames = 200;
constexpr size_t kPlanes = 6;

Bytes MovieWithDescriptions(const Bytes& descriptions) {
    MovieRecipe movie;
    movie.tracks = {SoundTrackRecipe({}, 4, 100)};
    movie.change = [&descriptions](AtomNode& moov) {
        AtomNode& table = moov.At("trak/mdia/minf/stbl/stsd");
        table.children.clear();
        table.payload = big32(0) + big32(1) + descriptions;
    };
    return BuildMoov(movie).Serialize();
}

// Samples and planes in blocks of exactly what the conversion is to touch.
void Convert(AudioTrack& track, int64_t frames, const Bytes& noise) {
    const AudioStreamBasicDescription& stream = track.mStreamDescription;
    const uint64_t frameBytes = uint64_t{stream.mChannelsPerFrame} * (stream.mBitsPerChannel / 8);
    if (frameBytes > 64) {
        frames = 0;  // more than any form that is converted
    }
    const size_t size = static_cast<size_t>(frames) * frameBytes;
    const std::unique_ptr<char[]> samples(new char[size]);
    for (size_t i = 0; i < size; ++i) {
        samples[i] = noise.empty() ? '\x55' : noise[i % noise.size()];
    }
    std::unique_ptr<float[]> blocks[kPlanes];
    float* planes[kPlanes];
    for (size_t plane = 0; plane < kPlanes; ++plane) {
        const bool isUsed = plane < stream.mChannelsPerFrame;
        blocks[plane].reset(new float[isUsed ? static_cast<size_t>(frames) : 0]);
        planes[plane] = blocks[plane].get();
    }
    KVX::Converter::Audio::PCM::WriteSamples(&track, samples.get(), planes,
                                             static_cast<unsigned long>(frames));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteFeed feed(data, size);
    const int64_t frames = feed.Pick(0, kMostFrames);
    const Bytes noise = feed.Bytes(16);
    const Bytes bytes = MovieWithDescriptions(feed.Bytes(feed.Left()));
    const std::unique_ptr<char[]> block(new char[bytes.size()]);
    bytes.copy(block.get(), bytes.size());
    auto* const moov = reinterpret_cast<Atom*>(block.get());
    Atom* const trak = moov->FindNextChildOfType(KVX::Core::FourCharCode("trak"), nullptr);
    Require(trak != nullptr);
    const std::unique_ptr<AudioTrack> track(AudioTrack::Create("/dev/null", moov, trak));
    if (track != nullptr) {
        Convert(*track, frames, noise);
    }
    return 0;
}
