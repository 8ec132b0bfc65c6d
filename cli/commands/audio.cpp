#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/media_track.h"
#include "cli/movie/streams.h"
#include "cli/movie/timecode.h"
#include "cli/movie/track_look.h"
#include "cli/output/complain.h"
#include "cli/output/progress_bar.h"
#include "cli/output/text.h"
#include "cli/output/unfinished_files.h"
#include "cli/sound/float_sound.h"
#include "cli/sound/joined_sound.h"
#include "cli/sound/native_sound.h"
#include "cli/sound/sound_reader.h"
#include "cli/sound/wav_writer.h"

namespace kvx_cli {

using kvx_inspect::Report;
using kvx_inspect::TrackFacts;
using kvx_inspect::TrackKind;

namespace {

constexpr size_t kMostBytesPerFrame = 0xFFFF;
constexpr char kPartialHint[] = "; --partial writes the sound up to there";

using Sources = std::vector<std::unique_ptr<SoundSource>>;

// The problem of a sound that is being read, which may leave nothing to be done but to end.
template <typename Sound>
Problem ProblemOf(const std::string& movie, const Sound& sound) {
    if (sound.HasTimedOut()) {
        EndAtOnce(Complain(movie, sound.GetProblem()));
    }
    return sound.GetProblem();
}

// Writes the sounds of one movie where they are to go.
class SoundOutput {
  public:
    SoundOutput(const Arguments& arguments, const std::string& movie, const InputFiles& inputs,
                const std::string& place)
        : mMovie(movie),
          mInputs(inputs),
          mPlace(place),
          mIsAll(arguments.Has(OptionId::kAll)),
          mIsQuiet(arguments.Has(OptionId::kQuiet)) {}

    Problem Write(Sources sources) const {
        if (!mIsAll || IsOneFile()) {
            return WriteOne(std::move(sources));
        }
        if (Problem problem = MakeOutputFolder(mPlace)) {
            return problem;
        }
        for (size_t number = 0; number < sources.size(); ++number) {
            const std::string name = "sound-" + std::to_string(number) + ".wav";
            if (Problem problem =
                    WriteFile(*sources[number], (std::filesystem::path(mPlace) / name).string())) {
                return problem;
            }
        }
        return {};
    }

  private:
    bool IsOneFile() const {
        std::string extension = std::filesystem::path(mPlace).extension().string();
        for (char& character : extension) {
            character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
        }
        return mPlace == "-" || extension == ".wav";
    }

    Problem WriteOne(Sources sources) const {
        size_t frameSize = 0;
        for (const auto& source : sources) {
            if (!JoinedSound::CanJoin(source->Format(), sources.front()->Format())) {
                return {kExitRefused,
                        "its streams differ in rate or form, so that one file does not hold them; "
                        "with -o and the name of a folder, each gets a file"};
            }
            frameSize += BytesPerFrame(source->Format());
        }
        if (frameSize > kMostBytesPerFrame) {
            return {kExitRefused, "its streams have more channels than a WAV file holds"};
        }
        if (sources.size() == 1) {
            return WriteFile(*sources.front(), mPlace);
        }
        JoinedSound joined(std::move(sources));
        return WriteFile(joined, mPlace);
    }

    Problem WriteFile(SoundSource& sound, const std::string& place) const {
        WavWriter writer;
        if (Problem problem = writer.Open(place, mInputs, sound.Format(), sound.Frames())) {
            return problem;
        }
        ProgressBar progress("sound", static_cast<int64_t>(sound.Frames()));
        std::vector<uint8_t> block;
        int64_t done = 0;
        while (const size_t frames = sound.ReadBlock(block)) {
            if (Problem problem = writer.Write(block.data(), frames)) {
                return problem;
            }
            done += static_cast<int64_t>(frames);
            progress.Update(done);
        }
        Problem problem = ProblemOf(mMovie, sound);
        problem = problem ? problem : writer.Finish();
        if (!problem && !mIsQuiet) {
            Complain(kExitDone, place, Summary(sound));
        }
        return problem;
    }

    static std::string Summary(const SoundSource& sound) {
        const WavFormat& format = sound.Format();
        return DurationText(static_cast<int64_t>(sound.Frames()), format.sampleRate) + ", " +
               std::to_string(format.sampleRate) + " Hz, " + std::to_string(format.channels) +
               (format.channels == 1 ? " channel" : " channels") + ", " +
               std::to_string(format.bits) + "-bit " + (format.isFloat ? "float" : "integer");
    }

    const std::string& mMovie;
    const InputFiles& mInputs;
    const std::string& mPlace;
    const bool mIsAll;
    const bool mIsQuiet;
};

// The sounds of a movie, as the importer delivers them.
class FloatSounds {
  public:
    FloatSounds(const MovieAtWork& movie, const Arguments& arguments)
        : mMovie(movie), mArguments(arguments), mStreams(movie.clip.Streams()) {}

    size_t Count() const { return SoundStreamCount(mStreams); }

