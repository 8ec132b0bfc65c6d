#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "cli/commands.h"
#include "cli/complain.h"
#include "cli/progress_bar.h"
#include "cli/session.h"
#include "cli/sound_reader.h"
#include "cli/text.h"
#include "cli/wav_writer.h"

namespace kvx_cli {

namespace {

struct AudioOptions {
    std::string movie;
    std::string output;
    int stream = 0;
};

// The streams with sound are the first ones of the movie, since both kinds are numbered from 0.
size_t SoundStreamCount(const std::vector<imFileInfoRec8>& streams) {
    size_t count = 0;
    while (count < streams.size() && streams[count].hasAudio != 0) {
        ++count;
    }
    return count;
}

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

int RunAudio(const AudioOptions& options, const CommonOptions& common) {
    std::error_code ignored;
    if (std::filesystem::equivalent(options.movie, options.output, ignored)) {
        return Complain(kExitUsage, options.output, "this is the movie itself");
    }
    std::string problem;
    const std::unique_ptr<Session> session = Session::Start(common.modulePath, problem);
    if (session == nullptr) {
        return Complain(kExitUsage, options.movie, problem);
    }
    const OpenedMovie movie = OpenMovie(*session, options.movie);
    if (movie.clip == nullptr) {
        return Complain(kExitRefused, options.movie, "not importable: " + movie.refusal);
    }
    const std::vector<imFileInfoRec8> streams = movie.clip->Streams();
    const size_t count = SoundStreamCount(streams);
    if (count == 0) {
        return Complain(kExitRefused, options.movie, "it has no sound");
    }
    const size_t number = static_cast<size_t>(options.stream);
    if (number >= count) {
        return Complain(kExitUsage, options.movie,
                        "its last sound stream is number " + std::to_string(count - 1));
    }
    SoundReader reader(*movie.clip, options.stream, streams[number]);
    if (!reader.Start()) {
        return Complain(kExitRefused, options.movie, reader.Problem());
    }
    return Copy(reader, streams[number], options);
}

}  // namespace

void AddAudioCommand(CLI::App& app, const CommonOptions& common, Command& chosen) {
    const auto options = std::make_shared<AudioOptions>();
    CLI::App* command =
        app.add_subcommand("audio", "Write the sound of a movie as a WAV file of 32-bit floats");
    command->add_option("movie", options->movie, "A QuickTime movie")->required();
    command->add_option("-o,--output", options->output, "The WAV file to write")
        ->required()
        ->type_name("OUT.wav");
    command->add_option("--stream", options->stream, "The sound stream, as `kvx info` numbers them")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->callback([options, &common, &chosen] {
        chosen = [options, &common] { return RunAudio(*options, common); };
    });
}

}  // namespace kvx_cli
