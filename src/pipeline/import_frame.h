#pragma once

#include <atomic>
#include <cstdint>

#include "core/lockable.h"
#include "core/refcounted.h"
#include "pipeline/custom_frame.h"
#include "premiere/pixel_formats.h"
#include "premiere/suites.h"

namespace KVX {

class ImportFrameConverter;
class ReadController;
class ReadRequest;

namespace QT {
class Decompressor;
class VideoTrack;
}  // namespace QT

// One video frame on its way from the movie file to the host's frame cache, and the tables of
// source formats.
//
// Issue works out where the sample lies, creates the host's pixel buffer and submits the read. When
// the file's bytes are already in the host's layout and all is page-aligned, the read lands in the
// host's pixels; otherwise a conversion thread copies or converts. Either way the frame ends in the
// cache, also after a failure, which only the log tells. At any moment one stage owns the frame, so
// that its fields need no lock. The suites and the track are not owned; the frame's file is known
// by its descriptor's number alone.
class ImportFrame : public Core::Lockable, public Core::Refcounted {
  public:
    ImportFrame(long importerID, QT::VideoTrack* videoTrack, QT::Decompressor* decompressor,
                PrPixelFormat pixelFormat, long frameIndex, long long frameTime,
                PrSDKPPixCacheSuite* cacheSuite, PrSDKPPixCreatorSuite* creatorSuite,
                PrSDKPPixCreator2Suite* creator2Suite, PrSDKPPixSuite* ppixSuite);
    ~ImportFrame() override;

    long Init();

    // On 0 the frame lives on by itself: the maker's reference has gone into the pipeline. On
    // failure the caller still holds its reference. Statuses: 22 for an unknown format, frame size
    // or descriptor, 27 for a sample too large for its buffer, otherwise those of the callees.
    long Issue();

    // Run when the read has ended, on a read thread.
    static void StaticReadCompleted(void* userData, long status, void* arg);
    void ReadCompleted(long status, void* arg);

    // Brings the bytes read into their final form, on a conversion thread, and ends the frame's
    // path. The bytes are freed with that if nothing else holds the frame.
    long Convert();

    // The end of every path: the frame goes to the cache, whatever the status.
    void ConvertCompleted(long status);

    // The source formats, by the four-character code of the track's sample description. An
    // uncompressed format can be imported; a compressed one is known by name, and its bytes can be
    // carried, but nothing here decodes it.
    static bool IsDVCProFormat(unsigned int format);

    // Without "ap4h": a track of that code is one that the movie reader understands, yet no format
    // that the importer offers.
    static bool IsProResFormat(unsigned int format);

    static bool IsSupportedCompressedVideoFormat(unsigned int format);
    static bool IsSupportedUncompressedVideoFormat(unsigned int format);

    // Whether a movie of this format is imported at all: the uncompressed formats and no other.
    static bool IsSupportedVideoFormat(unsigned int format);

    // Bytes from one row to the next in the file: "2vuy" has no padding, "v210" has blocks of 48
    // pixels in 128 bytes, "r210" whole multiples of 256 bytes. Returns 22, with `rowBytes`
    // untouched, for any but the uncompressed formats.
    static long GetUncompressedRowBytes(QT::VideoTrack* videoTrack, long& rowBytes);

    long mImporterID;
    ReadController* mReadController = nullptr;
    ImportFrameConverter* mFrameConverter = nullptr;
    QT::VideoTrack* mVideoTrack;
    QT::Decompressor* mDecompressor;
    ReadRequest* mReadRequest = nullptr;  // one reference
    PrPixelFormat mPixelFormat;           // of the destination
    long mFrameIndex;
    long long mFrameTime;  // in the host's ticks
    PrSDKPPixCacheSuite* mCacheSuite;
    PrSDKPPixCreatorSuite* mCreatorSuite;
    PrSDKPPixCreator2Suite* mCreator2Suite;
    PrSDKPPixSuite* mPPixSuite;
    PPixHand mPPix = nullptr;  // owned
    long mStatus = 0;
    int mWidth = 0;
    int mHeight = 0;
    long mSourceRowBytes = 0;  // 0 for compressed sources
    char* mPixels = nullptr;   // of mPPix
    int mDestRowBytes = 0;     // stays 0 for kKVXCustomPixelFormat
    bool mCopyOnly = false;    // the file's layout is the destination's
    bool mReadDone = false;
    bool mNeedsConversion = true;  // false when the read lands in its final place

  private:
    // Where a read is to land; no buffer means the request's own.
    struct ReadDestination {
        char* buffer = nullptr;
        long long size = 0;
    };

    long GetOpenDescriptor(int& descriptor);
    long CreateCustomPPix(unsigned int sampleSize, long long sampleOffset,
                          ReadDestination& destination);
    long CreatePixelPPix(unsigned int sampleSize, long long sampleOffset,
                         ReadDestination& destination);

    // Of the PPix that the host has been asked for, with this status.
    long GetPixels(long status);
    long SubmitRequest();
    static void ReleaseFrame(void* frame);

    // The track's; the track itself may be gone when a conversion thread asks, since the host may
    // close a file with frames in flight.
    const long mSourceFormat;
    std::atomic<bool> mDelivered{false};
};

}  // namespace KVX
