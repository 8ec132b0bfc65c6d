#include "cli/picture/frame_reader.h"

#include <algorithm>
#include <utility>

#include "cli/movie/refusal.h"
#include "cli/movie/streams.h"
#include "cli/movie/time_limit.h"
#include "cli/picture/raw_frame.h"

namespace kvx_cli {

using kvx_hostkit::FrameCache;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kBetweenLooks{20};

// A read at the end of a file never completes its frame. Once the log has reported the end, other
// frames that were asked for are given this long, and one that was asked for alone the other time.
constexpr milliseconds kPastEnd{1000};
constexpr milliseconds kPastEndAlone{100};

// What frames that were asked for may take, in the host's buffers and in those that are read into.
constexpr size_t kBytesAhead = size_t{96} << 20;

const char kPastEndWords[] = "the file ends before it does";

// As many as there is memory for, and one in any case.
size_t FramesAhead(const kvx_hostkit::Clip& clip, PrPixelFormat format) {
    const std::vector<imFileInfoRec8> streams = clip.Streams();
    const imFileInfoRec8* const video = FindVideo(streams);
    if (video == nullptr || video->width < 1 || video->height < 1) {
        return FrameReader::kFramesAhead;
    }
    const size_t fileSize =
        RawFrameSize(static_cast<uint32_t>(video->subType), video->width, video->height);
    const auto hostRow =
        static_cast<size_t>(std::max(kvx_hostkit::TightRowBytes(format, video->width), 0));
    const size_t size = fileSize + hostRow * static_cast<size_t>(video->height);
    return std::clamp(kBytesAhead / size, size_t{1}, FrameReader::kFramesAhead);
}

}  // namespace

// What frames in flight must find at the end of their path.
struct FrameReader::HostSide {
    explicit HostSide(kvx_hostkit::Host& host) : buffers(host, Settings()), cache(host) {}

    // A frame that could not be read is in the log, so that none need be filled before.
    static kvx_hostkit::PixelBufferSettings Settings() {
        kvx_hostkit::PixelBufferSettings settings;
        settings.fills = false;
        settings.recycles = true;
        return settings;
    }

    // That of an earlier reader whose frames may still come, or never; else a new one. There can
    // be but one at a time.
    static std::unique_ptr<HostSide> Take(kvx_hostkit::Host& host) {
        if (LeftBehind() == nullptr) {
            LeftBehind() = std::make_unique<HostSide>(host);
        }
        return std::exchange(LeftBehind(), nullptr);
    }

    static void LeaveBehind(std::unique_ptr<HostSide> hostSide) {
        hostSide->isLate = true;
        LeftBehind() = std::move(hostSide);
    }

    PixelBuffers buffers;
    FrameCache cache;
    bool isLate = false;  // frames of an earlier reader may come

  private:
    // Never destroyed: the frames may come while the process ends.
    static std::unique_ptr<HostSide>& LeftBehind() {
        static auto& leftBehind = *new std::unique_ptr<HostSide>;
        return leftBehind;
    }
};

FrameReader::FrameReader(const kvx_hostkit::Clip& clip, std::vector<int64_t> frames,
                         std::vector<PrPixelFormat> formats, milliseconds timeout)
    : mClip(&clip),
      mFrames(std::move(frames)),
      mFormats(std::move(formats)),
      mTimeout(timeout),
      mHostSide(HostSide::Take(clip.GetImporter().GetHost())),
      mCache(&mHostSide->cache),
      mAdditionsBefore(mCache->Additions()),
      mSource(std::make_unique<FrameSource>(clip)) {}

FrameReader::~FrameReader() {
    ReleaseFrame();
    // Frames may still be in flight, and must find the host's side of their path when they end.
    const bool mayComeLate = mProblem || mIsShort;
    const bool haveCome = mCache->WaitForAdditions(mAdditionsBefore + mOutstanding,
                                                   mayComeLate ? mTimeout / 100 : mTimeout);
    if (mHostSide->isLate || !haveCome) {
        // The rest may come at any time, or never.
        HostSide::LeaveBehind(std::move(mHostSide));
    }
}

Problem FrameReader::Start() {
    mAhead = FramesAhead(*mClip, mFormats.front());
    mTicksPerFrame = FrameSource::TicksPerFrame(*mClip);
    if (mTicksPerFrame <= 0) {
        mProblem = {kExitRefused, "its frames have no rate"};
    } else if (const long result = mSource->Open(); result != imNoErr) {
        mProblem = Refusal(result, mLog.Text());
    }
    return mProblem;
}

