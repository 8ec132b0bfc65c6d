// Damages the movie atoms of real movies and of hand-made ones and asks the importer and the
// inspector about what comes of it: whatever the importer refuses has a finding of a refusal, and
// whatever it imports has none. Before that, the same about the undamaged movies.
//
//     kvx_agreement_soak MUTANTS [SEED [FOLDER...]]
//     kvx_agreement_soak 1 SEED [FOLDER...]      one mutant again, with the importer's log
//
// Folders and seeds as those of kvx_mutation_soak.
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
#include "soak/mutate.h"
#include "soak/originals.h"
#include "support/random.h"

namespace {

using kvx_inspect::Verdict;
using kvx_test::Bytes;
using kvx_test::Original;
using kvx_test::Random;

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
        kvx_hostkit::Clip clip(mImporter, mPath);
        const bool isImported = clip.Open() == imNoErr;
        const kvx_inspect::Report report = kvx_inspect::Inspect(mPath);
        mImported += isImported;
        if (isImported == (report.GetVerdict() == Verdict::Imports)) {
            return true;
        }
        std::printf("%s: %s, and the inspector finds\n", name.c_str(),
                    isImported ? "imported" : "refused");
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
