#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/movie/timecode.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/picture/contact_sheet.h"
#include "cli/picture/frame_reader.h"
#include "cli/sound/sound_reader.h"

namespace kvx_cli {

namespace {

struct SheetOptions {
    std::string movie;
    std::string output;
    SheetLayout layout;
    int rows = 0;
    std::chrono::seconds patience{0};  // that a frame may take
};

std::string Facts(const imFileInfoRec8& video, const std::vector<imFileInfoRec8>& streams,
                  const TimecodeStart& start) {
    std::string facts = FourCharText(static_cast<uint32_t>(video.subType)) + "    " +
                        std::to_string(video.width) + " x " + std::to_string(video.height) +
                        "    " + RateText(video.videoScale, video.videoSampleSize) +
                        " frames a second    " +
                        DurationText(video.videoDuration, video.videoScale);
    if (!start.text.empty()) {
        facts += "    from " + start.text;
    }
    for (size_t number = 0; number < SoundStreamCount(streams); ++number) {
        const int32_t channels = streams[number].audioChannels;
        facts += "    " + std::to_string(std::lround(streams[number].audioSampleRate)) + " Hz, " +
                 std::to_string(channels) + (channels == 1 ? " channel" : " channels");
    }
    return facts;
}

// Timecode where the movie counts in one, else the time from its start.
std::string Caption(const TimecodeStart& start, const imFileInfoRec8& video, int64_t frame) {
    const std::string timecode =
        FrameTimecode(start, frame, video.videoScale, video.videoSampleSize);
    return (timecode.empty() ? DurationText(frame * video.videoSampleSize, video.videoScale)
                             : timecode) +
           "    frame " + std::to_string(frame);
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

std::string WriteSheet(const kvx_hostkit::Clip& clip, const SheetOptions& options) {
    const std::vector<imFileInfoRec8> streams = clip.Streams();
    const imFileInfoRec8* const video = FindVideo(streams);
    if (video == nullptr) {
        return "it has no video";
    }
    const TimecodeStart start = ReadTimecodeStart(clip);
    const std::vector<int64_t> numbers =
        SpreadFrames(FrameCount(*video), int64_t{options.layout.columns} * options.rows);
    SheetContents contents;
    contents.title = std::filesystem::path(options.movie).filename().string();
    contents.facts = Facts(*video, streams, start);
    contents.aspect = PixelAspectOf(*video);
    contents.frameWidth = video->width;
    contents.frameHeight = video->height;
    contents.frameCount = static_cast<int>(numbers.size());
    ReadSounds(clip, streams, options.layout, contents.sounds);

    // Before the reader takes standard error away.
    ProgressBar progress("frames", contents.frameCount);
    FrameReader reader(clip, numbers, {PictureFormat(8)}, options.patience);
    contents.nextFrame = [&](SheetFrame& frame) {
        const PPixHand ppix = reader.Next();
        if (ppix == nullptr) {
            return reader.Problem();
        }
        frame.picture = PictureOf(kvx_hostkit::PixelBuffers::View(ppix));
        frame.caption = Caption(start, *video, reader.FrameNumber());
        progress.Update(static_cast<int64_t>(reader.Delivered()));
        return std::string();
    };
    return reader.Start() ? DrawSheet(options.output, contents, options.layout) : reader.Problem();
}

}  // namespace

int RunSheet(const Arguments& arguments) {
    SheetOptions options;
    options.movie = arguments.Movie();
    options.output = arguments.Text(OptionId::kOutput);
    options.layout.width = static_cast<int>(arguments.Number(OptionId::kWidth));
    options.layout.columns = static_cast<int>(arguments.Number(OptionId::kColumns));
    options.rows = static_cast<int>(arguments.Number(OptionId::kRows));
    options.patience = std::chrono::seconds(arguments.Number(OptionId::kPatience));
    return WithMovieInto(arguments, options.output, [&options](const kvx_hostkit::Clip& clip) {
        const std::string problem = WriteSheet(clip, options);
        return problem.empty() ? kExitDone : Complain(kExitRefused, options.movie, problem);
    });
}

}  // namespace kvx_cli
