// One frame is asked for while the pools are at rest, and one of its calls of the system fails:
// what the host is told, what becomes of the frame, and the log, line by line. Every place where
// the frame's road makes such a call has its row.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "faults/frame_player.h"
#include "faults/spelled_log.h"
#include "faults/threads_at_rest.h"
#include "pipeline/read_controller.h"
#include "support/child_process.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using kvx_test::Fault;
using kvx_test::FramePlayer;
using kvx_test::LogCapture;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::SystemCall;

// Whose road the row is on: pixels that are read in place need neither memory nor conversion.
enum Road { kInPlace = 1, kConverted = 2, kEither = 3 };

enum class Fate {
    Delivered,
    WithTheNext,  // when a further frame wakes the pool
    Never,
    // A mutex stays locked for good: whoever wants it next waits for ever, so no further frame is
    // asked for.
    DeliveredThenStuck,
    NeverAndStuck,
};

struct Row {
    const char* place;
    Road road;
    SystemCall call;
    int nth;
    int error;
    long status;  // of aiInitiateAsyncRead
    Fate fate;
    std::string lines;
};

// A call that fails besides.
struct Second {
    SystemCall call;
    int nth;
    int error;
};

std::string IssueFailed(const std::string& status) {
    return "InitiateAsyncRead: ImportFrame::Issue returned " + status + "\n";
}

std::string CreateFailed(const std::string& status) {
    return "Create: ReadRequest::Init returned " + status +
           "\nIssue: ReadRequest::Create returned " + status + "\n" + IssueFailed(status);
}

std::string AddRequestFailed(const std::string& status) {
    return "Issue: ReadController::AddRequest returned " + status + "\n" + IssueFailed(status);
}

std::string PreadFailed(const std::string& error) {
    return "ExecuteReadTicket: pread returned " + error +
           " for request 0x?\nRunThreadPass: ReadRequest::ExecuteReadTicket returned " + error +
           " for request 0x?\n";
}

const std::string kLockFailed = "Lock: pthread_mutex_lock returned 35\nLock: Lock returned 35\n";
const std::string kLockFailedAgain =
    "Lock: pthread_mutex_lock returned 35\n~Unlock: Lock returned 35\n";
const std::string kUnlockFailed =
    "Unlock: pthread_mutex_unlock returned 1\n~Lock: Unlock returned 1\n";

