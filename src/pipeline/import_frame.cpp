#include "pipeline/import_frame.h"

#include "core/log.h"
#include "pipeline/frame_conversion.h"
#include "pipeline/host_call.h"
#include "pipeline/read_request.h"
#include "quicktime/video_track.h"

namespace KVX {

using Core::Failed;

ImportFrame::ImportFrame(long importerID, QT::VideoTrack* videoTrack,
                         QT::Decompressor* decompressor, PrPixelFormat pixelFormat, long frameIndex,
                         long long frameTime, PrSDKPPixCacheSuite* cacheSuite,
                         PrSDKPPixCreatorSuite* creatorSuite, PrSDKPPixCreator2Suite* creator2Suite,
                         PrSDKPPixSuite* ppixSuite)
    : mImporterID(importerID),
      mVideoTrack(videoTrack),
      mDecompressor(decompressor),
      mPixelFormat(pixelFormat),
      mFrameIndex(frameIndex),
      mFrameTime(frameTime),
      mCacheSuite(cacheSuite),
      mCreatorSuite(creatorSuite),
      mCreator2Suite(creator2Suite),
      mPPixSuite(ppixSuite),
      mSourceFormat(videoTrack == nullptr ? 0 : videoTrack->mFormat) {}

ImportFrame::~ImportFrame() {
    if (mPPix != nullptr) {
        CallHost(mPPixSuite->Dispose, mPPix);
    }
    if (mReadRequest != nullptr) {
        mReadRequest->Release();
    }
}

long ImportFrame::Init() {
    const long status = Lockable::Init();
    Failed(status, "Lockable::Init");
    return status;
}

// The frame begins at the sample, not at the page that the read began with.
long ImportFrame::Convert() {
    FrameConversion frame;
    frame.sourceFormat = static_cast<uint32_t>(mSourceFormat);
    frame.source = mReadRequest->mBuffer + mReadRequest->mBufferSkew;
    frame.sourceSize = mReadRequest->mSize;
    frame.available = mReadRequest->mBufferSize - mReadRequest->mBufferSkew;
    frame.sourceRowBytes = mSourceRowBytes;
    frame.format = mPixelFormat;
    frame.pixels = mPixels;
    frame.rowBytes = mDestRowBytes;
    frame.width = mWidth;
    frame.height = mHeight;
    frame.isSameLayout = mCopyOnly;
    const long status = CopyOrConvert(frame);
    ConvertCompleted(status);
    return status;
}

void ImportFrame::ConvertCompleted(long status) {
    // A frame whose hand-over to the conversion pool failed half-way can be in both hands.
    if (mDelivered.exchange(true)) {
        return;
    }
    mStatus = status;
    const long result = CallHost(mCacheSuite->AddFrameToCache, static_cast<uint32_t>(mImporterID),
                                 0, mPPix, static_cast<int32_t>(mFrameIndex), nullptr, 0);
    if (result != 0) {
        KVX_LOG("AddFrameToCache returned %ld (0x%08lx)\n", result,
                static_cast<unsigned long>(result));
    }
    Release();
}

}  // namespace KVX
