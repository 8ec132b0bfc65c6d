#include "stress/file_changes/watched_reads.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "pipeline/read_controller.h"
#include "support/entries_under_test.h"
#include "support/replaced_call.h"

namespace kvx_stress {

namespace {

constexpr auto kRelaxed = std::memory_order_relaxed;
constexpr int kLongestDelay = 300;  // microseconds

std::vector<WatchedFrame>* sFrames = nullptr;
const std::atomic<uint64_t>* sClock = nullptr;
Disturbance sDisturbance;
std::atomic<uint64_t> sState{0};

thread_local WatchedReads* sReadsOfThisThread = nullptr;
thread_local WatchedFrame* sAsking = nullptr;

// A number for each call, well mixed.
uint64_t Draw() {
    uint64_t mix = sState.fetch_add(0x9E3779B97F4A7C15u, kRelaxed);
    mix = (mix ^ (mix >> 30)) * 0xBF58476D1CE4E5B9u;
    mix = (mix ^ (mix >> 27)) * 0x94D049BB133111EBu;
    return mix ^ (mix >> 31);
}

bool OneIn(int n) {
    return n > 0 && Draw() % static_cast<uint64_t>(n) == 0;
}

WatchedReads* ReadsOf(const void* buffer, int64_t offset) {
    if (sReadsOfThisThread != nullptr) {
        return sReadsOfThisThread;
    }
    if (sFrames == nullptr) {
        return nullptr;
    }
    const auto address = reinterpret_cast<uintptr_t>(buffer);
    for (WatchedFrame& frame : *sFrames) {
        if (address >= frame.begin.load(kRelaxed) && address < frame.end.load(kRelaxed)) {
            return &frame.reads;
        }
        if (frame.offset.load(kRelaxed) == offset) {
            return &frame.reads;
        }
    }
    return nullptr;
}

// What the system calls this error is another number to a module of another system.
int SomeError() {
    return kvx_test::IsLinkedIn() && OneIn(2) ? ESTALE : EIO;
}

using Read = ssize_t (*)(int descriptor, void* buffer, size_t size, off_t offset);

Read TheSystems() {
    static const auto sRead = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "pread"));
    return sRead;
}

}  // namespace

WatchedRead& WatchedReads::Next() {
    const int index = mCount.fetch_add(1, kRelaxed);
    if (index >= kMost) {
        std::fputs("more reads of a frame than it has slices\n", stdout);
        std::abort();
    }
    return mReads[index];
}

WatchedReads::OfThisThread::OfThisThread(WatchedReads& reads) {
    sReadsOfThisThread = &reads;
}

WatchedReads::OfThisThread::~OfThisThread() {
    sReadsOfThisThread = nullptr;
}

WatchedFrame::Asking::Asking(WatchedFrame& frame) {
    sAsking = &frame;
}

WatchedFrame::Asking::~Asking() {
    sAsking = nullptr;
}

Watch::Watch(std::vector<WatchedFrame>& frames, const std::atomic<uint64_t>& clock,
             const Disturbance& disturbance, uint64_t seed) {
    sFrames = &frames;
    sClock = &clock;
    sDisturbance = disturbance;
    sState = seed;
}

Watch::~Watch() {
    sFrames = nullptr;
}

}  // namespace kvx_stress

extern "C" {

// In front of the system's, for the program and, since it is exported, for modules.
__attribute__((visibility("default"))) ssize_t pread(int descriptor, void* buffer, size_t size,
                                                     off_t offset) {
    using namespace kvx_stress;
    const Read read = TheSystems();
    WatchedReads* const reads = ReadsOf(buffer, offset);
    if (reads == nullptr) {
        return read(descriptor, buffer, size, offset);
    }
    if (OneIn(sDisturbance.delays)) {
        std::this_thread::sleep_for(std::chrono::microseconds(Draw() % kLongestDelay));
    }
    ssize_t result = -1;
    bool isDisturbed = true;
    if (OneIn(sDisturbance.errors)) {
        errno = SomeError();
    } else if (OneIn(sDisturbance.shortReads)) {
        result = read(descriptor, buffer, Draw() % size, offset);
    } else {
        result = read(descriptor, buffer, size, offset);
        isDisturbed = false;
    }
    const int error = errno;
    WatchedRead& watched = reads->Next();
    watched.descriptor.store(descriptor, kRelaxed);
    watched.buffer.store(buffer, kRelaxed);
    watched.offset.store(offset, kRelaxed);
    watched.size.store(static_cast<int64_t>(size), kRelaxed);
    watched.result.store(result, kRelaxed);
    watched.error.store(result < 0 ? error : 0, kRelaxed);
    watched.isDisturbed.store(isDisturbed, kRelaxed);
    watched.end.store(sClock->load(kRelaxed), kRelaxed);
    watched.isTold.store(true, std::memory_order_release);
    errno = error;
    return result;
}

kvx_test::CalledLike<&KVX::ReadController::AddRequest> kvx_true_AddRequest;
kvx_test::CalledLike<&KVX::ReadController::AddRequest> kvx_instead_of_AddRequest;

long kvx_instead_of_AddRequest(KVX::ReadController* pool, KVX::ReadRequest* request) {
    using namespace kvx_stress;
    if (WatchedFrame* const watched = sAsking) {
        request->Retain();
        watched->request = request;
        watched->frame = static_cast<KVX::ImportFrame*>(request->mCompletionData);
        watched->ppix = watched->frame->mPPix;
        const auto begin = reinterpret_cast<uintptr_t>(request->mBuffer);
        watched->end.store(begin + static_cast<uintptr_t>(request->mBufferSize), kRelaxed);
        watched->begin.store(begin, kRelaxed);
    }
    return kvx_true_AddRequest(pool, request);
}
}
