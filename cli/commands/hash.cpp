#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/hash/checksum_list.h"
#include "cli/hash/packet_hashes.h"
#include "cli/hash/packets.h"
#include "cli/movie/media_track.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/output/unfinished_files.h"
#include "core/four_char_code.h"
#include "inspect/sound_ranges.h"
#include "platform/core_audio_types.h"

namespace kvx_cli {

using KVX::Core::FourCharCode;
using kvx_inspect::Report;
using kvx_inspect::SoundFacts;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;
using kvx_inspect::VideoFacts;

namespace {

// As ffmpeg calls them.
std::string PictureCodec(uint32_t format) {
    const bool is422 = format == FourCharCode("2vuy") || format == FourCharCode("2Vuy");
    return is422 ? "rawvideo" : FourCharText(format);
}

std::string LayoutName(const SoundFacts& sound) {
    constexpr uint32_t kMpeg51Tags[] = {
        kAudioChannelLayoutTag_MPEG_5_1_A, kAudioChannelLayoutTag_MPEG_5_1_B,
        kAudioChannelLayoutTag_MPEG_5_1_C, kAudioChannelLayoutTag_MPEG_5_1_D};
    switch (sound.channels) {
        case 1:
            return "mono";
        case 2:
            return "stereo";
        case 6:
            return std::count(std::begin(kMpeg51Tags), std::end(kMpeg51Tags),
                              sound.layoutTag.value_or(0)) != 0
                       ? "5.1(side)"
                       : "5.1";
        default:
            return std::to_string(sound.channels) + " channels";
    }
}

ChecksumHeader HeaderOf(const TrackFacts& track) {
    ChecksumHeader header;
    header.isSound = track.kind == TrackKind::Sound;
    if (header.isSound) {
        header.sampleRate = static_cast<int>(std::lround(track.sound->rate));
        header.timeScale = header.sampleRate;
        header.codec = "pcm_" + track.sound->ownFormat;
        header.layout = LayoutName(*track.sound);
    } else {
        const VideoFacts facts = track.video.value_or(VideoFacts());
        header.timeScale = track.timeScale;
        header.codec = PictureCodec(track.format);
        header.width = facts.width;
        header.height = facts.height;
        header.pixelAspectH = facts.pixelAspectV == 0 ? 0 : facts.pixelAspectH;
        header.pixelAspectV = std::max<uint32_t>(facts.pixelAspectV, 1);
    }
    return header;
}

// Why the samples of a sound track have no hashes; nothing if they have.
Problem CheckSound(const TrackFacts& track) {
    const SoundFacts& sound = *track.sound;
    if (sound.isCompressed || sound.ownFormat.empty()) {
        return {kExitRefused, "its sound is \"" + FourCharText(track.format) + "\" of " +
                                  std::to_string(sound.bits) + " bits, which is no PCM"};
    }
    if (!(sound.rate >= 1 && sound.rate < 1 << 30)) {
        return {kExitRefused, "its sound does not state its rate"};
    }
    return {};
}

// Samples of all channels, by the tables.
int64_t SoundLength(const TrackFacts& track) {
    const uint64_t size = kvx_inspect::SoundRanges::TotalSize(track);
    return static_cast<int64_t>(std::min<uint64_t>(size / std::max(track.sound->bytesPerFrame, 1U),
                                                   std::numeric_limits<int64_t>::max()));
}

// Where the rows go: into a file or to standard output, or against those of a list.
class RowTaker {
  public:
    // `place` is a file, or "-". Begins it with the header.
    RowTaker(const Arguments& arguments, const ChecksumHeader& header, const std::string& place,
             const InputFiles& inputs) {
        if (arguments.Has(OptionId::kCompare)) {
            mProblem = mComparison.emplace().Open(arguments.Text(OptionId::kCompare), header);
            return;
        }
        mProblem = mFile.Open(place, inputs);
        if (!mProblem) {
            Write(HeaderText(header));
        }
    }

    // The problem of the list, or of the row.
    const Problem& Take(const ChecksumRow& row) {
        ++mCount;
        if (mComparison) {
            mProblem = mComparison->Compare(row);
        } else {
            Write(RowText(row));
        }
        return mProblem;
    }

    const Problem& Finish() {
        mProblem = mComparison ? mComparison->Finish() : mFile.Finish();
        return mProblem;
    }

    const Problem& GetProblem() const { return mProblem; }
    int64_t Count() const { return mCount; }

  private:
    void Write(const std::string& text) {
        errno = 0;
        if (std::fputs(text.c_str(), mFile.Stream()) < 0) {
            mProblem = mFile.Failure();
        }
    }

    std::optional<ChecksumComparison> mComparison;
    OutputFile mFile;
    Problem mProblem;
    int64_t mCount = 0;
};

unsigned ThreadCount(const Arguments& arguments) {
    if (arguments.Has(OptionId::kThreads)) {
        return static_cast<unsigned>(arguments.Number(OptionId::kThreads));
    }
    return std::max(std::thread::hardware_concurrency(), 1U);
}

class Hasher {
  public:
    Hasher(const Arguments& arguments, const NamedMovie& movie,
           std::shared_ptr<const Report> report, const TrackFacts& track)
        : mArguments(arguments), mMovie(movie), mReport(std::move(report)), mTrack(track) {}

