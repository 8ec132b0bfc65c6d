#include "host/stream_info.h"

#include <algorithm>

bool StreamInfoCollection::exists(void* handle) const {
    return mStreams.count(handle) != 0;
}

void StreamInfoCollection::setStatus(void* handle, StreamStatus status) {
    mStreams[handle].status = status;
}

StreamStatus StreamInfoCollection::getStatus(void* handle) const {
    const auto found = mStreams.find(handle);
    return found == mStreams.end() ? StreamStatusUnknown : found->second.status;
}

bool StreamInfoCollection::areAllStatusesEqualTo(StreamStatus status) const {
    return std::all_of(mStreams.begin(), mStreams.end(),
                       [status](const auto& stream) { return stream.second.status == status; });
}
