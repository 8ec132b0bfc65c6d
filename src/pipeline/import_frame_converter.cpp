#include "pipeline/import_frame_converter.h"

#include <cstdint>

#include "core/log.h"
#include "core/status.h"
#include "pipeline/import_frame.h"
#include "platform/system.h"

namespace KVX {

using Core::Failed;

template class WorkerPool<ImportFrameConverter, ImportFrame>;

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
    End();
}

long ImportFrameConverter::AddFrame(ImportFrame* frame) {
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        status = Push(frame);
        if (status != 0) {
            return status;
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

namespace {

// Nothing is thrown through a thread, whatever the conversion or the host does: the frame still
// reaches the end of its path.
long Convert(ImportFrame* frame) {
    try {
        return frame->Convert();
    } catch (...) {
        frame->ConvertCompleted(Core::kStatusNoMemory);
        return Core::kStatusNoMemory;
    }
}

}  // namespace

void ImportFrameConverter::RunThreadPass(void* work) {
    auto* frame = static_cast<ImportFrame*>(work);
    long lockStatus = 0;
    bool unlocked = false;
    {
        Core::Unlock unlock(this, &lockStatus);
        unlocked = !Failed(lockStatus, "Unlock");
        if (unlocked) {
            Failed(Convert(frame), "ImportFrame::Convert");
        }
    }
    if (unlocked && lockStatus != 0) {
        LeavePool();
    }
    frame->Release();
}

}  // namespace KVX
