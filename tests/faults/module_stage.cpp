#include "faults/module_stage.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <thread>

#include "hostkit/frame_source.h"
#include "premiere/pixel_formats.h"
#include "support/entries_under_test.h"
#include "support/movie_builder.h"
#include "support/movie_file.h"

namespace kvx_test {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 32;
constexpr size_t kFrameSize = 4096;
constexpr int kFrames = 8;
constexpr int64_t kSoundFrames = 16000;

MovieRecipe Recipe() {
    SoundDescriptionV0 sound;
    MovieRecipe recipe;
    recipe.timeScale = 48000;
    recipe.duration = kSoundFrames;
    recipe.tracks = {
        VideoTrackRecipe({"2vuy", kWidth, kHeight, 24}, kFrameSize, kFrames),
        SoundTrackRecipe(Describe(sound), static_cast<uint32_t>(sound.channels * sound.bits / 8),
                         kSoundFrames, 48000, 2 * kMediaOffset),
        TimeCodeTrackRecipe({}, kFrames, 4 * kMediaOffset),
    };
    for (TrackRecipe& track : recipe.tracks) {
        track.headerDuration = kSoundFrames;
    }
    return recipe;
}

int OpenDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

PrPixelFormat FormatOf(ModuleStage::Road road) {
    switch (road) {
        case ModuleStage::Road::Converted:
            return PrPixelFormat_BGRA_4444_8u;
        case ModuleStage::Road::Custom:
            return kKVXCustomPixelFormat;
        default:
            return PrPixelFormat_UYVY_422_8u_601;
    }
}

template <typename Condition>
bool Comes(std::chrono::milliseconds patience, Condition holds) {
    const auto limit = std::chrono::steady_clock::now() + patience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    return true;
}

}  // namespace

StageMovies::StageMovies()
    : picture(WriteMovie(directory, Recipe(), {}, "picture.mov")),
      good(WriteMovie(directory, Recipe(), {}, "good.mov")) {}

ModuleStage::ModuleStage(const StageMovies& movies)
    : mMovies(movies), mImporter(host, EntriesUnderTest()), mDescriptors(OpenDescriptors()) {}

bool ModuleStage::Open() {
    Clip clip(mImporter, mMovies.picture);
    return clip.Open() != imNoErr;
}

bool ModuleStage::Info() {
    Clip clip(mImporter, mMovies.picture);
    if (clip.Open() != imNoErr) {
        return true;
    }
    long result = 0;
    const bool hasStreams = !clip.Streams(&result).empty();
    imTimeInfoRec8 time;
    return !hasStreams || result != imNoErr || clip.PixelFormats().empty() ||
           clip.GetTimeInfo(&time) != imNoErr;
}

bool ModuleStage::RequestFrame(const Clip& clip, PrPixelFormat format, int32_t index) {
    FrameSource source(clip);
    if (source.Open() != imNoErr) {
        return true;
    }
    const int64_t ticks = host.settings.ticksPerSecond / 24;
    const int before = cache.AdditionsOf(clip.ImporterID(), index);
    if (source.Request(index * ticks, {format}) != aiNoError) {
        return true;
    }
    if (!cache.WaitForFrame(clip.ImporterID(), index, patience, before + 1)) {
        ++framesLost;
        return false;
    }
    PPixHand ppix = nullptr;
    const long result = source.Get(index * ticks, {format}, &ppix);
    if (result == aiNoError) {
        PixelBuffers::Dispose(ppix);
    }
    return result != aiNoError;
}

bool ModuleStage::Frame(Road road) {
    buffers.settings.misalignment = road == Road::Copied ? 16 : 0;
    Clip clip(mImporter, mMovies.picture);
    return clip.Open() != imNoErr || RequestFrame(clip, FormatOf(road), 1);
}

bool ModuleStage::Audio() {
    Clip clip(mImporter, mMovies.picture);
    if (clip.Open() != imNoErr) {
        return true;
    }
    std::vector<float> left(1000);
    std::vector<float> right(1000);
    float* planes[] = {left.data(), right.data()};
    return clip.ReadAudio(0, 100, 1000, planes) != imNoErr;
}

