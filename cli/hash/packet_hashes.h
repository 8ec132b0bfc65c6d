#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "cli/hash/checksum_list.h"
#include "inspect/report.h"

namespace kvx_cli {

// Bytes of a file that are hashed together, and their row except for its hash.
struct Packet {
    int64_t number = 0;  // of all packets, those that were left out included
    ChecksumRow row;
    std::vector<kvx_inspect::FileRange> ranges;
};

// Hashes packets on several threads, and gives them back in their order. Reads each by blocks, so
// that memory does not grow with the size of packets.
class PacketHashes {
  public:
    // `next` hands out packet after packet, and false at the end; it is called on any thread, on
    // one at a time. It owns what it needs, since a thread that a disk holds up outlives this
    // object.
    PacketHashes(int descriptor, std::function<bool(Packet&)> next, unsigned threads);
    // Ends the threads; not to be reached after IsLate().
    ~PacketHashes();

    PacketHashes(const PacketHashes&) = delete;
    PacketHashes& operator=(const PacketHashes&) = delete;

    struct Result {
        int64_t number = 0;  // the packet's
        ChecksumRow row;
        bool isShort = false;  // the file ends before it
        int error = 0;         // why it could not be read, else; ENOMEM is the last result
    };

    // The next packet's; false at the end, and when `limit` has passed without it.
    bool Next(Result& result, std::chrono::milliseconds limit);

    // Next() gave up.
    bool IsLate() const { return mIsLate; }

  private:
    struct Shared;
    static void Work(const std::shared_ptr<Shared>& shared);
    static void HashAll(Shared& shared);

    std::shared_ptr<Shared> mShared;
    std::vector<std::thread> mThreads;
    uint64_t mNext = 0;
    bool mIsLate = false;
};

}  // namespace kvx_cli
