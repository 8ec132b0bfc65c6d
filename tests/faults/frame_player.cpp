#include "faults/frame_player.h"

#include "faults/threads_at_rest.h"
#include "host/entry.h"

namespace kvx_test {

using kvx_hostkit::PixelBuffers;

FramePlayer::FramePlayer(const StageMovies& movies, PrPixelFormat format)
    : stage(movies),
      mImporter(stage.host, {&xImportEntry, &AsyncImportEntry}),
      mClip(mImporter, movies.picture),
      mSource(mClip),
      mFormats{format} {
    mClip.Open();
    mSource.Open();
}

void FramePlayer::StartPools() {
    Request(7);
    AwaitRest();
}

int64_t FramePlayer::TimeOf(int frame) const {
    return frame * (stage.host.settings.ticksPerSecond / 24);
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
    return stage.cache.AdditionsOf(mClip.ImporterID(), frame) == 1;
}

}  // namespace kvx_test