const std::vector<Row>& Rows() {
    static const std::vector<Row> rows = {
        // On the host's thread.
        {"the frame", kEither, SystemCall::kNewNothrow, 1, ENOMEM, 12, Fate::Never,
         "InitiateAsyncRead: Failed to allocate a new ImportFrame object\n"},
        {"the frame's lock", kEither, SystemCall::kMutexInit, 1, 12, 12, Fate::Never,
         "Init: pthread_mutex_init returned 12\nInit: Lockable::Init returned 12\n"
         "InitiateAsyncRead: ImportFrame::Init returned 12\n"},
        {"the read pool", kEither, SystemCall::kOnce, 1, 22, 22, Fate::Never,
         "GetInstance: pthread_once returned 22\n"
         "Issue: ReadController::GetInstance returned 22\n" +
             IssueFailed("22")},
        {"the conversion pool", kEither, SystemCall::kOnce, 2, 22, 22, Fate::Never,
         "GetInstance: pthread_once returned 22\n"
         "Issue: ImportFrameConverter::GetInstance returned 22\n" +
             IssueFailed("22")},
        {"the request", kEither, SystemCall::kNewNothrow, 2, ENOMEM, 12, Fate::Never,
         "Create: Failed to allocate a new ReadRequest object\n"
         "Issue: ReadRequest::Create returned 12\n" +
             IssueFailed("12")},
        {"the request's lock", kEither, SystemCall::kMutexInit, 2, 12, 12, Fate::Never,
         "Init: pthread_mutex_init returned 12\nInit: Lockable::Init returned 12\n" +
             CreateFailed("12")},
        {"the latch's lock", kEither, SystemCall::kMutexInit, 3, 12, 12, Fate::Never,
         "Init: pthread_mutex_init returned 12\nInit: Lockable::Init returned 12\n"
         "Init: Event::Init returned 12\n" +
             CreateFailed("12")},
        {"the latch", kEither, SystemCall::kCondInit, 1, 12, 12, Fate::Never,
         "Init: pthread_cond_init returned 12\nInit: Event::Init returned 12\n" +
             CreateFailed("12")},
        {"the request's buffer", kConverted, SystemCall::kValloc, 1, ENOMEM, 12, Fate::Never,
         "Init: valloc failed\n" + CreateFailed("12")},
        {"the read pool's lock", kEither, SystemCall::kMutexLock, 1, 35, 35, Fate::Never,
         kLockFailed + "AddRequest: Lock returned 35\n" + AddRequestFailed("35")},
        {"waking the read pool", kEither, SystemCall::kCondBroadcast, 1, 22, 22, Fate::WithTheNext,
         "WakeAll: pthread_cond_broadcast returned 22\nAddRequest: WakeAll returned 22\n" +
             AddRequestFailed("22")},
        {"leaving the read pool", kEither, SystemCall::kMutexUnlock, 1, 1, 1, Fate::NeverAndStuck,
         kUnlockFailed + AddRequestFailed("1")},

        // On a read thread.
        {"taking a ticket", kEither, SystemCall::kMutexLock, 2, 35, 0, Fate::Delivered,
         kLockFailed + "GetReadTicket: Lock returned 35\n"
                       "WorkToDo: GetReadTicket on request 0x? returned 35\n"},
        {"the ticket", kEither, SystemCall::kNewNothrow, 3, ENOMEM, 0, Fate::Delivered,
         "GetReadTicket: Failed to allocate new ReadTicket for buf 0x?, size 4096, offset 65536\n"
         "WorkToDo: GetReadTicket on request 0x? returned 12\n"},
        {"a ticket taken", kEither, SystemCall::kMutexUnlock, 2, 1, 0, Fate::Delivered,
         kUnlockFailed + "WorkToDo: GetReadTicket on request 0x? returned 1\n"
                         // The system's own word about a mutex that goes while it is locked.
                         "~Lockable: pthread_mutex_destroy returned 16\n"},
        {"leaving for the read", kEither, SystemCall::kMutexUnlock, 3, 1, 0, Fate::Never,
         "Unlock: pthread_mutex_unlock returned 1\nUnlock: Unlock returned 1\n"
         "RunThreadPass: Unlock returned 1\n"},
        {"the read", kEither, SystemCall::kPread, 1, EIO, 0, Fate::Delivered, PreadFailed("5")},
        {"an interrupted read", kEither, SystemCall::kPread, 1, EINTR, 0, Fate::Delivered,
         PreadFailed("4")},
        {"a read of a file that is closed", kEither, SystemCall::kPread, 1, EBADF, 0,
         Fate::Delivered, PreadFailed("9")},
        {"a read of a file that is gone", kEither, SystemCall::kPread, 1, 70, 0, Fate::Delivered,
         PreadFailed("70")},
        // A read that comes short is no failure; the bytes never add up.
        {"a read of nothing", kEither, SystemCall::kReadShort, 1, 0, 0, Fate::Never,
         "ExecuteReadTicket: pread(?, 0x?, 4096, 65536) hit EOF\n"},
        {"a read of a byte", kEither, SystemCall::kReadShort, 1, 1, 0, Fate::Never, ""},
        {"a read of all but a byte", kEither, SystemCall::kReadShort, 1, -1, 0, Fate::Never, ""},
        {"counting the bytes", kEither, SystemCall::kMutexLock, 3, 35, 0, Fate::Delivered,
         kLockFailed +
             "ExecuteReadTicket: Lock returned 35\n"
             "RunThreadPass: ReadRequest::ExecuteReadTicket returned 35 for request 0x?\n"},
        {"the bytes counted", kEither, SystemCall::kMutexUnlock, 4, 1, 0, Fate::Delivered,
         kUnlockFailed +
             "RunThreadPass: ReadRequest::ExecuteReadTicket returned 1 for request 0x?\n"
             "~Lockable: pthread_mutex_destroy returned 16\n"},
        // A latch that cannot be set tells nobody.
        {"setting the latch", kEither, SystemCall::kMutexLock, 4, 35, 0, Fate::Never,
         kLockFailed + "Broadcast: Lock returned 35\nMarkComplete: Event::Broadcast returned 35\n"
                       "ExecuteReadTicket: MarkComplete returned 35\n"},
        {"telling of the latch", kEither, SystemCall::kCondBroadcast, 2, 22, 0, Fate::Never,
         "Broadcast: pthread_cond_broadcast returned 22\n"
         "MarkComplete: Event::Broadcast returned 22\n"
         "ExecuteReadTicket: MarkComplete returned 22\n"},
        {"the latch set", kEither, SystemCall::kMutexUnlock, 5, 1, 0, Fate::Never,
         kUnlockFailed + "MarkComplete: Event::Broadcast returned 1\n"
                         "ExecuteReadTicket: MarkComplete returned 1\n"},
        {"back in the read pool", kInPlace, SystemCall::kMutexLock, 5, 35, 0, Fate::Delivered,
         kLockFailedAgain},

        // On to the conversion.
        {"the conversion pool's lock", kConverted, SystemCall::kMutexLock, 5, 35, 0,
         Fate::Delivered,
         kLockFailed + "AddFrame: Lock returned 35\n"
                       "ReadCompleted: ImportFrameConverter::AddFrame returned 35\n"},
        {"waking a conversion thread", kConverted, SystemCall::kCondSignal, 1, 22, 0,
         Fate::Delivered,
         "WakeOne: pthread_cond_signal returned 22\nAddFrame: WakeOne returned 22\n"
         "ReadCompleted: ImportFrameConverter::AddFrame returned 22\n"},
        {"leaving the conversion pool", kConverted, SystemCall::kMutexUnlock, 6, 1, 0,
         Fate::DeliveredThenStuck,
         kUnlockFailed + "ReadCompleted: ImportFrameConverter::AddFrame returned 1\n"},
        {"leaving for the conversion", kConverted, SystemCall::kMutexUnlock, 7, 1, 0, Fate::Never,
         "Unlock: pthread_mutex_unlock returned 1\nUnlock: Unlock returned 1\n"
         "RunThreadPass: Unlock returned 1\n"},
        // The read thread and the conversion thread go back to their pools in any order.
        {"back in one pool", kConverted, SystemCall::kMutexLock, 6, 35, 0, Fate::Delivered,
         kLockFailedAgain},
        {"back in the other pool", kConverted, SystemCall::kMutexLock, 7, 35, 0, Fate::Delivered,
         kLockFailedAgain},

        // The end of the request and of the frame.
        {"the first lock's end", kEither, SystemCall::kMutexDestroy, 1, 16, 0, Fate::Delivered,
         "~Lockable: pthread_mutex_destroy returned 16\n"},
        {"the second lock's end", kEither, SystemCall::kMutexDestroy, 2, 16, 0, Fate::Delivered,
         "~Lockable: pthread_mutex_destroy returned 16\n"},
        {"the third lock's end", kEither, SystemCall::kMutexDestroy, 3, 16, 0, Fate::Delivered,
         "~Lockable: pthread_mutex_destroy returned 16\n"},
        {"the latch's end", kEither, SystemCall::kCondDestroy, 1, 16, 0, Fate::Delivered,
         "~Event: pthread_cond_destroy returned 16\n"},
    };
    return rows;
}

