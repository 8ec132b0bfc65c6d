#pragma once

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/assert.h"
#include "quicktime/packed_runs.h"
#include "quicktime/table_allocator.h"

namespace KVX::QT {

// How a map's values stand in PackedRuns: specialised for those that do.
template <typename Value>
struct PackedAs {
    static constexpr bool kIsPacked = false;
};

template <>
struct PackedAs<long long> {
    static constexpr bool kIsPacked = true;
    static constexpr bool kHasSize = false;
    static long long Offset(long long value) { return value; }
    static unsigned int Size(long long) { return 0; }
    static long long Of(long long offset, unsigned int) { return offset; }
};

// An ordered map from the first sample or time of a run to what is known about the run. A file
// states its runs in order, and nothing changes after the movie is read, so the entries are in
// one sorted array. Reads like std::map.
//
// A table of hundreds of thousands of runs can be packed, by RunAppender. What the importer asks
// then, RunAt and KeyAfter, is answered from the packed runs; reading it like std::map puts the
// entries into an array as well, once.
template <typename Value>
class RunMap {
  public:
    using key_type = long long;
    using mapped_type = Value;
    using value_type = std::pair<long long, Value>;
    using size_type = size_t;
    using difference_type = ptrdiff_t;
    using reference = const value_type&;
    using const_reference = const value_type&;
    using const_iterator =
        typename std::vector<value_type, TableAllocator<value_type>>::const_iterator;
    using iterator = const_iterator;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    using reverse_iterator = const_reverse_iterator;

    RunMap() = default;
    RunMap(RunMap&& other) noexcept
        : mEntries(std::move(other.mEntries)),
          mPacked(std::move(other.mPacked)),
          mIsPacked(other.mIsPacked.load()),
          mInOrder(other.mInOrder) {
        other.clear();
    }
    RunMap& operator=(const RunMap&) = delete;

    const_iterator begin() const { return Entries().begin(); }
    const_iterator end() const { return Entries().end(); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }
    const_reverse_iterator rbegin() const { return Entries().rbegin(); }
    const_reverse_iterator rend() const { return Entries().rend(); }
    const_reverse_iterator crbegin() const { return rbegin(); }
    const_reverse_iterator crend() const { return rend(); }
    size_t size() const { return IsPacked() ? mPacked->size() : mEntries.size(); }
    bool empty() const { return size() == 0; }
    void clear() {
        mEntries.clear();
        mPacked.reset();
        mIsPacked = false;
        mInOrder = true;
    }

    const_iterator lower_bound(long long key) const {
        return std::lower_bound(begin(), end(), key, [](const value_type& entry, long long wanted) {
            return entry.first < wanted;
        });
    }
    const_iterator upper_bound(long long key) const {
        return std::upper_bound(begin(), end(), key, [](long long wanted, const value_type& entry) {
            return wanted < entry.first;
        });
    }
    const_iterator find(long long key) const {
        const const_iterator entry = lower_bound(key);
        return entry != end() && entry->first == key ? entry : end();
    }
    size_t count(long long key) const { return find(key) == end() ? 0 : 1; }
    std::pair<const_iterator, const_iterator> equal_range(long long key) const {
        return {lower_bound(key), upper_bound(key)};
    }

    // Throws std::out_of_range for a key that is not there.
    const Value& at(long long key) const {
        const const_iterator entry = find(key);
        if (entry == end()) {
            throw std::out_of_range("no run begins there");
        }
        return entry->second;
    }

    // The entry with the greatest key not above `key`; the first entry for a key below all of them,
    // which only a file that contradicts itself asks for. The map must not be empty.
    const_iterator AtOrBefore(long long key) const {
        KVX_ASSERT(!empty());
        const const_iterator above = upper_bound(key);
        return above == begin() ? above : std::prev(above);
    }

    // The same by value, without a packed table's array of entries.
    value_type RunAt(long long key) const {
        if constexpr (PackedAs<Value>::kIsPacked) {
            if (IsPacked()) {
                const PackedRuns::Run run = mPacked->AtOrBefore(key);
                return {run.key, PackedAs<Value>::Of(run.offset, run.size)};
            }
        }
        return *AtOrBefore(key);
    }

    // The first key above `key`, or `none`.
    long long KeyAfter(long long key, long long none) const {
        if (IsPacked()) {
            return mPacked->KeyAfter(key, none);
        }
        const const_iterator above = upper_bound(key);
        return above == end() ? none : above->first;
    }

    // A place for the value under `key`, anywhere in the order.
    Value& operator[](long long key) {
        const const_iterator place = lower_bound(key);
        if (place != end() && place->first == key) {
            return mEntries[static_cast<size_t>(place - begin())].second;
        }
        return mEntries.emplace(place, key, Value())->second;
    }

    // Building: Reserve what there may be at most, Append, Finish before the first look-up. Memory
    // that is reserved and not used costs address space alone, and that only until Finish.
    void Reserve(size_t count) { mEntries.reserve(count); }

