// Ends: of an importer, of the last one, of the process, of the host's own objects.

#include "schedules/exit_calls.h"
#include "schedules/scenarios.h"

namespace kvx_schedules {

namespace {

constexpr PrPixelFormat kSameLayout = PrPixelFormat_UYVY_422_8u_601;
constexpr PrPixelFormat kConverted = PrPixelFormat_BGRA_4444_8u;

void ClosedWithFramesInFlight(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kConverted) == aiNoError, "a request is refused");
    Stage::Require(show.source.Close() == aiNoError, "a close is refused");
    stage.RequireFrame(show, 1);
    stage.Leave();
}

// The call that runs when aiClose comes goes on to its end.
void ClosedBesideACall(const Movies& movies) {
    Stage stage;
    stage.SignalCalls();
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    {
        HostThread thread([&] {
            Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
        });
        stage.WaitForCall();
        show.source.Close();
    }
    stage.RequireFrame(show, 1);
    stage.Leave();
}

// File and importer go while the frame is under way. It is delivered, read or unread.
void ClosedAltogether(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kConverted) == aiNoError, "a request is refused");
    show.source.Close();
    show.clip.Close();
    stage.RequireFrame(show, 1, 1, false);
    stage.Leave();
}

// Two importers keep read buffers; the last to go takes them along, beside a frame that gives one
// back.
void TwoImportersOneShelf(const Movies& movies) {
    Stage stage;
    Stage::Show& one = stage.Open(movies.kept);
    Stage::Show& other = stage.Open(movies.kept);
    stage.StartPools(one);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(one, 1, kSameLayout) == aiNoError, "a request is refused");
    one.source.Close();
    Stage::Require(Stage::Ask(other, 2, kSameLayout) == aiNoError, "a request is refused");
    other.source.Close();
    stage.RequireFrame(one, 1);
    stage.RequireFrame(other, 2);
    stage.Leave();
    const size_t buffer = 1024 * 144 * 2;
    for (size_t pages = 0; pages < 4; ++pages) {
        Stage::Require(gScheduler->Memory().LiveBlocksOfSize((buffer + 4095) / 4096 * 4096 +
                                                             pages * 4096) == 0,
                       "a read buffer is left without an importer");
    }
}

// The process leaves with a frame under way, at every point of its road.
void Exit(const Movies& movies) {
    auto* const stage = new Stage;  // the process leaves it as it is
    Stage::Show& show = stage->Open(movies.copied);
    stage->StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kConverted) == aiNoError, "a request is refused");
    RunExitHandlers();
    gScheduler->WaitUntilQuiet();
}

// The same with the first frame of the process: its threads are being started.
void ExitAtTheFirstFrame(const Movies& movies) {
    auto* const stage = new Stage;
    Stage::Show& show = stage->Open(movies.copied);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
    RunExitHandlers();
    gScheduler->WaitUntilQuiet();
}

// A host that closes its last file when the process is past its own end.
void ExitBeforeTheLastClose(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
    RunExitHandlers();
    show.source.Close();
    show.clip.Close();
    gScheduler->WaitUntilQuiet();
}

// The host's cache and buffers go as soon as the last frame has arrived, which is before the
// thread that brought it has let go of it.
void TheHostGoes(const Movies& movies) {
    auto* const stage = new Stage;
    Stage::Show& show = stage->Open(movies.copied);
    stage->StartPools(show);
    gScheduler->OverlookNothing();
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
    Stage::Require(stage->cache.WaitForFrame(show.clip.ImporterID(), 1, std::chrono::hours(1)),
                   "a frame never arrives");
    show.source.Close();
    show.clip.Close();
    delete stage;
    gScheduler->WaitUntilQuiet();
}

}  // namespace

std::vector<Scenario> EndScenarios() {
    return {
        {"close", "an importer closes with a frame in flight", &ClosedWithFramesInFlight},
        {"close_beside", "an importer closes during a call", &ClosedBesideACall},
        {"close_all", "importer and file close with a frame in flight", &ClosedAltogether},
        {"shelf", "two importers and one shelf of read buffers", &TwoImportersOneShelf},
        {"exit", "the process exits with a frame in flight", &Exit},
        {"first_exit", "the process exits with its first frame in flight", &ExitAtTheFirstFrame},
        {"late_close", "a file closes after the process has begun to exit",
         &ExitBeforeTheLastClose},
        {"host_goes", "the host's cache and buffers are destroyed after the last frame",
         &TheHostGoes},
    };
}

}  // namespace kvx_schedules
