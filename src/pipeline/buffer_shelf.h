#pragma once

#include <array>
#include <cstddef>

#include "pipeline/read_buffers.h"

namespace KVX {

// Memory on its way back to the allocator, which can take the system as long as a read: collected
// under a lock, given back without it.
class LeavingBuffers {
  public:
    LeavingBuffers() = default;

    // Gives back what is left.
    ~LeavingBuffers() { FreeHere(); }

    LeavingBuffers(const LeavingBuffers&) = delete;
    LeavingBuffers& operator=(const LeavingBuffers&) = delete;

    void Add(char* memory);
    bool IsEmpty() const { return mCount == 0; }

    // Frees them all on a thread of its own if one can be started: the caller need not wait.
    void FreeElsewhere();

  private:
    void FreeHere();

    // All that is kept, and one that does not come to it.
    std::array<char*, ReadBuffers::kMostKept + 1> mBuffers{};
    size_t mCount = 0;
};

// Buffers that are kept, the most recent on top. The bottom one has gone unused longest: it makes
// room for others, and it is what the system may take. Has no lock of its own.
class BufferShelf {
  public:
    using Buffer = ReadBuffers::Buffer;

    // The topmost that will do. Without memory when there is none.
    Buffer Take(size_t size);

    // Lays a buffer on top, and makes room for it from the bottom. One that is too large for the
    // shelf leaves, and nothing else.
    void Put(const Buffer& buffer, LeavingBuffers& leaving);

    // Whether the system is kept from more memory than it is to be.
    bool HoldsTooMuch() const { return mBytesHeld > ReadBuffers::kMostBytesHeld; }

    // From here on it counts which buffers nobody asks for.
    void BeginRest() { mResting = mCount; }

    // While too much is held, takes out the lowest buffer that the system may not take yet, if it
    // has lain there since the last BeginRest: the caller offers it, without the lock, and puts it
    // back. Without memory when there is none.
    Buffer TakeToOffer();

    // Lays a buffer that has been offered above those that were before, if there is still room.
    void PutBackOffered(const Buffer& buffer, LeavingBuffers& leaving);

    void Clear(LeavingBuffers& leaving);

  private:
    bool HasRoom(size_t size) const;
    Buffer TakeAt(size_t index);
    void InsertAt(size_t index, const Buffer& buffer);

    std::array<Buffer, ReadBuffers::kMostKept> mKept{};
    size_t mCount = 0;
    size_t mOffered = 0;  // of those, the lowest
    size_t mResting = 0;  // the lowest, again: nobody has asked for them
    size_t mBytes = 0;
    size_t mBytesHeld = 0;  // of the others
};

}  // namespace KVX
