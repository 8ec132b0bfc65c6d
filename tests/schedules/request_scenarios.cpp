// Reads that fail, are cancelled, or lose their file.

#include <fcntl.h>

#include "pipeline/read_controller.h"
#include "pipeline/read_request.h"
#include "schedules/scenarios.h"

namespace kvx_schedules {

namespace {

constexpr PrPixelFormat kSameLayout = PrPixelFormat_UYVY_422_8u_601;
constexpr PrPixelFormat kConverted = PrPixelFormat_BGRA_4444_8u;

// Delivered, read or unread; a buffer of the host must not be written once it is given back.
void SeveralTicketsFail(const Movies& movies) {
    Stage stage(0);  // which lets go of a frame at once
    Stage::Show& show = stage.Open(movies.large);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
    stage.RequireFrame(show, 1, 1, false);
    stage.Leave();
}

void AReadFails(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kConverted) == aiNoError, "a request is refused");
    stage.RequireFrame(show, 1, 1, false);
    stage.Leave();
}

struct Completions {
    int count = 0;
    long status = -1;

    static void Note(void* userData, long status, void*) {
        auto* completions = static_cast<Completions*>(userData);
        ++completions->count;
        completions->status = status;
    }
};

// The whole of a file of several tickets, cancelled by the thread that asked for it.
void Cancelled(const Movies& movies) {
    Stage stage;
    KVX::ReadController* controller = nullptr;
    Stage::Require(KVX::ReadController::GetInstance(controller) == 0, "no read pool");
    const int descriptor = open(movies.large.c_str(), O_RDONLY);
    constexpr long long kSize = 3 << 20;
    Completions completions;
    KVX::ReadRequest* request = nullptr;
    Stage::Require(
        KVX::ReadRequest::Create(descriptor, kSize + (1 << 20), 0, kSize, &Completions::Note,
                                 &completions, nullptr, 0, request) == 0,
        "no request");
    gScheduler->BeginExploring();
    Stage::Require(controller->AddRequest(request) == 0, "a request is refused");
    Stage::Require(controller->CancelRequest(request, nullptr) == 0, "a cancellation is refused");
    gScheduler->WaitUntilQuiet();
    Stage::Require(completions.count == 1, "not one completion");
    Stage::Require(completions.status == 0 || completions.status == 89, "another status");
    Stage::Require(request->mRefCount == 1, "references are left");
    request->Release();
    stage.Leave();
}

// Between the reads of one frame its file goes to sleep and comes back. Reads then fail, or find
// what has the descriptor's number now, which is the same file.
void QuietAndReopened(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.large);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
    show.clip.Quiet();
    Stage::Require(show.clip.Reopen() == imNoErr, "a file does not reopen");
    stage.RequireFrame(show, 1, 1, false);
    stage.Leave();
}

void QuietBesideARequest(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kSameLayout) == aiNoError, "a request is refused");
    show.clip.Quiet();
    const long second = Stage::Ask(show, 2, kSameLayout);
    Stage::Require(second != aiNoError, "a file that sleeps takes a request");
    stage.RequireFrame(show, 1, 1, false);
    stage.Leave();
}

// One thread of the host lets the file sleep while another one closes the importer.
void QuietBesideAClose(const Movies& movies) {
    Stage stage;
    Stage::Show& show = stage.Open(movies.copied);
    stage.StartPools(show);
    gScheduler->BeginExploring();
    Stage::Require(Stage::Ask(show, 1, kConverted) == aiNoError, "a request is refused");
    {
        HostThread thread([&] { show.source.Close(); });
        show.clip.Quiet();
    }
    stage.RequireFrame(show, 1, 1, false);
    stage.Leave();
}

}  // namespace

std::vector<Scenario> RequestScenarios() {
    return {
        {"ticket_fails", "several reads of a frame fail", &SeveralTicketsFail, 2},
        {"read_fails", "the read of a converted frame fails", &AReadFails, 1},
        {"cancelled", "a request of several reads is cancelled", &Cancelled},
        {"quiet_reopen", "a file sleeps and wakes between two reads of a frame", &QuietAndReopened},
        {"quiet", "a file goes to sleep beside a read", &QuietBesideARequest},
        {"quiet_close", "a file goes to sleep beside the importer's close", &QuietBesideAClose},
    };
}

}  // namespace kvx_schedules
