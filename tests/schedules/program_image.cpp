#include "schedules/program_image.h"

#include <cstring>
#include <new>

// The linker's.
extern "C" {
extern char __data_start[];
extern char _end[];
}

namespace kvx_schedules {

namespace {

size_t Size() {
    return static_cast<size_t>(_end - __data_start);
}

}  // namespace

ProgramImage::ProgramImage() : mCopy(new char[Size()]) {
    std::memcpy(mCopy, __data_start, Size());
}

ProgramImage::~ProgramImage() {
    delete[] mCopy;
}

void ProgramImage::Restore() const {
    std::memcpy(__data_start, mCopy, Size());
}

}  // namespace kvx_schedules
