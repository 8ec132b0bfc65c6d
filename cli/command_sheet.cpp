#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/complain.h"
#include "cli/contact_sheet.h"
#include "cli/frame_reader.h"
#include "cli/progress_bar.h"
#include "cli/sound_reader.h"
#include "cli/start_timecode.h"
#include "cli/streams.h"
#include "cli/text.h"
#include "cli/with_movie.h"

namespace kvx_cli {

namespace {

struct SheetOptions {
    std::string movie;
    std::string output;
    SheetLayout layout;
    int rows = 3;
    int patience = 30;  // seconds a frame may take
};

std::string Facts(const imFileInfoRec8& video, const kvx_hostkit::Clip& clip) {
    std::string facts = FourCharText(static_cast<uint32_t>(video.subType)) + "    " +
                        std::to_string(video.width) + " x " + std::to_string(video.height) +
                        "    " + RateText(video.videoScale, video.videoSampleSize) +
                        " frames a second    " +
                        DurationText(video.videoDuration, video.videoScale);
    const std::string timecode = StartTimecode(clip);
    if (!timecode.empty()) {
        facts += "    from " + timecode;
    }
    return facts;
}

std::string ReadFrames(const kvx_hostkit::Clip& clip, const imFileInfoRec8& video,
                       const SheetOptions& options, std::vector<SheetFrame>& frames) {
    const std::vector<int64_t> numbers =
        SpreadFrames(FrameCount(video), int64_t{options.layout.columns} * options.rows);
    ProgressBar progress("frames", static_cast<int64_t>(numbers.size()));
    for (const int64_t number : numbers) {
        FrameReader reader(clip, {number, number + 1}, PictureFormat(8),
                           std::chrono::seconds(options.patience));
        const PPixHand frame = reader.Start() ? reader.Next() : nullptr;
        if (frame == nullptr) {
            return reader.Problem();
        }
        frames.push_back({PictureOf(kvx_hostkit::PixelBuffers::View(frame)),
                          DurationText(number * video.videoSampleSize, video.videoScale) +
                              "    frame " + std::to_string(number)});
        progress.Update(static_cast<int64_t>(frames.size()));
    }
    return {};
}

// A sound that cannot be delivered leaves the sheet without it: the pictures are still of use.
void ReadSounds(const kvx_hostkit::Clip& clip, const std::vector<imFileInfoRec8>& streams,
                const SheetLayout& layout, std::vector<Waveform>& sounds) {
    for (size_t number = 0; number < SoundStreamCount(streams); ++number) {
        const imFileInfoRec8& info = streams[number];
        SoundReader reader(clip, static_cast<int32_t>(number), info);
        if (!reader.Start()) {
            continue;
        }
        Waveform wave(info.audioChannels, info.audioDuration, SheetSoundColumns(layout));
        ProgressBar progress("sound", info.audioDuration);
        int64_t done = 0;
        while (const size_t count = reader.ReadBlock()) {
            wave.Add(reader.Planes(), count);
            done += static_cast<int64_t>(count);
            progress.Update(done);
        }
        if (reader.Problem().empty()) {
            sounds.push_back(std::move(wave));
        }
    }
}

int WriteSheet(const kvx_hostkit::Clip& clip, const SheetOptions& options) {
    const std::vector<imFileInfoRec8> streams = clip.Streams();
    const imFileInfoRec8* const video = FindVideo(streams);
    if (video == nullptr) {
        return Complain(kExitRefused, options.movie, "it has no video");
    }
    SheetContents contents;
    contents.title = std::filesystem::path(options.movie).filename().string();
    contents.facts = Facts(*video, clip);
    contents.aspect = PixelAspectOf(*video);
    std::string problem = ReadFrames(clip, *video, options, contents.frames);
    if (problem.empty()) {
        ReadSounds(clip, streams, options.layout, contents.sounds);
        problem = DrawSheet(options.output, contents, options.layout);
    }
    return problem.empty() ? kExitDone : Complain(kExitRefused, options.movie, problem);
}

int RunSheet(const SheetOptions& options, const CommonOptions& common) {
    std::error_code ignored;
    if (std::filesystem::equivalent(options.movie, options.output, ignored)) {
        return Complain(kExitUsage, options.output, "this is the movie itself");
    }
    return WithMovie(common, options.movie, [&options](const kvx_hostkit::Clip& clip) {
        return WriteSheet(clip, options);
    });
}

}  // namespace

void AddSheetCommand(CLI::App& app, const CommonOptions& common, Command& chosen) {
    const auto options = std::make_shared<SheetOptions>();
    CLI::App* command = app.add_subcommand(
        "sheet", "Draw a contact sheet: frames of the whole movie with their times, and its sound");
    command->add_option("movie", options->movie, "A QuickTime movie")->required();
    command->add_option("-o,--output", options->output, "The picture to write")
        ->required()
        ->type_name("SHEET.png");
    command->add_option("--columns", options->layout.columns, "Frames beside each other")
        ->check(CLI::Range(1, 20))
        ->capture_default_str();
    command->add_option("--rows", options->rows, "Frames below each other")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    command->add_option("--width", options->layout.width, "Of the sheet, in pixels")
        ->check(CLI::Range(400, 16000))
        ->capture_default_str();
    command
        ->add_option("--patience", options->patience,
                     "How many seconds a frame may take before the command gives up")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command->callback([options, &common, &chosen] {
        chosen = [options, &common] { return RunSheet(*options, common); };
    });
}

}  // namespace kvx_cli
