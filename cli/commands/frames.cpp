#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/movie/timecode.h"
#include "cli/movie/track_look.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/picture/frame_output.h"
#include "cli/picture/frame_range.h"
#include "cli/picture/frame_reader.h"
#include "cli/picture/y4m_output.h"

namespace kvx_cli {

using kvx_hostkit::PixelBuffers;

namespace {

// Missing frames, reported in ranges that have the same reason.
class MissingFrames {
  public:
    explicit MissingFrames(std::string movie) : mMovie(std::move(movie)) {}

    void Add(int64_t frame, const std::string& reason) {
        mCode = kExitRefused;
        if (mCount != 0 && mFirst + mCount == frame && mReason == reason) {
            ++mCount;
            return;
        }
        Tell();
        mFirst = frame;
        mCount = 1;
        mReason = reason;
    }

    ExitCode Code() const { return mCode; }

    // Those that have not been reported. Call it at the end.
    void Tell() {
        if (mCount == 1) {
            Complain(kExitRefused, mMovie, "frame " + std::to_string(mFirst) + ": " + mReason);
        } else if (mCount > 1) {
            Complain(kExitRefused, mMovie,
                     "frames " + std::to_string(mFirst) + " to " +
                         std::to_string(mFirst + mCount - 1) + ": " + mReason);
        }
        mCount = 0;
    }

  private:
    std::string mMovie;
    int64_t mFirst = 0;
    int64_t mCount = 0;
    std::string mReason;
    ExitCode mCode = kExitDone;
};

Problem WriteFrame(const FrameReader::Frame& frame, bool fillsPlaces, FrameOutput& output,
                   MissingFrames& missing) {
    if (frame.ppix != nullptr) {
        PixelBuffers::Retain(frame.ppix);
        const std::shared_ptr<std::remove_pointer_t<PPixHand>> hold(frame.ppix,
                                                                    PixelBuffers::Dispose);
        return output.Write(frame.number, PixelBuffers::View(frame.ppix), hold);
    }
    missing.Add(frame.number, frame.failure);
    if (output.NamesFrames() || fillsPlaces) {
        return output.WriteZeros(frame.number);
    }
    return {kExitRefused, "ended before frame " + std::to_string(frame.number) +
                              "; --partial goes on, and fills the places of frames that can't be "
                              "read"};
}

int WriteFrames(const MovieAtWork& movie, const std::vector<int64_t>& frames, bool fillsPlaces,
                FrameOutput& output) {
    if (const Problem problem = output.Open()) {
        return Complain(movie.path, problem);
    }
    MissingFrames missing(movie.path);
    const bool isShort = LookAtTrack(movie.limit, movie.path, kvx_inspect::TrackKind::Video, 0)
                             .firstMissing.has_value();
    // Before the reader takes standard error away.
    ProgressBar progress("frames", static_cast<int64_t>(frames.size()));
    FrameReader reader(movie.clip, frames, {output.Format()}, movie.limit.Limit());
    if (isShort) {
        reader.ExpectMissingFrames();
    }
    Problem problem = reader.Start();
    FrameReader::Frame frame;
    while (!problem && reader.Next(frame)) {
        problem = WriteFrame(frame, fillsPlaces, output, missing);
        progress.Update(static_cast<int64_t>(reader.Delivered()));
    }
    if (!problem) {
        problem = reader.GetProblem();
    }
    // In any case, what came before it is finished.
    if (const Problem last = output.Finish(); !problem) {
        problem = last;
    }
    missing.Tell();
    if (problem) {
        Complain(movie.path, problem);
    }
    return Graver(problem.code, missing.Code());
}

// What the files of frames are called. A timecode that comes again, as after a day or where several
// frames share one, is followed by the frame's number.
class FrameNames {
  public:
    FrameNames(const TimecodeStart& start, const imFileInfoRec8& video)
        : mStart(start), mScale(video.videoScale), mDuration(video.videoSampleSize) {}

    std::string operator()(int64_t frame) {
        std::string name = FrameTimecode(mStart, frame, mScale, mDuration);
        for (char& sign : name) {
            sign = sign >= '0' && sign <= '9' ? sign : '-';
        }
        return mUsed.insert(name).second ? name : name + "_" + FrameName(frame);
    }

  private:
    TimecodeStart mStart;
    int mScale;
    int mDuration;
    std::set<std::string> mUsed;
};

// Writes the frames of a movie as it was asked for.
class FramesCommand {
  public:
    explicit FramesCommand(const Arguments& arguments)
        : mArguments(arguments), mPool(static_cast<size_t>(arguments.Number(OptionId::kThreads))) {}