bool ModuleStage::QuietAndReopen() {
    Clip clip(mImporter, mMovies.picture);
    bool refused = clip.Open() != imNoErr;
    if (refused) {
        return true;
    }
    refused = clip.Quiet() != imNoErr;
    refused = clip.Reopen() != imNoErr || refused;
    return RequestFrame(clip, PrPixelFormat_UYVY_422_8u_601, 2) || refused;
}

std::string ModuleStage::Copy(const char* name) {
    const std::string path = mMovies.directory.Path() + "/" + name;
    std::filesystem::copy_file(mMovies.picture, path,
                               std::filesystem::copy_options::overwrite_existing);
    return path;
}

bool ModuleStage::Save() {
    const std::string from = Copy("saved.mov");
    const std::string to = mMovies.directory.Path() + "/elsewhere.mov";
    const bool refused = mImporter.SaveFile(from, to) != imNoErr;
    std::filesystem::remove(to);
    std::filesystem::remove(from);
    return refused;
}

bool ModuleStage::Delete() {
    const std::string path = Copy("deleted.mov");
    const bool refused = mImporter.DeleteFile(path) != imNoErr;
    std::filesystem::remove(path);
    return refused;
}

std::string ModuleStage::PlayGoodMovie() {
    buffers.settings.misalignment = 0;
    Clip clip(mImporter, mMovies.good);
    if (clip.Open() != imNoErr) {
        return "a good movie does not open";
    }
    std::vector<float> left(1000);
    std::vector<float> right(1000);
    float* planes[] = {left.data(), right.data()};
    if (clip.ReadAudio(0, 0, 1000, planes) != imNoErr) {
        return "a good movie has no sound";
    }
    FrameSource source(clip);
    if (source.Open() != imNoErr) {
        return "a good movie has no frames";
    }
    const int64_t ticks = host.settings.ticksPerSecond / 24;
    for (const PrPixelFormat format : {PrPixelFormat_UYVY_422_8u_601, PrPixelFormat_BGRA_4444_8u}) {
        const int32_t index = format == PrPixelFormat_BGRA_4444_8u ? 4 : 3;
        if (source.Request(index * ticks, {format}) != aiNoError) {
            return "a frame of a good movie is refused";
        }
        if (!cache.WaitForFrame(clip.ImporterID(), index, std::chrono::seconds(20))) {
            return "a frame of a good movie never comes";
        }
        PPixHand ppix = nullptr;
        if (source.Get(index * ticks, {format}, &ppix) != aiNoError) {
            return "a frame of a good movie is not found";
        }
        const Bytes expected = PatternSample(0, index, kFrameSize);
        const bool same =
            format == PrPixelFormat_BGRA_4444_8u ||
            std::memcmp(PixelBuffers::View(ppix).pixels, expected.data(), expected.size()) == 0;
        PixelBuffers::Dispose(ppix);
        if (!same) {
            return "a frame of a good movie has other bytes than the file";
        }
    }
    return "";
}

std::string ModuleStage::Remains(int lost) {
    cache.Forget();
    Comes(std::chrono::seconds(20), [&] { return buffers.LiveCount() <= lost; });
    if (buffers.LiveCount() > lost) {
        return std::to_string(buffers.LiveCount()) + " buffers are left";
    }
    if (buffers.DamagedCount() != 0) {
        return "bytes around pixels are overwritten";
    }
    const int descriptors = OpenDescriptors();
    if (descriptors != mDescriptors) {
        return std::to_string(descriptors - mDescriptors) + " descriptors are left";
    }
    return "";
}

namespace {

bool BeginsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

// "*** function[line]: text"
bool HasPrefix(const std::string& line) {
    const size_t bracket = line.find('[');
    const size_t end = line.find("]: ");
    return BeginsWith(line, "*** ") && bracket > 4 && bracket != std::string::npos &&
           end != std::string::npos && end > bracket + 1 &&
           line.find_first_not_of("0123456789", bracket + 1) == end;
}

}  // namespace

bool IsLog(const std::string& text) {
    const std::vector<std::string> others = {"Failed to allocate ", "pthread_",
                                             "Unsupported pixel format", "skipping track type ",
                                             "Once::Call returned "};
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            return false;
        }
        const std::string line = text.substr(start, end - start);
        if (!HasPrefix(line) && std::none_of(others.begin(), others.end(), [&](const auto& other) {
                return BeginsWith(line, other);
            })) {
            return false;
        }
        start = end + 1;
    }
    return true;
}

}  // namespace kvx_test
