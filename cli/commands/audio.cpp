#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/sound/sound_reader.h"
#include "cli/sound/wav_writer.h"

namespace kvx_cli {

namespace {

struct AudioOptions {
    std::string movie;
    std::string output;
    int stream;
};

int Copy(SoundReader& reader, const imFileInfoRec8& info, const AudioOptions& options) {
    const WavFormat format = {info.audioChannels,
                              static_cast<int>(std::lround(info.audioSampleRate))};
    WavWriter writer;
    if (!writer.Open(options.output, format)) {
        return Complain(kExitRefused, options.movie, writer.Problem());
    }
    std::vector<float> interleaved(SoundReader::kBlockFrames *
                                   static_cast<size_t>(format.channels));
    int64_t done = 0;
    {
        ProgressBar progress("sound", info.audioDuration);
        while (const size_t frames = reader.ReadBlock()) {
            Interleave(reader.Planes(), format.channels, frames, interleaved.data());
            if (!writer.Write(interleaved.data(), frames)) {
                return Complain(kExitRefused, options.movie, writer.Problem());
            }
            done += static_cast<int64_t>(frames);
            progress.Update(done);
        }
    }
    if (!reader.Problem().empty()) {
        return Complain(kExitRefused, options.movie, reader.Problem());
    }
    if (!writer.Finish()) {
        return Complain(kExitRefused, options.movie, writer.Problem());
    }
    std::printf("%s: %s, %d Hz, %d channel%s, 32-bit float\n", options.output.c_str(),
                DurationText(done, format.sampleRate).c_str(), format.sampleRate, format.channels,
                format.channels == 1 ? "" : "s");
    return kExitDone;
}

int WriteSound(const kvx_hostkit::Clip& clip, const AudioOptions& options) {
    const std::vector<imFileInfoRec8> streams = clip.Streams();
    const size_t count = SoundStreamCount(streams);
    if (count == 0) {
        return Complain(kExitRefused, options.movie, "it has no sound");
    }
    const size_t number = static_cast<size_t>(options.stream);
    if (number >= count) {
        return Complain(kExitUsage, options.movie,
                        "its last sound stream is number " + std::to_string(count - 1));
    }
    SoundReader reader(clip, options.stream, streams[number]);
    if (!reader.Start()) {
        return Complain(kExitRefused, options.movie, reader.Problem());
    }
    return Copy(reader, streams[number], options);
}

}  // namespace

int RunAudio(const Arguments& arguments) {
    const AudioOptions options = {arguments.Movie(), arguments.Text(OptionId::kOutput),
                                  static_cast<int>(arguments.Number(OptionId::kStream))};
    return WithMovieInto(arguments, options.output, [&options](const kvx_hostkit::Clip& clip) {
        return WriteSound(clip, options);
    });
}

}  // namespace kvx_cli
