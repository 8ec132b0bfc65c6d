#pragma once

#include <cstdint>

namespace kvx_test {

// While it lives, every pread of another thread than its maker's waits before it reads, until it is
// let through. At the end all are let through. One at a time; the linker leads the program's calls
// of pread here.
class GatedReads {
  public:
    GatedReads();
    ~GatedReads();

    GatedReads(const GatedReads&) = delete;
    GatedReads& operator=(const GatedReads&) = delete;

    // Waits until so many reads stand before the gate; false if they do not come.
    bool WaitForWaiting(int count);
    int Waiting() const;

    // Whether a read at this file offset stands before the gate, or comes within moments.
    bool WaitForReadAt(int64_t offset);

    // Lets reads at this file offset pass, now and later. With a status they read nothing and fail
    // with it.
    void Let(int64_t offset, int status = 0);
    void LetAll();
};

}  // namespace kvx_test
