// A frame's road, alone and beside others.

#include "schedules/scenarios.h"

namespace kvx_schedules {

namespace {

constexpr PrPixelFormat kSameLayout = PrPixelFormat_UYVY_422_8u_601;
constexpr PrPixelFormat kConverted = PrPixelFormat_BGRA_4444_8u;

void OneFrame(const std::string& movie, PrPixelFormat format) {
    Stage stage;
    Stage::Show& show = stage.Open(movie);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, format) == aiNoError, "a request is refused");
    stage.RequireFrame(show, 1);
    stage.Leave();
}

// From the first thread's start on.
void FirstFrame(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kConverted) == aiNoError, "a request is refused");
    stage.RequireFrame(show, 1);
    stage.Leave();
}

void InPlace(const Movies& movies) {
    OneFrame(movies.inPlace, kSameLayout);
}

void Copied(const Movies& movies) {
    OneFrame(movies.copied, kSameLayout);
}

void Converted(const Movies& movies) {
    OneFrame(movies.copied, kConverted);
}

void OfTheImportersOwn(const Movies& movies) {
    OneFrame(movies.copied, kKVXCustomPixelFormat);
}

void OfSeveralTickets(const Movies& movies) {
    OneFrame(movies.large, kSameLayout);
}

void TwoFrames(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
    Stage::Require(Stage::Ask(show, 2, kSameLayout) == aiNoError, "a request is refused");
    stage.RequireFrame(show, 1);
    stage.RequireFrame(show, 2);
    stage.Leave();
}

// Both reads run, or the second finds the first one's frame.
void AskedTwice(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.inPlace);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 2, kSameLayout) == aiNoError, "a request is refused");
    Stage::Require(Stage::Ask(show, 2, kSameLayout) == aiNoError, "a request is refused");
    gScheduler->WaitUntilQuiet();
    const int additions = stage.cache.AdditionsOf(show.clip.ImporterID(), 2);
    Stage::Require(additions == 1 || additions == 2, "a frame arrives not once and not twice");
    Stage::Require(additions + 1 == stage.buffers.CreatedCount(), "a frame that is not delivered");
    stage.Leave();
}

// The host looks for the frame while it is under way.
void LookedFor(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 3, kSameLayout) == aiNoError, "a request is refused");
    PPixHand ppix = nullptr;
    const long result = show.source.Get(3 * show.ticks, {kSameLayout}, &ppix);
    Stage::Require(result == aiNoError || result == aiFrameNotFound, "another answer");
    if (result == aiNoError) {
        kvx_hostkit::PixelBuffers::Dispose(ppix);
    }
    stage.RequireFrame(show, 3);
    stage.Leave();
}

void FirstFramesOfTwoThreads(const Movies& movies) {
    Stage stage;
    Stage::Show& one = stage.Open(movies.inPlace);
    Stage::Show& other = stage.Open(movies.copied);
    gScheduler->BeginExploring();
    {
        HostThread thread([&] {
            Stage::Require(Stage::Ask(other, 0, kConverted) == aiNoError, "a request is refused");
        });
        Stage::Require(Stage::Ask(one, 0, kSameLayout) == aiNoError, "a request is refused");
    }
    stage.RequireFrame(one, 0);
    stage.RequireFrame(other, 0);
    stage.Leave();
}

// One thread of either pool does not start: requests are refused, and nothing is left.
void APoolThatCannotStart(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    gScheduler->BeginExploring();
    const long first = Stage::Ask(show, 0, kSameLayout);
    if (first == aiNoError) {
        gScheduler->EndExploring();  // all have started: that is another story
    }
    const long second = Stage::Ask(show, 1, kSameLayout);
    Stage::Require(first == second, "a start that failed is tried again");
    gScheduler->WaitUntilQuiet();
    const int wanted = first == 0 ? 2 : 0;
    Stage::Require(stage.cache.Additions() == wanted, "another number of frames");
    stage.Leave();
}

}  // namespace

std::vector<Scenario> FrameScenarios() {
    return {
        {"in_place", "a frame lands in the host's pixels", &InPlace},
        {"copied", "a frame is copied", &Copied},
        {"converted", "a frame is converted", &Converted},
        {"custom", "a frame in the importer's own format", &OfTheImportersOwn},
        {"tickets", "a frame of several reads", &OfSeveralTickets},
        {"first_frame", "the first frame of the process", &FirstFrame},
        {"two_frames", "two frames of one importer", &TwoFrames},
        {"asked_twice", "a frame that is requested twice", &AskedTwice},
        {"woken", "threads of the pools wake spuriously", &Copied, 0, 1},
        {"looked_for", "the cache is searched for a frame in flight", &LookedFor},
        {"first_frames", "two threads request the first frames of the process",
         &FirstFramesOfTwoThreads, 0, 0, 1},
        {"no_start", "a thread of a pool does not start", &APoolThatCannotStart, 1},
    };
}

}  // namespace kvx_schedules
