#include "pipeline/read_controller.h"

#include <algorithm>

#include "core/log.h"
#include "core/status.h"
#include "pipeline/read_request.h"

namespace KVX {

using Core::Failed;

namespace {

constexpr int kReadThreadCount = 8;

}  // namespace

template class WorkerPool<ReadController, ReadRequest>;

long ReadController::Init() {
    return Core::Threaded::Init(kReadThreadCount);
}

ReadController::~ReadController() {
    End();
}

long ReadController::AddRequest(ReadRequest* request) {
    long status = 0;
    {
        Core::Lock lock(this, &status);
        if (Failed(status, "Lock")) {
            return status;
        }
        status = Push(request);
        if (status != 0) {
            return status;
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

namespace {

// The frame's path may end in here, where the host's suites are called: nothing they throw leaves
// the thread.
long Execute(ReadTicket* ticket) {
    ReadRequest* request = ticket->mRequest;
    try {
        return request->ExecuteReadTicket(ticket);
    } catch (...) {
        Failed(request->MarkComplete(Core::kStatusNoMemory, nullptr), "MarkComplete");
        return Core::kStatusNoMemory;
    }
}

}  // namespace

void ReadController::RunThreadPass(void* work) {
    auto* ticket = static_cast<ReadTicket*>(work);
    ReadRequest* request = ticket->mRequest;
    long lockStatus = 0;
    bool unlocked = false;
    {
        Core::Unlock unlock(this, &lockStatus);
        unlocked = !Failed(lockStatus, "Unlock");
        if (!unlocked) {
            request->DropReadTicket();
        } else {
            const long status = Execute(ticket);
            if (status != 0) {
                KVX_LOG("ReadRequest::ExecuteReadTicket returned %ld for request %p\n", status,
                        static_cast<void*>(request));
            }
        }
    }
    if (unlocked && lockStatus != 0) {
        LeavePool();
    }
    request->Release();
    delete ticket;
}

}  // namespace KVX
