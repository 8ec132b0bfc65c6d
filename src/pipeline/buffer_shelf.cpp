#include "pipeline/buffer_shelf.h"

#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <new>

#include "core/assert.h"
#include "platform/memory_marks.h"

namespace KVX {

void LeavingBuffers::Add(char* memory) {
    KVX_ASSERT(mCount < mBuffers.size());
    mBuffers[mCount++] = memory;
}

void LeavingBuffers::FreeHere() {
    std::for_each(mBuffers.begin(), mBuffers.begin() + static_cast<ptrdiff_t>(mCount), &std::free);
    mCount = 0;
}

void LeavingBuffers::FreeElsewhere() {
    if (mCount == 0) {
        return;
    }
    auto* const moved = new (std::nothrow) LeavingBuffers;
    if (moved == nullptr) {
        return;
    }
    moved->mBuffers = mBuffers;
    moved->mCount = mCount;
    pthread_t thread;
    const int status = pthread_create(
        &thread, nullptr,
        [](void* buffers) -> void* {
            delete static_cast<LeavingBuffers*>(buffers);
            return nullptr;
        },
        moved);
    if (status != 0) {
        moved->mCount = 0;
        delete moved;
        return;
    }
    mCount = 0;
    pthread_detach(thread);
}

BufferShelf::Buffer BufferShelf::Take(size_t size) {
    for (size_t index = mCount; index-- > 0;) {
        const size_t kept = mKept[index].size;
        if (kept >= size && kept - size <= ReadBuffers::kMostOver) {
            mResting = std::min(mResting, index);
            return TakeAt(index);
        }
    }
    return {};
}

void BufferShelf::Put(const Buffer& buffer, LeavingBuffers& leaving) {
    if (buffer.size > ReadBuffers::kMostBytesKept) {
        leaving.Add(buffer.memory);
        return;
    }
    while (!HasRoom(buffer.size)) {
        leaving.Add(TakeAt(0).memory);
    }
    InsertAt(mCount, buffer);
    mBytesHeld += buffer.size;
}

BufferShelf::Buffer BufferShelf::TakeToOffer() {
    return HoldsTooMuch() && mOffered < mResting ? TakeAt(mOffered) : Buffer{};
}

void BufferShelf::PutBackOffered(const Buffer& buffer, LeavingBuffers& leaving) {
    if (HasRoom(buffer.size)) {
        InsertAt(mOffered++, buffer);
        mResting = std::max(mResting + 1, mOffered);
    } else {
        leaving.Add(buffer.memory);
    }
}

void BufferShelf::Clear(LeavingBuffers& leaving) {
    while (mCount > 0) {
        leaving.Add(TakeAt(mCount - 1).memory);
    }
}

bool BufferShelf::HasRoom(size_t size) const {
    return mCount < mKept.size() && size <= ReadBuffers::kMostBytesKept - mBytes;
}

BufferShelf::Buffer BufferShelf::TakeAt(size_t index) {
    KVX_ASSERT(index < mCount);
    const Buffer taken = mKept[index];
    const auto place = mKept.begin() + static_cast<ptrdiff_t>(index);
    std::copy(place + 1, mKept.begin() + static_cast<ptrdiff_t>(mCount), place);
    --mCount;
    mBytes -= taken.size;
    if (index < mResting) {
        --mResting;
    }
    if (index < mOffered) {
        --mOffered;
    } else {
        mBytesHeld -= taken.size;
    }
    Platform::MarkUsed(taken.memory, taken.size);
    return taken;
}

void BufferShelf::InsertAt(size_t index, const Buffer& buffer) {
    KVX_ASSERT(index <= mCount && HasRoom(buffer.size));
    const auto end = mKept.begin() + static_cast<ptrdiff_t>(mCount);
    std::copy_backward(mKept.begin() + static_cast<ptrdiff_t>(index), end, end + 1);
    mKept[index] = buffer;
    ++mCount;
    mBytes += buffer.size;
    Platform::MarkUnused(buffer.memory, buffer.size);
}

}  // namespace KVX
