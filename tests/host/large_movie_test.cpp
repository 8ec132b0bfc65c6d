// Movies of sizes that real ones rarely have: files of gigabytes and terabytes, a million frames,
// a day's sound. Places are compared with the naive expansion of the tables; what is kept of them
// is counted in runs.
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "host/host_test.h"
#include "hostkit/frame_cache.h"
#include "hostkit/frame_source.h"
#include "hostkit/pixel_buffers.h"
#include "quicktime/audio_track.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"
#include "support/sanitizers.h"

namespace {

using kvx_hostkit::Clip;
using kvx_hostkit::FrameSource;
using kvx_hostkit::PixelBuffers;
using kvx_test::Bytes;
using kvx_test::FilePiece;
using kvx_test::kMediaOffset;
using kvx_test::LogCapture;
using kvx_test::TrackRecipe;

constexpr int64_t kMillion = 1000000;
constexpr int64_t kGiB = int64_t{1} << 30;
constexpr int64_t kTiB = int64_t{1} << 40;
constexpr std::chrono::seconds kTimeLimit(30);

class LargeMovie : public kvx_test::HostTest {
  protected:
    // File systems have limits of their own.
    bool CanHold(int64_t size) const {
        const std::string path = directory.File("probe");
        const int descriptor = open(path.c_str(), O_CREAT | O_RDWR, 0600);
        const bool can = ftruncate(descriptor, size) == 0;
        close(descriptor);
        unlink(path.c_str());
        return can;
    }

    // The movie's atom stands after the media, where its own place is a large number too.
    std::string WriteLarge(const TrackRecipe& track, const std::vector<FilePiece>& media) {
        const std::string path = directory.File("large.mov");
        std::vector<TrackRecipe> tracks = {track};
        if (track.mediaType != "vide") {
            tracks.insert(tracks.begin(), kvx_test::Video("2vuy", 16, 8));
        }
        kvx_test::WriteMovieFile(path, kvx_test::BuildMoov(kvx_test::MovieOf(tracks)), media);
        return path;
    }

    static TrackRecipe VideoOf(int64_t frames, uint32_t frameSize) {
        kvx_test::VideoDescription description;
        TrackRecipe track = kvx_test::VideoTrackRecipe(description, frameSize, frames, 24000, 1000);
        track.wideChunkOffsets = true;
        return track;
    }

    // The first bytes of a frame as the host gets it in the file's own form.
    Bytes FirstBytes(const Clip& clip, const FrameSource& source, int64_t frame, size_t size) {
        const int64_t time = FrameSource::TicksPerFrame(clip) * frame;
        if (source.Request(time, {kKVXCustomPixelFormat}) != 0 ||
            !cache.WaitForFrame(clip.ImporterID(), static_cast<int32_t>(frame), kTimeLimit)) {
            return "no frame";
        }
        const PPixHand ppix = cache.Take(clip.ImporterID(), static_cast<int32_t>(frame));
        const char* const pixels = PixelBuffers::View(ppix).pixels;
        uint32_t header[5];
        std::memcpy(header, pixels, sizeof(header));
        const Bytes bytes(pixels + header[2] + header[4], size);
        PixelBuffers::Dispose(ppix);
        return bytes;
    }

