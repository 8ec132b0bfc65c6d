#pragma once

#include "pipeline/worker_pool.h"

namespace KVX {

class ReadRequest;

// The process-wide pool of eight read threads. Requests are served strictly first in, first out:
// all tickets of the one in front are handed out, in ascending file order, before the next is
// looked at. Made by the first GetInstance; lives until the process ends.
//
// Lock order: the pool's lock, then a request's, or the conversion pool's.
class ReadController : public WorkerPool<ReadController, ReadRequest> {
  public:
    ~ReadController() override;

    using Core::Threaded::Init;
    long Init();

    // Queues a request, on which the queue takes a reference, and wakes all threads. Returns the
    // status of the lock or of the wake-up; after a failed wake-up the request stays queued.
    long AddRequest(ReadRequest* request);

    // Completes a request that still has slices to hand out with status 89, on the calling thread
    // and under the pool's lock, and takes it out of the queue. Any other request runs to its end.
    long CancelRequest(ReadRequest* request, void* arg);

    void* WorkToDo() override;
    void RunThreadPass(void* work) override;
};

extern template class WorkerPool<ReadController, ReadRequest>;

}  // namespace KVX
