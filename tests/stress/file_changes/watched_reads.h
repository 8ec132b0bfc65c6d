// Stands between the importer and the system: sees each frame's request on its way to the read
// pool, by the linker's hand and so only of an importer that is linked into the program, and each
// pread, and lets preads be slow, short or fail.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "pipeline/import_frame.h"
#include "pipeline/read_request.h"
#include "premiere/suites.h"

namespace kvx_stress {

// One pread: what was asked, and what the importer was answered. Relaxed atomics: an order that
// they made among the importer's threads would hide races from the thread sanitizer.
struct WatchedRead {
    std::atomic<int> descriptor{0};
    std::atomic<const void*> buffer{nullptr};
    std::atomic<int64_t> offset{0};
    std::atomic<int64_t> size{0};
    std::atomic<int64_t> result{0};
    std::atomic<int> error{0};             // of a result of -1
    std::atomic<bool> isDisturbed{false};  // the system would have answered otherwise
    std::atomic<uint64_t> end{0};          // by the clock of changes
    std::atomic<bool> isTold{false};       // all of the above is there
};

// All reads on behalf of one frame, or of one call for sound.
class WatchedReads {
  public:
    static constexpr int kMost = 8;

    int Count() const { return mCount.load(std::memory_order_relaxed); }
    const WatchedRead& At(int index) const { return mReads[index]; }
    WatchedRead& Next();

    // While it lives, the reads of the calling thread are told here.
    class OfThisThread {
      public:
        explicit OfThisThread(WatchedReads& reads);
        ~OfThisThread();

        OfThisThread(const OfThisThread&) = delete;
        OfThisThread& operator=(const OfThisThread&) = delete;
    };

  private:
    std::atomic<int> mCount{0};
    WatchedRead mReads[kMost];
};

// A frame that the host asks for, as the hooks see it.
struct WatchedFrame {
    KVX::ReadRequest* request = nullptr;  // with a reference; null if none was submitted
    KVX::ImportFrame* frame = nullptr;    // valid until the pipeline lets go of it
    PPixHand ppix = nullptr;
    // Of the request's memory. No address lies between them before both are set.
    std::atomic<uintptr_t> begin{UINTPTR_MAX};
    std::atomic<uintptr_t> end{0};
    // Where it is read, for an importer whose requests are not seen: then one frame at most is read
    // from one place.
    std::atomic<int64_t> offset{-1};
    WatchedReads reads;

    // While it lives, a request that the calling thread submits is this frame's.
    class Asking {
      public:
        explicit Asking(WatchedFrame& frame);
        ~Asking();

        Asking(const Asking&) = delete;
        Asking& operator=(const Asking&) = delete;
    };
};

// How often, in one of so many reads, something happens; 0 is never.
struct Disturbance {
    int delays = 0;
    int errors = 0;
    int shortReads = 0;
};

// While it lives, reads into the memory of these frames and reads of an OfThisThread are disturbed
// and told of. One at a time. `frames` grows no more; `clock` stamps the end of each read.
class Watch {
  public:
    Watch(std::vector<WatchedFrame>& frames, const std::atomic<uint64_t>& clock,
          const Disturbance& disturbance, uint64_t seed);
    ~Watch();

    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
};

}  // namespace kvx_stress
