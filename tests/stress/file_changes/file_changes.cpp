// Changes a movie's file while its frames are on their way: cuts it, lets it grow, writes over it,
// replaces it, takes it away and puts it back, with quiet and reopen in between, on a file system
// that now and then is slow, fails or reads less than asked. Two threads ask for frames, a third
// for sound. Each moment ends with a reckoning, from what the system answered to each read and from
// how long the file was, which frames must have come, with which bytes, and which must not; and
// that nothing else is left over.
//
//     kvx_file_changes [MOMENTS [SEED]]      1000 moments from seed 1 by default
//
// Moment n of a run is the first one of a run with the seed n higher; threads meet as they like.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/entry.h"
#include "host/file_import_module.h"
#include "hostkit/clip.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/host.h"
#include "hostkit/importer.h"
#include "hostkit/pixel_buffers.h"
#include "pipeline/reference.h"
#include "quicktime/movie.h"
#include "stress/file_changes/changing_file.h"
#include "stress/file_changes/watched_reads.h"
#include "support/log_capture.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"
#include "support/open_descriptors.h"
#include "support/random.h"
#include "support/temp_directory.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameCache;
using kvx_hostkit::FrameSource;
using kvx_hostkit::Host;
using kvx_hostkit::Importer;
using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_stress::ChangingFile;
using kvx_stress::Disturbance;
using kvx_stress::Watch;
using kvx_stress::WatchedFrame;
using kvx_stress::WatchedRead;
using kvx_stress::WatchedReads;
using kvx_test::Bytes;
using kvx_test::Random;
using kvx_test::ReferencesTo;

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience(60);
constexpr int kAskingThreads = 2;
constexpr int kMostFrames = 10;  // that each of them asks for
constexpr int kSoundFrames = 960;

constexpr PrPixelFormat kFormats[] = {PrPixelFormat_UYVY_422_8u_601, kKVXCustomPixelFormat,
                                      PrPixelFormat_BGRA_4444_8u};

int64_t gMoment = 0;

[[noreturn]] void Fail(const std::string& what) {
    std::printf("file_changes: moment %lld: %s\n", static_cast<long long>(gMoment), what.c_str());
    std::fflush(stdout);
    std::_Exit(1);
}

void Require(bool holds, const char* what) {
    if (!holds) {
        Fail(what);
    }
}

