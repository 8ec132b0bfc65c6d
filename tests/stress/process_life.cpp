// The two ends of a process that has the importer loaded.
//
//     kvx_process_life start [N]
//         N processes (1000 by default) in which 64 threads at once ask for the first frames, the
//         first printed name and the first table
//     kvx_process_life exit [N]
//         N processes (200 by default) that read frames and exit while the pools live, every other
//         one with frames on their way
//
// Answers 0 if each of them came to its end and, at the start, made one pool of each kind.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/loaded_module.h"
#include "hostkit/pixel_buffers.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

constexpr int kThreads = 64;
constexpr int kReadThreads = 8;
constexpr int kWidth = 60;
constexpr int kHeight = 16;
constexpr int kRowBytes = 256;
constexpr std::chrono::seconds kPatience(30);
constexpr unsigned kSecondsOfAProcess = 60;

[[noreturn]] void Fail(const char* what) {
    std::printf("process_life: %s\n", what);
    std::fflush(stdout);
    std::_Exit(1);
}

// Lives to the end of the process, as the application does.
struct Application {
    explicit Application(const std::string& movie) {
        std::string error;
        module = kvx_hostkit::LoadedModule::Load(kvx_hostkit::LoadedModule::BuiltPath(), error);
        if (module == nullptr) {
            Fail(error.c_str());
        }
        importer = std::make_unique<kvx_hostkit::Importer>(host, module->Entries());
        clip = std::make_unique<kvx_hostkit::Clip>(*importer, movie);
        source = std::make_unique<kvx_hostkit::FrameSource>(*clip);
        if (clip->Open() != imNoErr || source->Open() != imNoErr) {
            Fail("the movie does not open");
        }
        ticks = kvx_hostkit::FrameSource::TicksPerFrame(*clip);
    }

    bool Request(int frame, PrPixelFormat format) const {
        return source->Request(frame * ticks, {format}) == aiNoError;
    }

    // The frame's pixels, out of the cache.
    std::string Take(int frame) {
        if (!cache.WaitForFrame(clip->ImporterID(), frame, kPatience)) {
            Fail("a frame never comes");
        }
        const PPixHand ppix = cache.Take(clip->ImporterID(), frame);
        const kvx_hostkit::PixelBufferView view = kvx_hostkit::PixelBuffers::View(ppix);
        std::string pixels(view.pixels, static_cast<size_t>(view.rowBytes) * kHeight);
        kvx_hostkit::PixelBuffers::Dispose(ppix);
        return pixels;
    }

    kvx_hostkit::Host host;
    kvx_hostkit::PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
    std::unique_ptr<kvx_hostkit::LoadedModule> module;
    std::unique_ptr<kvx_hostkit::Importer> importer;
    std::unique_ptr<kvx_hostkit::Clip> clip;
    std::unique_ptr<kvx_hostkit::FrameSource> source;
    int64_t ticks = 0;
};

Application* sApplication = nullptr;

int ThreadsOfThisProcess() {
    int count = 0;
    for ([[maybe_unused]] const auto& task :
         std::filesystem::directory_iterator("/proc/self/task")) {
        ++count;
    }
    return count;
}

void Start(const std::string& movie) {
    sApplication = new Application(movie);
    Application& application = *sApplication;
    const int before = ThreadsOfThisProcess();
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([&, index] {
            ++ready;
            while (ready < kThreads) {
                std::this_thread::yield();
            }
            // Every other thread first meets a refusal, whose line names the format.
            if (index % 2 == 1 && application.Request(index, PrPixelFormat_V210_422_10u_601)) {
                Fail("a format that is none of the movie's is taken");
            }
            if (!application.Request(index, PrPixelFormat_BGRA_4444_8u)) {
                Fail("a frame is refused");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::string> frames;
    for (int index = 0; index < kThreads; ++index) {
        frames.push_back(application.Take(index));
    }
    const int expected = before + kReadThreads + static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    if (ThreadsOfThisProcess() != expected) {
        Fail("other threads than those of one pool of each kind");
    }
    application.cache.Forget();
    for (int index = 0; index < kThreads; index += 8) {
        if (!application.Request(index, PrPixelFormat_BGRA_4444_8u) ||
            application.Take(index) != frames[static_cast<size_t>(index)]) {
            Fail("other pixels than in the rush");
        }
    }
}

void ReadAndLeave(const std::string& movie, bool waits) {
    sApplication = new Application(movie);
    for (int frame = 0; frame < kThreads; ++frame) {
        if (!sApplication->Request(
                frame, frame % 2 == 0 ? PrPixelFormat_BGRA_4444_8u : kKVXCustomPixelFormat)) {
            Fail("a frame is refused");
        }
    }
    if (waits) {
        for (int frame = 0; frame < kThreads; ++frame) {
            if (!sApplication->cache.WaitForFrame(sApplication->clip->ImporterID(), frame,
                                                  kPatience)) {
                Fail("a frame never comes");
            }
        }
    }
}

// Whether a further process plays its part and exits by itself.
bool Plays(const std::string& part, const std::string& movie) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(kSecondsOfAProcess);
        if (std::freopen("/dev/null", "w", stderr) == nullptr) {
            std::_Exit(2);
        }
        execl("/proc/self/exe", "kvx_process_life", part.c_str(), movie.c_str(), nullptr);
        std::_Exit(2);
    }
    int state = 0;
    if (child == -1 || waitpid(child, &state, 0) != child) {
        return false;
    }
    if (WIFSIGNALED(state)) {
        std::printf("process_life: ended by signal %d\n", WTERMSIG(state));
    }
    return WIFEXITED(state) && WEXITSTATUS(state) == 0;
}

int PlayAll(const std::string& end, int count) {
    const kvx_test::TempDirectory directory;
    kvx_test::MovieRecipe recipe;
    recipe.tracks.push_back(
        kvx_test::VideoTrackRecipe({"r210", kWidth, kHeight, 30}, kRowBytes * kHeight, kThreads));
    const std::string movie = kvx_test::WriteMovie(directory, recipe);
    for (int number = 0; number < count; ++number) {
        const std::string part = end == "start" ? "rush" : number % 2 == 0 ? "read" : "leave";
        if (!Plays(part, movie)) {
            std::printf("process_life: %s, process %d of %d\n", part.c_str(), number + 1, count);
            return 1;
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "start" || what == "exit") {
        return PlayAll(what, argc > 2 ? std::atoi(argv[2]) : what == "start" ? 1000 : 200);
    }
    if (argc == 3 && what == "rush") {
        Start(argv[2]);
        return 0;
    }
    if (argc == 3 && (what == "read" || what == "leave")) {
        ReadAndLeave(argv[2], what == "read");
        return 0;
    }
    std::printf("kvx_process_life start|exit [N]\n");
    return 2;
}