bool FrameReader::Next(Frame& frame) {
    ReleaseFrame();
    while (!mProblem && mNext < mFrames.size()) {
        frame = {mFrames[mNext], nullptr, {}};
        RequestAhead();
        const Request& request = mRequests[mNext];
        const bool isAlone = mRequests.size() == mNext + 1;
        if (!request.refusal.empty()) {
            frame.failure = request.refusal;
        } else if (const Arrival arrival = WaitFor(mNext); arrival == Arrival::kTooLate) {
            mProblem = {kExitFailed, "frame " + std::to_string(frame.number) +
                                         " did not arrive within " + SecondsText(mTimeout)};
            return false;
        } else if (arrival == Arrival::kMissing) {
            frame.failure = kPastEndWords;
            mCarefulEnd = mFrames.size();
        } else if (!mFailure.words.empty() && !(isAlone && mHasFailedOnce)) {
            // It may be this one that failed, or one after it; alone, the line may be a late one.
            mHasFailedOnce = isAlone;
            RequestAgainOneByOne();
            continue;
        } else if (!TakeFrame(frame.number, frame)) {
            return false;
        }
        mHasFailedOnce = false;
        ++mNext;
        return true;
    }
    return false;
}

void FrameReader::RequestAhead() {
    const size_t ahead = mNext < mCarefulEnd ? 1 : mAhead;
    const size_t end = std::min(mFrames.size(), mNext + ahead);
    while (mRequests.size() < end) {
        const int64_t number = mFrames[mRequests.size()];
        const auto index = static_cast<int32_t>(number);
        mHasHitEnd = false;
        Request request = {Clock::now(), mCache->AdditionsOf(mClip->ImporterID(), index) + 1, {}};
        const long result = mSource->Request(number * mTicksPerFrame, mFormats);
        if (result != aiNoError) {
            request.refusal = Refusal(result, mLog.NewLines()).words;
        } else {
            ++mOutstanding;
        }
        mRequests.push_back(std::move(request));
    }
}

void FrameReader::ReadLog() {
    for (const LogLine& line : LogLines(mLog.NewLines())) {
        const std::string suffix = "hit EOF";
        if (line.text.size() >= suffix.size() &&
            line.text.compare(line.text.size() - suffix.size(), suffix.size(), suffix) == 0) {
            mHasHitEnd = true;
            mIsShort = true;
        } else if (const FailedFrame failed = FrameFailure(line);
                   !failed.words.empty() &&
                   (mFailure.words.empty() || (failed.isCause && !mFailure.isCause))) {
            mFailure = failed;
        }
    }
}

FrameReader::Arrival FrameReader::WaitFor(size_t index) {
    const Request& request = mRequests[index];
    const auto number = static_cast<int32_t>(mFrames[index]);
    const bool isAlone = index < mCarefulEnd && mRequests.size() == index + 1;
    while (!mCache->WaitForFrame(mClip->ImporterID(), number, kBetweenLooks, request.additions)) {
        ReadLog();
        const auto waited = Clock::now() - request.time;
        const bool hasEnded =
            isAlone ? mHasHitEnd && waited > kPastEndAlone : mIsShort && waited > kPastEnd;
        if (hasEnded || waited > mTimeout) {
            // One that the end of the file cuts in two leaves no line.
            return hasEnded || mIsShort ? Arrival::kMissing : Arrival::kTooLate;
        }
    }
    ReadLog();
    return Arrival::kArrived;
}

// Waits for all that were asked for, and goes back to the one that is next.
void FrameReader::RequestAgainOneByOne() {
    for (size_t index = mNext; index < mRequests.size(); ++index) {
        if (mRequests[index].refusal.empty() && WaitFor(index) == Arrival::kArrived) {
            DisposeOfCached(mFrames[index]);
        }
    }
    mCarefulEnd = std::max(mCarefulEnd, mRequests.size());
    mRequests.resize(mNext);
    mFailure = {};
}

void FrameReader::DisposeOfCached(int64_t number) {
    if (const PPixHand ppix = mCache->Take(mClip->ImporterID(), static_cast<int32_t>(number))) {
        PixelBuffers::Dispose(ppix);
    }
}

// A frame that has failed is in the cache like any other.
bool FrameReader::TakeFrame(int64_t number, Frame& frame) {
    frame.failure = std::exchange(mFailure, {}).words;
    if (frame.failure.empty()) {
        const long result = mSource->Get(number * mTicksPerFrame, mFormats, &mFrame);
        if (result != aiNoError) {
            mProblem = {kExitFailed, "frame " + std::to_string(number) +
                                         " is not in the cache: status " + std::to_string(result)};
            return false;
        }
        frame.ppix = mFrame;
    }
    // It will not be requested again.
    DisposeOfCached(number);
    return true;
}

void FrameReader::ReleaseFrame() {
    if (mFrame != nullptr) {
        PixelBuffers::Dispose(mFrame);
        mFrame = nullptr;
    }
}

}  // namespace kvx_cli
