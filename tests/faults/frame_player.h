#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "faults/module_stage.h"
#include "hostkit/clip.h"
#include "hostkit/frame_source.h"
#include "hostkit/importer.h"

namespace kvx_test {

// A host that asks for single frames of one movie.
class FramePlayer {
  public:
    // Opens the movie; nothing is asked for yet.
    FramePlayer(ModuleStage& stage, const std::string& path, PrPixelFormat format);

    // Whether the movie and its frames were not refused. If they were, nothing else may be asked.
    bool IsOpen() const { return mIsOpen; }

    void Close();

    // Asks for a frame that no test looks at, so that the pools are up and at rest.
    void StartPools();

    // What the importer returns. AwaitRest tells when the frame has come as far as it will.
    long Request(int frame);

    // The same for the look into the cache. A frame that is there is let go of.
    long Get(int frame);

    // Whether the frame has reached the cache, once.
    bool Has(int frame) const;

    // Of the frames to come.
    void SetFormat(PrPixelFormat format) { mFormats = {format}; }

    kvx_hostkit::Clip& GetClip() { return mClip; }

  private:
    int64_t TimeOf(int frame) const;

    ModuleStage& mStage;
    kvx_hostkit::Importer mImporter;
    kvx_hostkit::Clip mClip;
    kvx_hostkit::FrameSource mSource;
    std::vector<PrPixelFormat> mFormats;
    bool mIsOpen;
};

}  // namespace kvx_test
