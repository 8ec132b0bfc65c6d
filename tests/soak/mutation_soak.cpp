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
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "host/entry.h"
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
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/random.h"
#include "support/random_recipe.h"
#include "support/temp_directory.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using namespace kvx_hostkit;
using kvx_test::Bytes;
using kvx_test::Random;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(60);
constexpr uintmax_t kLargestMovie = 2 << 20;
constexpr int kRandomMovies = 20;
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

#if defined(__SANITIZE_ADDRESS__)
void TellSeedAtTheEnd() {
    __sanitizer_set_death_callback(TellSeed);
}

// What a mutant leaves behind.
bool HasLeaks() {
    return __lsan_do_recoverable_leak_check() != 0;
}
#else
void TellSeedAtTheEnd() {
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        std::signal(signal, [](int number) {
            TellSeed();
            std::signal(number, SIG_DFL);
            std::raise(number);
        });
    }
}

bool HasLeaks() {
    return false;
}
#endif

// A movie and where its "moov" lies in it.
struct Original {
    Bytes bytes;
    size_t moov;
    size_t moovEnd;
};

uint64_t Big32At(const Bytes& bytes, size_t place) {
    uint64_t value = 0;
    for (size_t i = 0; i < 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes[place + i]);
    }
    return value;
}

// Only files with short sizes at the top, which are all that are small enough.
void AddOriginal(const Bytes& bytes, std::vector<Original>& originals) {
    for (size_t place = 0; place + 8 <= bytes.size();) {
        const uint64_t size = Big32At(bytes, place);
        if (size < 8 || size > bytes.size() - place) {
            return;
        }
        if (bytes.compare(place + 4, 4, "moov") == 0) {
            originals.push_back({bytes, place, place + size});
            return;
        }
        place += size;
    }
}

Bytes ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

void AddFolder(const std::filesystem::path& folder, std::vector<Original>& originals) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && entry.path().extension() == ".mov" &&
            entry.file_size() <= kLargestMovie) {
            paths.push_back(entry.path());
        }
    }
    // The folder's own order is the file system's.
    std::sort(paths.begin(), paths.end());
    for (const auto& path : paths) {
        AddOriginal(ReadFile(path), originals);
    }
}

void AddHandMade(std::vector<Original>& originals) {
    const kvx_test::TempDirectory directory;
    const kvx_test::MovieFileLayout layout{4096, false};
    const auto add = [&](const kvx_test::MovieRecipe& recipe) {
        AddOriginal(ReadFile(kvx_test::WriteMovie(directory, recipe, layout)), originals);
    };
    for (const char* format : {"2vuy", "2Vuy", "v210", "r210"}) {
        kvx_test::MovieRecipe recipe;
        recipe.tracks = {
            kvx_test::VideoTrackRecipe({format, 48, 4, 24}, 1024, 8, 24000, 1000, 4096),
            kvx_test::SoundTrackRecipe(Describe(kvx_test::SoundDescriptionV0{}), 4, 1000, 48000,
                                       4096 + 8192),
            kvx_test::TimeCodeTrackRecipe({}, 8, 4096 + 8192 + 4000)};
        add(recipe);
    }
    Random random(5);
    for (int i = 0; i < kRandomMovies; ++i) {
        // Chunks lie anywhere up to 2^60, so without media.
        const kvx_test::AtomNode moov = kvx_test::BuildMoov(kvx_test::RandomMovie(random));
        AddOriginal(moov.Serialize() + kvx_test::AtomNode{"mdat", Bytes(8192, 'm')}.Serialize(),
                    originals);
    }
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
    Importer mImporter{mHost, {&xImportEntry, &AsyncImportEntry}};
    int mDescriptor;
    std::string mPath;
    int mRequests = 0;
};

}  // namespace

int main(int argc, char** argv) {
    const unsigned long long mutants = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 20000;
    const unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    std::vector<Original> originals;
    AddHandMade(originals);
    for (int i = 3; i < argc; ++i) {
        AddFolder(argv[i], originals);
    }
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