bool IsStuck(Fate fate) {
    return fate == Fate::DeliveredThenStuck || fate == Fate::NeverAndStuck;
}

std::string Expected(const Row& row) {
    const bool delivered = row.fate == Fate::Delivered || row.fate == Fate::DeliveredThenStuck;
    std::string text = "status " + std::to_string(row.status) + "\n" + row.lines;
    text += delivered ? "delivered\n" : "not delivered\n";
    if (!IsStuck(row.fate)) {
        text += "then status 0, delivered\n";
        text += row.fate == Fate::Never ? "and still not\n" : "and both\n";
    }
    return text;
}

PrPixelFormat FormatOf(Road road) {
    return road == kInPlace ? PrPixelFormat_UYVY_422_8u_601 : PrPixelFormat_BGRA_4444_8u;
}

// The process ends by itself at the end of a play: with a thread that waits for ever nothing can
// be taken down.
std::string Play(const StageMovies& movies, Road road, const Row& row,
                 const Second* second = nullptr) {
    const LogCapture log;
    auto& player = *new FramePlayer(*new ModuleStage(movies), movies.picture, FormatOf(road));
    player.StartPools();
    std::string said = log.Text();
    int hits = 0;
    {
        const Fault fault(row.call, row.error, row.nth);
        std::optional<Fault> other;
        if (second != nullptr) {
            other.emplace(second->call, second->error, second->nth);
        }
        said += "status " + std::to_string(player.Request(0)) + "\n";
        kvx_test::AwaitRest();
        hits = fault.Hits() * (second == nullptr ? 1 : other->Hits());
    }
    said += kvx_test::Spelled(log.Text());
    said += player.Has(0) ? "delivered\n" : "not delivered\n";
    if (!IsStuck(row.fate)) {
        const size_t before = log.Text().size();
        said += "then status " + std::to_string(player.Request(1));
        kvx_test::AwaitRest();
        said += player.Has(1) ? ", delivered\n" : ", not delivered\n";
        said += log.Text().substr(before);
        said += player.Has(0) ? "and both\n" : "and still not\n";
    }
    return hits == 1 ? said : "no call failed; " + said;
}

