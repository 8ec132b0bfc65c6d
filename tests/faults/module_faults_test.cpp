// Each call of the system and of the host that the importer makes fails in turn, once and from then
// on, while a host does its usual things. The importer refuses or goes on, says so in the log,
// keeps nothing, and a good movie plays right afterwards. The pools are up from the start: what
// their own calls do when they fail is looked at by pool_faults_test.cpp.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "faults/module_stage.h"
#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::ModuleStage;
using kvx_test::StageMovies;
using kvx_test::SystemCall;

using Road = ModuleStage::Road;

struct Scenario {
    const char* name;
    bool (*play)(ModuleStage& stage);
};

const Scenario kScenarios[] = {
    {"Open", [](ModuleStage& stage) { return stage.Open(); }},
    {"Info", [](ModuleStage& stage) { return stage.Info(); }},
    {"FrameInPlace", [](ModuleStage& stage) { return stage.Frame(Road::Direct); }},
    {"FrameCopied", [](ModuleStage& stage) { return stage.Frame(Road::Copied); }},
    {"FrameConverted", [](ModuleStage& stage) { return stage.Frame(Road::Converted); }},
    {"FrameCustom", [](ModuleStage& stage) { return stage.Frame(Road::Custom); }},
    {"Audio", [](ModuleStage& stage) { return stage.Audio(); }},
    {"QuietAndReopen", [](ModuleStage& stage) { return stage.QuietAndReopen(); }},
    {"Save", [](ModuleStage& stage) { return stage.Save(); }},
    {"Delete", [](ModuleStage& stage) { return stage.Delete(); }},
};

struct Failure {
    SystemCall call;
    int error;
};

const Failure kFailures[] = {{SystemCall::kOpen, EACCES},       {SystemCall::kOpen, EMFILE},
                             {SystemCall::kFstat, EIO},         {SystemCall::kLseek, EIO},
                             {SystemCall::kFileAdvice, EINVAL}, {SystemCall::kClose, EIO},
                             {SystemCall::kPread, EIO},         {SystemCall::kPread, EINTR},
                             {SystemCall::kPread, EBADF},       {SystemCall::kPread, ESTALE},
                             {SystemCall::kMalloc, ENOMEM},     {SystemCall::kCalloc, ENOMEM},
                             {SystemCall::kValloc, ENOMEM},     {SystemCall::kNew, ENOMEM},
                             {SystemCall::kNewNothrow, ENOMEM}, {SystemCall::kMmap, ENOMEM},
                             {SystemCall::kMutexInit, ENOMEM},  {SystemCall::kCondInit, ENOMEM},
                             {SystemCall::kOnce, EINVAL},       {SystemCall::kKeyCreate, EAGAIN},
                             {SystemCall::kSetspecific, ENOMEM}};

// A registry that cannot be asked when a file is opened again knows of no object for it: the
// importer makes a second one, and the host, which keeps the newest, can never give the first one
// back.
bool LosesAnObject(const Scenario& scenario, const Failure& failure) {
    return failure.call == SystemCall::kOnce && scenario.name == std::string("QuietAndReopen");
}

// No scenario makes more calls of a kind than this.
constexpr int kManyCalls = 5000;

class ModuleFaults : public testing::TestWithParam<Scenario> {
  protected:
    static void SetUpTestSuite() { sMovies = new StageMovies; }
    static void TearDownTestSuite() {
        delete sMovies;
        sMovies = nullptr;
    }

    void SetUp() override {
        ASSERT_EQ(stage.PlayGoodMovie(), "");
        ASSERT_FALSE(GetParam().play(stage)) << log.Raw();
        ASSERT_EQ(stage.Remains(), "");
    }

    // Everything after a fault that struck.
    void Look(bool refused, bool leavesTrace, const std::string& fresh) {
        EXPECT_TRUE(kvx_test::IsLog(fresh)) << fresh;
        EXPECT_TRUE(refused || !fresh.empty() || !leavesTrace) << "a failure without a trace";
        EXPECT_EQ(stage.framesLost, 0) << fresh;
        ASSERT_EQ(stage.PlayGoodMovie(), "") << fresh;
        ASSERT_EQ(stage.Remains(), "") << fresh;
    }

