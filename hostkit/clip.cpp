#include "hostkit/clip.h"

#include <algorithm>
#include <cstring>

#include "hostkit/record_block.h"
#include "hostkit/utf16.h"

namespace kvx_hostkit {

namespace {

// A file reference is a pointer that holds a number.
// NOLINTNEXTLINE(performance-no-int-to-ptr)
void* const kNoStream = reinterpret_cast<void*>(intptr_t{-1});

}  // namespace

Clip::Clip(const Importer& importer, const std::string& path)
    : mImporter(&importer), mPath(ToHostPath(path)), mImporterID(Host::NextImporterID()) {}

Clip::~Clip() {
    for (size_t stream = 0; stream < mFileRefs.size(); ++stream) {
        while (mFileRefs[stream].holds > 0) {
            Close(stream);
        }
    }
}

long Clip::Open() {
    mFileRefs.push_back({kNoStream, 0});
    return OpenReference(mFileRefs.back());
}

long Clip::Reopen(size_t stream) {
    return OpenReference(mFileRefs.at(stream));
}

bool Clip::HoldsNothing() const {
    return std::all_of(mFileRefs.begin(), mFileRefs.end(),
                       [](const FileReference& each) { return each.holds == 0; });
}

long Clip::OpenReference(FileReference& fileReference) {
    const bool takesHold = fileReference.reference == kNoStream || HoldsNothing();
    RecordBlock<imFileOpenRec8> record;
    record->filepath = mPath.data();
    record->importerID = mImporterID;
    record->privatedata = mPrivateData;
    const long result = mImporter->Call(imOpenFile8, &fileReference.reference, record.Get());
    mPrivateData = record->privatedata;
    // Also after a failure: an importer that gives out its object wants it back.
    if (takesHold && mPrivateData != nullptr) {
        ++fileReference.holds;
    }
    return result;
}

long Clip::Quiet(size_t stream) {
    return mImporter->Call(imQuietFile, &mFileRefs.at(stream).reference, mPrivateData);
}

long Clip::Close(size_t stream) {
    FileReference& fileReference = mFileRefs.at(stream);
    if (fileReference.holds == 0) {
        return imNoErr;
    }
    --fileReference.holds;
    const long result = mImporter->Call(imCloseFile, &fileReference.reference, mPrivateData);
    if (HoldsNothing()) {
        mPrivateData = nullptr;
    }
    return result;
}

long Clip::GetInfo(int32_t index, imFileInfoRec8* info) const {
    info->privatedata = mPrivateData;
    info->streamIdx = index;
    return mImporter->Call(imGetInfo8, nullptr, info);
}

std::vector<imFileInfoRec8> Clip::Streams(long* result) const {
    std::vector<imFileInfoRec8> streams;
    long answer = imIterateStreams;
    for (int32_t index = 0; answer == imIterateStreams; ++index) {
        RecordBlock<imFileInfoRec8> info;
        answer = GetInfo(index, info.Get());
        if (answer == imNoErr || answer == imIterateStreams) {
            streams.push_back(*info.Get());
        }
    }
    if (result != nullptr) {
        *result = answer;
    }
    return streams;
}

long Clip::GetPixelFormat(int index, PrPixelFormat* format) const {
    RecordBlock<imIndPixelFormatRec> record;
    record->privatedata = mPrivateData;
    const long result =
        mImporter->Call(imGetIndPixelFormat, index, reinterpret_cast<long>(record.Get()));
    *format = record->pixelFormat;
    return result;
}

std::vector<PrPixelFormat> Clip::PixelFormats() const {
    std::vector<PrPixelFormat> formats;
    PrPixelFormat format = PrPixelFormat_Invalid;
    for (int index = 0; GetPixelFormat(index, &format) == imNoErr; ++index) {
        formats.push_back(format);
    }
    return formats;
}

long Clip::GetPreferredFrameSize(int32_t* width, int32_t* height) const {
    RecordBlock<imPreferredFrameSizeRec> record;
    record->privatedata = mPrivateData;
    record->width = *width;
    record->height = *height;
    const long result = mImporter->Call(imGetPreferredFrameSize, record.Get(), nullptr);
    *width = record->width;
    *height = record->height;
    return result;
}

long Clip::ReadAudio(int32_t streamID, int64_t position, uint32_t count, float** planes) const {
    RecordBlock<imImportAudioRec7> record;
    record->position = position;
    record->size = count;
    record->buffer = planes;
    record->privatedata = mPrivateData;
    return mImporter->Call(imImportAudio7, streamID, reinterpret_cast<long>(record.Get()));
}

long Clip::GetTimeInfo(imTimeInfoRec8* info) const {
    info->privatedata = mPrivateData;
    return mImporter->Call(imGetTimeInfo8, nullptr, info);
}

long Clip::SetTimeInfo(const std::string& text, int32_t scale, int32_t sampleSize) const {
    RecordBlock<imTimeInfoRec8> record;
    record->privatedata = mPrivateData;
    std::strncpy(record->originalTime, text.c_str(), sizeof(record->originalTime) - 1);
    record->originalScale = scale;
    record->originalSampleSize = sampleSize;
    return mImporter->Call(imSetTimeInfo8, nullptr, record.Get());
}

long Clip::CreateAsyncImporter(imAsyncImporterCreationRec* record) const {
    record->privatedata = mPrivateData;
    return mImporter->Call(imCreateAsyncImporter, record, nullptr);
}

}  // namespace kvx_hostkit
