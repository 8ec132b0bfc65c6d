#include "core/indexed.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "support/fault_injection.h"
#include "support/log_capture.h"

namespace {

using KVX::Core::Indexed;
using kvx_test::Fault;
using kvx_test::LogCapture;
using kvx_test::SystemCall;

// Out of the way of the importer IDs of other tests.
constexpr long kIndex = 0x7000000012345678;

class Registered : public Indexed<long> {
  public:
    explicit Registered(long index) : Indexed(index) {}
};

TEST(Indexed, FindsWhatWasRegistered) {
    Registered first(kIndex);
    Registered second(-kIndex);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), nullptr);
    EXPECT_EQ(first.Init(), 0);
    EXPECT_EQ(second.Init(), 0);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), &first);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(-kIndex), &second);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex + 1), nullptr);
    EXPECT_EQ(first.mImporterID, kIndex);
}

TEST(Indexed, EntryGoesWithTheObject) {
    auto object = std::make_unique<Registered>(kIndex);
    ASSERT_EQ(object->Init(), 0);
    object.reset();
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), nullptr);
    EXPECT_EQ(Indexed<long>::sIndexMap.count(kIndex), 0u);
}

TEST(Indexed, LaterObjectReplacesTheEarlier) {
    LogCapture log;
    Registered first(kIndex);
    Registered second(kIndex);
    ASSERT_EQ(first.Init(), 0);
    ASSERT_EQ(second.Init(), 0);
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), &second);
    EXPECT_EQ(log.Raw(), "");
}

TEST(Indexed, EitherOfTwoEmptiesTheEntry) {
    auto first = std::make_unique<Registered>(kIndex);
    auto second = std::make_unique<Registered>(kIndex);
    ASSERT_EQ(first->Init(), 0);
    ASSERT_EQ(second->Init(), 0);
    first.reset();
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), nullptr);

    first = std::make_unique<Registered>(kIndex);
    ASSERT_EQ(first->Init(), 0);
    ASSERT_EQ(second->Init(), 0);
    second.reset();
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), nullptr);
}

TEST(Indexed, FailedLockRegistersAndFindsNothing) {
    Registered object(kIndex);
    long status = 0;
    LogCapture log;
    {
        const Fault failing(SystemCall::kMutexLock, EDEADLK, 1, Fault::kForever);
        status = object.Init();
    }
    EXPECT_EQ(status, EDEADLK);
    EXPECT_NE(log.Text().find("Init: Lock returned " + std::to_string(EDEADLK) + "\n"),
              std::string::npos)
        << log.Text();
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), nullptr);

    ASSERT_EQ(object.Init(), 0);
    const Indexed<long>* found;
    {
        const Fault failing(SystemCall::kMutexLock, EDEADLK, 1, Fault::kForever);
        found = Indexed<long>::GetInstanceForIndex(kIndex);
    }
    EXPECT_EQ(found, nullptr);
    EXPECT_NE(
        log.Text().find("GetInstanceForIndex: Lock returned " + std::to_string(EDEADLK) + "\n"),
        std::string::npos)
        << log.Text();
}

TEST(Indexed, FailedSetUpRegistersAndFindsNothing) {
    Registered object(kIndex);
    ASSERT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), nullptr);
    long status = 0;
    const Indexed<long>* found;
    LogCapture log;
    {
        const Fault failing(SystemCall::kOnce, EINVAL, 1, Fault::kForever);
        status = object.Init();
        found = Indexed<long>::GetInstanceForIndex(kIndex);
    }
    EXPECT_EQ(status, EINVAL);
    EXPECT_EQ(found, nullptr);
    const std::string trail = log.Text();
    EXPECT_NE(trail.find("Init: Skipping because static initialisation failed\n"),
              std::string::npos)
        << trail;
    EXPECT_NE(trail.find("GetInstanceForIndex: Skipping because static initialisation failed\n"),
              std::string::npos)
        << trail;
    EXPECT_EQ(Indexed<long>::GetInstanceForIndex(kIndex), nullptr);
}

// The one-time set-up runs once for the whole process, so these have one to themselves.
class IndexedDeathTest : public ::testing::Test {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(IndexedDeathTest, FirstCallOfAllFindsNothing) {
    EXPECT_EXIT(
        {
            const bool empty = Indexed<long>::sIndexMap.empty();
            const bool found = Indexed<long>::GetInstanceForIndex(0) != nullptr;
            std::_Exit(empty && !found ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(IndexedDeathTest, FailedLockSetUpIsOnlyLogged) {
    EXPECT_EXIT(
        {
            long status = -1;
            Registered* object = new Registered(kIndex);
            {
                const Fault failing(SystemCall::kMutexInit, ENOMEM, 1, Fault::kForever);
                status = object->Init();
            }
            // The lock was never made. Where a zeroed mutex works all the same, so does the table.
            std::_Exit(status == 0 || status == EINVAL ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "StaticInit\\[[0-9]+\\]: Lock::Init returned 12\n");
}

}  // namespace
