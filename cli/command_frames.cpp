#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/complain.h"
#include "cli/frame_range.h"
#include "cli/frame_reader.h"
#include "cli/png_output.h"
#include "cli/progress_bar.h"
#include "cli/raw_output.h"
#include "cli/streams.h"
#include "cli/with_movie.h"

namespace kvx_cli {

namespace {

struct FramesOptions {
    std::string movie;
    std::string output;
    std::string range;
    bool raw = false;
    bool custom = false;
    int depth = 8;
    int patience = 30;  // seconds
};

// Answers what went wrong; nothing if all frames are written.
std::string WriteFrames(const kvx_hostkit::Clip& clip, FrameRange range, int patience,
                        FrameOutput& output) {
    // Before the reader takes standard error away.
    ProgressBar progress("frames", range.end - range.first);
    FrameReader reader(clip, FramesOf(range), {output.Format()}, std::chrono::seconds(patience));
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

int RunFrames(const FramesOptions& options, const CommonOptions& common) {
    if (options.output == "-" && !options.raw) {
        return Complain(kExitUsage, options.movie, "only --raw frames go to standard output");
    }
    return WithMovie(common, options.movie, [&options](const kvx_hostkit::Clip& clip) {
        return WriteVideo(clip, options);
    });
}

}  // namespace

void AddFramesCommand(CLI::App& app, const CommonOptions& common, Command& chosen) {
    const auto options = std::make_shared<FramesOptions>();
    CLI::App* command = app.add_subcommand(
        "frames", "Write the frames of a movie as PNG pictures, or as their bytes");
    command->add_option("movie", options->movie, "A QuickTime movie")->required();
    command
        ->add_option("-o,--output", options->output,
                     "The folder to write into, a file for each frame named by its number; with "
                     "--raw, - writes all frames to standard output, one after the other")
        ->required()
        ->type_name("DIR|-");
    command
        ->add_option("--range", options->range,
                     "The frames from A up to but without B, counted from 0; either may be left "
                     "out")
        ->type_name("A:B");
    CLI::Option* const raw = command->add_flag(
        "--raw", options->raw,
        "Write each frame as the bytes that it has in the file, not as a picture");
    command->add_option("--depth", options->depth, "The bits of a component in a picture")
        ->check(CLI::IsMember({8, 16}))
        ->excludes(raw)
        ->capture_default_str();
    command
        ->add_flag("--custom", options->custom,
                   "Have the host ask for the importer's own pixel format, which carries the "
                   "file's bytes behind a header. What is written are again the frame's own "
                   "bytes, taken from behind the header")
        ->needs(raw);
    command
        ->add_option("--patience", options->patience,
                     "How many seconds a frame may take before the command gives up")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->callback([options, &common, &chosen] {
        chosen = [options, &common] { return RunFrames(*options, common); };
    });
}

}  // namespace kvx_cli
