#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/movie/track_look.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/picture/frame_output.h"
#include "cli/picture/frame_range.h"
#include "cli/picture/frame_reader.h"

namespace kvx_cli {

namespace {

// Frames that can't be had, told in stretches that have the same reason.
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

    // Those that have not been told. Call it at the end.
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
        return output.Write(frame.number, kvx_hostkit::PixelBuffers::View(frame.ppix));
    }
    missing.Add(frame.number, frame.failure);
    if (output.NamesFrames() || fillsPlaces) {
        return output.WriteZeros(frame.number);
    }
    return {kExitRefused,
            "ended before frame " + std::to_string(frame.number) +
                "; --partial goes on, with zeros in the places of frames that can't be read"};
}

int WriteFrames(const MovieAtWork& movie, FrameRange range, bool fillsPlaces, FrameOutput& output) {
    if (const Problem problem = output.Open()) {
        return Complain(movie.path, problem);
    }
    MissingFrames missing(movie.path);
    const bool isShort = LookAtTrack(movie.limit, movie.path, kvx_inspect::TrackKind::Video, 0)
                             .firstMissing.has_value();
    // Before the reader takes standard error away.
    ProgressBar progress("frames", range.end - range.first);
    FrameReader reader(movie.clip, FramesOf(range), {output.Format()}, movie.limit.Limit());
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
    if (!problem) {
        problem = output.Finish();
    }
    missing.Tell();
    if (problem) {
        Complain(movie.path, problem);
    }
    return Graver(problem.code, missing.Code());
}

std::unique_ptr<FrameOutput> MakeOutput(const Arguments& arguments, const std::string& place,
                                        const InputFiles& inputs, const imFileInfoRec8& video) {
    if (arguments.Has(OptionId::kRaw)) {
        const RawLayout layout = {static_cast<uint32_t>(video.subType), video.width, video.height};
        return std::make_unique<RawOutput>(place, inputs, layout, arguments.Has(OptionId::kCustom));
    }
    return std::make_unique<PngOutput>(
        place, inputs, static_cast<int>(arguments.Number(OptionId::kDepth)), PixelAspectOf(video));
}

int WriteVideo(const MovieAtWork& movie, const Arguments& arguments) {
    const std::vector<imFileInfoRec8> streams = movie.clip.Streams();
    const imFileInfoRec8* const video = FindVideo(streams);
    Problem problem = CheckPictures(video);
    FrameRange range = {};
    if (!problem) {
        problem = ReadFrameRange(arguments.Text(OptionId::kRange), FrameCount(*video), range);
    }
    std::string place;
    if (!problem) {
        problem = FindOutput(arguments, movie, "", place);
    }
    if (problem) {
        return Complain(movie.path, problem);
    }
    const auto output = MakeOutput(arguments, place, movie.inputs, *video);
    const int exitCode = WriteFrames(movie, range, arguments.Has(OptionId::kPartial), *output);
    if (exitCode == kExitDone || exitCode == kExitRefused) {
        TellDone(arguments, movie, place);
    }
    return exitCode;
}

}  // namespace

int RunFrames(const Arguments& arguments) {
    if (arguments.Text(OptionId::kOutput) == "-" && !arguments.Has(OptionId::kRaw)) {
        return Complain(kExitUsage, "only --raw frames go to standard output");
    }
    return WithMovies(
        arguments, [&arguments](const MovieAtWork& movie) { return WriteVideo(movie, arguments); });
}

}  // namespace kvx_cli
