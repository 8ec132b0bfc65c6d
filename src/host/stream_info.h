#pragma once

#include <map>

enum StreamStatus : int {
    StreamStatusUnknown = 0,
    StreamStatusOpen = 1,
    StreamStatusQuiet = 2,
};

struct StreamInfo {
    StreamStatus status = StreamStatusUnknown;
};

// The state of each stream that the host has opened on one file, by the handle that the host keeps
// as its file reference. Entries are never removed. Without a lock.
class StreamInfoCollection {
  public:
    bool exists(void* handle) const;

    // Makes the entry or overwrites it.
    void setStatus(void* handle, StreamStatus status);

    // StreamStatusUnknown for a handle without an entry.
    StreamStatus getStatus(void* handle) const;

    // True for an empty collection.
    bool areAllStatusesEqualTo(StreamStatus status) const;

  private:
    std::map<void*, StreamInfo> mStreams;
};