    int Write(const MovieAtWork& movie) {
        const std::vector<imFileInfoRec8> streams = movie.clip.Streams();
        const imFileInfoRec8* const video = FindVideo(streams);
        Problem problem = CheckPictures(video);
        std::vector<int64_t> frames;
        if (!problem) {
            problem = ChooseFrames(movie, *video, frames);
        }
        if (!problem && mArguments.Has(OptionId::kY4m)) {
            problem = CheckY4m(*video);
        }
        std::string place;
        if (!problem) {
            problem =
                FindOutput(mArguments, movie, mArguments.Has(OptionId::kY4m) ? ".y4m" : "", place);
        }
        if (problem) {
            return Complain(movie.path, problem);
        }
        const auto output = MakeOutput(place, movie.inputs, *video);
        const int exitCode =
            WriteFrames(movie, frames, mArguments.Has(OptionId::kPartial), *output);
        if (exitCode == kExitDone || exitCode == kExitRefused) {
            PrintDone(mArguments, movie, place);
        }
        return exitCode;
    }

  private:
    Problem ChooseFrames(const MovieAtWork& movie, const imFileInfoRec8& video,
                         std::vector<int64_t>& frames) {
        const int64_t count = FrameCount(video);
        mStart = ReadTimecodeStart(movie.clip);
        const bool hasTimecode =
            !FrameTimecode(mStart, 0, video.videoScale, video.videoSampleSize).empty();
        const Problem none = {kExitRefused, "its frames have no timecode"};
        const auto find = [&](const std::string& timecode, int64_t& frame) {
            frame = FindFrame(mStart, timecode, count, video.videoScale, video.videoSampleSize);
            return hasTimecode ? Problem() : none;
        };
        std::vector<FrameRange> ranges;
        if (Problem problem =
                ReadFrameRanges(mArguments.Text(OptionId::kRange), count, find, ranges)) {
            return problem;
        }
        frames = FramesOf(ranges, mArguments.Number(OptionId::kEvery));
        if (mArguments.Text(OptionId::kOutput) == "-" && !IsStream() && frames.size() > 1) {
            return {kExitUsage, "standard output takes one picture, and there are " +
                                    std::to_string(frames.size()) +
                                    "; --range chooses, --raw and --y4m write them all"};
        }
        return mArguments.Has(OptionId::kTimecodeNames) && !hasTimecode ? none : Problem();
    }

    bool IsStream() const {
        return mArguments.Has(OptionId::kRaw) || mArguments.Has(OptionId::kY4m);
    }

    std::unique_ptr<FrameOutput> MakeOutput(const std::string& place, const InputFiles& inputs,
                                            const imFileInfoRec8& video) {
        FrameNamer name = FrameName;
        if (mArguments.Has(OptionId::kTimecodeNames)) {
            name = FrameNames(mStart, video);
        }
        if (mArguments.Has(OptionId::kY4m)) {
            return std::make_unique<Y4mOutput>(place, inputs, video);
        }
        if (mArguments.Has(OptionId::kRaw)) {
            const RawLayout layout = {static_cast<uint32_t>(video.subType), video.width,
                                      video.height};
            return std::make_unique<RawOutput>(place, inputs, layout,
                                               mArguments.Has(OptionId::kCustom), name);
        }
        const PngSettings settings = {PixelAspectOf(video),
                                      static_cast<int>(mArguments.Number(OptionId::kCompression))};
        return std::make_unique<PngOutput>(place, inputs,
                                           static_cast<int>(mArguments.Number(OptionId::kDepth)),
                                           settings, mPool, name);
    }

    const Arguments& mArguments;
    WorkerPool mPool;
    TimecodeStart mStart = {};
};

// What the table of options can't express.
std::string UsageProblem(const Arguments& arguments) {
    const bool isRaw = arguments.Has(OptionId::kRaw);
    const bool isY4m = arguments.Has(OptionId::kY4m);
    if (arguments.Has(OptionId::kPartial) && !isRaw && !isY4m) {
        return "--partial needs --raw or --y4m";
    }
    if (isY4m && (arguments.Has(OptionId::kDepth) || arguments.Has(OptionId::kTimecodeNames))) {
        return "--y4m writes the levels of the file into one stream: no --depth, no names";
    }
    return {};
}

}  // namespace

int RunFrames(const Arguments& arguments) {
    if (const std::string problem = UsageProblem(arguments); !problem.empty()) {
        return Complain(kExitUsage, problem);
    }
    FramesCommand command(arguments);
    return WithMovies(arguments,
                      [&command](const MovieAtWork& movie) { return command.Write(movie); });
}

}  // namespace kvx_cli
