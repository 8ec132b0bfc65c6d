#include "stress/process_life/parts.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include "stress/process_life/application.h"

namespace kvx_process_life {

namespace {

constexpr int kReadThreads = 8;

// Lives to the end of the process, as an application does with its files.
struct Lasting {
    explicit Lasting(const std::string& movie) : file(*application.importer, movie) {}

    Application application;
    OpenFile file;
};

// Volatile, so that it is there for leak checkers.
Lasting* volatile sLasting = nullptr;

Lasting& OpenForGood(const std::string& movie) {
    sLasting = new Lasting(movie);
    return *sLasting;
}

int ThreadsOfThisProcess() {
    int count = 0;
    for ([[maybe_unused]] const auto& task :
         std::filesystem::directory_iterator("/proc/self/task")) {
        ++count;
    }
    return count;
}

}  // namespace

void Rush(const std::string& movie) {
    Lasting& lasting = OpenForGood(movie);
    Application& application = lasting.application;
    const OpenFile& file = lasting.file;
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
            Require(index % 2 == 0 || !file.Request(index, PrPixelFormat_V210_422_10u_601),
                    "a format that is none of the movie's is taken");
            Require(file.Request(index, PrPixelFormat_BGRA_4444_8u), "a frame is refused");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::string> frames;
    for (int index = 0; index < kThreads; ++index) {
        frames.push_back(application.Take(file, index));
    }
    const int expected = before + kReadThreads + static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    Require(ThreadsOfThisProcess() == expected,
            "other threads than those of one pool of each kind");
    application.cache.Forget();
    for (int index = 0; index < kThreads; index += 8) {
        Require(file.Request(index, PrPixelFormat_BGRA_4444_8u) &&
                    application.Take(file, index) == frames[static_cast<size_t>(index)],
                "other pixels than in the rush");
    }
}

namespace {

// The first `count` frames, converted and as the file's own bytes by turns.
void AskForFrames(const OpenFile& file, int count) {
    for (int frame = 0; frame < count; ++frame) {
        Require(file.Request(frame,
                             frame % 2 == 0 ? PrPixelFormat_BGRA_4444_8u : kKVXCustomPixelFormat),
                "a frame is refused");
    }
}

}  // namespace

void ReadAndLeave(const std::string& movie, bool waits) {
    Lasting& lasting = OpenForGood(movie);
    AskForFrames(lasting.file, kThreads);
    Require(!waits || lasting.application.cache.WaitForAdditions(kThreads, kPatience),
            "a frame never comes");
}

void BriefHost(const std::string& movie) {
    // Of the process, which thus takes its time to exit.
    static const struct Lingering {
        ~Lingering() { std::this_thread::sleep_for(std::chrono::milliseconds(60)); }
    } lingering;
    constexpr int kFrames = 10;
    Application application;
    OpenFile file(*application.importer, movie);
    application.HoldUp(std::chrono::milliseconds(1), std::chrono::milliseconds(20));
    AskForFrames(file, kFrames);
    Require(application.cache.WaitForAdditions(kFrames, kPatience), "a frame never comes");
}

}  // namespace kvx_process_life