template <typename Condition>
void WaitFor(Condition holds, const char* what) {
    const auto limit = Clock::now() + kPatience;
    while (!holds()) {
        Require(Clock::now() < limit, what);
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
}

template <typename... Values>
std::string Format(const char* format, Values... values) {
    char text[400];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

// A movie of one kind: its file, and its frames as they are in it and as they are converted.
struct Movie {
    int width;
    int height;
    int frames;
    uint64_t soundOffset;
    uint64_t videoOffset;
    uint64_t frameSize;
    Bytes image = {};
    std::vector<uint64_t> edges = {};
    std::vector<Bytes> converted = {};

    uint64_t OffsetOf(int frame) const {
        return videoOffset + static_cast<uint64_t>(frame) * frameSize;
    }
};

// The sound, then the frames, which end the file.
Movie MakeMovie(const kvx_test::TempDirectory& directory, int width, int height, int frames,
                uint64_t skew) {
    constexpr uint64_t kHead = 0x2000;
    Movie movie = {width,
                   height,
                   frames,
                   kHead,
                   kHead + 0x1000 + skew,
                   static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * 2};
    kvx_test::MovieRecipe recipe;
    recipe.tracks.push_back(kvx_test::VideoTrackRecipe({"2vuy", width, height, 24},
                                                       static_cast<uint32_t>(movie.frameSize),
                                                       frames, 24000, 1000, movie.videoOffset));
    recipe.tracks.push_back(
        kvx_test::SoundTrackRecipe(kvx_test::Describe(kvx_test::SoundDescriptionV0{}), 4,
                                   kSoundFrames, 48000, movie.soundOffset));
    const std::string path = kvx_test::WriteMovie(directory, recipe, {kHead, true}, "image.mov");
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    Require(file != nullptr, "no movie to begin with");
    movie.image.resize(movie.OffsetOf(frames));
    Require(std::fread(movie.image.data(), 1, movie.image.size(), file) == movie.image.size() &&
                std::fgetc(file) == EOF,
            "a movie of another length");
    std::fclose(file);
    movie.edges = {0, movie.soundOffset, movie.videoOffset, movie.image.size(),
                   movie.image.size() / 4096 * 4096};
    for (int frame = 0; frame < frames; ++frame) {
        const uint64_t offset = movie.OffsetOf(frame);
        movie.edges.push_back(offset);
        movie.edges.push_back(offset / 4096 * 4096);
        movie.edges.push_back(offset + movie.frameSize / 2);
    }
    return movie;
}

// The slices that a frame is read in, by the rule: whole pages, but not past the end that the file
// had when it was opened; at once up to 2 MiB, else by 1 MiB.
struct Slice {
    int64_t offset;
    int64_t size;
};

std::vector<Slice> SlicesOf(const Movie& movie, int frame, int64_t knownLength) {
    int64_t begin = static_cast<int64_t>(movie.OffsetOf(frame));
    int64_t end = begin + static_cast<int64_t>(movie.frameSize);
    while (begin % 4096 != 0) {
        --begin;
    }
    while (end % 4096 != 0 && end < knownLength) {
        ++end;
    }
    if (end - begin <= 2 * 1048576) {
        return {{begin, end - begin}};
    }
    std::vector<Slice> slices;
    for (; begin < end; begin += 1048576) {
        slices.push_back({begin, std::min<int64_t>(1048576, end - begin)});
    }
    return slices;
}

// A frame that the host asked for.
struct Asked {
    int frame = 0;
    PrPixelFormat format = PrPixelFormat_Invalid;
    long answer = 0;
    int64_t knownLength = 0;
    uint64_t begin = 0;  // by the file's clock
    std::vector<Slice> slices;
};

// A stretch of sound likewise.
struct Heard {
    long answer = 0;
    uint64_t begin = 0;
    uint64_t end = 0;
    WatchedReads reads;
    std::vector<float> planes[2];
};

enum class Fate { kOnItsWay, kDelivered, kFailed, kNever };

struct Tally {
    int64_t whole = 0;
    int64_t failed = 0;
    int64_t never = 0;
    int64_t refused = 0;
    int64_t sounds = 0;
    int64_t certain = 0;  // by the file's length alone
};

struct Stage {
    const Importer& importer;
    FrameCache& cache;
    PixelBuffers& buffers;
    const std::string path;
};

class Moment {
  public:
    Moment(const Stage& stage, const Movie& movie, uint64_t seed, Tally& tally)
        : mStage(stage),
          mMovie(movie),
          mRandom(seed),
          mTally(tally),
          mFile(stage.path, movie.image, movie.edges),
          mClip(stage.importer, stage.path),
          mSource(mClip),
          mAsked(kAskingThreads * kMostFrames),
          mFrames(mAsked.size()) {}

    void Run() {
        const std::set<int> descriptors = kvx_test::OpenDescriptors();
        {
            const kvx_test::LogCapture log;
            Require(mClip.Open() == imNoErr, "the movie does not open");
            Require(mSource.Open() == imNoErr, "no asynchronous importer");
            mTicks = FrameSource::TicksPerFrame(mClip);
            Require(mTicks > 0, "no ticks per frame");
            mTrack = static_cast<KVX::FileImportModule*>(mClip.PrivateData())
                         ->mMovie->mVideoTracks.at(0);
            Play();
            CloseFile();
            Reckon(log.Text());
        }
        Require(kvx_test::OpenDescriptors() == descriptors, "descriptors are left, or gone");
    }

  private:
    void Play() {
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
        const Watch watch(mFrames, mFile.Clock(), disturbance, Seed());
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
            mIsClosedInFlight = true;
        }
        for (size_t index = 0; index < mAsked.size(); ++index) {
            Settle(index);
        }
    }

    uint64_t Seed() { return static_cast<uint64_t>(mRandom.Pick(0, INT64_MAX)); }

    static void Pause(Random& random) {
        if (random.OneIn(2)) {
            std::this_thread::sleep_for(std::chrono::microseconds(random.Pick(0, 300)));
        }
    }

    void Ask(int thread, uint64_t seed) {
        Random random(seed);
        const auto first = static_cast<size_t>(thread * kMostFrames);
        const auto count = static_cast<size_t>(random.Pick(1, kMostFrames));
        for (size_t index = first; index < first + count; ++index) {
            if (random.OneIn(4)) {
                Pause(random);
            }
            Asked& asked = mAsked[index];
            asked.frame = static_cast<int>(random.Pick(0, mMovie.frames - 1));
            asked.format = kFormats[random.Pick(0, 2)];
            const std::shared_lock<std::shared_mutex> lock(mSleep);
            asked.knownLength = mFile.KnownLength();
            asked.slices = SlicesOf(mMovie, asked.frame, asked.knownLength);
            asked.begin = mFile.Clock().load(std::memory_order_relaxed);
            const WatchedFrame::Asking asking(mFrames[index]);
            asked.answer = mSource.Request(asked.frame * mTicks, {asked.format});
        }
    }

    void Listen(uint64_t seed) {
        Random random(seed);
        for (Heard& heard : mHeard) {
            Pause(random);
            const std::shared_lock<std::shared_mutex> lock(mSleep);
            float* planes[2];
            for (int channel = 0; channel < 2; ++channel) {
                heard.planes[channel].assign(kSoundFrames, 9.0F);
                planes[channel] = heard.planes[channel].data();
            }
            heard.begin = mFile.Clock().load(std::memory_order_relaxed);
            const WatchedReads::OfThisThread watched(heard.reads);
            heard.answer = mClip.ReadAudio(0, 0, kSoundFrames, planes);
            heard.end = mFile.Clock().load(std::memory_order_relaxed);
        }
    }

    void ChangeTheFile() {
        for (int64_t change = mRandom.Pick(1, 5); change > 0; --change) {
            Pause(mRandom);
            if (!mRandom.OneIn(4)) {
                mFile.Change(mRandom);
                continue;
            }
            // A host asks for nothing while it puts a file to sleep; reads may be under way.
            const std::unique_lock<std::shared_mutex> lock(mSleep);
            LetReadsEnd();
            mFile.TakeUp([this] {
                Require(mClip.Quiet() == imNoErr, "a file does not go to sleep");
                Require(mClip.Reopen() == imNoErr, "a file does not wake up");
            });
            if (mFile.KnownLength() < 0) {
                ++mFailedReopens;
            }
        }
    }

    // A descriptor that is closed under a read is a race to the thread sanitizer, so that under it
    // the files close when their reads have ended.
    void LetReadsEnd() {
#if defined(__SANITIZE_THREAD__)
        for (size_t index = 0; index < mAsked.size(); ++index) {
            Settle(index);
        }
#endif
    }

    void CloseFile() {
        Require(mSource.Close() == aiNoError, "the asynchronous importer does not close");
        Require(mClip.Close() == imNoErr, "the movie does not close");
    }

    // What must become of a frame, by what its reads were answered.
    Fate Foresee(size_t index) const {
        const WatchedReads& reads = mFrames[index].reads;
        if (mFrames[index].request == nullptr) {
            return Fate::kFailed;
        }
        int64_t left = 0;
        for (const Slice& slice : mAsked[index].slices) {
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
        if (ended < static_cast<int>(mAsked[index].slices.size())) {
            return Fate::kOnItsWay;
        }
        return left == 0 ? Fate::kDelivered : Fate::kNever;
    }

    // Waits until the pipeline has done with a frame. Of one that never comes the frame and its
    // request are left, which hold each other.
    void Settle(size_t index) const {
        const KVX::ReadRequest* const request = mFrames[index].request;
        if (request == nullptr) {
            return;
        }
        WaitFor(
            [&] {
                const Fate fate = Foresee(index);
                return fate != Fate::kOnItsWay &&
                       ReferencesTo(*request) == (fate == Fate::kNever ? 2 : 1);
            },
            "a frame never arrives, or one came that must not");
    }

    void Reckon(const std::string& log) {
        std::map<int, int> additions;
        int delivered = 0;
        for (size_t index = 0; index < mAsked.size(); ++index) {
            if (mAsked[index].format == PrPixelFormat_Invalid) {
                continue;
            }
            ReckonAnswer(index);
            if (mFrames[index].request == nullptr) {
                ++mTally.refused;
                continue;
            }
            ReckonReads(index);
            const Fate fate = Foresee(index);
            if (fate == Fate::kNever) {
                mUnanswered.push_back(index);
                ++mTally.never;
            } else {
                ++additions[mAsked[index].frame];
                ++delivered;
                ++(fate == Fate::kDelivered ? mTally.whole : mTally.failed);
            }
        }
        for (int frame = 0; frame < mMovie.frames; ++frame) {
            Require(mStage.cache.AdditionsOf(mClip.ImporterID(), frame) == additions[frame],
                    "a frame came more or less often than it must");
        }
        Require(mStage.cache.Additions() == delivered, "frames came that nobody asked for");
        ReckonLog(log);
        for (int frame = 0; frame < mMovie.frames; ++frame) {
            while (const PPixHand ppix = mStage.cache.Take(mClip.ImporterID(), frame)) {
                CheckPixels(ppix);
                PixelBuffers::Dispose(ppix);
                --delivered;
            }
        }
        Require(delivered == 0, "frames are not where they were added");
        for (const Heard& heard : mHeard) {
            CheckSound(heard);
        }
        EndUnanswered();
    }

    // Whether a frame is taken on at all hangs on the length that the file had when it was opened;
    // one that is in the cache already is not asked for again.
    void ReckonAnswer(size_t index) const {
        const Asked& asked = mAsked[index];
        const bool hasRequest = mFrames[index].request != nullptr;
        if (asked.answer == 0 && !hasRequest) {
            for (size_t other = 0; other < mAsked.size(); ++other) {
                if (mAsked[other].frame == asked.frame && mAsked[other].format == asked.format &&
                    mFrames[other].request != nullptr && Foresee(other) != Fate::kNever) {
                    return;
                }
            }
            Fail("a frame is taken on and forgotten");
        }
        const auto end = static_cast<int64_t>(mMovie.OffsetOf(asked.frame) + mMovie.frameSize);
        const long expected = asked.knownLength < 0 ? EINVAL : asked.knownLength < end ? ENOSPC : 0;
        Require(asked.answer == expected, "a frame is taken on or refused against the rule");
        Require(hasRequest == (expected == 0), "a frame that is refused has a request");
    }

    // The reads are those of the rule. Where the file was long enough, or too short, for as long as
    // the frame was on its way, that alone tells what must become of it.
    void ReckonReads(size_t index) {
        const Asked& asked = mAsked[index];
        const WatchedFrame& watched = mFrames[index];
        std::set<int64_t> offsets;
        std::set<long> errors;
        bool isDisturbed = false;
        for (int at = 0; at < watched.reads.Count(); ++at) {
            const WatchedRead& read = watched.reads.At(at);
            Require(offsets.insert(read.offset).second, "a slice is read twice");
            Require(std::any_of(asked.slices.begin(), asked.slices.end(),
                                [&](const Slice& slice) {
                                    return slice.offset == read.offset && slice.size == read.size;
                                }),
                    "a read is not of a frame's slices");
            isDisturbed = isDisturbed || read.isDisturbed;
            if (read.result < 0) {
                errors.insert(read.error);
            }
        }
        const Fate fate = Foresee(index);
        const long status = watched.request->mCompletionStatus;
        Require(fate == Fate::kFailed ? errors.count(status) == 1 : status == 0,
                "a request ends with another status than its reads");
        const ChangingFile::Span span = SpanOf(index);
        if (isDisturbed || span.isTakenUp || mIsClosedInFlight) {
            return;
        }
        const auto last =
            static_cast<uint64_t>(asked.slices.back().offset + asked.slices.back().size);
        if (last <= span.shortest) {
            Require(fate == Fate::kDelivered, "no frame of a file that is long enough");
            ++mTally.certain;
        } else if (last > span.longest) {
            Require(fate == Fate::kNever, "a frame of a file that is too short");
            ++mTally.certain;
        }
    }

    // While the frame was on its way.
    ChangingFile::Span SpanOf(size_t index) const {
        const WatchedReads& reads = mFrames[index].reads;
        uint64_t end = mAsked[index].begin;
        for (int at = 0; at < reads.Count(); ++at) {
            end = std::max<uint64_t>(end, reads.At(at).end);
        }
        return mFile.Between(mAsked[index].begin, end);
    }

    void ReckonLog(const std::string& log) const {
        std::multiset<std::string> lines;
        for (size_t begin = 0; begin < log.size();) {
            const size_t end = log.find('\n', begin);
            Require(end != std::string::npos, "half a line in the log");
            lines.insert(log.substr(begin, end - begin));
            begin = end + 1;
        }
        const auto take = [&lines](const std::string& line) {
            const auto found = lines.find(line);
            if (found == lines.end()) {
                return false;
            }
            lines.erase(found);
            return true;
        };
        const auto expect = [&](const std::string& line) {
            if (!take(line)) {
                Fail("no line in the log: " + line + "\n" + log);
            }
        };
        for (int count = 0; count < mFailedReopens; ++count) {
            expect("OpenFile: open returned 2");
            expect("OpenFile: Got error 22 opening audio track file");
        }
        for (const Heard& heard : mHeard) {
            if (heard.answer != 0) {
                expect(Format("ImportAudio7: pread returned %ld", heard.answer));
            }
        }
        for (size_t index = 0; index < mAsked.size(); ++index) {
            ExpectRefusalLines(mAsked[index], expect);
            ExpectReadLines(index, expect, take);
        }
        if (!lines.empty()) {
            Fail("a line too many in the log: " + *lines.begin() + "\n" + log);
        }
    }

    template <typename Expect>
    void ExpectRefusalLines(const Asked& asked, Expect expect) const {
        if (asked.answer == EINVAL) {
            expect(Format("Issue: Track %p has invalid file descriptor -2", mTrack));
        } else if (asked.answer == ENOSPC) {
            const uint64_t offset = mMovie.OffsetOf(asked.frame);
            expect(
                Format("Init: File length %lu(0x%lx) too short for read of %lu(0x%lx) bytes from "
                       "offset %lu(0x%lx)",
                       asked.knownLength, asked.knownLength, mMovie.frameSize, mMovie.frameSize,
                       offset, offset));
            expect("Create: ReadRequest::Init returned 28");
            expect("Issue: ReadRequest::Create returned 28");
        }
        if (asked.answer != 0) {
            expect(Format("InitiateAsyncRead: ImportFrame::Issue returned %ld", asked.answer));
        }
    }

    // Of a request that has failed, slices that were not read any more may leave a line each, or
    // one between them when the pool drops it.
    template <typename Expect, typename Take>
    void ExpectReadLines(size_t index, Expect expect, Take take) const {
        const WatchedReads& reads = mFrames[index].reads;
        const void* const request = mFrames[index].request;
        for (int at = 0; at < reads.Count(); ++at) {
            const WatchedRead& read = reads.At(at);
            if (read.result < 0) {
                expect(Format("ExecuteReadTicket: pread returned %d for request %p",
                              read.error.load(), request));
                expect(
                    Format("RunThreadPass: ReadRequest::ExecuteReadTicket returned %d for "
                           "request %p",
                           read.error.load(), request));
            } else if (read.result == 0) {
                expect(Format("ExecuteReadTicket: pread(%d, %p, %ld, %ld) hit EOF",
                              read.descriptor.load(), read.buffer.load(), read.size.load(),
                              read.offset.load()));
            }
        }
        if (request == nullptr || Foresee(index) != Fate::kFailed) {
            return;
        }
        const long status = mFrames[index].request->mCompletionStatus;
        auto unread = static_cast<int>(mAsked[index].slices.size()) - reads.Count();
        if (unread > 0 &&
            take(Format("WorkToDo: GetReadTicket on request %p returned %ld", request, status))) {
            --unread;
        }
        const std::string dropped =
            Format("RunThreadPass: ReadRequest::ExecuteReadTicket returned %ld for request %p",
                   status, request);
        while (unread > 0 && take(dropped)) {
            --unread;
        }
    }

    static bool MayBe(char byte, char original, unsigned content) {
        return ((content & kvx_stress::kOriginal) != 0 && byte == original) ||
               ((content & kvx_stress::kInverted) != 0 && byte == static_cast<char>(~original)) ||
               ((content & kvx_stress::kZero) != 0 && byte == 0);
    }

    void CheckPixels(PPixHand ppix) const {
        size_t index = 0;
        while (index < mFrames.size() && mFrames[index].ppix != ppix) {
            ++index;
        }
        Require(index < mFrames.size(), "a frame that nobody asked for");
        const PixelBufferView view = PixelBuffers::View(ppix);
        const char* pixels = view.pixels;
        Require(view.format == mAsked[index].format, "a frame of another format");
        if (Foresee(index) != Fate::kDelivered) {
            // Nothing is converted; of several slices some may have come.
            Require(view.format == kKVXCustomPixelFormat || mAsked[index].slices.size() > 1 ||
                        std::all_of(pixels, pixels + view.dataSize,
                                    [](char byte) {
                                        return static_cast<uint8_t>(byte) ==
                                               kvx_hostkit::kFreshPixel;
                                    }),
                    "pixels of a frame that was not read");
            return;
        }
        const uint64_t offset = mMovie.OffsetOf(mAsked[index].frame);
        const char* const original = mMovie.image.data() + offset;
        const unsigned content = SpanOf(index).content;
        const char* bytes = mFrames[index].request->mBuffer + offset % 4096;
        for (uint64_t at = 0; at < mMovie.frameSize; ++at) {
            Require(MayBe(bytes[at], original[at], content), "a byte that the file never had");
        }
        if (view.format == PrPixelFormat_BGRA_4444_8u) {
            const Bytes& converted = mMovie.converted[static_cast<size_t>(mAsked[index].frame)];
            Require(content != kvx_stress::kOriginal || Bytes(pixels, view.dataSize) == converted,
                    "a frame that is converted to other pixels than ever");
            return;
        }
        if (view.format == kKVXCustomPixelFormat) {
            KVX::CustomFrameHeader header;
            std::memcpy(&header, pixels, sizeof(header));
            pixels += header.dataOffset + header.skew;
        }
        Require(std::memcmp(pixels, bytes, mMovie.frameSize) == 0,
                "pixels that are not those that were read");
    }

    // One read: what it does not bring is silence, and its failure is the answer.
    void CheckSound(const Heard& heard) {
        Require(heard.reads.Count() == 1, "sound is not read once");
        const WatchedRead& read = heard.reads.At(0);
        Require(read.offset == static_cast<int64_t>(mMovie.soundOffset) &&
                    read.size == kSoundFrames * 4,
                "sound is read from another place");
        Require(heard.answer == read.error, "sound answers otherwise than its read");
        ++mTally.sounds;
        const unsigned content = mFile.Between(heard.begin, heard.end).content;
        for (int frame = 0; frame < kSoundFrames; ++frame) {
            for (int channel = 0; channel < 2; ++channel) {
                const float level = heard.planes[channel][static_cast<size_t>(frame)];
                if (read.result < 0) {
                    Require(level == 9.0F, "samples of sound that was not read");
                    continue;
                }
                const auto number = static_cast<int>(std::lround(level * 32767.0F));
                Require(level == static_cast<float>(number) / 32767.0F && number >= -32768 &&
                            number <= 32767,
                        "a sample that is no 16-bit number");
                for (const int byte : {0, 1}) {
                    const int64_t at = 4 * frame + 2 * channel + byte;
                    const auto value =
                        static_cast<char>(byte == 0 ? (number & 0xFFFF) >> 8 : number & 0xFF);
                    Require(
                        at >= read.result
                            ? value == 0
                            : MayBe(value,
                                    mMovie.image[mMovie.soundOffset + static_cast<uint64_t>(at)],
                                    content),
                        "a sample that the file never had");
                }
            }
        }
    }

    // What is kept of the frames that never come, and nothing else; then the host's part is done by
    // hand, so that a hundred thousand moments find room.
    void EndUnanswered() {
        Require(mStage.buffers.LiveCount() == static_cast<int>(mUnanswered.size()),
                "pixel buffers are left, or gone from a frame that never comes");
        for (const size_t index : mUnanswered) {
            Require(ReferencesTo(*mFrames[index].frame) == 2, "a frame is held by somebody else");
            Require(mFrames[index].request->Cancel(nullptr) == 0, "a frame that cannot be ended");
        }
        for (WatchedFrame& frame : mFrames) {
            if (frame.request != nullptr) {
                Require(ReferencesTo(*frame.request) == 1, "a request is held by somebody else");
                frame.request->Release();
            }
        }
        mStage.cache.Forget();
        Require(mStage.buffers.LiveCount() == 0, "pixel buffers are left");
        Require(mStage.buffers.DamagedCount() == 0, "bytes around a frame's pixels were written");
    }

    const Stage& mStage;
    const Movie& mMovie;
    Random mRandom;
    Tally& mTally;
    ChangingFile mFile;
    Clip mClip;
    FrameSource mSource;
    int64_t mTicks = 0;
    const void* mTrack = nullptr;
    std::shared_mutex mSleep;  // whole while the file is put to sleep and woken up
    std::vector<Asked> mAsked;
    std::vector<WatchedFrame> mFrames;  // of mAsked
    Heard mHeard[3];
    std::vector<size_t> mUnanswered;
    int mFailedReopens = 0;
    bool mIsClosedInFlight = false;
};

// The frames of a movie that nobody changes, as they are converted.
void Convert(const Stage& stage, Movie& movie) {
    const ChangingFile file(stage.path, movie.image, movie.edges);
    Clip clip(stage.importer, stage.path);
    FrameSource source(clip);
    Require(clip.Open() == imNoErr && source.Open() == imNoErr, "the movie does not open");
    const int64_t ticks = FrameSource::TicksPerFrame(clip);
    for (int frame = 0; frame < movie.frames; ++frame) {
        Require(source.Request(frame * ticks, {PrPixelFormat_BGRA_4444_8u}) == aiNoError,
                "a request is refused");
        Require(stage.cache.WaitForFrame(clip.ImporterID(), frame, kPatience),
                "a frame never arrives");
        const PPixHand ppix = stage.cache.Take(clip.ImporterID(), frame);
        const PixelBufferView view = PixelBuffers::View(ppix);
        movie.converted.emplace_back(view.pixels, view.dataSize);
        PixelBuffers::Dispose(ppix);
    }
    stage.cache.Forget();
    WaitFor([&] { return stage.buffers.LiveCount() == 0; }, "pixel buffers are left");
}

long CountThreads() {
    long count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        count += entry.exists() ? 1 : 0;
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    const int64_t moments = argc > 1 ? std::atoll(argv[1]) : 1000;
    const int64_t seed = argc > 2 ? std::atoll(argv[2]) : 1;

    const kvx_test::TempDirectory directory;
    std::vector<Movie> movies;
    movies.push_back(MakeMovie(directory, 64, 32, 8, 0));      // pages
    movies.push_back(MakeMovie(directory, 64, 32, 8, 100));    // beside pages
    movies.push_back(MakeMovie(directory, 1024, 1600, 2, 0));  // four slices each
    // Frames in flight call the host until they have ended, so that it goes last.
    Host host;
    PixelBuffers buffers(host);
    FrameCache cache(host);
    const Importer importer(host, {&xImportEntry, &AsyncImportEntry});
    const Stage stage = {importer, cache, buffers, directory.File("movie.mov")};
    for (Movie& movie : movies) {
        Convert(stage, movie);
    }

    Tally tally;
    const long threads = CountThreads();
    for (gMoment = seed; gMoment < seed + moments; ++gMoment) {
        Random random(static_cast<uint64_t>(gMoment));
        const size_t movie = random.OneIn(24) ? 2 : static_cast<size_t>(random.Pick(0, 1));
        Moment(stage, movies[movie], static_cast<uint64_t>(random.Pick(0, INT64_MAX)), tally).Run();
    }
    WaitFor([&] { return CountThreads() == threads; }, "threads are left, or gone");
    std::printf(
        "%lld moments: %lld frames whole, %lld failed, %lld never, %lld refused or there; "
        "%lld certain by the file's length; %lld times sound\n",
        static_cast<long long>(moments), static_cast<long long>(tally.whole),
        static_cast<long long>(tally.failed), static_cast<long long>(tally.never),
        static_cast<long long>(tally.refused), static_cast<long long>(tally.certain),
        static_cast<long long>(tally.sounds));
    // Each kind of end is met in any hundred moments.
    Require(moments < 100 || (tally.whole > 0 && tally.failed > 0 && tally.never > 0 &&
                              tally.refused > 0 && tally.certain > 0),
            "not everything was tried");
    return 0;
}
