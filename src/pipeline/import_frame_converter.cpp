#include "pipeline/import_frame_converter.h"

#include <cstdint>
#include <new>

#include "core/log.h"
#include "core/status.h"
#include "pipeline/import_frame.h"
#include "platform/system.h"

namespace KVX {

using Core::Failed;

pthread_once_t ImportFrameConverter::sOnce = PTHREAD_ONCE_INIT;
ImportFrameConverter* ImportFrameConverter::sInstance = nullptr;
long ImportFrameConverter::sError = 0;

long ImportFrameConverter::GetInstance(ImportFrameConverter*& out) {
    out = nullptr;
    const long status = pthread_once(&sOnce, &ImportFrameConverter::Once);
    if (Failed(status, "pthread_once")) {
        return status;
    }
    if (Failed(sError, "Once()")) {
        return sError;
    }
    out = sInstance;
    return 0;
}

void ImportFrameConverter::Once() {
    // The queue takes memory of its own when it is made. Nothing may be thrown through the
    // once-call.
    try {
        sInstance = new (std::nothrow) ImportFrameConverter;
    } catch (const std::bad_alloc&) {
        sInstance = nullptr;
    }
    if (sInstance == nullptr) {
        sError = Core::kStatusNoMemory;
        return;
    }
    sError = sInstance->Init();
    if (sError != 0) {
        delete sInstance;
        sInstance = nullptr;
    }
}

long ImportFrameConverter::Init() {
    int32_t processors = 0;
    long status = Platform::GetLogicalProcessorCount(processors);
    if (Failed(status, "sysctlbyname")) {
        return status;
    }
    status = Core::Threaded::Init(processors);
    Failed(status, "Threaded::Init");
    return status;
}

ImportFrameConverter::~ImportFrameConverter() {
    if (!mInitialised) {
        return;
    }
    {
        Core::Lock lock(this);
        for (ImportFrame* frame : mQueue) {
            frame->Release();
        }
        mQueue.clear();
    }
    // Threads may be running that still call this class's work functions.
    if (mThreadCount > 0) {
        StopAll();
    }
}

long ImportFrameConverter::AddFrame(ImportFrame* frame) {
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        frame->Retain();
        try {
            mQueue.push_back(frame);
        } catch (const std::bad_alloc&) {
            frame->Release();
            return Core::kStatusNoMemory;
        }
        status = WakeOne();
        Failed(status, "WakeOne");
    }
    return status;
}

void* ImportFrameConverter::WorkToDo() {
    if (mQueue.empty()) {
        return nullptr;
    }
    ImportFrame* frame = mQueue.front();
    mQueue.pop_front();
    return frame;
}

void ImportFrameConverter::RunThreadPass(void* work) {
    auto* frame = static_cast<ImportFrame*>(work);
    {
        long unlocked = 0;
        Core::Unlock unlock(this, &unlocked);
        if (!Failed(unlocked, "Unlock")) {
            Failed(frame->Convert(), "ImportFrame::Convert");
        }
    }
    frame->Release();
}

}  // namespace KVX
