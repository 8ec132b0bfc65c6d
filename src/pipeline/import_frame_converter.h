#pragma once

#include "pipeline/worker_pool.h"

namespace KVX {

class ImportFrame;

// The process-wide pool of conversion threads, one for each logical processor. Frames whose bytes
// have been read and are not yet in their final form are served first in, first out, one frame a
// thread. Kept apart from the read pool so that slow conversion never holds up disk reads. Made by
// the first GetInstance; lives until the process ends.
//
// While the pool's lock is held nothing else is taken but what a frame's destructor does.
class ImportFrameConverter : public WorkerPool<ImportFrameConverter, ImportFrame> {
  public:
    ~ImportFrameConverter() override;

    using Core::Threaded::Init;
    long Init();

    // Queues a frame, on which the queue takes a reference, and wakes one thread. Returns the
    // status of the lock or of the wake-up; after a failed wake-up the frame stays queued.
    long AddFrame(ImportFrame* frame);

    void* WorkToDo() override;
    void RunThreadPass(void* work) override;
};

extern template class WorkerPool<ImportFrameConverter, ImportFrame>;

}  // namespace KVX
