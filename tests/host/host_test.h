#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "core/four_char_code.h"
#include "host/entry.h"
#include "host/file_import_module.h"
#include "host/host_identity.h"
#include "host/host_values.h"
#include "hostkit/clip.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "support/entries_under_test.h"
#include "support/log_capture.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace kvx_test {

// A host that has not said who it is, the importer that is linked into the tests, and a directory
// for movies. What the importer keeps for the life of a process starts afresh.
class HostTest : public ::testing::Test {
  protected:
    HostTest() { ForgetHost(); }
    ~HostTest() override { ForgetHost(); }

    static void ForgetHost() {
        KVX::gAppIsPremiere = -1;
        KVX::gPremiereVersionInfo = {};
    }

    // Only where the importer is linked in.
    static KVX::FileImportModule* ModuleOf(const kvx_hostkit::Clip& clip) {
        if (!IsLinkedIn()) {
            std::fputs("a test from inside: to be listed in macho/tests_from_inside.txt\n", stderr);
            std::abort();
        }
        return static_cast<KVX::FileImportModule*>(clip.PrivateData());
    }

    // What is seen besides, there.
    template <typename Look>
    static void LookInto(const kvx_hostkit::Clip& clip, Look look) {
        if (IsLinkedIn()) {
            look(*ModuleOf(clip));
        }
    }

    std::string Write(const MovieRecipe& recipe, const std::string& name = "movie.mov") {
        return WriteMovie(directory, recipe, {}, name);
    }

    kvx_hostkit::Host host;
    kvx_hostkit::Importer importer{host, EntriesUnderTest()};
    TempDirectory directory;
};

// The value of a packed record's field: the test framework takes references, which need alignment.
template <typename Value>
Value Field(Value value) {
    return value;
}

// Fills records before a call, to show what the call leaves alone.
constexpr uint8_t kFill = 0xA5;

// A track of ten frames.
inline TrackRecipe Video(const Bytes& format = "2vuy", int width = 16, int height = 8,
                         uint64_t offset = kMediaOffset) {
    VideoDescription description;
    description.format = format;
    description.width = width;
    description.height = height;
    return VideoTrackRecipe(description, 256, 10, 24000, 1000, offset);
}

// A track of one second of frames, in the layout of "twos" unless told otherwise.
inline TrackRecipe Sound(const SoundDescriptionV0& description = {}, int64_t frames = 48000,
                         uint64_t offset = 2 * kMediaOffset) {
    const auto frameSize = static_cast<uint32_t>(description.channels * description.bits / 8);
    return SoundTrackRecipe(Describe(description), frameSize, frames, 48000, offset);
}

// Counts the movie's time in audio frames, so that tracks of any number of frames keep them all.
inline MovieRecipe MovieOf(std::vector<TrackRecipe> tracks) {
    MovieRecipe recipe;
    recipe.timeScale = 48000;
    for (TrackRecipe& track : tracks) {
        track.headerDuration = track.mediaDuration * recipe.timeScale / track.mediaTimeScale;
        recipe.duration = std::max(recipe.duration, track.headerDuration);
    }
    recipe.tracks = std::move(tracks);
    return recipe;
}

}  // namespace kvx_test
