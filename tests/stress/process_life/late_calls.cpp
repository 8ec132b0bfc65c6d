#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "stress/process_life/application.h"
#include "stress/process_life/parts.h"

namespace kvx_process_life {

namespace {

constexpr PrPixelFormat kPixels = PrPixelFormat_BGRA_4444_8u;
constexpr int kFramesOnTheirWay = 12;

// What the exit handlers find. Never destroyed.
struct Estate {
    explicit Estate(const std::string& path)
        : movie(path),
          closedEarly(*application.importer, path),
          closedLate(*application.importer, path),
          quiet(*application.importer, path) {}

    Application application;
    const std::string movie;
    OpenFile closedEarly;
    OpenFile closedLate;
    OpenFile quiet;
    std::string firstFrame;  // empty when nothing has been read yet
};

Estate* sEstate = nullptr;

void PullFrame(const OpenFile& file) {
    sEstate->application.cache.Forget();
    Require(file.Request(0, kPixels), "a frame is refused");
    const std::string frame = sEstate->application.Take(file, 0);
    Require(
        frame.find_first_not_of(static_cast<char>(kvx_hostkit::kFreshPixel)) != std::string::npos,
        "a frame is empty");
    Require(sEstate->firstFrame.empty() || frame == sEstate->firstFrame,
            "a frame has other pixels than before");
    sEstate->firstFrame = frame;
}

void CloseEarly() {
    PullFrame(sEstate->closedEarly);
    sEstate->closedEarly.Close();
    OpenFile another(*sEstate->application.importer, sEstate->movie);
    PullFrame(another);
    another.Close();
    // Closed with a frame on its way, which reaches the cache all the same.
    OpenFile left(*sEstate->application.importer, sEstate->movie);
    Require(left.Request(1, kPixels), "a frame is refused");
    const int32_t importerID = left.clip.ImporterID();
    Require(left.source.Close() == aiNoError, "the asynchronous importer does not close");
    Require(sEstate->application.cache.WaitForFrame(importerID, 1, kPatience),
            "a frame never comes");
    left.clip.Close();
}

// The registry of the module is gone.
void CloseLate() {
    const kvx_hostkit::Importer& importer = *sEstate->application.importer;
    kvx_hostkit::Clip late(importer, sEstate->movie);
    const long refusal = late.Open();
    Require(refusal != imNoErr, "a file opens when the registry is gone");
    Require(late.PrivateData() == nullptr, "a file that does not open has an object");

    OpenFile& file = sEstate->closedLate;
    Require(file.clip.Streams().size() == 1, "not one stream");
    Require(!file.clip.PixelFormats().empty(), "no pixel formats");
    PullFrame(file);
    Require(sEstate->quiet.clip.Reopen() == refusal, "a quiet file opens again");
    Require(!sEstate->quiet.Request(0, kPixels), "a quiet file has frames");
    Require(file.clip.Quiet() == imNoErr, "no quiet");
    file.Close();
    sEstate->quiet.Close();

    sEstate->application.WaitUntilNoBufferIsLeft();
}

}  // namespace

void LateCalls(const std::string& movie, bool pools) {
    Require(std::atexit(&CloseLate) == 0, "no exit handler");
    sEstate = new Estate(movie);
    Require(std::atexit(&CloseEarly) == 0, "no exit handler");
    Require(sEstate->quiet.clip.Quiet() == imNoErr, "no quiet");
    sEstate->application.HoldUp(std::chrono::milliseconds(2), std::chrono::milliseconds(3));
    if (pools) {
        PullFrame(sEstate->closedLate);
        for (int frame = 1; frame <= kFramesOnTheirWay; ++frame) {
            const PrPixelFormat format = frame % 2 == 0 ? kPixels : kKVXCustomPixelFormat;
            Require(sEstate->closedLate.Request(frame, format), "a frame is refused");
        }
    }
}

void BusyThreads(const std::string& movie) {
    auto* application = new Application;
    static std::atomic<int> sClosed{0};
    for (int thread = 0; thread < 3; ++thread) {
        std::thread([application, movie] {
            while (true) {
                kvx_hostkit::Clip clip(*application->importer, movie);
                clip.Open();
                clip.Quiet();
                ++sClosed;
            }
        }).detach();
    }
    while (sClosed < 3) {
        std::this_thread::yield();
    }
}

}  // namespace kvx_process_life
