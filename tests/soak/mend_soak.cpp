// Damages the movie atoms of movies that need mending and mends them whatever else is wrong: no
// file grows, no byte changes but those that the plan lists, all samples stay where they were after
// each change, a mended file has nothing to mend, it is found to be what the plan said, and the
// importer says the same.
//
//     kvx_mend_soak MUTANTS SEED FOLDER...
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/entry.h"
#include "hostkit/clip.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "inspect/inspect.h"
#include "inspect/mend_file.h"
#include "inspect/mend_plan.h"
#include "soak/mutate.h"
#include "soak/originals.h"
#include "support/bytes.h"
#include "support/random.h"

namespace {

using kvx_inspect::Change;
using kvx_inspect::Durability;
using kvx_inspect::MendPlan;
using kvx_inspect::Report;
using kvx_inspect::Verdict;
using kvx_test::Bytes;
using kvx_test::Original;
using kvx_test::Random;

constexpr int kMostSamples = 1000;

// Where the samples of all tracks lie.
std::vector<uint64_t> Places(const Report& report) {
    std::vector<uint64_t> places;
    for (const kvx_inspect::TrackFacts& track : report.tracks) {
        kvx_inspect::SampleWalk walk(track.tables);
        kvx_inspect::Sample sample;
        for (int i = 0; i < kMostSamples && walk.Next(sample); ++i) {
            places.push_back(sample.offset);
            places.push_back(sample.size);
        }
    }
    return places;
}

std::vector<std::string> FindingsOf(const Report& report) {
    std::vector<std::string> findings;
    for (const kvx_inspect::Finding& finding : report.findings) {
        findings.push_back(std::to_string(finding.track) + FactsOf(finding.code).name +
                           finding.text);
    }
    return findings;
}

class Mended {
  public:
    Mended() : mDescriptor(memfd_create("mutant", MFD_CLOEXEC)) {
        mPath = "/proc/self/fd/" + std::to_string(mDescriptor);
    }
    ~Mended() { close(mDescriptor); }

    // What is wrong with the mend of a movie; null if nothing is.
    const char* Look(Random& random, const Bytes& movie) {
        if (ftruncate(mDescriptor, 0) != 0 || pwrite(mDescriptor, movie.data(), movie.size(), 0) !=
                                                  static_cast<ssize_t>(movie.size())) {
            return "cannot be written";
        }
        const MendPlan plan = kvx_inspect::PlanMend(mPath);
        if (plan.changes.empty()) {
            return nullptr;
        }
        ++mCount;
        const std::vector<uint64_t> places = Places(plan.before);
        // Up to one of the changes, at which it is interrupted.
        const auto some =
            static_cast<size_t>(random.Pick(0, static_cast<int64_t>(plan.changes.size()) - 1));
        std::vector<Change> first(plan.changes.begin(),
                                  plan.changes.begin() + static_cast<long>(some));
        Bytes expected = movie;
        if (const char* wrong = Make(first, expected)) {
            return wrong;
        }
        const MendPlan rest = kvx_inspect::PlanMend(mPath);
        if (Places(rest.before) != places) {
            return "a sample has moved between two changes";
        }
        if (rest.changes.size() != plan.changes.size() - some) {
            return "an interrupted mend is not taken up";
        }
        if (const char* wrong = Make(rest.changes, expected)) {
            return wrong;
        }
        const MendPlan last = kvx_inspect::PlanMend(mPath);
        if (!last.changes.empty()) {
            return "something is left to mend";
        }
        if (Places(last.before) != places) {
            return "a sample has moved";
        }
        if (FindingsOf(last.before) != FindingsOf(plan.after)) {
            return "it is not what the plan said";
        }
        kvx_hostkit::Clip clip(mImporter, mPath);
        const bool isImported = clip.Open() == imNoErr;
        mImported += isImported;
        return isImported == (last.before.GetVerdict() == Verdict::Imports)
                   ? nullptr
                   : "the importer says otherwise";
    }

    unsigned long long Count() const { return mCount; }
    unsigned long long Imported() const { return mImported; }

  private:
    // Makes changes in the file and in `expected`, and compares.
    const char* Make(const std::vector<Change>& changes, Bytes& expected) {
        if (kvx_inspect::MakeChanges(mDescriptor, changes, Durability::EachChange) != 0) {
            return "a change cannot be made";
        }
        for (const Change& change : changes) {
            if (change.offset > expected.size() || expected.size() - change.offset < 4) {
                return "a change lies behind the end";
            }
            expected.replace(change.offset, 4, kvx_test::big32(change.after));
        }
        Bytes found(expected.size() + 1, '\0');
        const ssize_t size = pread(mDescriptor, found.data(), found.size(), 0);
        found.resize(static_cast<size_t>(std::max<ssize_t>(size, 0)));
        return found == expected ? nullptr : "other bytes have changed";
    }

    kvx_hostkit::Host mHost;
    kvx_hostkit::Importer mImporter{mHost, {&xImportEntry, &AsyncImportEntry}};
    int mDescriptor;
    std::string mPath;
    unsigned long long mCount = 0;
    unsigned long long mImported = 0;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        return 2;
    }
    const unsigned long long mutants = std::strtoull(argv[1], nullptr, 10);
    const unsigned long long seed = std::strtoull(argv[2], nullptr, 10);
    const std::vector<Original> originals = kvx_test::Originals(argv + 3, argv + argc);
    if (mutants > 1 && std::freopen("/dev/null", "w", stderr) == nullptr) {
        return 1;
    }
    Mended mended;
    unsigned long long faults = 0;
    const auto look = [&](Random& random, const Bytes& movie, const std::string& name) {
        if (const char* const wrong = mended.Look(random, movie)) {
            ++faults;
            std::printf("%s: %s\n", name.c_str(), wrong);
        }
    };
    for (size_t i = 0; i < originals.size(); ++i) {
        Random random(i);
        look(random, originals[i].bytes, "movie " + std::to_string(i));
    }
    for (unsigned long long i = 0; i < mutants; ++i) {
        Random random(seed + i);
        const Original& original = random.AnyOf(originals);
        const Original& other = random.AnyOf(originals);
        Bytes mutant = original.bytes;
        kvx_test::Mutate(random, mutant, original.moov, original.moovEnd, other.bytes);
        look(random, mutant, "seed " + std::to_string(seed + i));
    }
    std::printf(
        "%zu movies, %llu mutants from seed %llu on, %llu mended, %llu imported, "
        "%llu faults\n",
        originals.size(), mutants, seed, mended.Count(), mended.Imported(), faults);
    return faults == 0 && mended.Count() > mutants / 3 ? 0 : 1;
}