    int Run() {
        const bool isSound = mTrack.kind == TrackKind::Sound;
        if (const Problem problem = isSound ? CheckSound(mTrack) : Problem()) {
            return Complain(mReport->path, problem);
        }
        std::string place;
        if (const Problem problem = FindPlace(place)) {
            return Complain(mReport->path, problem);
        }
        const ChecksumHeader header = HeaderOf(mTrack);
        RowTaker taker(mArguments, header, place, mMovie.inputs);
        if (taker.GetProblem()) {
            return Complain(mReport->path, taker.GetProblem());
        }
        Problem problem;
        const int descriptor = OpenMedia(mTrack, problem);
        if (problem) {
            return Complain(mReport->path, problem);
        }
        ReportFragments();
        const int64_t total = isSound ? SoundLength(mTrack) : mTrack.tables.sampleCount;
        ProgressBar progress(isSound ? "sound" : "frames", total);
        PacketHashes hashes(descriptor,
                            isSound ? SoundPackets(mReport, mTrack, header.sampleRate)
                                    : FramePackets(mReport, mTrack),
                            ThreadCount(mArguments));
        const std::string noun = isSound ? "second " : "frame ";
        PacketHashes::Result result;
        while (hashes.Next(result, Timeout(mArguments))) {
            const int64_t number = result.number;
            if (result.error != 0) {
                return Complain(kExitFailed, mReport->path,
                                noun + std::to_string(number) +
                                    " cannot be read: " + std::strerror(result.error));
            }
            if (result.isShort) {
                Miss(noun + std::to_string(number) + " is not all in the file");
                continue;
            }
            if (taker.Take(result.row)) {
                return Complain(mReport->path, taker.GetProblem());
            }
            progress.Update(isSound ? result.row.time + result.row.duration : number + 1);
        }
        if (hashes.IsLate()) {
            EndAtOnce(Complain(kExitFailed, mReport->path, TimeLimit(Timeout(mArguments)).Words()));
        }
        if (taker.Finish()) {
            return Complain(mReport->path, taker.GetProblem());
        }
        Conclude(taker, place, isSound ? "second" : "frame");
        return mIsMissing ? kExitRefused : kExitDone;
    }

  private:
    Problem FindPlace(std::string& place) const {
        if (!mArguments.Has(OptionId::kOutput)) {
            place = "-";
            return {};
        }
        return FindOutput(mArguments, mMovie, ".framemd5", place);
    }

    // What lies in them is not listed by the movie atom, and cannot be found.
    void ReportFragments() {
        for (const kvx_inspect::Finding& finding : mReport->findings) {
            if (finding.code == kvx_inspect::Code::Fragmented) {
                mIsMissing = true;
                Complain(kExitRefused, mReport->path, finding.text);
            }
        }
    }

    // The first of them, in the words of `check` where it has some.
    void Miss(const std::string& words) {
        if (!mIsMissing) {
            const std::string found = MissingWords(*mReport, mTrack);
            Complain(kExitRefused, mReport->path, found.empty() ? words : found);
        }
        mIsMissing = true;
    }

    void Conclude(const RowTaker& taker, const std::string& place, const std::string& noun) const {
        if (mMovie.isOneOfMany) {
            PrintDone(mArguments, mMovie, place);
        } else if (mArguments.Has(OptionId::kCompare) && !mIsMissing &&
                   !mArguments.Has(OptionId::kQuiet)) {
            std::printf("%s: as in %s, %s\n", Printable(mReport->path).c_str(),
                        Printable(mArguments.Text(OptionId::kCompare)).c_str(),
                        Counted(taker.Count(), noun).c_str());
        }
    }

    static std::string Counted(int64_t count, const std::string& noun) {
        return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
    }

    const Arguments& mArguments;
    const NamedMovie& mMovie;
    const std::shared_ptr<const Report> mReport;
    const TrackFacts& mTrack;
    bool mIsMissing = false;
};

int HashMovie(const Arguments& arguments, const NamedMovie& movie) {
    TimeLimit limit(Timeout(arguments));
    Problem problem;
    const auto report = LookAtMovie(limit, movie.path, problem);
    const TrackFacts* const track =
        report == nullptr
            ? nullptr
            : FindTrack(*report,
                        arguments.Has(OptionId::kSound) ? TrackKind::Sound : TrackKind::Video,
                        static_cast<size_t>(arguments.Number(OptionId::kStream)), problem);
    if (track != nullptr) {
        AddInputs(*report, movie.inputs);
        problem = CheckStandardOutput(movie.inputs);
    }
    return problem ? Complain(movie.path, problem) : Hasher(arguments, movie, report, *track).Run();
}

// What several movies cannot be hashed without, or with.
std::string ProblemOfMany(const Arguments& arguments) {
    if (arguments.Has(OptionId::kCompare)) {
        return "--compare takes one movie";
    }
    return arguments.Has(OptionId::kOutput)
               ? ""
               : "several movies have a list each: -o names the folder for them";
}

}  // namespace

int RunHash(const Arguments& arguments) {
    const std::string problem = arguments.MayNameMany() ? ProblemOfMany(arguments) : "";
    if (!problem.empty()) {
        return Complain(kExitUsage, problem);
    }
    return ForEachMovie(
        arguments, [&arguments](const NamedMovie& movie) { return HashMovie(arguments, movie); });
}

}  // namespace kvx_cli
