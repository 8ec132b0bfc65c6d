#include "host/file_import_module.h"

#include <new>

#include "core/log.h"
#include "core/never_destroyed.h"
#include "core/status.h"
#include "host/entry.h"
#include "host/host_identity.h"
#include "host/host_values.h"
#include "pipeline/host_suites.h"
#include "platform/core_foundation.h"
#include "quicktime/movie.h"
#include "quicktime/video_track.h"

namespace KVX {

namespace {

// A stream handle in the host's pointer-sized file reference. The host may leave the upper half of
// a reference that it has not been given a handle for as it likes.
constexpr int32_t kNoStream = -1;

int32_t HandleFromFileRef(const void* fileRef) {
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(fileRef));
}

void* FileRefFromHandle(int32_t handle) {
    return PointerFromWord<void>(handle);
}

}  // namespace

FileImportModule::FileImportModule(long importerID, imStdParms* stdParms)
    : Indexed(importerID), mStdParms(stdParms) {
    AppIsPremiere(stdParms);
}

FileImportModule::~FileImportModule() {
    delete mMovie;
}

long FileImportModule::Init() {
    const long status = Indexed<long>::Init();
    if (Core::Failed(status, "Indexed<long>::Init()")) {
        return status;
    }
    mBasicSuite = GetBasicSuite(mStdParms);
    if (mBasicSuite == nullptr) {
        KVX_LOG("getSPBasicSuite() failed\n");
    }
    return 0;
}

const std::vector<QT::AudioTrack*>& FileImportModule::AudioTracks() const {
    static const Core::NeverDestroyed<std::vector<QT::AudioTrack*>> none;
    return mMovie == nullptr ? *none : mMovie->mAudioTracks;
}

const std::vector<QT::VideoTrack*>& FileImportModule::VideoTracks() const {
    static const Core::NeverDestroyed<std::vector<QT::VideoTrack*>> none;
    return mMovie == nullptr ? *none : mMovie->mVideoTracks;
}

long FileImportModule::OpenFile8(imStdParms* stdParms, void** fileRef, imFileOpenRec8* record) {
    if (fileRef == nullptr) {
        KVX_LOG("Invalid fileRef pointer\n");
        record->privatedata = nullptr;
        return imNoErr;
    }
    int32_t handle = HandleFromFileRef(*fileRef);
    const bool isNewStream = handle == kNoStream;
    if (HasEnded()) {
        KVX_LOG("No file is opened while the process exits\n");
        // A stream that the host has keeps its module, and can be read from and closed.
        if (isNewStream) {
            record->privatedata = nullptr;
        }
        return Core::kStatusCancelled;
    }
    int openDescriptor = -1;

    auto* module = static_cast<FileImportModule*>(GetInstanceForIndex(record->importerID));
    if (module != nullptr) {
        if (isNewStream) {
            module->Retain();
        }
        record->privatedata = module;
    } else {
        const CFOwned<CFStringRef> path(CreatePathString(record->filepath));
        if (path.Get() == nullptr) {
            KVX_LOG("CFStringCreateWithCharacters failed\n");
            record->privatedata = nullptr;
            return Core::kStatusNotFound;
        }

        // From here on the host has the module, also when the open fails: nothing else would ever
        // release it.
        module = new (std::nothrow) FileImportModule(record->importerID, stdParms);
        record->privatedata = module;
        if (module == nullptr) {
            KVX_LOG("Failed to allocate new FileImportModule object\n");
            return Core::kStatusNotFound;
        }
        long status = module->Init();
        if (Core::Failed(status, "Init()")) {
            return status;
        }
        int playable = 0;
        status = xMoviePlayable(path.Get(), &playable, &module->mMovie, &module->mAudioSampleType);
        if (Core::Failed(status, "xMoviePlayable")) {
            return status;
        }
        if (playable == 0) {
            return imBadFile;
        }

        if (!module->VideoTracks().empty()) {
            const QT::VideoTrack* track = module->VideoTracks().front();
            openDescriptor = track->mFileDescriptor;
            status = GetTicksPerFrame(module->mBasicSuite, *track, module->mTicksPerFrame);
            if (status != 0) {
                return status;
            }
        }
    }

    if (openDescriptor == -1 && module->mMovie != nullptr) {
        // A file that has gone meanwhile shows when it is read.
        module->mMovie->OpenFile();
    }
    if (isNewStream) {
        handle = module->mNextStreamHandle++;
    }
    *fileRef = FileRefFromHandle(handle);
    module->mStreamInfo.setStatus(*fileRef, StreamStatusOpen);
    return imNoErr;
}

long FileImportModule::QuietFile(void** fileRef, FileImportModule* module) {
    if (module == nullptr || module->mMovie == nullptr) {
        return imNoErr;
    }
    module->mStreamInfo.setStatus(*fileRef, StreamStatusQuiet);
    if (module->mStreamInfo.areAllStatusesEqualTo(StreamStatusQuiet)) {
        module->mMovie->CloseFile();
    }
    return imNoErr;
}

long FileImportModule::CloseFile(void** fileRef, FileImportModule* module) {
    if (module == nullptr) {
        return imNoErr;
    }
    module->Release();
    *fileRef = nullptr;
    return imNoErr;
}

}  // namespace KVX
