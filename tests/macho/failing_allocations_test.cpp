// Allocations of the module for macOS fail, every k-th or all from one on, while a host does its
// usual things. The importer refuses or goes on, keeps nothing, and a good movie plays right
// afterwards.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>

#include "faults/module_stage.h"
#include "support/log_capture.h"

namespace {

// No call counts at 0. Allocations are the importer's alone, and also those of its own threads.
std::atomic<long> sEvery{0};
std::atomic<long> sCalls{0};
std::atomic<long> sFailed{0};

}  // namespace

// Asked by the module at each of its allocations.
extern "C" __attribute__((visibility("default"))) bool kvx_macho_allocation_fails() {
    const long every = sEvery;
    if (every == 0 || ++sCalls % every != 0) {
        return false;
    }
    ++sFailed;
    return true;
}

namespace {

using kvx_test::ModuleStage;
using Road = ModuleStage::Road;

// Every `every`-th allocation fails while it lives.
class Failing {
  public:
    explicit Failing(long every) {
        sCalls = 0;
        sFailed = 0;
        sEvery = every;
    }
    ~Failing() { sEvery = 0; }

    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;
};

class FailingAllocations : public testing::Test {
  protected:
    // True when any of it was refused.
    bool PlayEverything() {
        bool refused = false;
        refused |= stage.Open();
        refused |= stage.Info();
        for (const Road road : {Road::Direct, Road::Copied, Road::Converted, Road::Custom}) {
            refused |= stage.Frame(road);
        }
        refused |= stage.Audio();
        refused |= stage.QuietAndReopen();
        refused |= stage.Save();
        refused |= stage.Delete();
        return refused;
    }

    kvx_test::LogCapture log;
    kvx_test::StageMovies movies;
    ModuleStage stage{movies};
};

TEST_F(FailingAllocations, EveryKth) {
    ASSERT_NE(std::getenv("KVX_TEST_MODULE"), nullptr) << "nothing asks the hook";
    ASSERT_EQ(stage.PlayGoodMovie(), "");
    ASSERT_FALSE(PlayEverything()) << log.Raw();
    bool wasSpared = false;
    for (long every = 1; !wasSpared; every += every < 300 ? 1 : every / 8) {
        SCOPED_TRACE(every);
        bool refused = false;
        {
            const Failing failing(every);
            refused = PlayEverything();
            wasSpared = sFailed == 0;
        }
        EXPECT_TRUE(refused || every > 1);
        EXPECT_FALSE(refused && wasSpared);
        EXPECT_EQ(stage.framesLost, 0);
        ASSERT_EQ(stage.PlayGoodMovie(), "");
        ASSERT_EQ(stage.Remains(), "");
    }
}

}  // namespace
