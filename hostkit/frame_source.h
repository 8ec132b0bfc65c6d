#pragma once

#include <cstdint>
#include <vector>

#include "hostkit/clip.h"
#include "premiere/import_records.h"

namespace kvx_hostkit {

// The importer's asynchronous side for one clip: asks for frames ahead and looks for them in the
// host's cache. Safe to use from several threads, but for Open and Close.
class FrameSource {
  public:
    // Opens nothing yet. `clip` must be open and outlive the source.
    explicit FrameSource(const Clip& clip) : mClip(&clip) {}

    // Closes.
    ~FrameSource();

    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;

    // What imCreateAsyncImporter returns.
    long Open();
    long Close();

    // Asks for a frame in the first of `formats` that the importer can deliver. Returns at once;
    // on 0 the frame reaches the cache later. Times are the host's ticks.
    long Request(int64_t frameTime, const std::vector<PrPixelFormat>& formats) const;
    long Cancel(int64_t frameTime) const;
    long Flush() const;

    // Looks in the cache. On aiNoError the caller disposes of `*ppix`.
    long Get(int64_t frameTime, const std::vector<PrPixelFormat>& formats, PPixHand* ppix) const;

    // Ticks in one frame of the clip's first video stream; 0 if it has none.
    static int64_t TicksPerFrame(const Clip& clip);

  private:
    long CallWithFrame(int selector, int64_t frameTime, const std::vector<PrPixelFormat>& formats,
                       PPixHand* ppix) const;

    const Clip* mClip;
    long (*mEntry)(int selector, void* record) = nullptr;
    void* mPrivateData = nullptr;
};

}  // namespace kvx_hostkit
