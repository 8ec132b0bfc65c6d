#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/complain.h"
#include "cli/frame_range.h"
#include "cli/frame_reader.h"
#include "cli/progress_bar.h"
#include "cli/raw_frame.h"
#include "cli/raw_output.h"
#include "cli/streams.h"
#include "cli/text.h"
#include "cli/with_movie.h"

namespace kvx_cli {

namespace {

struct FramesOptions {
    std::string movie;
    std::string output;
    std::string range;
    bool custom = false;
    int patience = 30;  // seconds
};

// Answers what went wrong; nothing if all frames are written.
std::string WriteFrames(const kvx_hostkit::Clip& clip, FrameRange range, PrPixelFormat format,
                        const FramesOptions& options, RawOutput& output) {
    // Before the reader takes standard error away.
    ProgressBar progress("frames", range.end - range.first);
    FrameReader reader(clip, range, format, std::chrono::seconds(options.patience));
    if (!reader.Start()) {
        return reader.Problem();
    }
    while (const PPixHand frame = reader.Next()) {
        const std::vector<ByteSpan> bytes = RawBytes(kvx_hostkit::PixelBuffers::View(frame));
        if (bytes.empty()) {
            return "frame " + std::to_string(reader.FrameNumber()) + " has a header without sense";
        }
        if (!output.Write(reader.FrameNumber(), bytes)) {
            return output.Problem();
        }
        progress.Update(reader.FrameNumber() + 1 - range.first);
    }
    return reader.Problem();
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
    const auto fileFormat = static_cast<uint32_t>(video->subType);
    RawOutput output(options.output, FourCharText(fileFormat));
    if (!output.Open()) {
        return Complain(kExitRefused, options.movie, output.Problem());
    }
    const PrPixelFormat format =
        options.custom ? kKVXCustomPixelFormat : RawPixelFormat(fileFormat);
    problem = WriteFrames(clip, range, format, options, output);
    return problem.empty() ? kExitDone : Complain(kExitRefused, options.movie, problem);
}

int RunFrames(const FramesOptions& options, const CommonOptions& common) {
    return WithMovie(common, options.movie, [&options](const kvx_hostkit::Clip& clip) {
        return WriteVideo(clip, options);
    });
}

}  // namespace

void AddFramesCommand(CLI::App& app, const CommonOptions& common, Command& chosen) {
    const auto options = std::make_shared<FramesOptions>();
    CLI::App* command = app.add_subcommand("frames", "Write the frames of a movie");
    command->add_option("movie", options->movie, "A QuickTime movie")->required();
    command->add_flag("--raw", "Write each frame as the bytes that it has in the file")->required();
    command
        ->add_option("-o,--output", options->output,
                     "The folder to write into, a file for each frame named by its number; - "
                     "writes all frames to standard output, one after the other")
        ->required()
        ->type_name("DIR|-");
    command
        ->add_option("--range", options->range,
                     "The frames from A up to but without B, counted from 0; either may be left "
                     "out")
        ->type_name("A:B");
    command->add_flag("--custom", options->custom,
                      "Have the host ask for the importer's own pixel format, which carries the "
                      "file's bytes behind a header. What is written are again the frame's own "
                      "bytes, taken from behind the header");
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
