#include "cli/picture/frame_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

#include "cli/output/output_files.h"
#include "cli/output/text.h"
#include "cli/picture/picture.h"
#include "cli/picture/raw_frame.h"

namespace kvx_cli {

namespace {

bool WriteAll(std::FILE* file, const std::vector<ByteSpan>& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [file](const ByteSpan& span) {
        return std::fwrite(span.begin, 1, span.size, file) == span.size;
    });
}

std::string WriteFile(const std::string& path, const std::vector<ByteSpan>& bytes) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return CannotWrite(path, errno);
    }
    return CloseOutputFile(file, path, WriteAll(file, bytes));
}

}  // namespace

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

RawOutput::RawOutput(std::string place, uint32_t fileFormat, bool custom)
    : mPlace(std::move(place)), mFileFormat(fileFormat), mCustom(custom) {}

PrPixelFormat RawOutput::Format() const {
    return mCustom ? kKVXCustomPixelFormat : RawPixelFormat(mFileFormat);
}

std::string RawOutput::Open() {
    return mPlace == "-" ? std::string() : MakeOutputFolder(mPlace);
}

std::string RawOutput::Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) {
    const std::vector<ByteSpan> bytes = RawBytes(view);
    if (bytes.empty()) {
        return "frame " + std::to_string(frame) + " has a header without sense";
    }
    if (mPlace != "-") {
        return WriteFile(FramePath(mPlace, frame, FourCharText(mFileFormat)), bytes);
    }
    const bool written = WriteAll(stdout, bytes) && std::fflush(stdout) == 0;
    return written ? std::string() : CannotWrite("to standard output", errno);
}

}  // namespace kvx_cli
