// The first frames of a process while the calls fail that the pools and the requests live by. Each
// play has a process of its own, since a start that failed is final and a thread that ended does
// not come back.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <string>

#include "faults/module_stage.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/read_controller.h"
#include "support/child_process.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::SystemCall;

using Road = ModuleStage::Road;

// What may become of frames.
enum class Loss {
    None,  // all that are taken arrive
    One,   // the one whose call failed may never end
    All,   // the pool may be without threads from then on
};

struct Failure {
    const char* name;
    SystemCall call;
    int error;
    Loss once;
    Loss forGood;
};

const Failure kFailures[] = {
    {"ThreadCreate", SystemCall::kThreadCreate, EAGAIN, Loss::None, Loss::None},
    {"Malloc", SystemCall::kMalloc, ENOMEM, Loss::None, Loss::None},
    {"Calloc", SystemCall::kCalloc, ENOMEM, Loss::None, Loss::None},
    {"Valloc", SystemCall::kValloc, ENOMEM, Loss::None, Loss::None},
    {"New", SystemCall::kNew, ENOMEM, Loss::None, Loss::None},
    {"NewNothrow", SystemCall::kNewNothrow, ENOMEM, Loss::None, Loss::None},
    {"MutexInit", SystemCall::kMutexInit, ENOMEM, Loss::None, Loss::None},
    {"CondInit", SystemCall::kCondInit, ENOMEM, Loss::None, Loss::None},
    {"Once", SystemCall::kOnce, EINVAL, Loss::None, Loss::None},
    // A latch whose lock fails is not set: nobody is told.
    {"MutexLock", SystemCall::kMutexLock, EDEADLK, Loss::One, Loss::All},
    {"CondWait", SystemCall::kCondWait, EINVAL, Loss::None, Loss::All},
    // A latch that wakes nobody counts as set, and its completion is not told of it. A request or a
    // frame whose pool is not woken waits for the next one.
    {"CondBroadcast", SystemCall::kCondBroadcast, EINVAL, Loss::One, Loss::One},
    {"CondSignal", SystemCall::kCondSignal, EINVAL, Loss::None, Loss::None},
    // A read that comes short never ends.
    {"ReadOfNothing", SystemCall::kReadShort, 0, Loss::One, Loss::One},
    {"ReadOfAByte", SystemCall::kReadShort, 1, Loss::One, Loss::One},
    {"ReadOfAllButAByte", SystemCall::kReadShort, -1, Loss::One, Loss::One},
};

constexpr const char* kNoStrike = "no call failed";
constexpr int kManyCalls = 2000;

// Two frames: one in place, one by both pools. Then, with all in order again, a good movie.
std::string Play(const StageMovies& movies, const Failure& failure, int nth, int times) {
    const Loss loss = times == 1 ? failure.once : failure.forGood;
    LogCapture log;
    ModuleStage stage(movies);
    if (loss != Loss::None) {
        stage.patience = std::chrono::milliseconds(150);
    }
    bool refused = false;
    int hits = 0;
    {
        const Fault fault(failure.call, failure.error, nth, times);
        refused = stage.Frame(Road::Direct);
        refused = stage.Frame(Road::Converted) || refused;
        hits = fault.Hits();
    }
    const std::string text = log.Raw();
    if (hits == 0) {
        return kNoStrike;
    }
    if (!kvx_test::IsLog(text)) {
        return "no log: " + text;
    }
    // A read that comes short is no failure, nor is a table that cannot move to smaller memory.
    if (!refused && text.empty() && failure.call != SystemCall::kReadShort &&
        failure.call != SystemCall::kNew) {
        return "a failure without a trace";
    }
    const int mayBeLost = loss == Loss::None ? 0 : loss == Loss::One && times == 1 ? 1 : 2;
    if (stage.framesLost > mayBeLost) {
        return std::to_string(stage.framesLost) + " frames lost; " + text;
    }
    if (loss == Loss::All) {
        return "";
    }
    const std::string play = stage.PlayGoodMovie();
    const bool hasPools =
        KVX::ReadController::sError == 0 && KVX::ImportFrameConverter::sError == 0;
    if (!hasPools) {
        // The failed start is told to every further frame.
        const std::string more = log.Text();
        if (play != "a frame of a good movie is refused" ||
            more.find("GetInstance: Once() returned ") == std::string::npos) {
            return "a pool that did not start: " + play + "; " + text;
        }
    } else if (!play.empty()) {
        return play + "; " + text;
    }
    // A frame is refused when its pool cannot be woken, and may be read all the same by a thread
    // that is awake; with a latch that wakes nobody, its end is then told to no one.
    const bool mayKeepMore = failure.call == SystemCall::kCondBroadcast && refused;
    const std::string remains = stage.Remains(mayKeepMore ? mayBeLost : stage.framesLost);
    return remains.empty() ? "" : remains + "; " + text;
}

class PoolFaults : public testing::TestWithParam<Failure> {
  protected:
    void SetUp() override {
        ASSERT_EQ(KVX::ReadController::sInstance, nullptr) << "threads are not copied by a fork";
    }

    static void PlayAll(int times, Loss loss) {
        const StageMovies movies;
        int nth = 1;
        for (; nth < kManyCalls; ++nth) {
            const std::string said = kvx_test::InChild(
                [&] { return Play(movies, GetParam(), nth, times); }, loss == Loss::None);
            if (said == kNoStrike) {
                break;
            }
            ASSERT_EQ(said, "") << GetParam().name << " number " << nth
                                << (times == 1 ? "" : " and on");
        }
        // Each of these calls is made at least once, and not without end.
        EXPECT_GT(nth, 1);
        EXPECT_LT(nth, kManyCalls);
    }
};

TEST_P(PoolFaults, Once) {
    PlayAll(1, GetParam().once);
}

TEST_P(PoolFaults, FromThenOn) {
    PlayAll(Fault::kForever, GetParam().forGood);
}

INSTANTIATE_TEST_SUITE_P(, PoolFaults, testing::ValuesIn(kFailures),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
