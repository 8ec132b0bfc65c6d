// The registry as exit handlers find it that are older than it is: a host may close its last file
// from one.
#include <gtest/gtest.h>

#include <cstdlib>

#include "core/indexed.h"

namespace {

using KVX::Core::Indexed;

constexpr long kIndex = 0x7000000012345678;

void (*sLastHandler)() = nullptr;

void RunLastHandler() {
    if (sLastHandler != nullptr) {
        sLastHandler();
    }
}

// Before any static object is made, so that the handler runs when all of them are gone.
[[gnu::constructor(101)]] void RegisterLastHandler() {
    std::atexit(&RunLastHandler);
}

Indexed<long>* sObject = nullptr;

void UseTheRegistry() {
    const bool ended = Indexed<long>::HasEnded();
    const bool found = Indexed<long>::GetInstanceForIndex(kIndex) != nullptr;
    Indexed<long> late(kIndex);
    const long status = late.Init();
    delete sObject;
    std::_Exit(ended && !found && status == 89 ? 0 : 1);
}

class IndexedExitDeathTest : public ::testing::Test {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(IndexedExitDeathTest, NothingIsRegisteredOrFoundAndObjectsGo) {
    EXPECT_FALSE(Indexed<long>::HasEnded());
    EXPECT_EXIT(
        {
            sObject = new Indexed<long>(kIndex);
            if (sObject->Init() == 0 && Indexed<long>::GetInstanceForIndex(kIndex) == sObject) {
                sLastHandler = &UseTheRegistry;
            }
            std::exit(2);
        },
        ::testing::ExitedWithCode(0),
        "GetInstanceForIndex\\[[0-9]+\\]: Skipping because the process is exiting\n"
        ".*Init\\[[0-9]+\\]: Skipping because the process is exiting\n");
}

}  // namespace
