// Packets of tracks whose tables tell of more samples than the file has.

#include "cli/hash/packets.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "inspect/inspect.h"
#include "support/movie_file.h"
#include "support/temp_directory.h"

namespace {

using kvx_cli::Packet;
using kvx_cli::PacketSource;
using kvx_inspect::Report;
using namespace kvx_test;

constexpr uint32_t kFrameSize = 256;
constexpr int64_t kMany = 0x7FFFFFFF;

std::shared_ptr<const Report> ReportOf(const TempDirectory& directory, const TrackRecipe& track) {
    MovieRecipe recipe;
    recipe.tracks = {track};
    const std::string path = directory.File("movie.mov");
    WriteFile(path, BuildMoov(recipe).Serialize() + Bytes(0x10000, 'm'));
    return std::make_shared<const Report>(kvx_inspect::Inspect(path));
}

struct Told {
    int64_t number;
    int64_t time;
    int64_t duration;
    uint64_t offset;

    bool operator==(const Told& other) const {
        return number == other.number && time == other.time && duration == other.duration &&
               offset == other.offset;
    }
};

std::ostream& operator<<(std::ostream& stream, const Told& told) {
    return stream << told.number << " at " << told.time << " for " << told.duration << " from "
                  << told.offset;
}

std::vector<Told> AllOf(const PacketSource& next) {
    std::vector<Told> all;
    for (Packet packet; next(packet);) {
        all.push_back(
            {packet.number, packet.row.time, packet.row.duration, packet.ranges.front().offset});
    }
    return all;
}

// Three chunks: of the first two frames are in the file, none of the second, all of the third.
TEST(CliPackets, OfFramesAfterTheEndOfTheFileTheFirstOfAChunkIsTold) {
    const TempDirectory directory;
    TrackRecipe track = VideoTrackRecipe({"v210", 48, 2, 24}, kFrameSize, 1);
    track.durations = {{kMany, 10}, {kMany, 20}, {2, 30}};
    track.sizeCount = kMany;
    track.chunkRuns = {{1, kMany}, {3, 2}};
    track.chunkOffsets = {1, 1, 1};
    const uint64_t end = ReportOf(directory, track)->fileSize;
    track.chunkOffsets = {end - 2 * kFrameSize, end + 1, 1000};
    const std::shared_ptr<const Report> report = ReportOf(directory, track);
    const std::vector<Told> expected = {
        {0, 0, 10, end - 2 * kFrameSize},
        {1, 10, 10, end - kFrameSize},
        {2, 20, 10, end},
        {kMany, kMany * 10, 20, end + 1},
        {2 * kMany, kMany * 30, 30, 1000},
        {2 * kMany + 1, kMany * 30 + 30, 30, 1000 + kFrameSize},
    };
    ASSERT_EQ(report->fileSize, end);
    EXPECT_EQ(AllOf(kvx_cli::FramePackets(report, report->tracks[0])), expected);
}

// As above: packets of 1000 samples, of which one ends with the file.
TEST(CliPackets, OfSoundAfterTheEndOfTheFileTheFirstOfAChunkIsTold) {
    constexpr int64_t kPerPacket = 1000;
    constexpr int64_t kSamples = 1000 * kPerPacket * 1000;
    const TempDirectory directory;
    TrackRecipe track = SoundTrackRecipe(Describe(SoundDescriptionV0()), 4, 1);
    track.durations = {{2 * kSamples, 1}};
    track.sizeCount = 2 * kSamples;
    track.chunkRuns = {{1, kSamples}};
    track.chunkOffsets = {1, 1};
    const uint64_t end = ReportOf(directory, track)->fileSize;
    track.chunkOffsets = {end - 4000, end - 4000};
    const std::shared_ptr<const Report> report = ReportOf(directory, track);
    const int64_t perChunk = kSamples / kPerPacket;
    const std::vector<Told> expected = {
        {0, 0, kPerPacket, end - 4000},
        {1, kPerPacket, kPerPacket, end},
        {perChunk, kSamples, kPerPacket, end - 4000},
        {perChunk + 1, kSamples + kPerPacket, kPerPacket, end},
    };
    ASSERT_EQ(report->fileSize, end);
    EXPECT_EQ(AllOf(kvx_cli::SoundPackets(report, report->tracks[0], kPerPacket)), expected);
}

}  // namespace
