#include "hostkit/frame_source.h"

#include "hostkit/host.h"
#include "hostkit/record_block.h"

namespace kvx_hostkit {

FrameSource::~FrameSource() {
    Close();
}

long FrameSource::Open() {
    RecordBlock<imAsyncImporterCreationRec> record;
    const long result = mClip->CreateAsyncImporter(record.Get());
    if (result == imNoErr) {
        mEntry = record->asyncEntry;
        mPrivateData = record->asyncPrivateData;
    }
    return result;
}

long FrameSource::Close() {
    if (mPrivateData == nullptr) {
        return aiNoError;
    }
    void* const privateData = mPrivateData;
    mPrivateData = nullptr;
    return mEntry(aiClose, privateData);
}

long FrameSource::Request(int64_t frameTime, const std::vector<PrPixelFormat>& formats) const {
    return CallWithFrame(aiInitiateAsyncRead, frameTime, formats, nullptr);
}

long FrameSource::Cancel(int64_t frameTime) const {
    return CallWithFrame(aiCancelAsyncRead, frameTime, {}, nullptr);
}

long FrameSource::Flush() const {
    return mEntry(aiFlush, mPrivateData);
}

long FrameSource::Get(int64_t frameTime, const std::vector<PrPixelFormat>& formats,
                      PPixHand* ppix) const {
    return CallWithFrame(aiGetFrame, frameTime, formats, ppix);
}

long FrameSource::CallWithFrame(int selector, int64_t frameTime,
                                const std::vector<PrPixelFormat>& formats, PPixHand* ppix) const {
    std::vector<imFrameFormat> offered;
    offered.reserve(formats.size());
    for (const PrPixelFormat format : formats) {
        offered.push_back({0, 0, format});
    }
    RecordBlock<aiAsyncRequest> request;
    request->privatedata = mPrivateData;
    imSourceVideoRec& source = request->sourceRec;
    source.privatedata = mPrivateData;
    source.frameTime = frameTime;
    source.frameFormats = offered.data();
    source.frameFormatCount = static_cast<int32_t>(offered.size());
    source.ppix = ppix;
    // A look-up is called with the source record itself, a request with the one around it.
    return selector == aiGetFrame ? mEntry(selector, &source) : mEntry(selector, request.Get());
}

int64_t FrameSource::TicksPerFrame(const Clip& clip) {
    RecordBlock<imFileInfoRec8> info;
    const long result = clip.GetInfo(0, info.Get());
    if ((result != imNoErr && result != imIterateStreams) || info->hasVideo == 0) {
        return 0;
    }
    const void* table = nullptr;
    if (Host::BasicSuite()->AcquireSuite(kPrSDKLegacySuite, kPrSDKLegacySuiteVersion, &table) !=
        0) {
        return 0;
    }
    int64_t ticks = 0;
    const auto* legacySuite = static_cast<const PrSDKLegacySuite*>(table);
    const int32_t status =
        legacySuite->GetTicksPerTimebaseFrame(info->videoScale, info->videoSampleSize, &ticks);
    Host::BasicSuite()->ReleaseSuite(kPrSDKLegacySuite, kPrSDKLegacySuiteVersion);
    return status == 0 ? ticks : 0;
}

}  // namespace kvx_hostkit
