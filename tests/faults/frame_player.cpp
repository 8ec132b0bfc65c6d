#include "faults/frame_player.h"

#include "faults/threads_at_rest.h"
#include "host/entry.h"

namespace kvx_test {

using kvx_hostkit::PixelBuffers;

FramePlayer::FramePlayer(ModuleStage& stage, const std::string& path, PrPixelFormat format)
    : mStage(stage),
      mImporter(stage.host, {&xImportEntry, &AsyncImportEntry}),
      mClip(mImporter, path),
      mSource(mClip),
      mFormats{format},
      mIsOpen(mClip.Open() == imNoErr && mSource.Open() == imNoErr) {}

void FramePlayer::Close() {
    mSource.Close();
    mClip.Close();
    mIsOpen = false;
}

void FramePlayer::StartPools() {
    Request(7);
    AwaitRest();
}

int64_t FramePlayer::TimeOf(int frame) const {
    return frame * (mStage.host.settings.ticksPerSecond / 24);
}

long FramePlayer::Request(int frame) {
    return mSource.Request(TimeOf(frame), mFormats);
}

long FramePlayer::Get(int frame) {
    PPixHand ppix = nullptr;
    const long status = mSource.Get(TimeOf(frame), mFormats, &ppix);
    if (status == aiNoError) {
        PixelBuffers::Dispose(ppix);
    }
    return status;
}

bool FramePlayer::Has(int frame) const {
    return mStage.cache.AdditionsOf(mClip.ImporterID(), frame) == 1;
}

}  // namespace kvx_test
