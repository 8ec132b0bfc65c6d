#include "cli/hash/packets.h"

#include <algorithm>
#include <utility>

#include "core/big_endian.h"
#include "inspect/sound_ranges.h"

namespace kvx_cli {

using kvx_inspect::FileRange;
using kvx_inspect::Report;
using kvx_inspect::Sample;
using kvx_inspect::SampleTables;
using kvx_inspect::SampleWalk;
using kvx_inspect::TableEntries;
using kvx_inspect::TrackFacts;

namespace {

// A table of runs ("stts", "ctts"), value by value.
class RunWalk {
  public:
    explicit RunWalk(const kvx_inspect::AtomView& table) : mEntries(table, kEntrySize) {}

    // After the last run the last value repeats; 0 without any.
    int32_t Next() {
        while (mLeft <= 0 && mEntry < mEntries.count) {
            const char* const entry = mEntries.bytes + mEntry++ * kEntrySize;
            mLeft = static_cast<int32_t>(KVX::Core::ReadBig32(entry));
            mValue = static_cast<int32_t>(KVX::Core::ReadBig32(entry + 4));
        }
        --mLeft;
        return mValue;
    }

    // The sum of the next `count` values.
    int64_t Skip(int64_t count) {
        uint64_t sum = 0;  // which may wrap, where the table's numbers have no sense
        while (count > 0) {
            sum += static_cast<uint64_t>(Next());
            --count;
            const int64_t same =
                mLeft > 0 || mEntry < mEntries.count ? std::max(mLeft, int64_t{0}) : count;
            const int64_t step = std::min(count, same);
            sum += static_cast<uint64_t>(step) * static_cast<uint64_t>(int64_t{mValue});
            mLeft -= step;
            count -= step;
        }
        return static_cast<int64_t>(sum);
    }

    // The least of all.
    static int32_t Least(const kvx_inspect::AtomView& table) {
        const TableEntries entries(table, kEntrySize);
        int32_t least = 0;
        for (int64_t i = 0; i < entries.count; ++i) {
            least = std::min(least, static_cast<int32_t>(
                                        KVX::Core::ReadBig32(entries.bytes + i * kEntrySize + 4)));
        }
        return least;
    }

  private:
    static constexpr int64_t kEntrySize = 8;

    TableEntries mEntries;
    int64_t mEntry = 0;
    int64_t mLeft = 0;
    int32_t mValue = 0;
};

class FrameWalk {
  public:
    FrameWalk(std::shared_ptr<const Report> report, const TrackFacts& track)
        : FrameWalk(std::move(report), track.tables, track.media.size) {}

    bool Next(Packet& packet) {
        // One frame after the end of the file is enough to report.
        if (mIsPastEnd) {
            const int64_t skipped = mSamples.SkipChunk();
            mNumber += skipped;
            mTime += mDurations.Skip(skipped);
            mDisplayOffsets.Skip(skipped);
        }
        Sample sample;
        if (!mSamples.Next(sample)) {
            return false;
        }
        mIsPastEnd = sample.offset >= mMediaSize || mMediaSize - sample.offset < sample.size;
        packet.number = mNumber++;
        packet.ranges = {{sample.offset, sample.size}};
        packet.row.size = sample.size;
        packet.row.duration = mDurations.Next();
        packet.row.decodeTime = mTime - mDecodeShift;
        packet.row.time = mTime + mDisplayOffsets.Next();
        mTime += packet.row.duration;
        return true;
    }

  private:
    FrameWalk(std::shared_ptr<const Report> report, const SampleTables& tables, uint64_t mediaSize)
        : mReport(std::move(report)),
          mMediaSize(mediaSize),
          mSamples(tables),
          mDurations(tables.durations),
          mDisplayOffsets(tables.displayOffsets),
          // So that no picture is due before it is decoded.
          mDecodeShift(-int64_t{RunWalk::Least(tables.displayOffsets)}) {}

    std::shared_ptr<const Report> mReport;
    uint64_t mMediaSize;
    SampleWalk mSamples;
    RunWalk mDurations;
    RunWalk mDisplayOffsets;
    int64_t mDecodeShift;
    int64_t mNumber = 0;
    int64_t mTime = 0;
    bool mIsPastEnd = false;  // the last frame
};

class SoundWalk {
  public:
    SoundWalk(std::shared_ptr<const Report> report, const TrackFacts& track, int64_t perPacket)
        : mReport(std::move(report)),
          mRanges(track),
          mMediaSize(track.media.size),
          mFrameSize(std::max<uint64_t>(track.sound->bytesPerFrame, 1)),
          mPerPacket(perPacket),
          mPacketSize(static_cast<uint64_t>(perPacket) * mFrameSize) {}

    bool Next(Packet& packet) {
        if (mIsPastEnd) {
            SkipPastEnd();
        }
        mIsPastEnd = false;
        packet.number = mNumber++;
        packet.ranges.clear();
        packet.row = {};
        while (packet.row.size < mPacketSize) {
            if (mRange.length == 0 && !mRanges.Next(mRange)) {
                break;
            }
            const uint64_t length = std::min(mRange.length, mPacketSize - packet.row.size);
            mIsPastEnd |= mRange.offset >= mMediaSize || mMediaSize - mRange.offset < length;
            Append(packet, {mRange.offset, length});
            mRange.offset += length;
            mRange.length -= length;
        }
        packet.row.decodeTime = packet.row.time = mTime;
        packet.row.duration = static_cast<int64_t>(packet.row.size / mFrameSize);
        mTime += packet.row.duration;
        return packet.row.size != 0;
    }

  private:
    // One packet after the end of the file is enough to report.
    void SkipPastEnd() {
        if (mRange.offset >= mMediaSize) {
            const uint64_t packets = mRange.length / mPacketSize;
            mRange.offset += packets * mPacketSize;
            mRange.length -= packets * mPacketSize;
            mNumber += static_cast<int64_t>(packets);
            mTime += static_cast<int64_t>(packets) * mPerPacket;
        }
    }

    // Chunks that lie back to back are read at once.
    static void Append(Packet& packet, const FileRange& range) {
        std::vector<FileRange>& ranges = packet.ranges;
        packet.row.size += range.length;
        if (!ranges.empty() && ranges.back().offset + ranges.back().length == range.offset) {
            ranges.back().length += range.length;
        } else {
            ranges.push_back(range);
        }
    }

    std::shared_ptr<const Report> mReport;
    kvx_inspect::SoundRanges mRanges;
    FileRange mRange;
    uint64_t mMediaSize;
    uint64_t mFrameSize;
    int64_t mPerPacket;
    uint64_t mPacketSize;
    int64_t mNumber = 0;
    int64_t mTime = 0;
    bool mIsPastEnd = false;  // some of the last packet
};

template <typename Walk>
PacketSource SourceOf(std::shared_ptr<Walk> walk) {
    return [walk = std::move(walk)](Packet& packet) { return walk->Next(packet); };
}

}  // namespace

PacketSource FramePackets(std::shared_ptr<const Report> report, const TrackFacts& track) {
    return SourceOf(std::make_shared<FrameWalk>(std::move(report), track));
}

PacketSource SoundPackets(std::shared_ptr<const Report> report, const TrackFacts& track,
                          int64_t perPacket) {
    return SourceOf(std::make_shared<SoundWalk>(std::move(report), track, perPacket));
}

}  // namespace kvx_cli
