// Damages the movie atoms of real movies and of hand-made ones and asks the importer and the
// inspector about what comes of it: whatever the importer refuses has a finding of a refusal, and
// whatever it imports has none, and the same size, rate, length and form. Before that, the same
// about the undamaged movies and about those that are made for one finding each.
//
//     kvx_agreement_soak MUTANTS [SEED [FOLDER...]]
//     kvx_agreement_soak 1 SEED [FOLDER...]      one mutant again, with the importer's log
//
// Folders and seeds as those of kvx_mutation_soak.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/entry.h"
#include "hostkit/clip.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "inspect/inspect.h"
#include "inspect/made_movies.h"
#include "soak/mutate.h"
#include "soak/originals.h"
#include "support/random.h"
#include "support/temp_directory.h"

namespace {

using kvx_inspect::Report;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;
using kvx_inspect::Verdict;
using kvx_test::Bytes;
using kvx_test::Original;
using kvx_test::Random;

const TrackFacts* FindTrack(const Report& report, TrackKind kind, int index) {
    for (const TrackFacts& track : report.tracks) {
        if (track.kind == kind && track.index == index) {
            return &track;
        }
    }
    return nullptr;
}

std::string DifferentInVideo(const imFileInfoRec8& stream, const TrackFacts& track) {
    const kvx_inspect::VideoFacts& video = *track.video;
    if (stream.width != video.width || stream.height != video.height) {
        return "size";
    }
    if (stream.videoScale != static_cast<int32_t>(track.timeScale) ||
        stream.videoSampleSize != static_cast<int32_t>(track.tables.sampleDuration)) {
        return "rate";
    }
    if (stream.videoDuration != static_cast<int32_t>(track.duration)) {
        return "duration";
    }
    if (stream.subType != static_cast<int32_t>(track.format)) {
        return "format";
    }
    if (stream.fieldType != static_cast<int>(video.fields)) {
        return "fields";
    }
    return stream.pixelAspectNumerator == video.pixelAspectH &&
                   stream.pixelAspectDenominator == video.pixelAspectV
               ? ""
               : "pixel aspect";
}

std::string DifferentInSound(const imFileInfoRec8& stream, const TrackFacts& track) {
    if (!track.sound) {
        return "sound";
    }
    if (stream.audioChannels != static_cast<int32_t>(track.sound->channels)) {
        return "channels";
    }
    const auto rate = static_cast<float>(track.sound->rate);
    if (stream.audioSampleRate != rate &&
        !(std::isnan(rate) && std::isnan(stream.audioSampleRate))) {
        return "sound rate";
    }
    return stream.audioDuration == track.duration ? "" : "sound duration";
}

// What the host is told otherwise than the inspector tells; empty if nothing is.
std::string DifferentField(const std::vector<imFileInfoRec8>& streams, const Report& report) {
    for (size_t i = 0; i < streams.size(); ++i) {
        const TrackFacts* const video = FindTrack(report, TrackKind::Video, static_cast<int>(i));
        const TrackFacts* const sound = FindTrack(report, TrackKind::Sound, static_cast<int>(i));
        if ((streams[i].hasVideo != 0) != (video != nullptr) ||
            (streams[i].hasAudio != 0) != (sound != nullptr)) {
            return "number of streams";
        }
        std::string different;
        if (video != nullptr) {
            different = DifferentInVideo(streams[i], *video);
        }
        if (different.empty() && sound != nullptr) {
            different = DifferentInSound(streams[i], *sound);
        }
        if (!different.empty()) {
            return different;
        }
    }
    return "";
}

class Agreement {
  public:
    Agreement() : mDescriptor(memfd_create("mutant", MFD_CLOEXEC)) {
        mPath = "/proc/self/fd/" + std::to_string(mDescriptor);
    }
    ~Agreement() { close(mDescriptor); }

    // True if both say the same.
    bool Holds(const Bytes& movie, const std::string& name) {
        if (ftruncate(mDescriptor, 0) != 0 || pwrite(mDescriptor, movie.data(), movie.size(), 0) !=
                                                  static_cast<ssize_t>(movie.size())) {
            std::printf("%s: cannot be written\n", name.c_str());
            return false;
        }
        return HoldsFor(mPath, name);
    }

    bool HoldsFor(const std::string& path, const std::string& name) {
        kvx_hostkit::Clip clip(mImporter, path);
        const bool isImported = clip.Open() == imNoErr;
        const Report report = kvx_inspect::Inspect(path);
        mImported += isImported;
        const bool isRight = isImported == (report.GetVerdict() == Verdict::Imports);
        const std::string different =
            isImported && isRight ? DifferentField(clip.Streams(nullptr), report) : "";
        if (isRight && different.empty()) {
            return true;
        }
        std::printf("%s: %s %s, and the inspector finds\n", name.c_str(),
                    isImported ? "imported" : "refused", different.c_str());
        for (const kvx_inspect::Finding& finding : report.findings) {
            std::printf("    %s track %d: %s\n", FactsOf(finding.code).name, finding.track,
                        finding.text.c_str());
        }
        return false;
    }

    unsigned long long Imported() const { return mImported; }

  private:
    kvx_hostkit::Host mHost;
    kvx_hostkit::Importer mImporter{mHost, {&xImportEntry, &AsyncImportEntry}};
    int mDescriptor;
    std::string mPath;
    unsigned long long mImported = 0;
};

}  // namespace

int main(int argc, char** argv) {
    const unsigned long long mutants = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 20000;
    const unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const std::vector<Original> originals =
        kvx_test::Originals(argv + std::min(argc, 3), argv + argc);
    // Some hundred thousand lines of refusals.
    if (mutants > 1 && std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    Agreement agreement;
    unsigned long long disagreements = 0;
    for (const kvx_test::MadeMovie& movie : kvx_test::MadeMovies()) {
        const kvx_test::TempDirectory directory;
        disagreements += !agreement.HoldsFor(movie.write(directory), movie.name);
    }
    for (size_t i = 0; i < originals.size(); ++i) {
        disagreements += !agreement.Holds(originals[i].bytes, "movie " + std::to_string(i));
    }
    for (unsigned long long i = 0; i < mutants; ++i) {
        Random random(seed + i);
        const Original& original = random.AnyOf(originals);
        const Original& other = random.AnyOf(originals);
        Bytes mutant = original.bytes;
        kvx_test::Mutate(random, mutant, original.moov, original.moovEnd, other.bytes);
        disagreements += !agreement.Holds(mutant, "seed " + std::to_string(seed + i));
    }
    std::printf("%zu movies, %llu mutants from seed %llu on, %llu imported, %llu disagreements\n",
                originals.size(), mutants, seed, agreement.Imported(), disagreements);
    return disagreements == 0 ? 0 : 1;
}
