// A frame's way into the pools and from one to the other.
#include <cstring>

#include "core/log.h"
#include "core/page.h"
#include "core/status.h"
#include "pipeline/destinations.h"
#include "pipeline/import_frame.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/read_controller.h"
#include "pipeline/read_request.h"
#include "quicktime/video_track.h"
#include "util/printer.h"

namespace KVX {

using Core::Failed;
using Core::kPageMask;
using Core::kPageSize;
using Core::LogSite;

namespace {

// The steps of Issue log under its name: in the log they are one operation.
constexpr const char* kIssue = "Issue";

bool IsPageAligned(long long value) {
    return (value & kPageMask) == 0;
}

}  // namespace

long ImportFrame::Issue() {
    const long long fileSize = mVideoTrack->mFileSize;
    const unsigned int sampleSize = mVideoTrack->GetSampleSize(mFrameIndex);
    const long long sampleOffset = mVideoTrack->GetSampleOffset(mFrameIndex);

    mWidth = mVideoTrack->mWidth;
    mHeight = mVideoTrack->mHeight;
    if (mWidth < 1 || mHeight < 1) {
        KVX_LOG("Invalid frame size %dx%d\n", mWidth, mHeight);
        return Core::kStatusInvalid;
    }
    if (IsSupportedUncompressedVideoFormat(static_cast<unsigned int>(mVideoTrack->mFormat))) {
        const long status = GetUncompressedRowBytes(mVideoTrack, mSourceRowBytes);
        if (Failed(status, "GetUncompressedRowBytes")) {
            return status;
        }
    }
    int descriptor = -1;
    long status = GetOpenDescriptor(descriptor);
    if (status != 0) {
        return status;
    }
    status = ReadController::GetInstance(mReadController);
    if (Failed(status, "ReadController::GetInstance")) {
        return status;
    }
    status = ImportFrameConverter::GetInstance(mFrameConverter);
    if (Failed(status, "ImportFrameConverter::GetInstance")) {
        return status;
    }
    ReadDestination destination;
    status = mPixelFormat == kKVXCustomPixelFormat
                 ? CreateCustomPPix(sampleSize, sampleOffset, destination)
                 : CreatePixelPPix(sampleSize, sampleOffset, destination);
    if (status != 0) {
        return status;
    }
    status =
        ReadRequest::Create(descriptor, fileSize, sampleOffset, sampleSize, &StaticReadCompleted,
                            this, destination.buffer, destination.size, mReadRequest);
    if (Failed(status, "ReadRequest::Create")) {
        return status;
    }
    return SubmitRequest();
}

// Only a descriptor of exactly 0 means a file that has not been opened; a closed one stays closed.
long ImportFrame::GetOpenDescriptor(int& descriptor) {
    descriptor = mVideoTrack->mFileDescriptor;
    if (descriptor == 0) {
        const long status = mVideoTrack->OpenFile();
        if (Failed(status, "OpenFile", LogSite::In(kIssue))) {
            return status;
        }
        descriptor = mVideoTrack->mFileDescriptor;
    }
    if (descriptor < 1) {
        Core::LogLine(LogSite::In(kIssue), "Track %p has invalid file descriptor %d\n",
                      static_cast<void*>(mVideoTrack), descriptor);
        return Core::kStatusInvalid;
    }
    return 0;
}

// A frame in the file's own bytes. The memory is a page larger than needed, so that the data area
// can begin on a page boundary wherever the host's allocation lies.
long ImportFrame::CreateCustomPPix(unsigned int sampleSize, long long sampleOffset,
                                   ReadDestination& destination) {
    const long long skew = sampleOffset & kPageMask;
    const long long dataLength = (sampleSize + skew + kPageMask) & ~kPageMask;
    const long long memorySize = dataLength + kPageSize;
    if (memorySize > UINT32_MAX) {
        Core::LogLine(LogSite::In(kIssue), "Sample of %u bytes is too large for a custom frame\n",
                      sampleSize);
        return Core::kStatusTooBig;
    }
    long status =
        mCreator2Suite->CreateCustomPPix(&mPPix, kPPixBufferAccess_ReadWrite, mPixelFormat, mWidth,
                                         mHeight, 1, 1, static_cast<int32_t>(memorySize));
    status = GetPixels(status);
    if (status != 0) {
        return status;
    }
    const auto address = reinterpret_cast<uintptr_t>(mPixels);
    const auto dataAddress = (address + kPageSize) & ~static_cast<uintptr_t>(kPageMask);
    CustomFrameHeader header;
    header.sourceFormat = static_cast<uint32_t>(mVideoTrack->mFormat);
    header.sourceRowBytes = static_cast<uint32_t>(mSourceRowBytes);
    header.dataOffset = static_cast<uint32_t>(dataAddress - address);
    header.dataLength = static_cast<uint32_t>(dataLength);
    header.skew = static_cast<uint32_t>(skew);
    std::memcpy(mPixels, &header, sizeof(header));

    mNeedsConversion = false;
    destination.buffer = mPixels + header.dataOffset;
    destination.size = dataLength;
    return 0;
}

long ImportFrame::CreatePixelPPix(unsigned int sampleSize, long long sampleOffset,
                                  ReadDestination& destination) {
    const prRect bounds = {0, 0, static_cast<int16_t>(mHeight), static_cast<int16_t>(mWidth)};
    long status =
        mCreatorSuite->CreatePPix(&mPPix, kPPixBufferAccess_ReadWrite, mPixelFormat, &bounds);
    status = GetPixels(status);
    if (status != 0) {
        return status;
    }
    int32_t rowBytes = 0;
    status = mPPixSuite->GetRowBytes(mPPix, &rowBytes);
    if (Failed(status, "GetRowBytes", LogSite::In(kIssue))) {
        return status;
    }
    mDestRowBytes = rowBytes;
    mCopyOnly = IsSameLayout(static_cast<unsigned int>(mVideoTrack->mFormat), mPixelFormat);

    const bool aligned =
        IsPageAligned(static_cast<long long>(reinterpret_cast<intptr_t>(mPixels))) &&
        IsPageAligned(sampleOffset) && IsPageAligned(sampleSize);
    if (mCopyOnly && aligned && mSourceRowBytes == mDestRowBytes) {
        mNeedsConversion = false;
        destination.buffer = mPixels;
        destination.size = static_cast<long long>(mHeight) * mDestRowBytes;
    }
    return 0;
}

long ImportFrame::GetPixels(long status) {
    status = Core::StatusOfHandOut(status, mPPix);
    if (status != 0) {
        Core::LogLine(LogSite::In(kIssue), "CreatePPix returned %ld for format %s at %dx%d\n",
                      status, Util::Printer::PixelFormatPremiere(mPixelFormat), mWidth, mHeight);
        return status;
    }
    status = mPPixSuite->GetPixels(mPPix, kPPixBufferAccess_ReadWrite, &mPixels);
    status = Core::StatusOfHandOut(status, mPixels);
    Failed(status, "GetPixels", LogSite::In(kIssue));
    return status;
}

// The completion can run to its end before AddRequest returns. It drops two references, the maker's
// and the one that this function adds last; two more stand in for them until then, so that the
// frame is never freed under it.
long ImportFrame::SubmitRequest() {
    Retain();
    Retain();
    const long status = mReadController->AddRequest(mReadRequest);
    if (Failed(status, "ReadController::AddRequest", LogSite::In(kIssue))) {
        if (!mReadRequest->mQueued) {
            Release();
            Release();
        }
        // A request that is queued all the same completes, and the completion drops them.
        return status;
    }
    Retain();
    Release();
    Release();
    return 0;
}

void ImportFrame::StaticReadCompleted(void* userData, long status, void* arg) {
    if (userData != nullptr) {
        static_cast<ImportFrame*>(userData)->ReadCompleted(status, arg);
    }
}

void ImportFrame::ReadCompleted(long status, void*) {
    mReadDone = true;
    mStatus = status;
    if (status == 0 && mNeedsConversion) {
        status = mFrameConverter->AddFrame(this);
        if (!Failed(status, "ImportFrameConverter::AddFrame")) {
            Release();
            return;
        }
    }
    if (status != 0 && !mNeedsConversion) {
        // Other tickets of the request may still be writing into the host's pixels.
        Retain();
        mReadRequest->NotifyWhenIdle(&ReleaseFrame, this);
    }
    ConvertCompleted(status);
    Release();
}

void ImportFrame::ReleaseFrame(void* frame) {
    static_cast<ImportFrame*>(frame)->Release();
}

}  // namespace KVX
