#pragma once

#include <cstdint>
#include <vector>

#include "core/indexed.h"
#include "core/refcounted.h"
#include "host/stream_info.h"
#include "premiere/import_records.h"

namespace KVX::QT {
class AudioTrack;
class Movie;
class TimeCodeTrack;
class VideoTrack;
}  // namespace KVX::QT

namespace KVX {

// One movie file on the host's side: made by the first imOpenFile8 for an importer ID, shared by
// all streams that the host opens on the file, deleted when the last of them is closed. The host
// carries the pointer in the private data word of its records.
//
// The operations are the work of the selectors of the same names (host/entry.h), and return the
// host's results, or errno values where noted. They run on the host's threads and take no lock:
// apart from the registry and the reference count, the host calls a module from one thread at a
// time. Pointers to records are trusted.
//
// A module whose movie could not be opened stays registered until the host closes it, and behaves
// as one of a movie without tracks.
class FileImportModule : public Core::Indexed<long>, public Core::Refcounted {
  public:
    // Asks the host for its identity, if that was not done before. Touches no registry.
    FileImportModule(long importerID, imStdParms* stdParms);
    ~FileImportModule() override;

    // Registers the module under its importer ID and finds the host's suites. The status is that of
    // the registry alone.
    long Init();

    // What the importer is and can.
    static long Init(imImportInfoRec* info, imStdParms* stdParms);
    static long GetIndFormat(int index, imIndFormatRec* format);
    static long GetSupports7();
    static long GetSupports8();

    // The life of a stream. `*fileRef` is the stream's handle: -1 in its low 32 bits before the
    // first open, then 0, 1, 2 and so on in the order of opening.

    // Makes or finds the module of the record's importer ID and gives it to the host in the record.
    // A known handle is a quiet stream that comes back. A failed open leaves `*fileRef` as it was;
    // the module is made, registered and given out all the same. Returns 2 for a file that is not
    // imported, and 89 when the process is exiting and the registry has ended: then no module is
    // made.
    static long OpenFile8(imStdParms* stdParms, void** fileRef, imFileOpenRec8* record);

    // Closes the files of the movie once all streams are quiet.
    static long QuietFile(void** fileRef, FileImportModule* module);

    // Drops the stream's reference. The stream does not count as quiet afterwards: as long as the
    // module lives, its files stay open if they were.
    static long CloseFile(void** fileRef, FileImportModule* module);

    // What the file holds.
    long GetInfo8(imFileAccessRec8* access, imFileInfoRec8* info);
    long GetIndPixelFormat(int index, imIndPixelFormatRec* record);
    long GetPreferredFrameSize(imPreferredFrameSizeRec* record);

    // Reads audio frames of the track that `streamRef`, a stream handle, refers to into the planes
    // of the record. Returns errno of a failed read, or 22 for audio that is not converted.
    long ImportAudio7(void* streamRef, imImportAudioRec7* record);

    // Move or delete a file, whether a module is open on it or not. A module that is keeps its open
    // descriptors and the old path. Returns the results of the platform's File Manager as they are.
    static long SaveFile8(imSaveFileRec8* record);
    static long DeleteFile8(imDeleteFileRec8* record);

    // The start timecode of the first timecode track, as text; imNoTimecode if there is none.
    long GetTimeInfo8(void* streamRef, imTimeInfoRec8* record);

    // Checks the text and refuses with imOtherErr: no file is ever written to.
    long SetTimeInfo8(void* streamRef, imTimeInfoRec8* record);

    // Makes the object that delivers the frames of the first video track, and gives it to the host
    // with the function to call it through.
    long CreateAsyncImporter(imAsyncImporterCreationRec* record);

    // Declined. The results are fixed, whatever the records hold.
    static long Analysis(void* streamRef, imAnalysisRec* record);
    static long DataRateAnalysis(void* streamRef, imDataRateAnalysisRec* record);
    static long CalcSize8(imCalcSizeRec* record, imFileAccessRec8* access);
    static long CheckTrim8(imCheckTrimRec* record, imFileAccessRec8* access);
    static long TrimFile8(imFileAccessRec8* access, imTrimFileRec8* record);
    static long GetSourceVideo(void* streamRef, imSourceVideoRec* record);
    static long GetMetaData(void* streamRef, imMetaDataRec* metaData);
    static long SetMetaData(void* streamRef, imMetaDataRec* metaData);

    imStdParms* mStdParms;
    SPBasicSuite* mBasicSuite = nullptr;
    int32_t mNextStreamHandle = 0;
    QT::Movie* mMovie = nullptr;  // owned
    int64_t mTicksPerFrame = 0;   // the host's ticks
    int32_t mAudioSampleType = -1;
    int64_t mAudioPosition = 0;  // where the last audio request started
    StreamInfoCollection mStreamInfo;

  private:
    const std::vector<QT::AudioTrack*>& AudioTracks() const;
    const std::vector<QT::VideoTrack*>& VideoTracks() const;
};

}  // namespace KVX
