#include "cli/picture/frame_reader.h"

#include <algorithm>
#include <utility>

#include "cli/movie/refusal.h"

namespace kvx_cli {

using kvx_hostkit::FrameCache;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;

namespace {

std::string FrameText(int64_t frame) {
    return "frame " + std::to_string(frame);
}

}  // namespace

FrameReader::FrameReader(const kvx_hostkit::Clip& clip, std::vector<int64_t> frames,
                         std::vector<PrPixelFormat> formats, std::chrono::milliseconds patience)
    : mClip(&clip),
      mFrames(std::move(frames)),
      mFormats(std::move(formats)),
      mPatience(patience),
      mBuffers(std::make_unique<PixelBuffers>(clip.GetImporter().GetHost())),
      mCache(std::make_unique<FrameCache>(clip.GetImporter().GetHost())),
      mSource(std::make_unique<FrameSource>(clip)) {}

FrameReader::~FrameReader() {
    LetGo();
    // Frames may still be under way, and must find the host's side of their road when they end.
    if (!mCache->WaitForAdditions(static_cast<int>(mAsked),
                                  mProblem.empty() ? mPatience : mPatience / 10)) {
        // The rest may come at any time, or never: then the process ends with it.
        static_cast<void>(mCache.release());
        static_cast<void>(mBuffers.release());
    }
}

bool FrameReader::Start() {
    mTicksPerFrame = FrameSource::TicksPerFrame(*mClip);
    const long result = mTicksPerFrame > 0 ? mSource->Open() : static_cast<long>(imOtherErr);
    if (result != imNoErr) {
        mProblem = RefusalInWords(result, mLog.Text());
    }
    return mProblem.empty();
}

PPixHand FrameReader::Next() {
    LetGo();
    if (!mProblem.empty() || mNext == mFrames.size() || !AskAhead()) {
        return nullptr;
    }
    mFrame = Fetch(mFrames[mNext]);
    if (mFrame != nullptr) {
        ++mNext;
    }
    return mFrame;
}

bool FrameReader::AskAhead() {
    const size_t end = std::min(mFrames.size(), mNext + kFramesAhead);
    for (; mAsked < end; ++mAsked) {
        const int64_t frame = mFrames[mAsked];
        const long result = mSource->Request(frame * mTicksPerFrame, mFormats);
        if (result != aiNoError) {
            mProblem = FrameText(frame) + " is refused: " + RefusalInWords(result, mLog.Text());
            return false;
        }
    }
    return true;
}

PPixHand FrameReader::Fetch(int64_t frame) {
    const auto index = static_cast<int32_t>(frame);
    if (!mCache->WaitForFrame(mClip->ImporterID(), index, mPatience)) {
        mProblem = WhyLate(frame);
        return nullptr;
    }
    const std::string failure = LineWith(" returned ", mLog.NewLines());
    if (!failure.empty()) {
        mProblem = FrameText(frame) + " or one close behind it could not be read: " + failure;
        return nullptr;
    }
    PPixHand ppix = nullptr;
    const long result = mSource->Get(frame * mTicksPerFrame, mFormats, &ppix);
    if (result != aiNoError) {
        mProblem = FrameText(frame) + " is not in the cache: status " + std::to_string(result);
        return nullptr;
    }
    // Nobody will ask for it again.
    PixelBuffers::Dispose(mCache->Take(mClip->ImporterID(), index));
    return ppix;
}

std::string FrameReader::WhyLate(int64_t frame) const {
    const bool isShort = mLog.Text().find("hit EOF") != std::string::npos;
    return FrameText(frame) + " did not arrive within " + std::to_string(mPatience.count() / 1000) +
           (isShort ? " seconds: the file has become shorter"
                    : " seconds: the file has become shorter, or its disk does not answer");
}

void FrameReader::LetGo() {
    if (mFrame != nullptr) {
        PixelBuffers::Dispose(mFrame);
        mFrame = nullptr;
    }
}

}  // namespace kvx_cli
