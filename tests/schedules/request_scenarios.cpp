// Reads that fail, are cancelled, or lose their file.

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <initializer_list>

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

// A request for the whole of a file, which is several tickets, beside the importer.
class LargeRequest {
  public:
    explicit LargeRequest(const Movies& movies) {
        Stage::Require(KVX::ReadController::GetInstance(controller) == 0, "no read pool");
        constexpr long long kSize = 3 << 20;
        Stage::Require(KVX::ReadRequest::Create(open(movies.large.c_str(), O_RDONLY),
                                                kSize + (1 << 20), 0, kSize, &Completions::Note,
                                                &mCompletions, nullptr, 0, request) == 0,
                       "no request");
    }

    // Ends the run unless the request has completed once, with one of the statuses, and is let go.
    void RequireCompletion(std::initializer_list<long> statuses) {
        gScheduler->WaitUntilQuiet();
        Stage::Require(mCompletions.count == 1, "not one completion");
        Stage::Require(
            std::find(statuses.begin(), statuses.end(), mCompletions.status) != statuses.end(),
            "another status");
        Stage::Require(request->mRefCount == 1, "references are left");
        request->Release();
    }

    KVX::ReadController* controller = nullptr;
    KVX::ReadRequest* request = nullptr;

  private:
    Completions mCompletions;
};

// Cancelled by the thread that asked for it.
void Cancelled(const Movies& movies) {
    Stage stage;
    LargeRequest large(movies);
    gScheduler->BeginExploring();
    Stage::Require(large.controller->AddRequest(large.request) == 0, "a request is refused");
    Stage::Require(large.controller->CancelRequest(large.request, nullptr) == 0,
                   "a cancellation is refused");
    large.RequireCompletion({0, 89});
    stage.Leave();
}

// Whoever finds it failed first has told of it.
void ARequestFails(const Movies& movies) {
    Stage stage;
    LargeRequest large(movies);
    gScheduler->BeginExploring();
    Stage::Require(large.controller->AddRequest(large.request) == 0, "a request is refused");
    large.RequireCompletion({0, EIO});
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
        {"request_fails", "a request of several reads fails in several", &ARequestFails, 2},
        {"cancelled", "a request of several reads is cancelled", &Cancelled},
        {"quiet_reopen", "a file is quieted and reopened between two reads of a frame",
         &QuietAndReopened},
        {"quiet", "a file is quieted during a read", &QuietBesideARequest},
        {"quiet_close", "a file is quieted while the importer closes", &QuietBesideAClose},
    };
}

}  // namespace kvx_schedules
