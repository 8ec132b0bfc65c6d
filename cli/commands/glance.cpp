#include "cli/commands/glance.h"

#include <algorithm>
#include <cmath>

#include "cli/movie/streams.h"
#include "cli/movie/track_look.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/output/unfinished_files.h"
#include "cli/picture/frame_reader.h"
#include "cli/sound/sound_reader.h"

namespace kvx_cli {

using kvx_inspect::TrackKind;

namespace {

// Of a stretch of sound that has more frames than this, so many pieces of so many frames are read.
constexpr int64_t kPieces = 4;
constexpr int64_t kPieceFrames = 1024;

std::vector<std::string> FactsOf(const imFileInfoRec8& video,
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

void ReadWhole(SoundReader& reader, const imFileInfoRec8& info, Waveform& wave) {
    ProgressBar progress("sound", info.audioDuration);
    int64_t done = 0;
    while (const size_t count = reader.ReadBlock()) {
        wave.Add(reader.Planes(), count);
        done += static_cast<int64_t>(count);
        progress.Update(done);
    }
}

// Pieces at equal distances, kPieces to a column.
void ReadPieces(SoundReader& reader, const imFileInfoRec8& info, int columns, Waveform& wave) {
    const int64_t length = info.audioDuration;
    const int64_t count = columns * kPieces;
    ProgressBar progress("sound", count);
    for (int64_t piece = 0; piece < count; ++piece) {
        // piece / count of the way, without a product that overflows.
        const int64_t position = piece * (length / count) + piece * (length % count) / count;
        const size_t frames = reader.ReadAt(position, kPieceFrames);
        if (reader.GetProblem() || frames == 0) {
            return;
        }
        wave.GoTo(position);
        wave.Add(reader.Planes(), frames);
        progress.Update(piece);
    }
}

}  // namespace

Glance::Glance(const MovieAtWork& movie)
    : mMovie(movie),
      mStreams(movie.clip.Streams()),
      mVideo(FindVideo(mStreams)),
      mStart(ReadTimecodeStart(movie.clip)) {}

std::vector<std::string> Glance::Facts() const {
    return FactsOf(*mVideo, mStreams, mStart);
}

void Glance::Miss(const std::string& words) {
    mCode = ExitCode(Complain(kExitRefused, mMovie.path, words));
}

std::vector<Waveform> Glance::ReadSounds(int columns, std::vector<std::string>& notes) {
    std::vector<Waveform> sounds;
    for (size_t number = 0; number < SoundStreamCount(mStreams); ++number) {
        const imFileInfoRec8& info = mStreams[number];
        SoundReader reader(mMovie.clip, static_cast<int32_t>(number), info, mMovie.limit);
        if (reader.Start()) {
            Waveform wave(info.audioChannels, info.audioDuration, columns);
            if (info.audioDuration / columns > kPieces * kPieceFrames) {
                ReadPieces(reader, info, columns, wave);
            } else {
                ReadWhole(reader, info, wave);
            }
            if (!reader.GetProblem()) {
                sounds.push_back(std::move(wave));
            }
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
            words.insert(0, "sound " + std::to_string(number) + ": ");
            notes.push_back(words);
            Miss(words);
        }
    }
    return sounds;
}

Problem Glance::BeginFrames(int64_t room, int& count) {
    if (Problem problem = CheckPictures(mVideo)) {
        return problem;
    }
    const std::vector<int64_t> numbers = SpreadFrames(FrameCount(*mVideo), room);
    count = static_cast<int>(numbers.size());
    const bool isShort =
        LookAtTrack(mMovie.limit, mMovie.path, TrackKind::Video, 0).firstMissing.has_value();
    // Before the reader takes standard error away.
    mProgress = std::make_unique<ProgressBar>("frames", count);
    mReader = std::make_unique<FrameReader>(
        mMovie.clip, numbers, std::vector<PrPixelFormat>{PictureFormat(8)}, mMovie.limit.Limit());
    if (isShort) {
        mReader->ExpectMissingFrames();
    }
    return mReader->Start();
}

Problem Glance::NextFrame(Frame& frame) {
    FrameReader::Frame read;
    if (!mReader->Next(read)) {
        return mReader->GetProblem();
    }
    frame.caption = Caption(mStart, *mVideo, read.number);
    frame.isThere = read.ppix != nullptr;
    if (frame.isThere) {
        frame.view = kvx_hostkit::PixelBuffers::View(read.ppix);
    } else {
        Miss("frame " + std::to_string(read.number) + ": " + read.failure);
    }
    mProgress->Update(static_cast<int64_t>(mReader->Delivered()));
    return {};
}

void Glance::EndFrames() {
    mReader = nullptr;
    mProgress = nullptr;
}

}  // namespace kvx_cli
