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

PngOutput::PngOutput(std::string place, const InputFiles& inputs, int depth,
                     const PngSettings& settings, WorkerPool& pool, FrameNamer name)
    : mPlace(std::move(place)),
      mInputs(&inputs),
      mDepth(depth),
      mSettings(settings),
      mPool(&pool),
      mName(std::move(name)) {}

PrPixelFormat PngOutput::Format() const {
    return PictureFormat(mDepth);
}

Problem PngOutput::Open() {
    return mPlace == "-" ? CheckStandardOutput(*mInputs) : MakeOutputFolder(mPlace);
}

Problem PngOutput::Write(int64_t frame, const kvx_hostkit::PixelBufferView& view,
                         std::shared_ptr<const void> hold) {
    constexpr size_t kAtATime = 2;
    const std::string place = mPlace == "-" ? mPlace : PathIn(mPlace, mName(frame), "png");
    PictureRows rows = {view.width, view.height, mDepth,
                        [view](int row, uint8_t* bytes) { WritePictureRow(view, row, bytes); }};
    mPictures.push_back({place, std::move(hold),
                         std::make_unique<PngEncoding>(*mPool, std::move(rows), mSettings)});
    return mPictures.size() < kAtATime ? Problem() : FinishFirst();
}

Problem PngOutput::WriteZeros(int64_t /*frame*/) {
    return {};  // its file is missing
}

Problem PngOutput::FinishFirst() {
    const Picture picture = std::move(mPictures.front());
    mPictures.pop_front();
    OutputFile file;
    Problem problem = file.Open(picture.place, *mInputs);
    if (!problem) {
        problem = picture.encoding->WriteInto(file);
    }
    if (problem) {
        mPictures.clear();  // nothing follows one that is missing
    }
    return problem;
}

Problem PngOutput::Finish() {
    Problem problem;
    while (!mPictures.empty() && !problem) {
        problem = FinishFirst();
    }
    return problem;
}

RawOutput::RawOutput(std::string place, const InputFiles& inputs, const RawLayout& layout,
                     bool custom, FrameNamer name)
    : mPlace(std::move(place)),
      mIsStream(mPlace == "-"),
      mInputs(&inputs),
      mLayout(layout),
      mCustom(custom),
      mName(std::move(name)) {}

PrPixelFormat RawOutput::Format() const {
    return mCustom ? kKVXCustomPixelFormat : RawPixelFormat(mLayout.fileFormat);
}

Problem RawOutput::Open() {
    return mIsStream ? mStream.Open(mPlace, *mInputs) : MakeOutputFolder(mPlace);
}

Problem RawOutput::Write(int64_t frame, const kvx_hostkit::PixelBufferView& view,
                         std::shared_ptr<const void> /*hold*/) {
    const std::vector<ByteSpan> bytes = RawBytes(view);
    if (bytes.empty()) {
        return {kExitRefused, "frame " + std::to_string(frame) + " has a header without sense"};
    }
    if (!mIsStream) {
        return WriteFile(PathIn(mPlace, mName(frame), FourCharText(mLayout.fileFormat)), *mInputs,
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
