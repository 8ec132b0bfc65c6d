// In which order buffers are taken, make room and are offered to the system. The memory is never
// looked at, but for what leaves.
#include "pipeline/buffer_shelf.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

using KVX::BufferShelf;
using KVX::LeavingBuffers;
using KVX::ReadBuffers;
using Buffer = ReadBuffers::Buffer;

constexpr size_t kMiB = size_t{1} << 20;

class Shelf : public testing::Test {
  protected:
    ~Shelf() override { mShelf.Clear(mLeaving); }

    static Buffer New(size_t size) { return {static_cast<char*>(valloc(size)), size}; }

    // Returns what was put.
    std::vector<char*> PutNew(size_t count, size_t size) {
        std::vector<char*> memory;
        for (size_t i = 0; i < count; ++i) {
            const Buffer buffer = New(size);
            mShelf.Put(buffer, mLeaving);
            memory.push_back(buffer.memory);
        }
        return memory;
    }

    std::vector<char*> TakeAll(size_t size) {
        std::vector<char*> memory;
        for (Buffer buffer = mShelf.Take(size); buffer.memory != nullptr;
             buffer = mShelf.Take(size)) {
            memory.push_back(buffer.memory);
            mTaken.Add(buffer.memory);
        }
        return memory;
    }

    // Offers one of those that have lain there for a rest.
    char* Offer() {
        mShelf.BeginRest();
        return OfferResting();
    }

    char* OfferResting() {
        const Buffer buffer = mShelf.TakeToOffer();
        if (buffer.memory != nullptr) {
            mShelf.PutBackOffered(buffer, mLeaving);
        }
        return buffer.memory;
    }

    BufferShelf mShelf;
    LeavingBuffers mLeaving;
    LeavingBuffers mTaken;
};

TEST_F(Shelf, OffersTheLowestUntilNoMoreThanSixtyFourMegabytesAreHeld) {
    const std::vector<char*> put = PutNew(6, 16 * kMiB);
    EXPECT_EQ(Offer(), put[0]);
    EXPECT_EQ(Offer(), put[1]);
    EXPECT_EQ(Offer(), nullptr);
    // They serve all the same, and last.
    EXPECT_EQ(TakeAll(16 * kMiB),
              (std::vector<char*>{put[5], put[4], put[3], put[2], put[1], put[0]}));
}

TEST_F(Shelf, DoesNotOfferWhatIsUsedOverAndOver) {
    PutNew(10, 16 * kMiB);
    while (Offer() != nullptr) {
    }
    for (int frame = 0; frame < 100; ++frame) {
        mShelf.Put(mShelf.Take(16 * kMiB), mLeaving);
        ASSERT_EQ(Offer(), nullptr) << frame;
    }
}

TEST_F(Shelf, OffersOnlyWhatHasLainThereForARest) {
    EXPECT_EQ(OfferResting(), nullptr);
    const std::vector<char*> early = PutNew(4, 16 * kMiB);
    mShelf.BeginRest();
    PutNew(6, 16 * kMiB);
    for (const char* each : early) {
        EXPECT_EQ(OfferResting(), each);
    }
    // The others have come since.
    EXPECT_TRUE(mShelf.HoldsTooMuch());
    EXPECT_EQ(OfferResting(), nullptr);
    mShelf.BeginRest();
    EXPECT_NE(OfferResting(), nullptr);
    EXPECT_NE(OfferResting(), nullptr);
    EXPECT_FALSE(mShelf.HoldsTooMuch());
    EXPECT_EQ(OfferResting(), nullptr);
}

TEST_F(Shelf, WhatIsTakenAndComesBackDoesNotRest) {
    const std::vector<char*> put = PutNew(8, 16 * kMiB);
    mShelf.BeginRest();
    std::vector<Buffer> taken;
    for (int i = 0; i < 6; ++i) {
        taken.push_back(mShelf.Take(16 * kMiB));
    }
    for (const Buffer& each : taken) {
        mShelf.Put(each, mLeaving);
    }
    EXPECT_EQ(OfferResting(), put[0]);
    EXPECT_EQ(OfferResting(), put[1]);
    EXPECT_EQ(OfferResting(), nullptr);
    EXPECT_TRUE(mShelf.HoldsTooMuch());
}

TEST_F(Shelf, WhatMakesRoomDoesNotCountAsResting) {
    const std::vector<char*> put = PutNew(12, 16 * kMiB);
    mShelf.BeginRest();
    PutNew(10, 16 * kMiB);
    EXPECT_EQ(OfferResting(), put[10]);
    EXPECT_EQ(OfferResting(), put[11]);
    EXPECT_EQ(OfferResting(), nullptr);
}

TEST_F(Shelf, OffersOneBufferThatAloneIsMore) {
    const char* const put = PutNew(1, 100 * kMiB).front();
    EXPECT_EQ(Offer(), put);
    EXPECT_EQ(Offer(), nullptr);
}

TEST_F(Shelf, WhatWasOfferedLeavesFirst) {
    const std::vector<char*> put = PutNew(12, 16 * kMiB);
    while (Offer() != nullptr) {
    }
    // Of 192 MiB now 128 are offered.
    const char* const next = PutNew(1, 16 * kMiB).front();
    std::vector<char*> left = TakeAll(16 * kMiB);
    ASSERT_EQ(left.size(), 12u);
    EXPECT_EQ(left.front(), next);
    for (const char* each : left) {
        EXPECT_NE(each, put[0]);
    }
}

TEST_F(Shelf, SlightlySmallerBuffersMakeRoom) {
    PutNew(ReadBuffers::kMostKept, kMiB);
    const char* const larger = PutNew(1, kMiB + 4096).front();
    EXPECT_EQ(TakeAll(kMiB + 1), std::vector<char*>{const_cast<char*>(larger)});
    EXPECT_EQ(TakeAll(kMiB).size(), ReadBuffers::kMostKept - 1);
}

TEST_F(Shelf, ABufferThatIsTooLargeLeavesTheOthersAlone) {
    const std::vector<char*> put = PutNew(3, kMiB);
    PutNew(1, ReadBuffers::kMostBytesKept + 1);
    EXPECT_TRUE(!mLeaving.IsEmpty());
    EXPECT_EQ(TakeAll(kMiB), (std::vector<char*>{put[2], put[1], put[0]}));
}

TEST_F(Shelf, AnOfferedBufferThatFindsNoRoomLeaves) {
    PutNew(12, 16 * kMiB);
    mShelf.BeginRest();
    const Buffer offered = mShelf.TakeToOffer();
    PutNew(1, 16 * kMiB);
    ASSERT_TRUE(mLeaving.IsEmpty());
    mShelf.PutBackOffered(offered, mLeaving);
    EXPECT_FALSE(mLeaving.IsEmpty());
    EXPECT_EQ(TakeAll(16 * kMiB).size(), 12u);
}

}  // namespace
