#include "stress/file_changes/reckoning.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "pipeline/import_frame.h"
#include "pipeline/reference.h"
#include "stress/file_changes/check.h"
#include "support/entries_under_test.h"

namespace kvx_stress {

using kvx_hostkit::PixelBuffers;
using kvx_hostkit::PixelBufferView;
using kvx_test::Bytes;
using kvx_test::IsLinkedIn;
using kvx_test::ReferencesTo;

namespace {

// The line without the addresses of the importer's own objects.
std::string WithoutObjects(std::string line) {
    for (const char* const kind : {"Track ", "request "}) {
        const size_t found = line.find(kind);
        if (found != std::string::npos) {
            const size_t begin = found + std::strlen(kind);
            line.erase(begin, line.find(' ', begin) - begin);
        }
    }
    return line;
}

class Reckoning {
  public:
    Reckoning(const Stage& stage, Played& played, Tally& tally)
        : mStage(stage), mPlayed(played), mTally(tally) {}

    void Reckon(const std::string& log) {
        std::map<int, int> additions;
        int delivered = 0;
        for (size_t index = 0; index < mPlayed.asked.size(); ++index) {
            if (mPlayed.asked[index].format == PrPixelFormat_Invalid) {
                continue;
            }
            ReckonAnswer(index);
            if (!mPlayed.IsTakenOn(index)) {
                ++mTally.refused;
                continue;
            }
            ReckonReads(index);
            const Fate fate = mPlayed.Foresee(index);
            if (fate == Fate::kNever) {
                mUnanswered.push_back(index);
                ++mTally.never;
            } else {
                ++additions[mPlayed.asked[index].frame];
                ++delivered;
                ++(fate == Fate::kDelivered ? mTally.whole : mTally.failed);
            }
        }
        for (int frame = 0; frame < mPlayed.movie.frames; ++frame) {
            Require(mStage.cache.AdditionsOf(mPlayed.clip.ImporterID(), frame) == additions[frame],
                    "a frame came more or less often than it must");
        }
        Require(mStage.cache.Additions() == delivered, "frames came that nobody asked for");
        ReckonLog(log);
        for (int frame = 0; frame < mPlayed.movie.frames; ++frame) {
            while (const PPixHand ppix = mStage.cache.Take(mPlayed.clip.ImporterID(), frame)) {
                CheckPixels(frame, ppix);
                PixelBuffers::Dispose(ppix);
                --delivered;
            }
        }
        Require(delivered == 0, "frames are not where they were added");
        for (const Heard& heard : mPlayed.heard) {
            CheckSound(heard);
        }
        EndUnanswered();
    }

    // How many lines the moment leads to.
    size_t CountLines() const {
        size_t count = 0;
        ExpectLines([&count](const std::string&) { ++count; },
                    [](const std::string&) { return false; });
        return count;
    }

  private:
    // Whether a frame is taken on at all hangs on the length that the file had when it was opened;
    // one that is in the cache already is not asked for again.
    void ReckonAnswer(size_t index) const {
        const Asked& asked = mPlayed.asked[index];
        const bool isTakenOn = mPlayed.IsTakenOn(index);
        if (asked.answer == 0 && !isTakenOn) {
            for (size_t other = 0; other < mPlayed.asked.size(); ++other) {
                if (mPlayed.asked[other].frame == asked.frame &&
                    mPlayed.asked[other].format == asked.format && mPlayed.IsTakenOn(other) &&
                    mPlayed.Foresee(other) != Fate::kNever) {
                    return;
                }
            }
            Fail("a frame is taken on and forgotten");
        }
        const auto end =
            static_cast<int64_t>(mPlayed.movie.OffsetOf(asked.frame) + mPlayed.movie.frameSize);
        const long expected = asked.knownLength < 0 ? EINVAL : asked.knownLength < end ? ENOSPC : 0;
        Require(asked.answer == expected, "a frame is taken on or refused against the rule");
        Require(isTakenOn == (expected == 0), "a frame that is refused has a request");
    }

