#include "macho/loader/thread_locals.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "macho/loader/architecture.h"

namespace macho {

namespace {

constexpr size_t kAlignment = 64;

bool IsOfThreads(const Section& section) {
    return section.type == kThreadLocalRegular || section.type == kThreadLocalZeroFill;
}

}  // namespace

extern "C" __attribute__((visibility("hidden"))) void* macho_thread_local_address(
    const ThreadLocalDescriptor* variable) {
    return reinterpret_cast<ThreadLocals*>(variable->key)->Block() + variable->offset;
}

ThreadLocals::ThreadLocals(const File& file, const Memory& memory) {
    // One block, from the first of the sections to the end of the last.
    uint64_t begin = UINT64_MAX;
    uint64_t end = 0;
    for (const Section& section : file.Sections()) {
        if (section.type == kThreadLocalInitialisers) {
            throw LoadError("has thread-local variables with initialisers");
        }
        if (IsOfThreads(section)) {
            begin = std::min(begin, section.address);
            end = std::max(end, section.address + section.size);
        }
    }
    if (begin < end) {
        mSize = (end - begin + kAlignment - 1) / kAlignment * kAlignment;
        mInitial.resize(mSize);
        for (const Section& section : file.Sections()) {
            if (section.type == kThreadLocalRegular) {
                std::memcpy(mInitial.data() + (section.address - begin),
                            memory.At(section.address, section.size), section.size);
            }
        }
    }
    if (pthread_key_create(&mKey, &std::free) != 0) {
        throw LoadError("finds no key for its thread-local variables");
    }
    for (const Section& section : file.Sections()) {
        if (section.type == kThreadLocalVariables) {
            for (uint64_t offset = 0; offset < section.size;
                 offset += sizeof(ThreadLocalDescriptor)) {
                auto* const variable = reinterpret_cast<ThreadLocalDescriptor*>(
                    memory.At(section.address + offset, sizeof(ThreadLocalDescriptor)));
                if (variable->offset >= mSize) {
                    throw LoadError("has a thread-local variable outside their block");
                }
                variable->thunk = &macho_thread_local_thunk;
                variable->key = reinterpret_cast<uint64_t>(this);
            }
        }
    }
}

ThreadLocals::~ThreadLocals() {
    std::free(pthread_getspecific(mKey));
    pthread_key_delete(mKey);
}

char* ThreadLocals::Block() {
    void* block = pthread_getspecific(mKey);
    if (block == nullptr) {
        block = std::aligned_alloc(kAlignment, mSize);
        if (block == nullptr || pthread_setspecific(mKey, block) != 0) {
            std::abort();
        }
        std::memcpy(block, mInitial.data(), mSize);
    }
    return static_cast<char*>(block);
}

}  // namespace macho