    std::string Fresh() {
        const std::string all = log.Raw();
        const std::string fresh = all.substr(mSeen);
        mSeen = all.size();
        return fresh;
    }

    static StageMovies* sMovies;
    LogCapture log;
    ModuleStage stage{*sMovies};

  private:
    size_t mSeen = 0;
};

StageMovies* ModuleFaults::sMovies = nullptr;

TEST_P(ModuleFaults, OfTheSystem) {
    for (const Failure& failure : kFailures) {
        if (LosesAnObject(GetParam(), failure)) {
            continue;
        }
        for (const int times : {1, Fault::kForever}) {
            int call = 1;
            for (bool strikes = true; strikes && call < kManyCalls; ++call) {
                SCOPED_TRACE("call " + std::to_string(static_cast<int>(failure.call)) + " error " +
                             std::to_string(failure.error) + ", number " + std::to_string(call) +
                             (times == 1 ? "" : " and on"));
                bool refused = false;
                {
                    const Fault fault(failure.call, failure.error, call, times);
                    refused = GetParam().play(stage);
                    strikes = fault.Hits() > 0;
                }
                const std::string fresh = Fresh();
                if (strikes) {
                    // Nobody asks how the closing of a file went that was only read, and tables
                    // that cannot move to smaller memory stay where they are.
                    const bool leavesTrace =
                        failure.call != SystemCall::kClose && failure.call != SystemCall::kNew;
                    ASSERT_NO_FATAL_FAILURE(Look(refused, leavesTrace, fresh));
                }
            }
            ASSERT_LT(call, kManyCalls);
        }
    }
}

TEST_P(ModuleFaults, OfTheHost) {
    struct Function {
        kvx_hostkit::SuiteFaults* faults;
        const char* name;
    };
    const Function functions[] = {
        {&stage.buffers.faults, "CreatePPix"},     {&stage.buffers.faults, "CreateCustomPPix"},
        {&stage.buffers.faults, "Dispose"},        {&stage.buffers.faults, "GetPixels"},
        {&stage.buffers.faults, "GetRowBytes"},    {&stage.cache.faults, "AddFrameToCache"},
        {&stage.cache.faults, "GetFrameFromCache"}};
    stage.patience = std::chrono::milliseconds(50);
    for (const Function& function : functions) {
        // Whoever refuses a frame or keeps it is the host.
        const bool losesFrames = function.name == std::string("AddFrameToCache");
        if (function.name == std::string("Dispose")) {
            continue;
        }
        for (const bool fromThenOn : {false, true}) {
            for (int call = 1; call < 20; ++call) {
                SCOPED_TRACE(function.name + (" number " + std::to_string(call)));
                const int before = function.faults->Calls(function.name);
                function.faults->FailAt(function.name, call, -100, fromThenOn);
                const bool refused = GetParam().play(stage);
                const int calls = function.faults->Calls(function.name) - before;
                function.faults->Clear();
                const std::string fresh = Fresh();
                if (calls < call) {
                    break;
                }
                if (losesFrames) {
                    EXPECT_EQ(stage.framesLost, 1);
                    stage.framesLost = 0;
                }
                // Looking in vain before a read is nothing to speak of.
                const bool silent = function.name == std::string("GetFrameFromCache");
                EXPECT_TRUE(kvx_test::IsLog(fresh)) << fresh;
                EXPECT_TRUE(refused || silent || !fresh.empty());
                EXPECT_EQ(stage.framesLost, 0) << fresh;
                ASSERT_EQ(stage.PlayGoodMovie(), "") << fresh;
                ASSERT_EQ(stage.Remains(), "") << fresh;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, ModuleFaults, testing::ValuesIn(kScenarios),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
