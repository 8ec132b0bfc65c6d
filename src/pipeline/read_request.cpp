#include "pipeline/read_request.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "core/assert.h"
#include "core/log.h"
#include "core/page.h"
#include "core/status.h"

namespace KVX {

using Core::Failed;
using Core::kPageMask;
using Core::kPageSize;

namespace {

// Up to the first size a request is one ticket, so that consecutive small frames go to different
// threads; a larger one is spread over all threads in slices of the second.
constexpr long long kLargestSingleTicket = 0x200000;
constexpr long long kTicketSize = 0x100000;

}  // namespace

ReadRequest::ReadRequest(int fd, long long fileLength, long long offset, long long size,
                         Completion completion, void* userData, char* buffer, long long bufferSize)
    : mFileDescriptor(fd),
      mFileLength(fileLength),
      mBuffer(buffer),
      mBufferSize(bufferSize),
      mOffset(offset),
      mSize(size),
      mCompletion(completion),
      mCompletionData(userData) {}

ReadRequest::~ReadRequest() {
    if (mOwnsBuffer) {
        ReadBuffers::Free(mOwned);
    }
}

long ReadRequest::Create(int fd, long long fileLength, long long offset, long long size,
                         Completion completion, void* userData, char* buffer, long long bufferSize,
                         ReadRequest*& out) {
    out = nullptr;
    auto* request = new (std::nothrow)
        ReadRequest(fd, fileLength, offset, size, completion, userData, buffer, bufferSize);
    if (request == nullptr) {
        KVX_LOG("Failed to allocate a new ReadRequest object\n");
        return Core::kStatusNoMemory;
    }
    const long status = request->Init();
    if (Failed(status, "ReadRequest::Init")) {
        request->Release();
        return status;
    }
    out = request;
    return 0;
}

bool ReadRequest::IsInsideFile() const {
    long long end = 0;
    return mSize >= 0 && !__builtin_add_overflow(mOffset, mSize, &end) && end <= mFileLength;
}

// Whole pages, but never past the end of the file: only there may a read end within a page.
long long ReadRequest::GetRequiredSize() const {
    long long size = 0;
    long long end = 0;
    if (__builtin_add_overflow(mSize, mBufferSkew + kPageMask, &size) ||
        __builtin_add_overflow(mAlignedOffset, size & ~kPageMask, &end) || end > mFileLength) {
        return mFileLength - mAlignedOffset;
    }
    return size & ~kPageMask;
}

long ReadRequest::Init() {
    long status = Lockable::Init();
    if (Failed(status, "Lockable::Init")) {
        return status;
    }
    if (mFileDescriptor <= 0) {
        KVX_LOG("Invalid file descriptor %d\n", mFileDescriptor);
        return Core::kStatusInvalid;
    }
    if (!IsInsideFile()) {
        KVX_LOG(
            "File length %lld(0x%llx) too short for read of %lld(0x%llx) bytes from offset "
            "%lld(0x%llx)\n",
            mFileLength, static_cast<unsigned long long>(mFileLength), mSize,
            static_cast<unsigned long long>(mSize), mOffset,
            static_cast<unsigned long long>(mOffset));
        return Core::kStatusNoSpace;
    }
    status = mCompleted.Init();
    if (Failed(status, "Event::Init")) {
        return status;
    }
    mAlignedOffset = mOffset & ~kPageMask;
    mBufferSkew = static_cast<long>(mOffset & kPageMask);
    const long long requiredBufferSize = GetRequiredSize();
    if (mBufferSize > 0 && mBufferSize < requiredBufferSize) {
        KVX_LOG("mBufferSize %lld < requiredBufferSize %ld\n", mBufferSize,
                static_cast<long>(requiredBufferSize));
        return Core::kStatusTooBig;
    }
    mBufferSize = requiredBufferSize;
    mNextOffset = mAlignedOffset;
    if (mBuffer == nullptr) {
        mOwned = ReadBuffers::Allocate(static_cast<size_t>(requiredBufferSize + kPageSize));
        mBuffer = mOwned.memory;
        if (mBuffer == nullptr) {
            KVX_LOG("valloc failed\n");
            return Core::kStatusNoMemory;
        }
        mOwnsBuffer = true;
    }
    return 0;
}

long ReadRequest::GetReadTicket(ReadTicket*& ticket, bool& last) {
    ticket = nullptr;
    if (mCompletionStatus != 0) {
        return mCompletionStatus;
    }
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (!Failed(status, "Lock")) {
            const long long end = mAlignedOffset + mBufferSize;
            if (mNextOffset >= end) {
                return Core::kStatusNotFound;
            }
            const long long offset = mNextOffset;
            const long long slice = mBufferSize <= kLargestSingleTicket ? mBufferSize : kTicketSize;
            mNextOffset = std::min(offset + slice, end);
            char* buffer = mBuffer + (offset - mAlignedOffset);
            const long size = static_cast<long>(mNextOffset - offset);
            ticket = new (std::nothrow) ReadTicket{this, buffer, size, offset};
            if (ticket == nullptr) {
                KVX_LOG("Failed to allocate new ReadTicket for buf %p, size %ld, offset %lld\n",
                        static_cast<void*>(buffer), size, offset);
                status = Core::kStatusNoMemory;
            } else {
                ++mTicketsOut;
                last = mNextOffset >= end;
            }
        }
    }
    if (status != 0) {
        if (ticket != nullptr) {
            // The lock could not be given back: nobody takes the ticket of a failed call.
            delete ticket;
            ticket = nullptr;
            DropReadTicket();
        }
        Failed(MarkComplete(status, nullptr), "MarkComplete");
    }
    return status;
}

