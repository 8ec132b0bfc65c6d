#include "cli/hash/packet_hashes.h"

#include <nettle/md5.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <limits>
#include <new>
#include <utility>

#include "cli/output/start_threads.h"

namespace kvx_cli {

namespace {

// Stays in a processor's second cache between the read and the hash.
constexpr size_t kBlock = size_t{256} * 1024;

// No file goes on beyond.
constexpr uint64_t kMostOffset = static_cast<uint64_t>(std::numeric_limits<off_t>::max()) - kBlock;

std::string Hexadecimal(const uint8_t* bytes, size_t size) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}

PacketHashes::Result HashOf(int descriptor, const Packet& packet, uint8_t* block) {
    PacketHashes::Result result;
    result.number = packet.number;
    result.row = packet.row;
    md5_ctx context;
    md5_init(&context);
    for (const kvx_inspect::FileRange& range : packet.ranges) {
        for (uint64_t done = 0; done < range.length;) {
            if (range.offset + done > kMostOffset) {
                result.isShort = true;
                return result;
            }
            const ssize_t count =
                pread(descriptor, block, std::min<uint64_t>(kBlock, range.length - done),
                      static_cast<off_t>(range.offset + done));
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {
                result.isShort = count == 0;
                result.error = count < 0 ? errno : 0;
                return result;
            }
            md5_update(&context, static_cast<size_t>(count), block);
            done += static_cast<uint64_t>(count);
        }
    }
    uint8_t digest[MD5_DIGEST_SIZE];
    md5_digest(&context, sizeof digest, digest);
    result.row.hash = Hexadecimal(digest, sizeof digest);
    return result;
}

}  // namespace

// All that the threads touch, which they own.
struct PacketHashes::Shared {
    int descriptor = -1;
    std::function<bool(Packet&)> next;
    uint64_t most = 0;  // packets that may be ahead of the one that is waited for

    std::mutex lock;
    std::condition_variable isDone;   // a result has come, or the packets have ended
    std::condition_variable isTaken;  // a result has been taken
    uint64_t handedOut = 0;
    uint64_t taken = 0;
    bool isAtEnd = false;
    bool ranOutOfMemory = false;
    std::map<uint64_t, Result> results;

    ~Shared() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }
};

PacketHashes::PacketHashes(int descriptor, std::function<bool(Packet&)> next, unsigned threads)
    : mShared(std::make_shared<Shared>()) {
    mShared->descriptor = descriptor;
    mShared->next = std::move(next);
    mShared->most = uint64_t{4} * threads;
    mThreads = StartThreads(threads, [shared = mShared] { Work(shared); });
}

PacketHashes::~PacketHashes() {
    {
        const std::lock_guard<std::mutex> guard(mShared->lock);
        mShared->isAtEnd = true;
    }
    mShared->isTaken.notify_all();
    for (std::thread& thread : mThreads) {
        thread.join();
    }
}

void PacketHashes::Work(const std::shared_ptr<Shared>& shared) {
    try {
        HashAll(*shared);
    } catch (const std::bad_alloc&) {
        const std::lock_guard<std::mutex> guard(shared->lock);
        shared->isAtEnd = true;
        shared->ranOutOfMemory = true;
        shared->isDone.notify_all();
        shared->isTaken.notify_all();
    }
}

void PacketHashes::HashAll(Shared& shared) {
    const auto block = std::make_unique<uint8_t[]>(kBlock);
    for (;;) {
        Packet packet;
        uint64_t number = 0;
        {
            std::unique_lock<std::mutex> guard(shared.lock);
            shared.isTaken.wait(guard, [&shared] {
                return shared.isAtEnd || shared.handedOut - shared.taken < shared.most;
            });
            if (shared.isAtEnd || !shared.next(packet)) {
                shared.isAtEnd = true;
                shared.isDone.notify_all();
                shared.isTaken.notify_all();
                return;
            }
            number = shared.handedOut++;
        }
        Result result = HashOf(shared.descriptor, packet, block.get());
        const std::lock_guard<std::mutex> guard(shared.lock);
        shared.results.emplace(number, std::move(result));
        shared.isDone.notify_all();
    }
}

bool PacketHashes::Next(Result& result, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> guard(mShared->lock);
    const auto isThere = [this] { return mShared->results.count(mNext) != 0; };
    const bool isInTime = mShared->isDone.wait_for(guard, limit, [this, isThere] {
        return isThere() || mShared->ranOutOfMemory ||
               (mShared->isAtEnd && mNext == mShared->handedOut);
    });
    mIsLate = !isInTime;
    if (isInTime && !isThere() && mShared->ranOutOfMemory) {
        result = {};
        result.number = static_cast<int64_t>(mNext);
        result.error = ENOMEM;
        return true;
    }
    if (!isInTime || !isThere()) {
        return false;
    }
    const auto found = mShared->results.find(mNext);
    result = std::move(found->second);
    mShared->results.erase(found);
    mShared->taken = ++mNext;
    mShared->isTaken.notify_all();
    return true;
}

}  // namespace kvx_cli
