#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

#include "quicktime/packed_runs.h"
#include "quicktime/run_map.h"

namespace KVX::QT {

// Appends to an empty map as RunMap::Append does: for tables of many runs. More than a block of
// them are packed, as long as their keys go up.
template <typename Value>
class RunAppender {
  public:
    static constexpr int kBlock = PackedRuns::kBlock;

    // Tables that are appended to at once share memory.
    explicit RunAppender(RunMap<Value>& map, std::shared_ptr<PackedMemory> memory = nullptr)
        : mMap(map), mMemory(std::move(memory)) {}
    RunAppender(const RunAppender&) = delete;
    RunAppender& operator=(const RunAppender&) = delete;

    // How many runs there may be at most; see RunMap::Reserve.
    void Expect(size_t most) { mMost = most; }

    void Append(long long key, Value value) {
        if (mCount == kBlock || key <= mLastKey) {
            AppendBehindBlock(key, value);
            return;
        }
        Put(key, value);
    }

    // A whole block. Returns what PackedRuns::AppendEvenly does, or null.
    const char* AppendEvenly(const PackedRuns::EvenBlock& even) {
        if (even.firstKey > mLastKey && PackBlock()) {
            mLastKey = even.firstKey + (kBlock - 1) * even.step;
            return mPacked->AppendEvenly(even);
        }
        for (int i = 0; i < kBlock; ++i) {
            Append(even.firstKey + i * even.step,
                   PackedAs<Value>::Of(even.base + even.offsets[i],
                                       PackedAs<Value>::kHasSize ? even.sizes[i] : 0));
        }
        return nullptr;
    }

    // To be called after the last entry.
    void Flush() {
        if (!mMap.IsPacked() || !PackBlock()) {
            AppendBlock();
        }
    }

  private:
    void Put(long long key, Value value) {
        mColumns.keys[mCount] = key;
        mColumns.offsets[mCount] = PackedAs<Value>::Offset(value);
        if constexpr (PackedAs<Value>::kHasSize) {
            mColumns.sizes[mCount] = PackedAs<Value>::Size(value);
        }
        ++mCount;
        mLastKey = key;
    }

    __attribute__((noinline)) void AppendBehindBlock(long long key, Value value) {
        if (key > mLastKey && PackBlock()) {
            Put(key, value);
            return;
        }
        mMap.Reserve(mMost);
        AppendBlock();
        mMap.Append(key, value);
        mLastKey = key;
    }

    // False if the map has entries that are not packed.
    bool PackBlock() {
        if (mPacked == nullptr || !mMap.IsPacked()) {
            mPacked = mMap.Pack(mMost, mMemory);
        }
        if (mPacked == nullptr) {
            return false;
        }
        if (mCount > 0) {
            mPacked->Append(mColumns, mCount);
            mCount = 0;
        }
        return true;
    }

    void AppendBlock() {
        for (int i = 0; i < mCount; ++i) {
            mMap.Append(mColumns.keys[i],
                        PackedAs<Value>::Of(mColumns.offsets[i], mColumns.sizes[i]));
        }
        mCount = 0;
    }

    RunMap<Value>& mMap;
    std::shared_ptr<PackedMemory> mMemory;
    PackedRuns* mPacked = nullptr;
    size_t mMost = 0;
    long long mLastKey = std::numeric_limits<long long>::min();
    int mCount = 0;
    PackedRuns::Columns mColumns = {};
};

}  // namespace KVX::QT
