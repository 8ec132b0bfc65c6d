#include "pipeline/read_controller.h"

#include <algorithm>
#include <new>

#include "core/log.h"
#include "core/status.h"
#include "pipeline/read_request.h"

namespace KVX {

using Core::Failed;

namespace {

constexpr int kReadThreadCount = 8;

}  // namespace

pthread_once_t ReadController::sOnce = PTHREAD_ONCE_INIT;
ReadController* ReadController::sInstance = nullptr;
long ReadController::sError = 0;

long ReadController::GetInstance(ReadController*& out) {
    out = nullptr;
    const long status = pthread_once(&sOnce, &ReadController::Once);
    if (Failed(status, "pthread_once")) {
        return status;
    }
    if (Failed(sError, "Once()")) {
        return sError;
    }
    out = sInstance;
    return 0;
}

void ReadController::Once() {
    // The queue takes memory of its own when it is made. Nothing may be thrown through the
    // once-call.
    try {
        sInstance = new (std::nothrow) ReadController;
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

long ReadController::Init() {
    return Core::Threaded::Init(kReadThreadCount);
}

ReadController::~ReadController() {
    if (!mInitialised) {
        return;
    }
    {
        Core::Lock lock(this);
        for (ReadRequest* request : mQueue) {
            request->Release();
        }
        mQueue.clear();
    }
    // Threads may be running that still call this class's work functions.
    if (mThreadCount > 0) {
        StopAll();
    }
}

long ReadController::AddRequest(ReadRequest* request) {
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        request->Retain();
        try {
            mQueue.push_back(request);
        } catch (const std::bad_alloc&) {
            request->Release();
            return Core::kStatusNoMemory;
        }
        request->mQueued = true;
        // All threads, since one request can feed them all.
        status = WakeAll();
        Failed(status, "WakeAll");
    }
    return status;
}

long ReadController::CancelRequest(ReadRequest* request, void* arg) {
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        const auto found = std::find(mQueue.begin(), mQueue.end(), request);
        if (found == mQueue.end()) {
            return 0;
        }
        status = request->Cancel(arg);
        Failed(status, "Cancel");
        request->Release();
        mQueue.erase(found);
    }
    return status;
}

void* ReadController::WorkToDo() {
    while (!mQueue.empty()) {
        ReadRequest* request = mQueue.front();
        ReadTicket* ticket = nullptr;
        bool last = false;
        const long status = request->GetReadTicket(ticket, last);
        if (status == 0) {
            request->Retain();
            if (!last) {
                return ticket;
            }
        } else {
            KVX_LOG("GetReadTicket on request %p returned %ld\n", static_cast<void*>(request),
                    status);
        }
        mQueue.pop_front();
        request->Release();
        if (ticket != nullptr) {
            return ticket;
        }
    }
    return nullptr;
}

void ReadController::RunThreadPass(void* work) {
    auto* ticket = static_cast<ReadTicket*>(work);
    ReadRequest* request = ticket->mRequest;
    {
        long unlocked = 0;
        Core::Unlock unlock(this, &unlocked);
        if (Failed(unlocked, "Unlock")) {
            request->DropReadTicket();
        } else {
            const long status = request->ExecuteReadTicket(ticket);
            if (status != 0) {
                KVX_LOG("ReadRequest::ExecuteReadTicket returned %ld for request %p\n", status,
                        static_cast<void*>(request));
            }
        }
    }
    request->Release();
    delete ticket;
}

}  // namespace KVX
