#include <cmath>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/movie/timecode.h"
#include "cli/movie/track_look.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/output/unfinished_files.h"
#include "cli/picture/contact_sheet.h"
#include "cli/picture/frame_reader.h"
#include "cli/sound/sound_reader.h"

namespace kvx_cli {

using kvx_inspect::TrackKind;

namespace {

std::vector<std::string> Facts(const imFileInfoRec8& video,
                               const std::vector<imFileInfoRec8>& streams,
                               const TimecodeStart& start) {
    std::vector<std::string> facts = {
        FourCharText(static_cast<uint32_t>(video.subType)),
        std::to_string(video.width) + " x " + std::to_string(video.height),
        RateText(video.videoScale, video.videoSampleSize) + " frames a second",
        DurationText(video.videoDuration, video.videoScale),
    };
    if (!start.text.empty()) {
        facts.push_back("from " + start.text);
    }
    for (size_t number = 0; number < SoundStreamCount(streams); ++number) {
        const int32_t channels = streams[number].audioChannels;
        facts.push_back(std::to_string(std::lround(streams[number].audioSampleRate)) + " Hz, " +
                        std::to_string(channels) + (channels == 1 ? " channel" : " channels"));
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

// A sheet, and what is missing on it.
class SheetMaker {
  public:
    SheetMaker(const MovieAtWork& movie, const SheetLayout& layout)
        : mMovie(movie), mLayout(layout), mStreams(movie.clip.Streams()) {}

    Problem Draw(int rows, Picture& sheet) {
        const imFileInfoRec8* const video = FindVideo(mStreams);
        if (Problem problem = CheckPictures(video)) {
            return problem;
        }
        const TimecodeStart start = ReadTimecodeStart(mMovie.clip);
        const std::vector<int64_t> numbers =
            SpreadFrames(FrameCount(*video), int64_t{mLayout.columns} * rows);
        mContents.title = std::filesystem::path(mMovie.path).filename().string();
        mContents.facts = Facts(*video, mStreams, start);
        mContents.aspect = PixelAspectOf(*video);
        mContents.frameWidth = video->width;
        mContents.frameHeight = video->height;
        mContents.frameCount = static_cast<int>(numbers.size());
        ReadSounds();

        const bool isShort =
            LookAtTrack(mMovie.limit, mMovie.path, TrackKind::Video, 0).firstMissing.has_value();
        // Before the reader takes standard error away.
        ProgressBar progress("frames", mContents.frameCount);
        FrameReader reader(mMovie.clip, numbers, {PictureFormat(8)}, mMovie.limit.Limit());
        if (isShort) {
            reader.ExpectMissingFrames();
        }
        if (Problem problem = reader.Start()) {
            return problem;
        }
        mContents.nextFrame = [&](SheetFrame& drawn) {
            FrameReader::Frame frame;
            if (!reader.Next(frame)) {
                return reader.GetProblem();
            }
            drawn.caption = Caption(start, *video, frame.number);
            if (frame.ppix != nullptr) {
                drawn.picture = PictureOf(kvx_hostkit::PixelBuffers::View(frame.ppix));
            } else {
                Miss("frame " + std::to_string(frame.number) + ": " + frame.failure);
            }
            progress.Update(static_cast<int64_t>(reader.Delivered()));
            return Problem();
        };
        return DrawSheet(mContents, mLayout, sheet);
    }

    // kExitRefused if anything is missing.
    ExitCode Code() const { return mCode; }

  private:
    void Miss(const std::string& words) {
        mCode = ExitCode(Complain(kExitRefused, mMovie.path, words));
    }

    // A sound that can't be had leaves the sheet without it: the pictures are still of use.
    void ReadSounds() {
        for (size_t number = 0; number < SoundStreamCount(mStreams); ++number) {
            const imFileInfoRec8& info = mStreams[number];
            SoundReader reader(mMovie.clip, static_cast<int32_t>(number), info, mMovie.limit);
            if (reader.Start()) {
                ReadSound(reader, info);
            }
            if (reader.HasTimedOut()) {
                EndAtOnce(Complain(mMovie.path, reader.GetProblem()));
            }
            std::string words = reader.GetProblem().words;
            if (words.empty()) {
                // The importer delivers silence for what the file does not hold.
                words = LookAtTrack(mMovie.limit, mMovie.path, TrackKind::Sound, number).missing;
            }
            if (!words.empty()) {
                words = "sound " + std::to_string(number) + ": " + words;
                mContents.notes.push_back(words);
                Miss(words);
            }
        }
    }

    void ReadSound(SoundReader& reader, const imFileInfoRec8& info) {
        Waveform wave(info.audioChannels, info.audioDuration, SheetSoundColumns(mLayout));
        ProgressBar progress("sound", info.audioDuration);
        int64_t done = 0;
        while (const size_t count = reader.ReadBlock()) {
            wave.Add(reader.Planes(), count);
            done += static_cast<int64_t>(count);
            progress.Update(done);
        }
        if (!reader.GetProblem()) {
            mContents.sounds.push_back(std::move(wave));
        }
    }

    const MovieAtWork& mMovie;
    SheetLayout mLayout;
    std::vector<imFileInfoRec8> mStreams;
    SheetContents mContents;
    ExitCode mCode = kExitDone;
};

}  // namespace

int RunSheet(const Arguments& arguments) {
    const SheetLayout layout = {static_cast<int>(arguments.Number(OptionId::kWidth)),
                                static_cast<int>(arguments.Number(OptionId::kColumns))};
    if (const Problem problem = CheckLayout(layout)) {
        return Complain(problem.code, problem.words);
    }
    return WithMovies(arguments, [&](const MovieAtWork& movie) -> int {
        std::string place;
        Problem problem = FindOutput(arguments, movie, ".png", place);
        OutputFile file;
        if (!problem) {
            problem = file.Open(place, movie.inputs);
        }
        SheetMaker maker(movie, layout);
        Picture sheet;
        if (!problem) {
            problem = maker.Draw(static_cast<int>(arguments.Number(OptionId::kRows)), sheet);
        }
        if (!problem) {
            problem = WritePng(file, sheet, {});
        }
        if (problem) {
            return Complain(movie.path, problem);
        }
        TellDone(arguments, movie, place);
        return maker.Code();
    });
}

}  // namespace kvx_cli