    PixelBuffers buffers{host};
    kvx_hostkit::FrameCache cache{host};
};

TEST_F(LargeMovie, AMillionFramesInThreeTebibytes) {
    constexpr uint32_t kFrameSize = 3400000;
    constexpr size_t kWritten = 100;
    if (!CanHold(4 * kTiB)) {
        GTEST_SKIP() << "this file system holds no file of 4 TiB: " << std::strerror(errno);
    }
    const std::vector<int64_t> frames = {0, 1, kMillion / 2, kMillion - 2, kMillion - 1};
    std::vector<FilePiece> media;
    for (const int64_t frame : frames) {
        media.push_back({kMediaOffset + static_cast<uint64_t>(frame) * kFrameSize,
                         kvx_test::PatternSample(0, frame, kWritten)});
    }
    media.push_back({kMediaOffset + static_cast<uint64_t>(kMillion) * kFrameSize - 1, "."});
    EXPECT_GT(media.back().offset, static_cast<uint64_t>(3 * kTiB));

    Clip clip(importer, WriteLarge(VideoOf(kMillion, kFrameSize), media));
    ASSERT_EQ(clip.Open(), 0);
    KVX::QT::Track& track = *ModuleOf(clip)->mMovie->mVideoTracks.at(0);
    EXPECT_EQ(track.mSampleCount, kMillion);
    EXPECT_EQ(track.mChunkOffsets.size(), 1u);
    EXPECT_EQ(track.mSizeOffsets.size(), 1u);
    for (int64_t frame = 0; frame < kMillion; frame += 997) {
        ASSERT_EQ(track.GetSampleOffset(frame),
                  static_cast<int64_t>(kMediaOffset) + frame * kFrameSize);
    }
    FrameSource source(clip);
    ASSERT_EQ(source.Open(), 0);
    for (const int64_t frame : frames) {
        EXPECT_EQ(FirstBytes(clip, source, frame, kWritten),
                  kvx_test::PatternSample(0, frame, kWritten))
            << frame;
    }
}

// Ten frames to a chunk, each of a size of its own, and a hole after every thousandth chunk.
TEST_F(LargeMovie, AMillionFramesOfAllSizesInFiveGibibytes) {
    constexpr int64_t kInChunk = 10;
    constexpr int64_t kChunksToHole = 1000;
    TrackRecipe recipe = VideoOf(kMillion, 1);
    recipe.constantSize = 0;
    recipe.chunkRuns = {{1, kInChunk, 1}};
    recipe.chunkOffsets.clear();
    std::vector<int64_t> offsets;
    int64_t place = kMediaOffset;
    for (int64_t frame = 0; frame < kMillion; ++frame) {
        if (frame % kInChunk == 0) {
            if (frame % (kInChunk * kChunksToHole) == 0 && frame != 0) {
                place += 12345;
            }
            recipe.chunkOffsets.push_back(static_cast<uint64_t>(place));
        }
        const int64_t size = 5000 + frame * 7919 % 1000;
        recipe.sizes.push_back(static_cast<uint32_t>(size));
        offsets.push_back(place);
        place += size;
    }
    EXPECT_GT(place, 5 * kGiB);
    const int64_t last = kMillion - 1;
    const Bytes lastSample = kvx_test::PatternSample(0, last, recipe.sizes.back());
    Clip clip(importer, WriteLarge(recipe, {{static_cast<uint64_t>(offsets.back()), lastSample}}));
    ASSERT_EQ(clip.Open(), 0);
    KVX::QT::Track& track = *ModuleOf(clip)->mMovie->mVideoTracks.at(0);
    EXPECT_EQ(track.mChunkOffsets.size(),
              static_cast<size_t>(kMillion / (kInChunk * kChunksToHole)));
    for (int64_t frame = 0; frame < kMillion; ++frame) {
        const auto index = static_cast<size_t>(frame);
        ASSERT_EQ(track.GetSampleOffset(frame), offsets[index]) << frame;
        ASSERT_EQ(track.GetSampleSize(frame), recipe.sizes[index]) << frame;
    }
    FrameSource source(clip);
    ASSERT_EQ(source.Open(), 0);
    EXPECT_EQ(FirstBytes(clip, source, last, lastSample.size()), lastSample);
}

// Half a second to a chunk, and a hole after every hundredth.
TEST_F(LargeMovie, EightHoursOfSound) {
    constexpr int64_t kFrames = int64_t{8} * 3600 * 48000;
    constexpr int64_t kFrameSize = 4;
    constexpr int64_t kInChunk = 24000;
    constexpr int64_t kChunks = kFrames / kInChunk;
    constexpr int64_t kChunksToHole = 100;
    TrackRecipe recipe = kvx_test::Sound({}, kFrames);
    recipe.wideChunkOffsets = true;
    recipe.chunkRuns = {{1, kInChunk, 1}};
    recipe.chunkOffsets.clear();
    int64_t place = 2 * kMediaOffset;
    for (int64_t chunk = 0; chunk < kChunks; ++chunk) {
        place += chunk % kChunksToHole == 0 && chunk != 0 ? 4096 : 0;
        recipe.chunkOffsets.push_back(static_cast<uint64_t>(place));
        place += kInChunk * kFrameSize;
    }
    EXPECT_GT(place, 5 * kGiB);
    constexpr size_t kRead = 1000;
    Bytes end;
    for (size_t frame = 0; frame < kRead; ++frame) {
        end += {'\x7F', '\xFF', '\x80', '\x01'};  // 32767 and -32767, the higher byte first
    }
    Clip clip(importer, WriteLarge(recipe, {{static_cast<uint64_t>(place) - end.size(), end}}));
    ASSERT_EQ(clip.Open(), 0);
    KVX::QT::Track& track = *ModuleOf(clip)->mMovie->mAudioTracks.at(0);
    EXPECT_EQ(track.mSampleCount, kFrames);
    EXPECT_EQ(track.mChunkOffsets.size(), static_cast<size_t>(kChunks / kChunksToHole));
    for (int64_t chunk = 0; chunk < kChunks; ++chunk) {
        const int64_t first = chunk * kInChunk;
        const auto offset = static_cast<int64_t>(recipe.chunkOffsets[static_cast<size_t>(chunk)]);
        ASSERT_EQ(track.GetSampleOffset(first), offset) << chunk;
        ASSERT_EQ(track.GetSampleOffset(first + kInChunk - 1), offset + (kInChunk - 1) * kFrameSize)
            << chunk;
        const int64_t behindHole = chunk % kChunksToHole;
        if (kvx_test::IsUnderSanitizer() && behindHole > 1 && behindHole < kChunksToHole - 2) {
            continue;  // counted from chunk to chunk, up to a hundred times over
        }
        const int64_t toHole = (kChunksToHole - behindHole) * kInChunk;
        ASSERT_EQ(track.TrackSampleToContiguousSampleCount(first), toHole) << chunk;
    }
    std::vector<float> left(kRead);
    std::vector<float> right(kRead);
    float* planes[] = {left.data(), right.data()};
    EXPECT_EQ(clip.ReadAudio(0, kFrames - static_cast<int64_t>(kRead), UINT32_MAX, planes), 0);
    EXPECT_EQ(left, std::vector<float>(kRead, 1.0F));
    EXPECT_EQ(right, std::vector<float>(kRead, -1.0F));
}

// A request that the track would fill, and no memory could hold.
TEST_F(LargeMovie, AsMuchSoundAsANumberHolds) {
    if (kvx_test::IsUnderSanitizer()) {
        GTEST_SKIP() << "sanitizers take more of the address space than is left here";
    }
    // The counts are signed numbers of 32 bits, but there can be several. The rest of the track
    // tells of a thousand frames.
    TrackRecipe recipe = kvx_test::Sound({}, 1000);
    recipe.durations = {{INT32_MAX, 1}, {INT32_MAX, 1}, {1, 1}};
    recipe.sizeCount = 1000;
    Clip clip(importer, WriteLarge(recipe, {{4 * kMediaOffset, "."}}));
    ASSERT_EQ(clip.Open(), 0);
    EXPECT_EQ(ModuleOf(clip)->mMovie->mAudioTracks.at(0)->mSampleCount, UINT32_MAX);
    float untouched[] = {7.0F, 7.0F};
    float* planes[] = {&untouched[0], &untouched[1]};
    rlimit usual = {};
    getrlimit(RLIMIT_AS, &usual);
    rlimit limit = usual;
    limit.rlim_cur = static_cast<rlim_t>(4 * kGiB);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    const LogCapture log;
    const long result = clip.ReadAudio(0, 0, UINT32_MAX, planes);
    setrlimit(RLIMIT_AS, &usual);
    EXPECT_EQ(result, 4);
    EXPECT_EQ(log.Text(), "ImportAudio7: calloc failed\n");
    EXPECT_EQ(untouched[0], 7.0F);
    EXPECT_EQ(untouched[1], 7.0F);
}

}  // namespace
