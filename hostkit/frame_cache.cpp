#include "hostkit/frame_cache.h"

#include <algorithm>
#include <vector>

#include "hostkit/pixel_buffers.h"
#include "hostkit/published.h"

namespace kvx_hostkit {

namespace {

constexpr int32_t kNoFrameCache = -20;

bool IsOffered(PrPixelFormat format, int32_t formatCount, const imFrameFormat* formats) {
    return std::any_of(
        formats, formats + std::max(formatCount, 0), [=](const imFrameFormat& offered) {
            return offered.pixelFormat == format || offered.pixelFormat == PrPixelFormat_Any;
        });
}

}  // namespace

FrameCache::FrameCache(Host& host, size_t capacity) : mCapacity(capacity) {
    static constexpr PrSDKPPixCacheSuite kCacheSuite = {&SuiteAddFrame, &SuiteGetFrame};
    host.AddSuite(kPrSDKPPixCacheSuite, kPrSDKPPixCacheSuiteVersion, &kCacheSuite);
    Published<FrameCache>::Set(this, "FrameCache");
}

FrameCache::~FrameCache() {
    Published<FrameCache>::Withdraw();
    Forget();
}

bool FrameCache::WaitForFrame(int32_t importerID, int32_t frameIndex,
                              std::chrono::milliseconds limit, int additions) {
    std::unique_lock<std::mutex> lock(mLock);
    return mAdded.wait_for(lock, limit, [&] {
        const auto found = mAdditionsOf.find({importerID, frameIndex});
        return found != mAdditionsOf.end() && found->second >= additions;
    });
}

bool FrameCache::WaitForAdditions(int additions, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mLock);
    return mAdded.wait_for(lock, limit, [&] { return mAdditions >= additions; });
}

PPixHand FrameCache::Take(int32_t importerID, int32_t frameIndex) {
    const std::lock_guard<std::mutex> lock(mLock);
    const Key key(importerID, frameIndex);
    const auto found = std::find_if(mEntries.rbegin(), mEntries.rend(),
                                    [&](const Entry& entry) { return entry.key == key; });
    if (found == mEntries.rend()) {
        return nullptr;
    }
    const PPixHand ppix = found->ppix;
    mEntries.erase(std::next(found).base());
    return ppix;
}

int FrameCache::AdditionsOf(int32_t importerID, int32_t frameIndex) const {
    const std::lock_guard<std::mutex> lock(mLock);
    const auto found = mAdditionsOf.find({importerID, frameIndex});
    return found == mAdditionsOf.end() ? 0 : found->second;
}

int FrameCache::Additions() const {
    const std::lock_guard<std::mutex> lock(mLock);
    return mAdditions;
}

size_t FrameCache::Size() const {
    const std::lock_guard<std::mutex> lock(mLock);
    return mEntries.size();
}

void FrameCache::Forget() {
    std::deque<Entry> entries;
    {
        const std::lock_guard<std::mutex> lock(mLock);
        entries.swap(mEntries);
        mAdditionsOf.clear();
        mAdditions = 0;
    }
    for (const Entry& entry : entries) {
        PixelBuffers::Dispose(entry.ppix);
    }
}

int32_t FrameCache::Add(const Key& key, PPixHand ppix) {
    std::vector<PPixHand> leaving;
    {
        const std::lock_guard<std::mutex> lock(mLock);
        PixelBuffers::Retain(ppix);
        mEntries.push_back({key, ppix});
        while (mEntries.size() > mCapacity) {
            leaving.push_back(mEntries.front().ppix);
            mEntries.pop_front();
        }
        ++mAdditionsOf[key];
        ++mAdditions;
        mAdded.notify_all();
    }
    for (const PPixHand each : leaving) {
        PixelBuffers::Dispose(each);
    }
    return 0;
}

int32_t FrameCache::Find(const Key& key, int32_t formatCount, const imFrameFormat* formats,
                         PPixHand* ppix) {
    const std::lock_guard<std::mutex> lock(mLock);
    for (auto entry = mEntries.rbegin(); entry != mEntries.rend(); ++entry) {
        if (entry->key == key &&
            IsOffered(PixelBuffers::View(entry->ppix).format, formatCount, formats)) {
            PixelBuffers::Retain(entry->ppix);
            *ppix = entry->ppix;
            return 0;
        }
    }
    return kPPixCacheMiss;
}

int32_t FrameCache::SuiteAddFrame(uint32_t importerID, int32_t, PPixHand ppix, int32_t frameIndex,
                                  void*, int32_t) {
    const Published<FrameCache>::Call cache;
    if (!cache) {
        return kNoFrameCache;
    }
    const int32_t fault = cache->faults.Count("AddFrameToCache");
    return fault != 0 ? fault : cache->Add({static_cast<int32_t>(importerID), frameIndex}, ppix);
}

int32_t FrameCache::SuiteGetFrame(uint32_t importerID, int32_t, int32_t frameIndex,
                                  int32_t formatCount, imFrameFormat* formats, PPixHand* ppix,
                                  void*, int32_t) {
    const Published<FrameCache>::Call cache;
    if (!cache) {
        return kNoFrameCache;
    }
    const int32_t fault = cache->faults.Count("GetFrameFromCache");
    return fault != 0 ? fault
                      : cache->Find({static_cast<int32_t>(importerID), frameIndex}, formatCount,
                                    formats, ppix);
}

}  // namespace kvx_hostkit
