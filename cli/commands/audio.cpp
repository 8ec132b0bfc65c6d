#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/movie/track_look.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/output/unfinished_files.h"
#include "cli/sound/sound_reader.h"
#include "cli/sound/wav_writer.h"

namespace kvx_cli {

namespace {

// A problem of the reader, which may leave nothing to be done but to end.
Problem ReaderProblem(const MovieAtWork& movie, const SoundReader& reader) {
    if (reader.HasTimedOut()) {
        EndAtOnce(Complain(movie.path, reader.GetProblem()));
    }
    return reader.GetProblem();
}

Problem Copy(const MovieAtWork& movie, SoundReader& reader, const WavFormat& format,
             const std::string& output, int64_t length) {
    WavWriter writer;
    if (Problem problem =
            writer.Open(output, movie.inputs, format, static_cast<uint64_t>(length))) {
        return problem;
    }
    std::vector<float> interleaved(SoundReader::kBlockFrames *
                                   static_cast<size_t>(format.channels));
    ProgressBar progress("sound", length);
    int64_t done = 0;
    while (const size_t read = done < length ? reader.ReadBlock() : 0) {
        const size_t frames = std::min(read, static_cast<size_t>(length - done));
        Interleave(reader.Planes(), format.channels, frames, interleaved.data());
        if (Problem problem = writer.Write(interleaved.data(), frames)) {
            return problem;
        }
        done += static_cast<int64_t>(frames);
        progress.Update(done);
    }
    const Problem problem = ReaderProblem(movie, reader);
    return problem ? problem : writer.Finish();
}

int WriteSound(const MovieAtWork& movie, const Arguments& arguments) {
    const std::vector<imFileInfoRec8> streams = movie.clip.Streams();
    const size_t count = SoundStreamCount(streams);
    if (count == 0) {
        return Complain(kExitRefused, movie.path, "it has no sound");
    }
    const auto number = static_cast<size_t>(arguments.Number(OptionId::kStream));
    if (number >= count) {
        return Complain(kExitRefused, movie.path,
                        "its last sound stream is number " + std::to_string(count - 1));
    }
    const imFileInfoRec8& info = streams[number];
    SoundReader reader(movie.clip, static_cast<int32_t>(number), info, movie.limit);
    Problem problem;
    if (!reader.Start()) {
        return Complain(movie.path, ReaderProblem(movie, reader));
    }
    int64_t length = reader.FindLength();
    problem = ReaderProblem(movie, reader);
    // The importer delivers silence for what the file does not hold.
    const TrackLook look =
        LookAtTrack(movie.limit, movie.path, kvx_inspect::TrackKind::Sound, number);
    if (!problem && look.firstMissing) {
        const int64_t there = std::min(length, *look.firstMissing);
        if (!arguments.Has(OptionId::kPartial)) {
            return Complain(kExitRefused, movie.path,
                            look.missing + "; --partial writes the sound up to there");
        }
        Complain(kExitRefused, movie.path, look.missing);
        length = there;
    }
    const WavFormat format = {info.audioChannels,
                              static_cast<int>(std::lround(info.audioSampleRate))};
    const std::string output = arguments.Text(OptionId::kOutput);
    if (!problem) {
        problem = Copy(movie, reader, format, output, length);
    }
    if (problem) {
        return Complain(movie.path, problem);
    }
    if (!arguments.Has(OptionId::kQuiet)) {
        Complain(kExitDone, output,
                 DurationText(length, format.sampleRate) + ", " +
                     std::to_string(format.sampleRate) + " Hz, " + std::to_string(format.channels) +
                     (format.channels == 1 ? " channel" : " channels") + ", 32-bit float");
    }
    return look.firstMissing ? kExitRefused : kExitDone;
}

}  // namespace

int RunAudio(const Arguments& arguments) {
    return WithMovie(
        arguments, [&arguments](const MovieAtWork& movie) { return WriteSound(movie, arguments); });
}

}  // namespace kvx_cli
