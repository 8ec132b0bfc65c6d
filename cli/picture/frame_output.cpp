#include "cli/picture/frame_output.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>
#include <vector>

#include "cli/output/text.h"
#include "cli/picture/picture.h"
#include "cli/picture/raw_frame.h"

namespace kvx_cli {

namespace {

bool WriteAll(std::FILE* file, const std::vector<ByteSpan>& bytes) {
    errno = 0;
    return std::all_of(bytes.begin(), bytes.end(), [file](const ByteSpan& span) {
        return std::fwrite(span.begin, 1, span.size, file) == span.size;
    });
}

Problem WriteFile(const std::string& path, const InputFiles& inputs,
                  const std::vector<ByteSpan>& bytes) {
    OutputFile file;
    if (Problem problem = file.Open(path, inputs)) {
        return problem;
    }
    return WriteAll(file.Stream(), bytes) ? file.Finish() : file.Failure();
}

}  // namespace

PngOutput::PngOutput(std::string folder, const InputFiles& inputs, int depth, PixelAspect aspect)
    : mFolder(std::move(folder)), mInputs(&inputs), mDepth(depth), mAspect(aspect) {}

PrPixelFormat PngOutput::Format() const {
    return PictureFormat(mDepth);
}

Problem PngOutput::Open() {
    return MakeOutputFolder(mFolder);
}

Problem PngOutput::Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) {
    OutputFile file;
    Problem problem = file.Open(FramePath(mFolder, frame, "png"), *mInputs);
    return problem ? problem : WritePng(file, PictureOf(view), mAspect);
}

Problem PngOutput::WriteZeros(int64_t /*frame*/) {
    return {};  // its file is missing
}

RawOutput::RawOutput(std::string place, const InputFiles& inputs, const RawLayout& layout,
                     bool custom)
    : mPlace(std::move(place)),
      mIsStream(mPlace == "-"),
      mInputs(&inputs),
      mLayout(layout),
      mCustom(custom) {}

PrPixelFormat RawOutput::Format() const {
    return mCustom ? kKVXCustomPixelFormat : RawPixelFormat(mLayout.fileFormat);
}

Problem RawOutput::Open() {
    return mIsStream ? mStream.Open(mPlace, *mInputs) : MakeOutputFolder(mPlace);
}

Problem RawOutput::Write(int64_t frame, const kvx_hostkit::PixelBufferView& view) {
    const std::vector<ByteSpan> bytes = RawBytes(view);
    if (bytes.empty()) {
        return {kExitRefused, "frame " + std::to_string(frame) + " has a header without sense"};
    }
    if (!mIsStream) {
        return WriteFile(FramePath(mPlace, frame, FourCharText(mLayout.fileFormat)), *mInputs,
                         bytes);
    }
    return WriteAll(mStream.Stream(), bytes) && std::fflush(mStream.Stream()) == 0
               ? Problem()
               : mStream.Failure();
}

Problem RawOutput::WriteZeros(int64_t /*frame*/) {
    if (!mIsStream) {
        return {};  // its file is missing
    }
    const std::vector<char> zeros(RawFrameSize(mLayout.fileFormat, mLayout.width, mLayout.height));
    return WriteAll(mStream.Stream(), {{zeros.data(), zeros.size()}}) ? Problem()
                                                                      : mStream.Failure();
}

Problem RawOutput::Finish() {
    return mIsStream ? mStream.Finish() : Problem();
}

}  // namespace kvx_cli
