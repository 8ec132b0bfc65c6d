#pragma once

#include <atomic>

#include "pipeline/read_buffers.h"
#include "premiere/import_records.h"
#include "premiere/suites.h"

namespace KVX {

namespace QT {
class VideoTrack;
}

// The object behind the host's asynchronous importer of one clip. The host asks for frames ahead,
// finds them in its own cache later, and is never given one directly. Any host thread may call at
// any time: nothing changes after Init but the count of calls in progress.
class AsyncImportModule {
  public:
    virtual ~AsyncImportModule() = default;

    AsyncImportModule(const AsyncImportModule&) = delete;
    AsyncImportModule& operator=(const AsyncImportModule&) = delete;

    // The new module, or null after a log line. The track and the suite table are not owned.
    static AsyncImportModule* Create(long importerID, SPBasicSuite* basicSuite,
                                     QT::VideoTrack* videoTrack);

    // Acquires the host's suites, which are never released. Returns the host's status.
    long Init();

    // Starts a frame on its way to the host's cache, unless it is there already, and returns at
    // once. Statuses: 12 without memory, 22 when none of the host's formats serves, otherwise
    // those of the frame.
    long InitiateAsyncRead(imSourceVideoRec* sourceVideo);

    // Picks the first of the host's formats that the track's frames can be brought into.
    long ChooseDestinationFormat(imSourceVideoRec* sourceVideo, PrPixelFormat& destination);

    // Frames in flight run on to the cache; both do nothing.
    long CancelAsyncRead(imSourceVideoRec* sourceVideo);
    static long Flush();

    // Looks in the host's cache; never waits and never starts a read.
    long GetFrame(imSourceVideoRec* sourceVideo);

    // Ends the module: at once, or with the last of the calls in progress on other threads. Frames
    // in flight need nothing from it.
    long Close();

    long mTicksPerFrame = 0;
    long mImporterID;
    SPBasicSuite* mBasicSuite;
    PrSDKPPixCacheSuite* mCacheSuite = nullptr;
    PrSDKPPixCreatorSuite* mCreatorSuite = nullptr;
    PrSDKPPixCreator2Suite* mCreator2Suite = nullptr;
    PrSDKPPixSuite* mPPixSuite = nullptr;
    QT::VideoTrack* mVideoTrack;

  private:
    // Keeps the module alive for the length of a call.
    class Call;

    AsyncImportModule(long importerID, SPBasicSuite* basicSuite, QT::VideoTrack* videoTrack);

    long GetFrameIndex(const imSourceVideoRec* sourceVideo, long& frameIndex) const;
    void DropHold();

    ReadBuffers::Keeper mKeeper;  // of buffers for the frames to come
    std::atomic<int> mHolds{1};   // the host's until Close, and one for each call in progress
};

}  // namespace KVX
