// The memory of read requests that own theirs.
#pragma once

#include <cstddef>

namespace KVX {

// Hands out page-aligned buffers and keeps some of those that come back for the requests to come. A
// frame's worth of fresh memory costs the system a fault and a cleared page for every 4096 bytes,
// which together take longer than the read; a frame that finds the buffer of the one before it has
// none of that.
//
// What is kept is bounded: kMostKept buffers, kMostBytesKept bytes in all, none below kLeastSize,
// which the allocator keeps by itself; those that nobody has asked for longest make room. A host
// asks for some thirty frames at once; of those that come back together, and that go unused for a
// second, all but kMostBytesHeld are offered to the system, which may take them when it runs short
// of memory, again those first that have gone unused longest. Before an allocation fails, all kept
// buffers are freed. And buffers are kept only while a Keeper announces that frames will be asked
// for: when the last one goes all are freed, on a thread of its own, and without one every buffer
// is freed at once. Any thread may call anything at any time.
class ReadBuffers {
  public:
    static constexpr size_t kMostKept = 64;
    static constexpr size_t kMostBytesKept = size_t{192} << 20;
    static constexpr size_t kMostBytesHeld = size_t{64} << 20;
    static constexpr size_t kLeastSize = size_t{256} << 10;

    // How much larger than asked for a kept buffer may be. Frames of one size take a page more or
    // less by where they lie in the file, and the one at its end stops short of a page.
    static constexpr size_t kMostOver = 8192;

    struct Buffer {
        char* memory = nullptr;  // null without memory
        size_t size = 0;         // bytes
    };

    // A buffer of `size` bytes at a page boundary, of undefined content, from `valloc` unless one
    // that will do is kept.
    static Buffer Allocate(size_t size);

    // Takes a buffer back.
    static void Free(const Buffer& buffer);

    // Buffers that come back are kept while one of these lives.
    class Keeper {
      public:
        Keeper();
        ~Keeper();

        Keeper(const Keeper&) = delete;
        Keeper& operator=(const Keeper&) = delete;
    };
};

}  // namespace KVX
