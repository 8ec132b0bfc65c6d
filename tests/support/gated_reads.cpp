#include "support/gated_reads.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace kvx_test {

namespace {

constexpr std::chrono::seconds kPatience(30);

struct Gate {
    std::mutex lock;
    std::condition_variable changed;
    bool closed = false;
    std::thread::id maker;
    std::vector<int64_t> waiting;     // offsets
    std::map<int64_t, int> statuses;  // of those that may pass
};

Gate& TheGate() {
    static Gate gate;
    return gate;
}

// Waits for leave. Returns the status to fail with, or 0.
int Pass(int64_t offset) {
    Gate& gate = TheGate();
    std::unique_lock<std::mutex> lock(gate.lock);
    if (!gate.closed || std::this_thread::get_id() == gate.maker) {
        return 0;
    }
    gate.waiting.push_back(offset);
    gate.changed.notify_all();
    gate.changed.wait(lock, [&] { return !gate.closed || gate.statuses.count(offset) != 0; });
    gate.waiting.erase(std::find(gate.waiting.begin(), gate.waiting.end(), offset));
    gate.changed.notify_all();
    const auto found = gate.statuses.find(offset);
    return found == gate.statuses.end() ? 0 : found->second;
}

}  // namespace

GatedReads::GatedReads() {
    Gate& gate = TheGate();
    const std::lock_guard<std::mutex> lock(gate.lock);
    gate.closed = true;
    gate.maker = std::this_thread::get_id();
    gate.statuses.clear();
}

GatedReads::~GatedReads() {
    LetAll();
}

bool GatedReads::WaitForWaiting(int count) {
    Gate& gate = TheGate();
    std::unique_lock<std::mutex> lock(gate.lock);
    return gate.changed.wait_for(lock, kPatience,
                                 [&] { return gate.waiting.size() == static_cast<size_t>(count); });
}

int GatedReads::Waiting() const {
    Gate& gate = TheGate();
    const std::lock_guard<std::mutex> lock(gate.lock);
    return static_cast<int>(gate.waiting.size());
}

bool GatedReads::WaitForReadAt(int64_t offset) {
    Gate& gate = TheGate();
    std::unique_lock<std::mutex> lock(gate.lock);
    return gate.changed.wait_for(lock, kPatience, [&] {
        return std::count(gate.waiting.begin(), gate.waiting.end(), offset) != 0;
    });
}

void GatedReads::Let(int64_t offset, int status) {
    Gate& gate = TheGate();
    const std::lock_guard<std::mutex> lock(gate.lock);
    gate.statuses[offset] = status;
    gate.changed.notify_all();
}

void GatedReads::LetAll() {
    Gate& gate = TheGate();
    const std::lock_guard<std::mutex> lock(gate.lock);
    gate.closed = false;
    gate.changed.notify_all();
}

}  // namespace kvx_test

extern "C" {

ssize_t __real_pread(int descriptor, void* buffer, size_t size, off_t offset);

ssize_t __wrap_pread(int descriptor, void* buffer, size_t size, off_t offset) {
    const int status = kvx_test::Pass(offset);
    if (status != 0) {
        errno = status;
        return -1;
    }
    return __real_pread(descriptor, buffer, size, offset);
}
}
