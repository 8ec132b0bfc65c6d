#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "hostkit/importer.h"
#include "premiere/import_records.h"

namespace kvx_hostkit {

// One file in the host's hands: the streams that it has opened on it and all that it asks about it.
// The importer is reached through its selectors alone, and every result is its own, unchanged.
//
//     Clip clip(importer, path);
//     if (clip.Open() == imNoErr) {
//         for (const imFileInfoRec8& stream : clip.Streams()) ...
//     }
//
// Used by one thread at a time, as hosts use a file.
class Clip {
  public:
    // Opens nothing yet. `importer` must outlive the clip.
    Clip(const Importer& importer, const std::string& path);

    // Closes the streams that are open.
    ~Clip();

    Clip(const Clip&) = delete;
    Clip& operator=(const Clip&) = delete;

    // Opens a further stream on the file. The streams are numbered from 0 in this order, whatever
    // became of them.
    long Open();
    long Quiet(size_t stream = 0);
    long Reopen(size_t stream = 0);

    // Nothing, and imNoErr, for a stream that is closed already.
    long Close(size_t stream = 0);

    // What imGetInfo8 tells of one stream index; `info` takes the clip's private data and the index
    // first.
    long GetInfo(int32_t index, imFileInfoRec8* info) const;

    // All streams, from index 0 for as long as the importer says that there are more. `result`
    // takes the last call's result: imNoErr when all went well.
    std::vector<imFileInfoRec8> Streams(long* result = nullptr) const;

    long GetPixelFormat(int index, PrPixelFormat* format) const;

    // All formats, in the importer's order.
    std::vector<PrPixelFormat> PixelFormats() const;

    // Leaves both as they are if the importer stores nothing.
    long GetPreferredFrameSize(int32_t* width, int32_t* height) const;

    // `count` frames from `position` into planes[channel][0..count); a negative position starts
    // where the last request did. `streamID` is the number of the audio track.
    long ReadAudio(int32_t streamID, int64_t position, uint32_t count, float** planes) const;

    // Timecodes are text of 11 characters, as in "01:00:00:00".
    long GetTimeInfo(imTimeInfoRec8* info) const;
    long SetTimeInfo(const std::string& text, int32_t scale, int32_t sampleSize) const;

    // Fills the record with the function and the object that deliver frames.
    long CreateAsyncImporter(imAsyncImporterCreationRec* record) const;

    const Importer& GetImporter() const { return *mImporter; }
    void* PrivateData() const { return mPrivateData; }
    int32_t ImporterID() const { return mImporterID; }

    // The host's file reference of a stream, also for changing it before a call.
    void*& FileRef(size_t stream = 0) { return mFileRefs.at(stream).reference; }

  private:
    struct FileReference {
        void* reference;
        int holds;  // on the importer's object, each to be given back by one close
    };

    long OpenReference(FileReference& fileReference);
    bool HoldsNothing() const;

    const Importer* mImporter;
    std::vector<prUTF16Char> mPath;
    int32_t mImporterID;
    void* mPrivateData = nullptr;
    std::vector<FileReference> mFileRefs;
};

}  // namespace kvx_hostkit