    // The reads are those of the rule. Where the file was long enough, or too short, for as long as
    // the frame was on its way, that alone tells what must become of it.
    void ReckonReads(size_t index) {
        const Asked& asked = mPlayed.asked[index];
        const WatchedFrame& watched = mPlayed.frames[index];
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
        const Fate fate = mPlayed.Foresee(index);
        if (watched.request != nullptr) {
            const long status = watched.request->mCompletionStatus;
            Require(fate == Fate::kFailed ? errors.count(status) == 1 : status == 0,
                    "a request ends with another status than its reads");
        }
        const ChangingFile::Span span = mPlayed.SpanOf(index);
        if (isDisturbed || span.isTakenUp || mPlayed.isClosedInFlight) {
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

    void ReckonLog(const std::string& log) const {
        std::multiset<std::string> lines;
        for (size_t begin = 0; begin < log.size();) {
            const size_t end = log.find('\n', begin);
            Require(end != std::string::npos, "half a line in the log");
            lines.insert(AsCompared(log.substr(begin, end - begin)));
            begin = end + 1;
        }
        const auto take = [&lines](const std::string& line) {
            const auto found = lines.find(AsCompared(line));
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
        ExpectLines(expect, take);
        if (!lines.empty()) {
            Fail("a line too many in the log: " + *lines.begin() + "\n" + log);
        }
    }

    static std::string AsCompared(const std::string& line) {
        return IsLinkedIn() ? line : WithoutObjects(line);
    }

    template <typename Expect, typename Take>
    void ExpectLines(Expect expect, Take take) const {
        for (int count = 0; count < mPlayed.failedReopens; ++count) {
            expect("OpenFile: open returned 2");
            expect("OpenFile: Got error 22 opening audio track file");
        }
        for (const Heard& heard : mPlayed.heard) {
            if (heard.answer != 0) {
                expect(Format("ImportAudio7: pread returned %ld", heard.answer));
            }
        }
        for (size_t index = 0; index < mPlayed.asked.size(); ++index) {
            ExpectRefusalLines(mPlayed.asked[index], expect);
            ExpectReadLines(index, expect, take);
        }
    }

    template <typename Expect>
    void ExpectRefusalLines(const Asked& asked, Expect expect) const {
        if (asked.answer == EINVAL) {
            expect(Format("Issue: Track %p has invalid file descriptor -2", mPlayed.track));
        } else if (asked.answer == ENOSPC) {
            const uint64_t offset = mPlayed.movie.OffsetOf(asked.frame);
            expect(
                Format("Init: File length %lu(0x%lx) too short for read of %lu(0x%lx) bytes from "
                       "offset %lu(0x%lx)",
                       asked.knownLength, asked.knownLength, mPlayed.movie.frameSize,
                       mPlayed.movie.frameSize, offset, offset));
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
        const WatchedReads& reads = mPlayed.frames[index].reads;
        const void* const request = mPlayed.frames[index].request;
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
        if (request == nullptr || mPlayed.Foresee(index) != Fate::kFailed) {
            return;
        }
        const long status = mPlayed.frames[index].request->mCompletionStatus;
        auto unread = static_cast<int>(mPlayed.asked[index].slices.size()) - reads.Count();
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

    // Which of the frames that were asked for has these pixels.
    size_t IndexOf(int frame, PPixHand ppix) const {
        for (size_t index = 0; index < mPlayed.frames.size(); ++index) {
            if (IsLinkedIn() ? mPlayed.frames[index].ppix == ppix
                             : mPlayed.IsTakenOn(index) && mPlayed.asked[index].frame == frame) {
                return index;
            }
        }
        Fail("a frame that nobody asked for");
    }

    void CheckPixels(int frame, PPixHand ppix) const {
        const size_t index = IndexOf(frame, ppix);
        const PixelBufferView view = PixelBuffers::View(ppix);
        const char* pixels = view.pixels;
        Require(view.format == mPlayed.asked[index].format, "a frame of another format");
        if (mPlayed.Foresee(index) != Fate::kDelivered) {
            // Nothing is converted; of several slices some may have come.
            Require(
                view.format == kKVXCustomPixelFormat || mPlayed.asked[index].slices.size() > 1 ||
                    std::all_of(pixels, pixels + view.dataSize,
                                [](char byte) {
                                    return static_cast<uint8_t>(byte) == kvx_hostkit::kFreshPixel;
                                }),
                "pixels of a frame that was not read");
            return;
        }
        const uint64_t offset = mPlayed.movie.OffsetOf(mPlayed.asked[index].frame);
        const char* const original = mPlayed.movie.image.data() + offset;
        const unsigned content = mPlayed.SpanOf(index).content;
        const auto requireMedia = [&](const char* bytes) {
            for (uint64_t at = 0; at < mPlayed.movie.frameSize; ++at) {
                Require(MayBe(bytes[at], original[at], content), "a byte that the file never had");
            }
        };
        const KVX::ReadRequest* const request = mPlayed.frames[index].request;
        const char* const bytes = request == nullptr ? nullptr : request->mBuffer + offset % 4096;
        if (bytes != nullptr) {
            requireMedia(bytes);
        }
        if (view.format == PrPixelFormat_BGRA_4444_8u) {
            const Bytes& converted =
                mPlayed.movie.converted[static_cast<size_t>(mPlayed.asked[index].frame)];
            Require(content != kvx_stress::kOriginal || Bytes(pixels, view.dataSize) == converted,
                    "a frame that is converted to other pixels than ever");
            return;
        }
        if (view.format == kKVXCustomPixelFormat) {
            KVX::CustomFrameHeader header;
            std::memcpy(&header, pixels, sizeof(header));
            pixels += header.dataOffset + header.skew;
        }
        if (bytes == nullptr) {
            requireMedia(pixels);
            return;
        }
        Require(std::memcmp(pixels, bytes, mPlayed.movie.frameSize) == 0,
                "pixels that are not those that were read");
    }

    // One read: what it does not bring is silence, and its failure is the answer.
    void CheckSound(const Heard& heard) {
        Require(heard.reads.Count() == 1, "sound is not read once");
        const WatchedRead& read = heard.reads.At(0);
        Require(read.offset == static_cast<int64_t>(mPlayed.movie.soundOffset) &&
                    read.size == kSoundFrames * 4,
                "sound is read from another place");
        Require(heard.answer == read.error, "sound answers otherwise than its read");
        ++mTally.sounds;
        const unsigned content = mPlayed.file.Between(heard.begin, heard.end).content;
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
                    Require(at >= read.result
                                ? value == 0
                                : MayBe(value,
                                        mPlayed.movie.image[mPlayed.movie.soundOffset +
                                                            static_cast<uint64_t>(at)],
                                        content),
                            "a sample that the file never had");
                }
            }
        }
    }

    // What is kept of the frames that never come, and nothing else; then the host's part is done by
    // hand, so that a hundred thousand moments find room.
    void EndUnanswered() {
        if (!IsLinkedIn()) {
            mStage.cache.Forget();
            mTally.kept += static_cast<int64_t>(mUnanswered.size());
            Require(ComesTrue([this] { return mStage.buffers.LiveCount() == mTally.kept; }),
                    "pixel buffers are left, or gone from a frame that never comes");
            Require(mStage.buffers.DamagedCount() == 0,
                    "bytes around a frame's pixels were written");
            return;
        }
        Require(mStage.buffers.LiveCount() == static_cast<int>(mUnanswered.size()),
                "pixel buffers are left, or gone from a frame that never comes");
        for (const size_t index : mUnanswered) {
            Require(ReferencesTo(*mPlayed.frames[index].frame) == 2,
                    "a frame is held by somebody else");
            Require(mPlayed.frames[index].request->Cancel(nullptr) == 0,
                    "a frame that cannot be ended");
        }
        for (WatchedFrame& frame : mPlayed.frames) {
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
    Played& mPlayed;
    Tally& mTally;
    std::vector<size_t> mUnanswered;
};

}  // namespace

void WaitForLines(const Stage& stage, Played& played, const kvx_test::LogCapture& log) {
    Tally none;
    const size_t lines = Reckoning(stage, played, none).CountLines();
    const bool come = ComesTrue([&] {
        const std::string text = log.Text();
        return std::count(text.begin(), text.end(), '\n') >= static_cast<int64_t>(lines);
    });
    if (!come) {
        Fail("lines are missing in the log:\n" + log.Text());
    }
}

void Reckon(const Stage& stage, Played& played, const std::string& log, Tally& tally) {
    Reckoning(stage, played, tally).Reckon(log);
}

}  // namespace kvx_stress
