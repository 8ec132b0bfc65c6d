// Damages the movie atoms of real movies and of hand-made ones and drives the whole module over
// what comes of it: open, information, sound, frames, quiet and back, close. No movie may do more
// than be refused: every frame that the importer took on must be delivered, no pixel buffer be left
// or overwritten, and the process live on.
//
//     kvx_mutation_soak MUTANTS [SEED [FOLDER...]]
//     kvx_mutation_soak 1 SEED [FOLDER...]      one mutant again, with its log
//
// Folders hold movies to take besides the hand-made ones; what is too large for a quick look is
// left out. The mutants have the seeds from SEED on. When one of them is the last, its seed is the
// last line.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/file_import_module.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "hostkit/record_block.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "soak/mutate.h"
#include "soak/originals.h"
#include "support/entries_under_test.h"
#include "support/random.h"

// Of the address sanitizer's library, and null without it.
extern "C" {
[[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());
[[gnu::weak]] int __lsan_do_recoverable_leak_check();
}

namespace {

using namespace kvx_hostkit;
using kvx_test::Bytes;
using kvx_test::Original;
using kvx_test::Random;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(60);
constexpr uint32_t kAudioFrames = 500;
constexpr size_t kPlanes = 6;

unsigned long long sSeed = 0;  // of the mutant under way

[[noreturn]] void Fail(const char* what) {
    std::printf("%s\nseed %llu\n", what, sSeed);
    std::fflush(stdout);
    std::_Exit(1);
}

void Require(bool holds, const char* what) {
    if (!holds) {
        Fail(what);
    }
}

void TellSeed() {
    char line[64];
    const int size = std::snprintf(line, sizeof(line), "seed %llu\n", sSeed);
    const ssize_t written = write(STDOUT_FILENO, line, static_cast<size_t>(size));
    static_cast<void>(written);
}

void TellSeedAtTheEnd() {
    if (__sanitizer_set_death_callback) {
        __sanitizer_set_death_callback(TellSeed);
        return;
    }
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        std::signal(signal, [](int number) {
            TellSeed();
            std::signal(number, SIG_DFL);
            std::raise(number);
        });
    }
}

// What a mutant leaves behind.
bool HasLeaks() {
    return __lsan_do_recoverable_leak_check && __lsan_do_recoverable_leak_check() != 0;
}

// The importer, its host and one file that is written anew for each mutant.
class Soak {
  public:
    Soak() : mDescriptor(memfd_create("mutant", MFD_CLOEXEC)) {
        Require(mDescriptor >= 0, "no memory file");
        mBuffers.settings.fills = false;
        mPath = "/proc/self/fd/" + std::to_string(mDescriptor);
    }
    ~Soak() { close(mDescriptor); }

    // True if the movie was taken.
    bool Play(const Bytes& movie, Random& random) {
        Require(ftruncate(mDescriptor, 0) == 0 && pwrite(mDescriptor, movie.data(), movie.size(),
                                                         0) == static_cast<ssize_t>(movie.size()),
                "the mutant cannot be written");
        mRequests = 0;
        const bool opened = PlayClip(random);
        Require(mCache.WaitForAdditions(mRequests, kPatience), "a frame never arrives");
        mCache.Forget();
        const auto limit = Clock::now() + kPatience;
        while (mBuffers.LiveCount() != 0 && Clock::now() < limit) {
            std::this_thread::yield();
        }
        Require(mBuffers.LiveCount() == 0, "a pixel buffer is left");
        Require(mBuffers.DamagedCount() == 0, "bytes around a frame's pixels were written");
        return opened;
    }

  private:
    bool PlayClip(Random& random) {
        Clip clip(mImporter, mPath);
        if (clip.Open() != imNoErr) {
            return false;
        }
        clip.Streams();
        clip.PixelFormats();
        int32_t width = 0;
        int32_t height = 0;
        clip.GetPreferredFrameSize(&width, &height);
        RecordBlock<imTimeInfoRec8> time;
        clip.GetTimeInfo(time.Get());
        ReadSound(clip, random);
        RequestFrames(clip, random);
        clip.Quiet();
        clip.Reopen();
        ReadSound(clip, random);
        RequestFrames(clip, random);
        return true;
    }

    static void ReadSound(const Clip& clip, Random& random) {
        std::vector<std::vector<float>> blocks(kPlanes, std::vector<float>(kAudioFrames));
        float* planes[kPlanes];
        for (size_t plane = 0; plane < kPlanes; ++plane) {
            planes[plane] = blocks[plane].data();
        }
        clip.ReadAudio(0, random.Pick(-1, 2000), kAudioFrames, planes);
    }

    // A read of nothing is never answered, so that such a movie is asked for no frames.
    static bool HasFrames(const Clip& clip) {
        const auto* module = static_cast<const KVX::FileImportModule*>(clip.PrivateData());
        return module != nullptr && !module->mMovie->mVideoTracks.empty() &&
               module->mMovie->mVideoTracks[0]->GetSampleSize(0) != 0;
    }

    void RequestFrames(const Clip& clip, Random& random) {
        FrameSource source(clip);
        if (!HasFrames(clip) || source.Open() != imNoErr) {
            return;
        }
        const int64_t ticks = FrameSource::TicksPerFrame(clip);
        for (int i = 0; i < 3; ++i) {
            int64_t time = 0;
            if (__builtin_mul_overflow(random.Pick(0, 10), ticks, &time)) {
                return;
            }
            const PrPixelFormat format = random.AnyOf<PrPixelFormat>(
                {PrPixelFormat_BGRA_4444_8u, PrPixelFormat_BGRA_4444_32f,
                 PrPixelFormat_V210_422_10u_601, PrPixelFormat_UYVY_422_8u_601,
                 kKVXCustomPixelFormat});
            const int created = mBuffers.CreatedCount();
            if (source.Request(time, {format}) == aiNoError && mBuffers.CreatedCount() > created) {
                ++mRequests;
            }
        }
    }

    Host mHost;
    PixelBuffers mBuffers{mHost};
    FrameCache mCache{mHost};
    Importer mImporter{mHost, kvx_test::EntriesUnderTest()};
    int mDescriptor;
    std::string mPath;
    int mRequests = 0;
};

}  // namespace

int main(int argc, char** argv) {
    const unsigned long long mutants = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 20000;
    const unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    const std::vector<Original> originals =
        kvx_test::Originals(argv + std::min(argc, 3), argv + argc);
    TellSeedAtTheEnd();
    // Some hundred thousand lines of refusals.
    if (mutants > 1 && std::freopen("/dev/null", "w", stderr) == nullptr) {
        Fail("no /dev/null");
    }
    Soak soak;
    unsigned long long taken = 0;
    for (unsigned long long i = 0; i < mutants; ++i) {
        sSeed = seed + i;
        Random random(sSeed);
        const Original& original = random.AnyOf(originals);
        const Original& other = random.AnyOf(originals);
        Bytes mutant = original.bytes;
        kvx_test::Mutate(random, mutant, original.moov, original.moovEnd, other.bytes);
        taken += soak.Play(mutant, random);
    }
    Require(!HasLeaks(), "memory is left");
    std::printf("%zu movies, %llu mutants from seed %llu on, %llu of them opened\n",
                originals.size(), mutants, seed, taken);
    // Its worker threads call the host until the process ends.
    std::fflush(stdout);
    std::_Exit(0);
}
