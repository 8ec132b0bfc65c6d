#include "schedules/causes.h"

namespace kvx_schedules {

namespace {

uint64_t Scramble(uint64_t value) {
    value ^= value >> 33;
    value *= 0xff51afd7ed558ccdULL;
    value ^= value >> 33;
    value *= 0xc4ceb9fe1a85ec53ULL;
    return value ^ (value >> 33);
}

}  // namespace

uint64_t Combine(uint64_t history, uint64_t value) {
    return Scramble(history * 0x9e3779b97f4a7c15ULL + value + 1);
}

void Causes::BeginRun() {
    ++mRun;
    for (size_t thread = 0; thread < mClocks.size(); ++thread) {
        mClocks[thread] = {};
        mClocks[thread][static_cast<int>(thread)] = 1;
    }
}

void Causes::BeginExploring() {
    ++mRun;
    JoinedAll(0);
    const VectorClock all = mClocks[0];
    for (VectorClock& clock : mClocks) {
        clock = all;
    }
}

void Causes::Started(int parent, int thread) {
    mClocks[Index(thread)].Join(mClocks[Index(parent)]);
    ++mClocks[Index(parent)][parent];
}

void Causes::Joined(int thread, int other) {
    mClocks[Index(thread)].Join(mClocks[Index(other)]);
}

void Causes::JoinedAll(int thread) {
    for (const VectorClock& clock : mClocks) {
        mClocks[Index(thread)].Join(clock);
    }
}

Causes::Object& Causes::Find(const void* address) {
    if (mTouchedRun != mRun) {
        mTouchedRun = mRun;
        mTouched.clear();
    }
    Object& object = mObjects[address];
    if (object.run != mRun) {
        object = {};
        object.run = mRun;
        mTouched.push_back(address);
    }
    return object;
}

void Causes::Note(const void* address, Object& object, int thread, bool changes) {
    object.isOfSeveral = object.isOfSeveral || (object.thread >= 0 && object.thread != thread);
    object.isChanged = object.isChanged || changes;
    object.thread = thread;
    if (object.isOfSeveral && object.isChanged) {
        mFound.insert(address);
    }
}

uint64_t Causes::Touch(const void* address, int thread, uint64_t history, bool changes) {
    Object& object = Find(address);
    Note(address, object, thread, changes);
    history = Combine(history, object.changed);
    VectorClock& clock = mClocks[Index(thread)];
    clock.Join(object.clock);
    if (changes) {
        object.clock = clock;
        ++clock[thread];
        history = Combine(history, object.looks);
        object.changed = history;
        object.looks = 0;
    } else {
        object.looks += Combine(history, 1);
    }
    return history;
}

void Causes::Freed(const void* memory, size_t size, int thread) {
    if (mTouchedRun != mRun) {
        return;
    }
    const auto begin = reinterpret_cast<uintptr_t>(memory);
    for (const void* address : mTouched) {
        const auto at = reinterpret_cast<uintptr_t>(address);
        if (at >= begin && at - begin < size) {
            Note(address, mObjects[address], thread, true);
        }
    }
}

}  // namespace kvx_schedules
