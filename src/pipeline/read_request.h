#pragma once

#include <atomic>

#include "core/event.h"
#include "core/lockable.h"
#include "core/refcounted.h"
#include "pipeline/read_buffers.h"

namespace KVX {

class ReadRequest;

// One slice of a request, read by one `pread`. Made by ReadRequest::GetReadTicket, deleted by the
// thread that ran it. It holds no reference on its request; the read pool takes one for it.
struct ReadTicket {
    ReadRequest* mRequest;
    char* mBuffer;
    long mSize;         // bytes
    long long mOffset;  // in the file
};

// One read of a byte range of an open file, with one completion call at the end.
//
// The range is widened to whole pages, so that reads are page-aligned in the file and, with a
// page-aligned buffer, in memory; the wanted bytes begin at mBuffer + mBufferSkew. Large ranges are
// cut into tickets that several threads may run at once, in any order. The ticket that brings
// mBytesRead to mBufferSize completes the request, or the first failure does. A read that comes
// short (the file shrank) leaves the request uncompleted for good.
//
// Statuses: 22 for a descriptor below 1, 28 for a range that is not inside the file, 27 for a
// client's buffer that is too small, 12 without memory, 89 when cancelled, errno of a failed read.
class ReadRequest : public Core::Lockable, public Core::Refcounted {
  public:
    // Called once, on the thread that completed the request, without the request's lock.
    using Completion = void (*)(void* userData, long status, void* arg);

    ~ReadRequest() override;

    // Makes a request for `size` bytes at `offset`. `completion` may be null. `buffer`, if not
    // null, is the client's and must hold the widened range and outlive every running ticket;
    // without one the request owns page-aligned memory with a spare page after the range. On
    // success the one reference in `out` belongs to the caller; otherwise `out` is null.
    static long Create(int fd, long long fileLength, long long offset, long long size,
                       Completion completion, void* userData, char* buffer, long long bufferSize,
                       ReadRequest*& out);

    long Init();

    // Hands out the next slice, in ascending file order; `last` tells that none is left. Returns 2
    // when there was none left, or the status of a request that has failed. The read pool calls it
    // under its lock.
    long GetReadTicket(ReadTicket*& ticket, bool& last);

    // Reads one slice. Called by a read thread, without the pool's lock, once for each ticket.
    long ExecuteReadTicket(ReadTicket* ticket);

    // Ends the request; of all calls only the first runs the completion function, with the first
    // failure that is known by then. Returns the status of the latch.
    long MarkComplete(long status, void* arg);

    // Waits for the completion and gives its status. For clients without a completion function.
    long WaitForCompletion(long& status);

    // Completes with 89. Running tickets end on their own.
    long Cancel(void* arg);

    // Calls `function(userData)` as soon as no ticket is out: at once, or at the end of the last
    // running ticket, on its thread and outside the pool's lock. For a completed request whose
    // client's buffer must not go away under a ticket that is still being read. One call a request.
    void NotifyWhenIdle(void (*function)(void*), void* userData);

    // Ends the life of a ticket that could not be run.
    void DropReadTicket();

    int mFileDescriptor;  // not owned
    long long mFileLength;
    char* mBuffer;
    long long mBufferSize;  // in: bytes of the client's buffer; after Init: bytes to read
    bool mOwnsBuffer = false;
    long mBufferSkew = 0;
    long long mOffset;
    long long mSize;
    long long mAlignedOffset = 0;
    Completion mCompletion;
    void* mCompletionData;
    std::atomic<long> mCompletionStatus{0};  // the first failure
    Core::Event mCompleted;
    long long mBytesRead = 0;   // guarded by the request's lock
    long long mNextOffset = 0;  // guarded by the request's lock
    bool mQueued = false;       // has been in the read pool's queue; the submitting thread's own

  private:
    ReadRequest(int fd, long long fileLength, long long offset, long long size,
                Completion completion, void* userData, char* buffer, long long bufferSize);

    bool IsInsideFile() const;
    long long GetRequiredSize() const;
    void RunIdleFunction();

    ReadBuffers::Buffer mOwned;  // what mBuffer is in, if it is owned
    std::atomic<int> mTicketsOut{0};
    std::atomic<void (*)(void*)> mIdleFunction{nullptr};
    void* mIdleData = nullptr;
};

}  // namespace KVX
