#include "stress/file_changes/moment.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

#include "host/file_import_module.h"
#include "pipeline/import_frame_converter.h"
#include "pipeline/read_controller.h"
#include "pipeline/reference.h"
#include "quicktime/movie.h"
#include "stress/file_changes/check.h"
#include "support/entries_under_test.h"
#include "support/sanitizers.h"

namespace kvx_stress {

using kvx_hostkit::FrameSource;
using kvx_test::IsLinkedIn;
using kvx_test::Random;
using kvx_test::ReferencesTo;

namespace {

constexpr int kAskingThreads = 2;
constexpr int kMostFrames = 10;  // that each of them asks for

constexpr PrPixelFormat kFormats[] = {PrPixelFormat_UYVY_422_8u_601, kKVXCustomPixelFormat,
                                      PrPixelFormat_BGRA_4444_8u};

void Pause(Random& random) {
    if (random.OneIn(2)) {
        std::this_thread::sleep_for(std::chrono::microseconds(random.Pick(0, 300)));
    }
}

const char* NameOf(Fate fate) {
    switch (fate) {
        case Fate::kOnItsWay:
            return "its reads have not ended";
        case Fate::kDelivered:
            return "it must come whole";
        case Fate::kFailed:
            return "it must come with an error";
        default:
            return "it must never come";
    }
}

}  // namespace

Played::Played(const Stage& stage, const Movie& playedMovie)
    : movie(playedMovie),
      file(stage.path, playedMovie.image, playedMovie.edges),
      clip(stage.importer, stage.path),
      asked(kAskingThreads * kMostFrames),
      frames(asked.size()) {}

bool Played::IsTakenOn(size_t index) const {
    return IsLinkedIn() ? frames[index].request != nullptr
                        : asked[index].format != PrPixelFormat_Invalid && asked[index].answer == 0;
}

Fate Played::Foresee(size_t index) const {
    const WatchedReads& reads = frames[index].reads;
    if (!IsTakenOn(index)) {
        return Fate::kFailed;
    }
    int64_t left = 0;
    for (const Slice& slice : asked[index].slices) {
        left += slice.size;
    }
    // A read's end is told last.
    int ended = 0;
    for (int read = 0; read < reads.Count(); ++read) {
        const WatchedRead& each = reads.At(read);
        if (!each.isTold.load(std::memory_order_acquire)) {
            continue;
        }
        if (each.result < 0) {
            return Fate::kFailed;
        }
        ++ended;
        left -= each.result;
    }
    if (ended < static_cast<int>(asked[index].slices.size())) {
        return Fate::kOnItsWay;
    }
    return left == 0 ? Fate::kDelivered : Fate::kNever;
}

ChangingFile::Span Played::SpanOf(size_t index) const {
    const WatchedReads& reads = frames[index].reads;
    uint64_t end = asked[index].begin;
    for (int at = 0; at < reads.Count(); ++at) {
        end = std::max<uint64_t>(end, reads.At(at).end);
    }
    return file.Between(asked[index].begin, end);
}

Moment::Moment(const Stage& stage, const Movie& movie, uint64_t seed)
    : mStage(stage), mRandom(seed), mPlayed(stage, movie), mSource(mPlayed.clip) {
    for (int frame = 0; frame < movie.frames; ++frame) {
        mDeck.push_back(frame);
    }
    for (size_t left = mDeck.size(); left > 1; --left) {
        std::swap(mDeck[left - 1],
                  mDeck[static_cast<size_t>(mRandom.Pick(0, static_cast<int64_t>(left) - 1))]);
    }
}

void Moment::Play() {
    Require(mPlayed.clip.Open() == imNoErr, "the movie does not open");
    Require(mSource.Open() == imNoErr, "no asynchronous importer");
    mTicks = FrameSource::TicksPerFrame(mPlayed.clip);
    Require(mTicks > 0, "no ticks per frame");
    if (IsLinkedIn()) {
        const auto* const module = static_cast<KVX::FileImportModule*>(mPlayed.clip.PrivateData());
        mPlayed.track = module->mMovie->mVideoTracks.at(0);
    }
    PlayWatched();
    CloseFile();
}

void Moment::PlayWatched() {
    Disturbance disturbance;
    if (mRandom.OneIn(2)) {
        disturbance.delays = static_cast<int>(mRandom.Pick(1, 8));
    }
    if (mRandom.OneIn(4)) {
        disturbance.errors = static_cast<int>(mRandom.Pick(2, 16));
    }
    if (mRandom.OneIn(4)) {
        disturbance.shortReads = static_cast<int>(mRandom.Pick(2, 16));
    }
    const Watch watch(mPlayed.frames, mPlayed.file.Clock(), disturbance, Seed());
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kAskingThreads; ++thread) {
        threads.emplace_back([this, thread, seed = Seed()] { Ask(thread, seed); });
    }
    threads.emplace_back([this, seed = Seed()] { Listen(seed); });
    ChangeTheFile();
    for (std::thread& thread : threads) {
        thread.join();
    }
    // A quarter of the moments close with frames in flight.
    if (mRandom.OneIn(4)) {
        LetReadsEnd();
        CloseFile();
        mPlayed.isClosedInFlight = true;
    }
    for (size_t index = 0; index < mPlayed.asked.size(); ++index) {
        Settle(index);
    }
}

