#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/picture/frame_output.h"
#include "cli/picture/frame_range.h"
#include "cli/picture/frame_reader.h"

namespace kvx_cli {

namespace {

struct FramesOptions {
    std::string movie;
    std::string output;
    std::string range;
    bool raw;
    bool custom;
    int depth;
    std::chrono::seconds patience;
};

// Answers what went wrong; nothing if all frames are written.
std::string WriteFrames(const kvx_hostkit::Clip& clip, FrameRange range,
                        std::chrono::seconds patience, FrameOutput& output) {
    // Before the reader takes standard error away.
    ProgressBar progress("frames", range.end - range.first);
    FrameReader reader(clip, FramesOf(range), {output.Format()}, patience);
    if (!reader.Start()) {
        return reader.Problem();
    }
    while (const PPixHand frame = reader.Next()) {
        const std::string problem =
            output.Write(reader.FrameNumber(), kvx_hostkit::PixelBuffers::View(frame));
        if (!problem.empty()) {
            return problem;
        }
        progress.Update(static_cast<int64_t>(reader.Delivered()));
    }
    return reader.Problem();
}

std::unique_ptr<FrameOutput> MakeOutput(const FramesOptions& options, const imFileInfoRec8& video) {
    if (options.raw) {
        return std::make_unique<RawOutput>(options.output, static_cast<uint32_t>(video.subType),
                                           options.custom);
    }
    return std::make_unique<PngOutput>(options.output, options.depth, PixelAspectOf(video));
}

int WriteVideo(const kvx_hostkit::Clip& clip, const FramesOptions& options) {
    const std::vector<imFileInfoRec8> streams = clip.Streams();
    const imFileInfoRec8* const video = FindVideo(streams);
    if (video == nullptr) {
        return Complain(kExitRefused, options.movie, "it has no video");
    }
    FrameRange range;
    std::string problem;
    if (!ReadFrameRange(options.range, FrameCount(*video), range, problem)) {
        return Complain(kExitUsage, options.movie, problem);
    }
    const std::unique_ptr<FrameOutput> output = MakeOutput(options, *video);
    problem = output->Open();
    if (problem.empty()) {
        problem = WriteFrames(clip, range, options.patience, *output);
    }
    return problem.empty() ? kExitDone : Complain(kExitRefused, options.movie, problem);
}

}  // namespace

int RunFrames(const Arguments& arguments) {
    const FramesOptions options = {
        arguments.Movie(),
        arguments.Text(OptionId::kOutput),
        arguments.Text(OptionId::kRange),
        arguments.Has(OptionId::kRaw),
        arguments.Has(OptionId::kCustom),
        static_cast<int>(arguments.Number(OptionId::kDepth)),
        std::chrono::seconds(arguments.Number(OptionId::kPatience)),
    };
    if (options.output == "-" && !options.raw) {
        return Complain(kExitUsage, options.movie, "only --raw frames go to standard output");
    }
    return WithMovie(
        arguments, [&options](const kvx_hostkit::Clip& clip) { return WriteVideo(clip, options); });
}

}  // namespace kvx_cli
