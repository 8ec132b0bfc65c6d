#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/assert.h"
#include "platform/large_memory.h"

namespace KVX::QT {

// The standard allocator, but for tables of many megabytes.
template <typename T>
struct TableAllocator {
    using value_type = T;

    TableAllocator() = default;
    template <typename Other>
    TableAllocator(const TableAllocator<Other>&) {}

    T* allocate(size_t count) {
        const size_t size = count * sizeof(T);
        if (size < Platform::kLargeMemory) {
            return std::allocator<T>().allocate(count);
        }
        void* const memory = Platform::AllocateLarge(size);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<T*>(memory);
    }

    void deallocate(T* memory, size_t count) {
        const size_t size = count * sizeof(T);
        if (size < Platform::kLargeMemory) {
            std::allocator<T>().deallocate(memory, count);
        } else {
            Platform::FreeLarge(memory, size);
        }
    }

    template <typename Other>
    bool operator==(const TableAllocator<Other>&) const {
        return true;
    }
    template <typename Other>
    bool operator!=(const TableAllocator<Other>&) const {
        return false;
    }
};

// An ordered map from the first sample or time of a run to what is known about the run. A file
// states its runs in order, and nothing changes after the movie is read, so the entries are in one
// sorted array: a movie of 400,000 runs is appended in a millisecond or two and takes 16 or 24
// bytes a run. Reads like std::map.
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

    const_iterator begin() const { return mEntries.begin(); }
    const_iterator end() const { return mEntries.end(); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }
    const_reverse_iterator rbegin() const { return mEntries.rbegin(); }
    const_reverse_iterator rend() const { return mEntries.rend(); }
    const_reverse_iterator crbegin() const { return rbegin(); }
    const_reverse_iterator crend() const { return rend(); }
    size_t size() const { return mEntries.size(); }
    bool empty() const { return mEntries.empty(); }
    void clear() {
        mEntries.clear();
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
        if (!mEntries.empty() && mEntries.back().first >= key) {
            if (mEntries.back().first == key) {
                mEntries.back().second = value;
                return;
            }
            mInOrder = false;
        }
        mEntries.emplace_back(key, value);
    }

    // Entries whose keys go up, from one above the last key on.
    void Append(const value_type* first, const value_type* last) {
        mEntries.insert(mEntries.end(), first, last);
    }

    void Finish() {
        if (!mInOrder) {
            Sort();
        }
        if (mEntries.capacity() > 2 * mEntries.size()) {
            mEntries.shrink_to_fit();
        }
    }

  private:
    std::vector<value_type, TableAllocator<value_type>> mEntries;
    bool mInOrder = true;

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

// Appends to an empty map as RunMap::Append does, in blocks: for tables of many runs. No more than
// one block costs a map no memory but its own.
template <typename Value>
class RunAppender {
  public:
    explicit RunAppender(RunMap<Value>& map) : mMap(map) {}
    RunAppender(const RunAppender&) = delete;
    RunAppender& operator=(const RunAppender&) = delete;

    // How many runs there may be at most; see RunMap::Reserve.
    void Expect(size_t most) { mMost = most; }

    void Append(long long key, Value value) {
        if (mNext == mBlock + kBlock || key <= mLastKey) {
            AppendBehindBlock(key, value);
            return;
        }
        mNext->first = key;
        mNext->second = value;
        ++mNext;
        mLastKey = key;
    }

    // To be called after the last entry.
    void Flush() {
        mMap.Append(mBlock, mNext);
        mNext = mBlock;
    }

  private:
    using Entry = typename RunMap<Value>::value_type;
    static constexpr int kBlock = 128;

    __attribute__((noinline)) void AppendBehindBlock(long long key, Value value) {
        mMap.Reserve(mMost);
        Flush();
        mMap.Append(key, value);
        mLastKey = key;
    }

    RunMap<Value>& mMap;
    size_t mMost = 0;
    long long mLastKey = std::numeric_limits<long long>::min();
    Entry mBlock[kBlock];
    Entry* mNext = mBlock;
};

}  // namespace KVX::QT
