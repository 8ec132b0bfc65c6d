#include "support/memory_calls.h"

#include <sys/mman.h>

#include <mutex>

namespace kvx_test {

namespace {

std::mutex gLock;
bool gRecords = false;
std::vector<MemoryCall> gCalls;

void Record(const void* address, size_t length, int advice) {
    const std::lock_guard<std::mutex> lock(gLock);
    if (gRecords) {
        gCalls.push_back({static_cast<const char*>(address), length, advice});
    }
}

}  // namespace

MemoryCallRecorder::MemoryCallRecorder() {
    const std::lock_guard<std::mutex> lock(gLock);
    gCalls.clear();
    gRecords = true;
}

MemoryCallRecorder::~MemoryCallRecorder() {
    const std::lock_guard<std::mutex> lock(gLock);
    gRecords = false;
}

std::vector<MemoryCall> MemoryCallRecorder::Calls() {
    const std::lock_guard<std::mutex> lock(gLock);
    return gCalls;
}

}  // namespace kvx_test

extern "C" {

int kvx_fault_madvise(void* address, size_t length, int advice);
int kvx_fault_munmap(void* address, size_t length);

int kvx_fault_madvise(void* address, size_t length, int advice) {
    kvx_test::Record(address, length, advice);
    return madvise(address, length, advice);
}

int kvx_fault_munmap(void* address, size_t length) {
    kvx_test::Record(address, length, kvx_test::MemoryCall::kUnmapped);
    return munmap(address, length);
}
}