void Moment::Ask(int thread, uint64_t seed) {
    Random random(seed);
    const auto first = static_cast<size_t>(thread) * kMostFrames;
    // From a deck, no frame comes up a second time.
    const size_t share = mDeck.size() / kAskingThreads;
    const size_t most = IsLinkedIn() ? kMostFrames : share;
    const auto count = static_cast<size_t>(random.Pick(1, static_cast<int64_t>(most)));
    for (size_t index = first; index < first + count; ++index) {
        if (random.OneIn(4)) {
            Pause(random);
        }
        Asked& asked = mPlayed.asked[index];
        asked.frame = IsLinkedIn() ? static_cast<int>(random.Pick(0, mPlayed.movie.frames - 1))
                                   : mDeck[static_cast<size_t>(thread) * share + index - first];
        asked.format = kFormats[random.Pick(0, 2)];
        const std::shared_lock<std::shared_mutex> lock(mSleep);
        asked.knownLength = mPlayed.file.KnownLength();
        asked.slices = SlicesOf(mPlayed.movie, asked.frame, asked.knownLength);
        asked.begin = mPlayed.file.Clock().load(std::memory_order_relaxed);
        if (!IsLinkedIn()) {
            mPlayed.frames[index].offset = asked.slices.at(0).offset;
        }
        const WatchedFrame::Asking asking(mPlayed.frames[index]);
        asked.answer = mSource.Request(asked.frame * mTicks, {asked.format});
    }
}

void Moment::Listen(uint64_t seed) {
    Random random(seed);
    for (Heard& heard : mPlayed.heard) {
        Pause(random);
        const std::shared_lock<std::shared_mutex> lock(mSleep);
        float* planes[2];
        for (int channel = 0; channel < 2; ++channel) {
            heard.planes[channel].assign(kSoundFrames, 9.0F);
            planes[channel] = heard.planes[channel].data();
        }
        heard.begin = mPlayed.file.Clock().load(std::memory_order_relaxed);
        const WatchedReads::OfThisThread watched(heard.reads);
        heard.answer = mPlayed.clip.ReadAudio(0, 0, kSoundFrames, planes);
        heard.end = mPlayed.file.Clock().load(std::memory_order_relaxed);
    }
}

void Moment::ChangeTheFile() {
    for (int64_t change = mRandom.Pick(1, 5); change > 0; --change) {
        Pause(mRandom);
        if (!mRandom.OneIn(4)) {
            mPlayed.file.Change(mRandom);
            continue;
        }
        // A host asks for nothing while it puts a file to sleep; reads may be under way.
        const std::unique_lock<std::shared_mutex> lock(mSleep);
        LetReadsEnd();
        mPlayed.file.TakeUp([this] {
            Require(mPlayed.clip.Quiet() == imNoErr, "a file does not go to sleep");
            Require(mPlayed.clip.Reopen() == imNoErr, "a file does not wake up");
        });
        if (mPlayed.file.KnownLength() < 0) {
            ++mPlayed.failedReopens;
        }
    }
}

// A descriptor that is closed under a read is a race to the thread sanitizer, so that under it
// the files close when their reads have ended.
void Moment::LetReadsEnd() {
    if (!kvx_test::IsUnderThreadSanitizer()) {
        return;
    }
    for (size_t index = 0; index < mPlayed.asked.size(); ++index) {
        Settle(index);
    }
}

void Moment::CloseFile() {
    Require(mSource.Close() == aiNoError, "the asynchronous importer does not close");
    Require(mPlayed.clip.Close() == imNoErr, "the movie does not close");
}

// Whether the pipeline has done with a frame. Of one that never comes the frame and its request are
// left, which hold each other.
bool Moment::IsSettled(size_t index) const {
    const Fate fate = mPlayed.Foresee(index);
    if (fate == Fate::kOnItsWay) {
        return false;
    }
    const int left = fate == Fate::kNever ? 1 : 0;
    if (IsLinkedIn()) {
        return ReferencesTo(*mPlayed.frames[index].request) == left + 1;
    }
    return mStage.cache.AdditionsOf(mPlayed.clip.ImporterID(), mPlayed.asked[index].frame) ==
           1 - left;
}

void Moment::Settle(size_t index) const {
    if (!mPlayed.IsTakenOn(index) || ComesTrue([&] { return IsSettled(index); })) {
        return;
    }
    const KVX::ReadRequest* const request = mPlayed.frames[index].request;
    if (request == nullptr) {
        Fail(Format("frame %d of format %08x: %s", mPlayed.asked[index].frame,
                    mPlayed.asked[index].format, NameOf(mPlayed.Foresee(index))));
    } else {
        Fail(Format(
            "frame %d of format %08x: %s, and its request has %d references after %d of %d "
            "reads; queued are %d reads and %d conversions",
            mPlayed.asked[index].frame, mPlayed.asked[index].format, NameOf(mPlayed.Foresee(index)),
            ReferencesTo(*request), mPlayed.frames[index].reads.Count(),
            static_cast<int>(mPlayed.asked[index].slices.size()),
            static_cast<int>(KVX::ReadController::sInstance->mQueue.size()),
            static_cast<int>(KVX::ImportFrameConverter::sInstance->mQueue.size())));
    }
}

}  // namespace kvx_stress
