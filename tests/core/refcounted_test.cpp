#include "core/refcounted.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/log_capture.h"

namespace {

using KVX::Core::Refcounted;
using kvx_test::LogCapture;

// Tells of its end, and stays in memory when its maker says so.
class Counted : public Refcounted {
  public:
    explicit Counted(int& deletions) : mDeletions(deletions) {}
    ~Counted() override { ++mDeletions; }

    void SetCount(int count) { mRefCount = count; }
    int GetCount() const { return mRefCount; }

  private:
    int& mDeletions;
};

TEST(Refcounted, IsBornWithOneReference) {
    int deletions = 0;
    auto* object = new Counted(deletions);
    EXPECT_EQ(object->GetCount(), 1);
    EXPECT_EQ(object->Retain(), 2);
    EXPECT_EQ(object->AddRef(), 3);
    EXPECT_EQ(object->Release(), 2);
    EXPECT_EQ(object->Release(), 1);
    EXPECT_EQ(deletions, 0);
    EXPECT_EQ(object->Release(), 0);
    EXPECT_EQ(deletions, 1);
}

TEST(Refcounted, CountBelowZeroIsLoggedAndNothingDeleted) {
    int deletions = 0;
    {
        Counted object(deletions);
        object.SetCount(0);
        LogCapture log;
        EXPECT_EQ(object.Release(), -1);
        EXPECT_EQ(log.Text(), "Release: Negative reference count: -1\n");
        EXPECT_EQ(deletions, 0);
        EXPECT_EQ(object.Release(), -2);
        EXPECT_EQ(deletions, 0);
    }
    EXPECT_EQ(deletions, 1);
}

TEST(Refcounted, AddRefHonoursARetainOfTheSubclass) {
    class OwnRetain : public Refcounted {
      public:
        long Retain() override { return 77; }
    };
    OwnRetain object;
    EXPECT_EQ(object.AddRef(), 77);
}

TEST(Refcounted, ExactlyOneThreadSeesTheLastRelease) {
    constexpr int kThreads = 8;
    constexpr int kRounds = 20000;
    int deletions = 0;
    auto* object = new Counted(deletions);
    std::vector<long> zeros(kThreads);
    std::vector<std::thread> threads;
    for (int index = 0; index < kThreads; ++index) {
        object->Retain();
    }
    for (int index = 0; index < kThreads; ++index) {
        threads.emplace_back([object, &zero = zeros[static_cast<size_t>(index)]] {
            for (int round = 0; round < kRounds; ++round) {
                object->Retain();
                zero += object->Release() == 0;
            }
            zero += object->Release() == 0;
        });
    }
    const long own = object->Release() == 0;
    for (std::thread& thread : threads) {
        thread.join();
    }
    long sum = own;
    for (const long zero : zeros) {
        sum += zero;
    }
    EXPECT_EQ(sum, 1);
    EXPECT_EQ(deletions, 1);
}

}  // namespace