std::vector<long> Counts() {
    std::vector<long> counts;
    for (int call = 0; call < static_cast<int>(SystemCall::kCount); ++call) {
        counts.push_back(kvx_test::CallCount(static_cast<SystemCall>(call)));
    }
    return counts;
}

// The calls of a frame whose road is even: 1 to as many as there are, by kind. Waits are left out:
// how often a thread looks about is its own affair.
std::map<SystemCall, std::set<int>> CallsOfAFrame(const StageMovies& movies, Road road) {
    const std::string said = kvx_test::InChild(
        [&] {
            auto& player =
                *new FramePlayer(*new ModuleStage(movies), movies.picture, FormatOf(road));
            player.StartPools();
            const std::vector<long> before = Counts();
            player.Request(0);
            kvx_test::AwaitRest();
            const std::vector<long> after = Counts();
            std::string text;
            for (size_t call = 0; call < after.size(); ++call) {
                text += std::to_string(after[call] - before[call]) + " ";
            }
            return text;
        },
        false);
    std::map<SystemCall, std::set<int>> calls;
    std::istringstream text(said);
    int count = 0;
    for (int call = 0; text >> count; ++call) {
        if (static_cast<SystemCall>(call) != SystemCall::kCondWait) {
            for (int nth = 1; nth <= count; ++nth) {
                calls[static_cast<SystemCall>(call)].insert(nth);
            }
        }
    }
    return calls;
}

class FrameFaultLines : public testing::TestWithParam<Road> {
  protected:
    void SetUp() override {
        ASSERT_EQ(KVX::ReadController::sInstance, nullptr) << "threads are not copied by a fork";
    }

    const StageMovies movies;
};

