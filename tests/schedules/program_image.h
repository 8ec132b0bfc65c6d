// The program's variables, put back to what they were.
#pragma once

#include <cstddef>

namespace kvx_schedules {

// Keeps a copy of every variable of the program with static storage, and puts them all back: the
// pools, once-controls, registries and shelves of the code under schedule, whatever their names
// are, begin each run as in a fresh process. What the scheduler itself must remember lives on the
// heap.
class ProgramImage {
  public:
    ProgramImage();
    ~ProgramImage();

    ProgramImage(const ProgramImage&) = delete;
    ProgramImage& operator=(const ProgramImage&) = delete;

    void Restore() const;

  private:
    char* mCopy;
};

}  // namespace kvx_schedules
