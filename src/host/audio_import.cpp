#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>

#include "convert/audio/pcm.h"
#include "core/log.h"
#include "host/file_import_module.h"
#include "quicktime/audio_track.h"

namespace KVX {

namespace {

// After the last frame. With them a request for no frames has a buffer too.
constexpr size_t kSpareBytes = 16;

struct FreeDeleter {
    void operator()(char* block) const { std::free(block); }
};
using Buffer = std::unique_ptr<char[], FreeDeleter>;

// A zero-filled buffer for `count` frames, or null. A negative count, as of a request that starts
// after the end of the track, and a size beyond the address space get none.
Buffer AllocateFrames(long long count, unsigned long long frameSize) {
    ptrdiff_t size = 0;
    if (count < 0 || __builtin_mul_overflow(count, frameSize, &size) ||
        __builtin_add_overflow(size, kSpareBytes, &size)) {
        return nullptr;
    }
    return Buffer(static_cast<char*>(std::calloc(1, static_cast<size_t>(size))));
}

// Negative for a start after the end, and where a table's negative counts make 64 bits overflow.
long long FramesLeft(const QT::Track& track, long long start) {
    long long left = 0;
    return __builtin_sub_overflow(track.mSampleCount, start, &left) ? -1 : left;
}

// The bytes that the conversion takes for one frame. They are those of the sample table in a sound
// file, where either number can lie.
unsigned long long GetConvertedFrameSize(const AudioStreamBasicDescription& stream) {
    return static_cast<unsigned long long>(stream.mChannelsPerFrame) * (stream.mBitsPerChannel / 8);
}

}  // namespace

long FileImportModule::ImportAudio7(void* streamRef, imImportAudioRec7* record) {
    const auto stream = static_cast<int32_t>(reinterpret_cast<intptr_t>(streamRef));
    if (stream < 0 || static_cast<size_t>(stream) >= AudioTracks().size()) {
        KVX_LOG("Invalid stream ID %d\n", stream);
        return imBadStreamIndex;
    }
    QT::AudioTrack* track = AudioTracks()[static_cast<size_t>(stream)];

    // The position stays at the start of the request: a further request with a negative start reads
    // the same span again.
    const long long start = record->position < 0 ? mAudioPosition : record->position;
    mAudioPosition = start;
    const long long count = std::min<long long>(record->size, FramesLeft(*track, start));

    const unsigned int frameSize = track->GetSampleSize(0);
    const Buffer buffer = AllocateFrames(
        count,
        std::max<unsigned long long>(frameSize, GetConvertedFrameSize(track->mStreamDescription)));
    if (buffer == nullptr) {
        KVX_LOG("calloc failed\n");
        return imMemErr;
    }

    long long position = start;
    long long remaining = count;
    char* destination = buffer.get();
    while (remaining > 0) {
        const long long run =
            std::min(track->TrackSampleToContiguousSampleCount(position), remaining);
        if (run <= 0) {
            break;
        }
        const long long offset = track->GetSampleOffset(position);
        const size_t size = static_cast<size_t>(run) * frameSize;
        // What a short read does not deliver stays zero.
        if (pread(track->mFileDescriptor, destination, size, offset) == -1) {
            const int error = errno;
            KVX_LOG("pread returned %d\n", error);
            return error;
        }
        destination += size;
        position += run;
        remaining -= run;
    }
    return Converter::Audio::PCM::WriteSamples(track, buffer.get(), record->buffer,
                                               static_cast<unsigned long>(count));
}

}  // namespace KVX
