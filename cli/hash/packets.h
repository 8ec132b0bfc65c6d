// The packets of a track: what a list of checksums has a row for each of.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "cli/hash/packet_hashes.h"
#include "inspect/report.h"

namespace kvx_cli {

// Hands out one packet after the other, and false at the end. It owns the report.
using PacketSource = std::function<bool(Packet&)>;

// All samples of a video track in order, edits aside, each at the time that the tables give it.
PacketSource FramePackets(std::shared_ptr<const kvx_inspect::Report> report,
                          const kvx_inspect::TrackFacts& track);

// All samples of a sound track in order, edits aside, as packets of `perPacket` samples of all
// channels. Times count in samples.
PacketSource SoundPackets(std::shared_ptr<const kvx_inspect::Report> report,
                          const kvx_inspect::TrackFacts& track, int64_t perPacket);

}  // namespace kvx_cli
