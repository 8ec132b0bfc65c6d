#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "hostkit/host.h"
#include "hostkit/suite_faults.h"
#include "premiere/import_records.h"
#include "premiere/suites.h"

namespace kvx_hostkit {

// The host's frame cache and its suite. It holds the frames that importers add, finds them again,
// and releases the oldest when it is full. One at a time, beside the Host and its PixelBuffers.
class FrameCache {
  public:
    static constexpr size_t kUnbounded = static_cast<size_t>(-1);

    // Offers its suite on `host`. Holds up to `capacity` frames; with 0 it releases each at once.
    explicit FrameCache(Host& host, size_t capacity = kUnbounded);

    // Releases all frames.
    ~FrameCache();

    FrameCache(const FrameCache&) = delete;
    FrameCache& operator=(const FrameCache&) = delete;

    // Waits until `additions` frames of that index have been added since the start or the last
    // Forget, whether the cache still holds them or not. False when the time is up: a read of a
    // file that has become shorter never ends.
    bool WaitForFrame(int32_t importerID, int32_t frameIndex, std::chrono::milliseconds limit,
                      int additions = 1);

    // Waits until `additions` frames of any file and index have been added in all.
    bool WaitForAdditions(int additions, std::chrono::milliseconds limit);

    // Takes the newest frame of that index out of the cache, with the cache's hold on it: the
    // caller disposes of it. Null if there is none.
    PPixHand Take(int32_t importerID, int32_t frameIndex);

    int AdditionsOf(int32_t importerID, int32_t frameIndex) const;
    int Additions() const;
    size_t Size() const;

    // Releases all frames and forgets what was added.
    void Forget();

    SuiteFaults faults;  // AddFrameToCache, GetFrameFromCache

  private:
    using Key = std::pair<int32_t, int32_t>;  // importer ID, frame index

    struct Entry {
        Key key;
        PPixHand ppix;
    };

    static int32_t SuiteAddFrame(uint32_t importerID, int32_t stream, PPixHand ppix,
                                 int32_t frameIndex, void* preferences, int32_t preferencesSize);
    static int32_t SuiteGetFrame(uint32_t importerID, int32_t stream, int32_t frameIndex,
                                 int32_t formatCount, imFrameFormat* formats, PPixHand* ppix,
                                 void* preferences, int32_t preferencesSize);

    int32_t Add(const Key& key, PPixHand ppix);
    int32_t Find(const Key& key, int32_t formatCount, const imFrameFormat* formats, PPixHand* ppix);

    const size_t mCapacity;
    mutable std::mutex mLock;
    std::condition_variable mAdded;
    std::deque<Entry> mEntries;  // oldest first
    std::map<Key, int> mAdditionsOf;
    int mAdditions = 0;
};

}  // namespace kvx_hostkit
