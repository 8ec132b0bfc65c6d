#include "pipeline/async_import_module.h"

#include <memory>
#include <new>

#include "core/hold.h"
#include "core/log.h"
#include "core/status.h"
#include "pipeline/destinations.h"
#include "pipeline/host_suites.h"
#include "pipeline/import_frame.h"
#include "quicktime/video_track.h"
#include "util/printer.h"

namespace KVX {

using Core::Failed;
using Core::LogSite;

class AsyncImportModule::Call {
  public:
    explicit Call(AsyncImportModule* module) : mModule(module) { ++mModule->mHolds; }
    ~Call() { mModule->DropHold(); }

    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

  private:
    AsyncImportModule* mModule;
};

AsyncImportModule::AsyncImportModule(long importerID, SPBasicSuite* basicSuite,
                                     QT::VideoTrack* videoTrack)
    : mImporterID(importerID), mBasicSuite(basicSuite), mVideoTrack(videoTrack) {}

AsyncImportModule* AsyncImportModule::Create(long importerID, SPBasicSuite* basicSuite,
                                             QT::VideoTrack* videoTrack) {
    auto* module = new (std::nothrow) AsyncImportModule(importerID, basicSuite, videoTrack);
    if (module == nullptr) {
        KVX_LOG("failed to create a new AsyncImportModule\n");
        return nullptr;
    }
    // The host may throw in Init.
    std::unique_ptr<AsyncImportModule> owner(module);
    if (Failed(module->Init(), "AsyncModule::Init()")) {
        return nullptr;
    }
    return owner.release();
}

long AsyncImportModule::Init() {
    const LogSite here = LogSite::Here();
    const auto acquire = [&](const char* name, int32_t version, auto*& suite) {
        const long status = AcquireSuite(mBasicSuite, name, version, suite);
        Failed(status, "AcquireSuite", here);
        return status;
    };
    long status = acquire(kPrSDKPPixCacheSuite, kPrSDKPPixCacheSuiteVersion, mCacheSuite);
    if (status == 0) {
        status = acquire(kPrSDKPPixCreatorSuite, kPrSDKPPixCreatorSuiteVersion, mCreatorSuite);
    }
    if (status == 0) {
        status = acquire(kPrSDKPPixCreator2Suite, kPrSDKPPixCreator2SuiteVersion, mCreator2Suite);
    }
    if (status == 0) {
        status = acquire(kPrSDKPPixSuite, kPrSDKPPixSuiteVersion, mPPixSuite);
    }
    if (status != 0) {
        return status;
    }
    int64_t ticks = 0;
    status = GetTicksPerFrame(mBasicSuite, *mVideoTrack, ticks);
    mTicksPerFrame = ticks;
    return status;
}

long AsyncImportModule::GetFrameIndex(const imSourceVideoRec* sourceVideo, long& frameIndex) const {
    if (mTicksPerFrame == 0) {
        return Core::kStatusInvalid;
    }
    // A tick count of -1 would overflow on the most negative time.
    frameIndex = mTicksPerFrame == -1
                     ? static_cast<long>(0UL - static_cast<unsigned long>(sourceVideo->frameTime))
                     : sourceVideo->frameTime / mTicksPerFrame;
    return 0;
}

long AsyncImportModule::InitiateAsyncRead(imSourceVideoRec* sourceVideo) {
    const Call call(this);
    long frameIndex = 0;
    long status = GetFrameIndex(sourceVideo, frameIndex);
    if (Failed(status, "GetFrameIndex")) {
        return status;
    }
    PPixHand cached = nullptr;
    if (mCacheSuite->GetFrameFromCache(
            static_cast<uint32_t>(mImporterID), 0, static_cast<int32_t>(frameIndex),
            sourceVideo->frameFormatCount, sourceVideo->frameFormats, &cached, nullptr, 0) == 0) {
        if (cached != nullptr) {
            mPPixSuite->Dispose(cached);
        }
        return 0;
    }
    PrPixelFormat destination = PrPixelFormat_Invalid;
    status = ChooseDestinationFormat(sourceVideo, destination);
    if (Failed(status, "ChooseDestinationFormat")) {
        return status;
    }
    auto* frame = new (std::nothrow)
        ImportFrame(mImporterID, mVideoTrack, nullptr, destination, frameIndex,
                    sourceVideo->frameTime, mCacheSuite, mCreatorSuite, mCreator2Suite, mPPixSuite);
    if (frame == nullptr) {
        KVX_LOG("Failed to allocate a new ImportFrame object\n");
        return Core::kStatusNoMemory;
    }
    // Whatever the host's suites do, a frame that was not issued is released.
    Core::Hold makersReference(frame);
    status = frame->Init();
    if (Failed(status, "ImportFrame::Init")) {
        return status;
    }
    status = frame->Issue();
    if (Failed(status, "ImportFrame::Issue")) {
        return status;
    }
    makersReference.Forget();
    return 0;
}

long AsyncImportModule::ChooseDestinationFormat(imSourceVideoRec* sourceVideo,
                                                PrPixelFormat& destination) {
    if (sourceVideo == nullptr) {
        KVX_LOG("Invalid source video parameter\n");
        return Core::kStatusInvalid;
    }
    destination = PrPixelFormat_Invalid;
    const auto source = static_cast<unsigned int>(mVideoTrack->mFormat);
    for (int index = 0; index < sourceVideo->frameFormatCount; ++index) {
        const PrPixelFormat format = sourceVideo->frameFormats[index].pixelFormat;
        if (IsDestination(source, format)) {
            destination = format;
            return 0;
        }
    }
    KVX_LOG("Failed to pick a destination pixel format for source format %s\n",
            Util::Printer::PixelFormatPremiere(mVideoTrack->mFormat));
    return Core::kStatusInvalid;
}

long AsyncImportModule::CancelAsyncRead(imSourceVideoRec*) {
    return 0;
}

long AsyncImportModule::Flush() {
    return 0;
}

long AsyncImportModule::GetFrame(imSourceVideoRec* sourceVideo) {
    const Call call(this);
    long frameIndex = 0;
    const long status = GetFrameIndex(sourceVideo, frameIndex);
    if (Failed(status, "GetFrameIndex")) {
        return status;
    }
    const int32_t result = mCacheSuite->GetFrameFromCache(
        static_cast<uint32_t>(mImporterID), 0, static_cast<int32_t>(frameIndex),
        sourceVideo->frameFormatCount, sourceVideo->frameFormats, sourceVideo->ppix, nullptr, 0);
    if (result == 0) {
        return aiNoError;
    }
    if (result == kPPixCacheMiss) {
        return aiFrameNotFound;
    }
    const long answer = result;
    KVX_LOG("GetFrameFromCache returned %ld (0x%08lx) for frameIndex %ld\n", answer,
            static_cast<unsigned long>(answer), frameIndex);
    return answer;
}

long AsyncImportModule::Close() {
    DropHold();
    return 0;
}

void AsyncImportModule::DropHold() {
    if (--mHolds == 0) {
        delete this;
    }
}

}  // namespace KVX