    std::unique_ptr<SoundSource> Open(size_t number, Problem& problem) {
        const imFileInfoRec8& info = mStreams[number];
        auto reader = std::make_unique<SoundReader>(mMovie.clip, static_cast<int32_t>(number), info,
                                                    mMovie.limit);
        if (!reader->Start()) {
            problem = ProblemOf(mMovie.path, *reader);
            return nullptr;
        }
        int64_t length = reader->FindLength();
        problem = ProblemOf(mMovie.path, *reader);
        // The importer delivers silence for what the file does not hold.
        const TrackLook look = LookAtTrack(mMovie.limit, mMovie.path, TrackKind::Sound, number);
        if (!problem && look.firstMissing) {
            length = std::min(length, *look.firstMissing);
            if (!mArguments.Has(OptionId::kPartial)) {
                problem = {kExitRefused, look.missing + kPartialHint};
            } else {
                Complain(kExitRefused, mMovie.path, look.missing);
                mIsCut = true;
            }
        }
        WavFormat format = {info.audioChannels,
                            static_cast<int>(std::lround(info.audioSampleRate))};
        format.timeReference =
            SamplesFromMidnight(ReadTimecodeStart(mMovie.clip), info.audioSampleRate);
        return problem ? nullptr
                       : std::make_unique<FloatSound>(std::move(reader), format,
                                                      static_cast<uint64_t>(length));
    }

    bool IsCut() const { return mIsCut; }

  private:
    const MovieAtWork& mMovie;
    const Arguments& mArguments;
    std::vector<imFileInfoRec8> mStreams;
    bool mIsCut = false;
};

// The sounds of a movie, as they are in the file.
class NativeSounds {
  public:
    NativeSounds(std::shared_ptr<const Report> report, const Arguments& arguments, TimeLimit& limit)
        : mReport(std::move(report)), mArguments(arguments), mLimit(limit) {}

    size_t Count() const {
        return static_cast<size_t>(
            std::count_if(mReport->tracks.begin(), mReport->tracks.end(),
                          [](const TrackFacts& track) { return track.kind == TrackKind::Sound; }));
    }

    std::unique_ptr<SoundSource> Open(size_t number, Problem& problem) {
        const TrackFacts* const track = FindTrack(*mReport, TrackKind::Sound, number, problem);
        auto sound =
            track == nullptr ? nullptr : NativeSound::Create(mReport, *track, mLimit, problem);
        if (sound == nullptr || sound->MissingFrames() == 0) {
            return sound;
        }
        const std::string words = std::to_string(sound->MissingFrames()) + " of its " +
                                  std::to_string(sound->Frames() + sound->MissingFrames()) +
                                  " samples are not in the file";
        if (!mArguments.Has(OptionId::kPartial)) {
            problem = {kExitRefused, words + kPartialHint};
            return nullptr;
        }
        Complain(kExitRefused, mReport->path, words);
        mIsCut = true;
        return sound;
    }

    bool IsCut() const { return mIsCut; }

  private:
    std::shared_ptr<const Report> mReport;
    const Arguments& mArguments;
    TimeLimit& mLimit;
    bool mIsCut = false;
};

template <typename Sounds>
int WriteSounds(Sounds& sounds, const Arguments& arguments, const std::string& movie,
                const InputFiles& inputs, const std::string& place) {
    const size_t count = sounds.Count();
    if (count == 0) {
        return Complain(kExitRefused, movie, "it has no sound");
    }
    const bool isAll = arguments.Has(OptionId::kAll);
    const auto first = static_cast<size_t>(arguments.Number(OptionId::kStream));
    if (first >= count) {
        return Complain(kExitRefused, movie,
                        "its last sound stream is number " + std::to_string(count - 1));
    }
    Sources sources;
    Problem problem;
    for (size_t number = first; number < (isAll ? count : first + 1) && !problem; ++number) {
        sources.push_back(sounds.Open(number, problem));
        if (problem && isAll) {
            problem.words = "sound " + std::to_string(number) + ": " + problem.words;
        }
    }
    if (!problem) {
        problem = SoundOutput(arguments, movie, inputs, place).Write(std::move(sources));
    }
    return problem ? Complain(movie, problem) : sounds.IsCut() ? kExitRefused : kExitDone;
}

Problem FindSoundOutput(const Arguments& arguments, const NamedMovie& movie, std::string& place) {
    const char* const extension = arguments.Has(OptionId::kAll) ? "" : ".wav";
    return FindOutput(arguments, movie, extension, place);
}

int WriteNativeSounds(const Arguments& arguments, const NamedMovie& movie) {
    TimeLimit limit(Timeout(arguments));
    Problem problem;
    const auto report = LookAtMovie(limit, movie.path, problem);
    std::string place;
    if (report != nullptr) {
        AddInputs(*report, movie.inputs);
        problem = FindSoundOutput(arguments, movie, place);
    }
    if (problem) {
        return Complain(movie.path, problem);
    }
    NativeSounds sounds(report, arguments, limit);
    return WriteSounds(sounds, arguments, movie.path, movie.inputs, place);
}

int WriteFloatSounds(const Arguments& arguments, const MovieAtWork& movie) {
    std::string place;
    if (const Problem problem = FindSoundOutput(arguments, movie, place)) {
        return Complain(movie.path, problem);
    }
    FloatSounds sounds(movie, arguments);
    return WriteSounds(sounds, arguments, movie.path, movie.inputs, place);
}

}  // namespace

int RunAudio(const Arguments& arguments) {
    if (arguments.Has(OptionId::kNative)) {
        return ForEachMovie(arguments, [&arguments](const NamedMovie& movie) {
            return WriteNativeSounds(arguments, movie);
        });
    }
    return WithMovies(arguments, [&arguments](const MovieAtWork& movie) {
        return WriteFloatSounds(arguments, movie);
    });
}

}  // namespace kvx_cli