    // An entry that comes later takes the place of an earlier one under the same key.
    void Append(long long key, Value value) {
        Entries();
        if (!mEntries.empty() && mEntries.back().first >= key) {
            if (mEntries.back().first == key) {
                mEntries.back().second = value;
                return;
            }
            mInOrder = false;
        }
        mEntries.emplace_back(key, value);
    }

    // Where to append packed runs, `most` at most, in memory of their own or shared with other
    // tables; null if there are entries that are not packed.
    PackedRuns* Pack(size_t most, std::shared_ptr<PackedMemory> memory) {
        if (!IsPacked()) {
            if (!mEntries.empty()) {
                return nullptr;
            }
            if (memory == nullptr) {
                memory = std::make_shared<PackedMemory>();
            }
            mPacked = std::make_unique<PackedRuns>(PackedAs<Value>::kHasSize, std::move(memory));
            mPacked->Expect(most);
            mIsPacked = true;
        }
        return mPacked.get();
    }

    bool IsPacked() const { return mIsPacked.load(std::memory_order_acquire); }

    void Finish() {
        if (!mInOrder) {
            Sort();
        }
        if (mEntries.capacity() > 2 * mEntries.size()) {
            mEntries.shrink_to_fit();
        }
    }

  private:
    using Array = std::vector<value_type, TableAllocator<value_type>>;

    // Once they are in the array they count there; the packed ones stay, since other threads may be
    // looking something up in them.
    mutable Array mEntries;
    std::unique_ptr<PackedRuns> mPacked;
    mutable std::atomic<bool> mIsPacked{false};
    bool mInOrder = true;

    const Array& Entries() const {
        if constexpr (PackedAs<Value>::kIsPacked) {
            if (IsPacked()) {
                Unpack();
            }
        }
        return mEntries;
    }

    void Unpack() const {
        static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
        struct Locked {
            Locked() { pthread_mutex_lock(&lock); }
            ~Locked() { pthread_mutex_unlock(&lock); }
        } locked;
        if (IsPacked()) {
            mEntries.clear();
            mEntries.reserve(mPacked->size());
            mPacked->ForEach([this](const PackedRuns::Run& run) {
                mEntries.emplace_back(run.key, PackedAs<Value>::Of(run.offset, run.size));
            });
            mIsPacked.store(false, std::memory_order_release);
        }
    }

    // Well-formed tables are appended in order. Negative counts or durations send the keys
    // backwards.
    void Sort() {
        std::stable_sort(
            mEntries.begin(), mEntries.end(),
            [](const value_type& a, const value_type& b) { return a.first < b.first; });
        // Among equal keys the last one counts: from the back, it is the first.
        const auto firstKept = std::unique(
            mEntries.rbegin(), mEntries.rend(),
            [](const value_type& a, const value_type& b) { return a.first == b.first; });
        mEntries.erase(mEntries.begin(), firstKept.base());
        mInOrder = true;
    }
};

// Equal to any ordered map that holds the same values under the same keys.
template <typename Value, typename Map, typename = typename Map::mapped_type>
bool operator==(const RunMap<Value>& a, const Map& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.first == y.first && x.second == y.second;
    });
}

template <typename Value, typename Map, typename = typename Map::mapped_type>
bool operator!=(const RunMap<Value>& a, const Map& b) {
    return !(a == b);
}

template <typename Value, typename Map, typename = typename Map::mapped_type>
std::enable_if_t<!std::is_base_of_v<RunMap<Value>, Map>, bool> operator==(const Map& a,
                                                                          const RunMap<Value>& b) {
    return b == a;
}

template <typename Value, typename Map, typename = typename Map::mapped_type>
std::enable_if_t<!std::is_base_of_v<RunMap<Value>, Map>, bool> operator!=(const Map& a,
                                                                          const RunMap<Value>& b) {
    return !(b == a);
}

// A record inside a map's own memory. It reads like a pointer to the record, which a map's
// constness does not reach.
template <typename Record>
class HeldRecord {
  public:
    HeldRecord() = default;
    HeldRecord(const Record& record) : mRecord(record) {}

    // Of a record that comes from `new`, and ends here.
    HeldRecord(Record* record) : mRecord(*std::unique_ptr<Record>(record)) {}

    Record* operator->() const { return &mRecord; }
    Record& operator*() const { return mRecord; }
    operator Record*() const { return &mRecord; }

  private:
    mutable Record mRecord = {};
};

// A RunMap of records. They are in the entries: with a pointer for each, the largest table of
// sizes that a movie atom holds would take a third more memory. Building moves them.
template <typename Record>
class RecordMap : public RunMap<HeldRecord<Record>> {
  public:
    RecordMap() = default;
    RecordMap(const RecordMap&) = delete;
    RecordMap& operator=(const RecordMap&) = delete;

    using RunMap<HeldRecord<Record>>::Append;
    void Append(long long key, Record record) {
        RunMap<HeldRecord<Record>>::Append(key, HeldRecord<Record>(record));
    }
};

}  // namespace KVX::QT
