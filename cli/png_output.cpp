#include "cli/png_output.h"

#include <utility>

#include "cli/output_files.h"
#include "cli/picture.h"

namespace kvx_cli {

PngOutput::PngOutput(std::string folder, int depth, PixelAspect aspect)
    : mFolder(std::move(folder)), mDepth(depth), mAspect(aspect) {}

PrPixelFormat PngOutput::Format() const {
    return PictureFormat(mDepth);
}

std::string PngOutput::Open() {
    return MakeOutputFolder(mFolder);
}

std::string PngOutput::Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) {
    return WritePng(FramePath(mFolder, frame, "png"), PictureOf(view), mAspect);
}

}  // namespace kvx_cli