namespace {

bool IsOf(const ReadTicket* ticket, const ReadRequest* request) {
    return ticket != nullptr && ticket->mRequest == request;
}

bool IsValid(const ReadTicket* ticket, const ReadRequest* request) {
    return IsOf(ticket, request) && ticket->mBuffer != nullptr && ticket->mSize > 0 &&
           ticket->mOffset >= 0;
}

}  // namespace

long ReadRequest::ExecuteReadTicket(ReadTicket* ticket) {
    struct EndOfTicket {
        ReadRequest* mRequest;
        bool mIsItsOwn;
        ~EndOfTicket() {
            if (mIsItsOwn) {
                mRequest->DropReadTicket();
            }
        }
    } endOfTicket{this, IsOf(ticket, this)};

    if (mCompletionStatus != 0) {
        return mCompletionStatus;
    }
    long status = 0;
    bool complete = false;
    if (!IsValid(ticket, this)) {
        status = Core::kStatusInvalid;
    } else {
        errno = 0;
        const ssize_t count = pread(mFileDescriptor, ticket->mBuffer,
                                    static_cast<size_t>(ticket->mSize), ticket->mOffset);
        if (count == -1 && errno != 0) {
            status = errno;
            KVX_LOG("pread returned %ld for request %p\n", status, static_cast<void*>(this));
        } else {
            if (count == 0) {
                KVX_LOG("pread(%d, %p, %ld, %lld) hit EOF\n", mFileDescriptor,
                        static_cast<void*>(ticket->mBuffer), ticket->mSize, ticket->mOffset);
            }
            Core::Lock lock(this, &status);
            if (!Failed(status, "Lock")) {
                mBytesRead += count;
                complete = mBytesRead >= mBufferSize;
            }
        }
    }
    if (status == 0 && !complete) {
        return 0;
    }
    Failed(MarkComplete(status, nullptr), "MarkComplete");
    return status;
}

long ReadRequest::MarkComplete(long status, void* arg) {
    long none = 0;
    mCompletionStatus.compare_exchange_strong(none, status);
    bool wasComplete = false;
    const long result = mCompleted.Broadcast(&wasComplete);
    if (Failed(result, "Event::Broadcast")) {
        return result;
    }
    if (!wasComplete && mCompletion != nullptr) {
        mCompletion(mCompletionData, mCompletionStatus, arg);
    }
    return 0;
}

long ReadRequest::WaitForCompletion(long& status) {
    const long result = mCompleted.Wait();
    if (!Failed(result, "Event::Wait")) {
        status = mCompletionStatus;
    }
    return result;
}

long ReadRequest::Cancel(void* arg) {
    return MarkComplete(Core::kStatusCancelled, arg);
}

// A ticket is out from GetReadTicket to its end. Whoever brings the count to zero after the
// function was set, or sets it while the count is zero, runs it; the exchange lets only one of
// them. A ticket handed out after that finds the request failed and reads nothing. Tickets that
// were never handed out are not counted: no null, no other request's, and never below zero.

void ReadRequest::NotifyWhenIdle(void (*function)(void*), void* userData) {
    KVX_ASSERT(mIdleData == nullptr && mIdleFunction == nullptr);
    mIdleData = userData;
    mIdleFunction = function;
    if (mTicketsOut == 0) {
        RunIdleFunction();
    }
}

void ReadRequest::DropReadTicket() {
    int out = mTicketsOut;
    while (out > 0 && !mTicketsOut.compare_exchange_weak(out, out - 1)) {
    }
    if (out <= 1) {
        RunIdleFunction();
    }
}

void ReadRequest::RunIdleFunction() {
    void (*function)(void*) = mIdleFunction.exchange(nullptr);
    if (function != nullptr) {
        function(mIdleData);
    }
}

}  // namespace KVX