TEST_P(FrameFaultLines, EveryCallHasARow) {
    std::map<SystemCall, std::set<int>> rows;
    for (const Row& row : Rows()) {
        if ((row.road & GetParam()) != 0) {
            rows[row.call].insert(row.nth);
        }
    }
    EXPECT_EQ(rows, CallsOfAFrame(movies, GetParam()));
}

TEST_P(FrameFaultLines, Rows) {
    for (const Row& row : Rows()) {
        if ((row.road & GetParam()) != 0) {
            EXPECT_EQ(kvx_test::InChild([&] { return Play(movies, GetParam(), row); }, false),
                      Expected(row))
                << row.place;
        }
    }
}

// Any of the pools' threads may be the one.
TEST_P(FrameFaultLines, OfAThreadThatCannotWait) {
    const int threads = GetParam() == kInPlace ? 8 : 9;
    for (int nth = 1; nth <= threads; ++nth) {
        const Row row = {"waiting",
                         GetParam(),
                         SystemCall::kCondWait,
                         nth,
                         22,
                         0,
                         Fate::Delivered,
                         "RunThread: pthread_cond_wait "
                         "returned 22\n"};
        EXPECT_EQ(kvx_test::InChild([&] { return Play(movies, GetParam(), row); }, false),
                  Expected(row))
            << nth;
    }
}

// A failure whose end cannot be told either.
TEST_P(FrameFaultLines, OfALatchAfterAFailure) {
    const Second latchsLock = {SystemCall::kMutexLock, 3, 35};
    const Second latch = {SystemCall::kCondBroadcast, 2, 22};
    const std::string unlocked =
        kLockFailed + "Broadcast: Lock returned 35\nMarkComplete: Event::Broadcast returned 35\n";
    const std::string untold =
        "Broadcast: pthread_cond_broadcast returned 22\n"
        "MarkComplete: Event::Broadcast returned 22\n";
    const std::string noTicket =
        "GetReadTicket: Failed to allocate new ReadTicket for buf 0x?, size 4096, offset 65536\n";
    const std::string ticketFailed = "WorkToDo: GetReadTicket on request 0x? returned 12\n";
    const std::string notRead = "ExecuteReadTicket: pread returned 5 for request 0x?\n";
    const std::string readFailed =
        "RunThreadPass: ReadRequest::ExecuteReadTicket returned 5 for request 0x?\n";
    const struct {
        Row row;
        Second second;
    } cases[] = {
        {{"no ticket, no lock", kEither, SystemCall::kNewNothrow, 3, ENOMEM, 0, Fate::Never,
          noTicket + unlocked + "GetReadTicket: MarkComplete returned 35\n" + ticketFailed},
         latchsLock},
        {{"no ticket, nobody told", kEither, SystemCall::kNewNothrow, 3, ENOMEM, 0, Fate::Never,
          noTicket + untold + "GetReadTicket: MarkComplete returned 22\n" + ticketFailed},
         latch},
        {{"no read, no lock", kEither, SystemCall::kPread, 1, EIO, 0, Fate::Never,
          notRead + unlocked + "ExecuteReadTicket: MarkComplete returned 35\n" + readFailed},
         latchsLock},
        {{"no read, nobody told", kEither, SystemCall::kPread, 1, EIO, 0, Fate::Never,
          notRead + untold + "ExecuteReadTicket: MarkComplete returned 22\n" + readFailed},
         latch},
    };
    for (const auto& fails : cases) {
        EXPECT_EQ(kvx_test::InChild(
                      [&] { return Play(movies, GetParam(), fails.row, &fails.second); }, false),
                  Expected(fails.row))
            << fails.row.place;
    }
}

INSTANTIATE_TEST_SUITE_P(, FrameFaultLines, testing::Values(kInPlace, kConverted),
                         [](const auto& info) {
                             return info.param == kInPlace ? std::string("InPlace")
                                                           : std::string("Converted");
                         });

}  // namespace
